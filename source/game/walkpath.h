#pragma once
// WalkPath: a graph of waypoints on the ground. A patrol walks its authored path from one
// waypoint to the next, and keeps a second one as the trail of breadcrumbs it drops while
// chasing, which it walks back afterwards.
//
// A waypoint is a position, a third number that documents may give (1.0 otherwise; read
// and kept, nothing uses it) and the indices of the waypoints it leads to.
//
// Document form, one anonymous scope per waypoint: the first child is a row holding the
// neighbour list, the bare word after it the position:
//
//   walk_path = {
//       { {1,2} 100,200,1 }
//       { {0} 300,200 }
//       { {0} 100,400 }
//   }
//
// Indices are not checked against the graph when read: every reader of a waypoint below
// answers an index outside the graph safely instead.

#include <vector>

#include "cfo/cfokeys.h"
#include "math/hvector2.h"

class CfoNode;

struct Waypoint {
    HVector2 position;
    float weight = 1.0f;          // the third number; never used
    std::vector<int> neighbours;  // indices of the waypoints this one leads to
};

// A "walk_path" node: what WalkPath::Load reads.
extern const CfoKeyTable walk_path_keys;

class WalkPath {
public:
    // Replaces the graph by the node's waypoints; a null node gives an empty graph.
    void Load(const CfoNode* node);

    // The waypoint nearest to `point` (smallest squared distance below 100000000); true and
    // `index` written when one is found, otherwise false and `index` untouched. Of two at the
    // same distance the first wins.
    bool FindNearest(HVector2 point, int& index) const;

    // The waypoint to go to from `current`, having come from `previous`, chosen with rand():
    // the first link is favoured and turning back avoided. `current` outside the graph gives
    // 0; a waypoint without links gives `current` itself.
    int NextWaypoint(int current, int previous) const;

    // The first neighbour of `current`, or `current` itself if it has none or is outside
    // the graph.
    int FirstNeighbour(int current) const;

    // Links every waypoint to every other one it does not lead to yet, in index order.
    void Connect();

    // Adds a waypoint at `point` leading back to the waypoint that was last before it.
    void Append(HVector2 point);

    // Position of the last waypoint, or (0,0) for an empty graph.
    HVector2 Last() const;

    // Erases the waypoint; later ones move down one place (links are not renumbered). An
    // index outside the graph changes nothing.
    void RemoveWaypoint(int index);

    // Whether `index` names a waypoint of the graph.
    bool Contains(int index) const { return index >= 0 && size_t(index) < waypoints.size(); }
    // The position of waypoint `index`, or `fallback` when there is none.
    HVector2 PositionOr(int index, HVector2 fallback) const {
        return Contains(index) ? waypoints[size_t(index)].position : fallback;
    }

    bool Empty() const { return waypoints.empty(); }
    int Size() const { return int(waypoints.size()); }
    void Clear() { waypoints.clear(); }

    std::vector<Waypoint> waypoints;
};
