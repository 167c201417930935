#include "game/walkpath.h"

#include <cstdlib>
#include <string>

#include "cfo/cfonode.h"

namespace {

// The pieces of `text` between commas; empty pieces are skipped ("1,,2," gives 1 and 2).
std::vector<std::string> SplitCommas(const std::string& text) {
    std::vector<std::string> pieces;
    std::string piece;
    for (char c : text) {
        if (c == ',') {
            if (!piece.empty()) pieces.push_back(piece);
            piece.clear();
        } else {
            piece += c;
        }
    }
    if (!piece.empty()) pieces.push_back(piece);
    return pieces;
}

}  // namespace

// clang-format off
constexpr CfoKey kWalkPathKeys[] = {
    {"", CfoKeyType::String, "", "one waypoint a row: \"{ {links} x,y,weight }\", links the "
     "0-based numbers of the waypoints it leads to"},
};
// clang-format on

const CfoKeyTable walk_path_keys{"walk_path", "waypoints and their links", kWalkPathKeys};

void WalkPath::Load(const CfoNode* node) {
    waypoints.clear();
    if (node == nullptr) return;
    for (const CfoNode* entry : node->children) {
        if (entry == nullptr) continue;
        Waypoint waypoint;
        if (const CfoNode* links = entry->FirstChild()) {
            if (const CfoNode* row = links->FirstChild()) {
                for (const std::string& piece : SplitCommas(row->GetName()))
                    waypoint.neighbours.push_back(std::atoi(piece.c_str()));
            }
            if (const CfoNode* place = links->NextSibling()) {
                std::vector<std::string> pieces = SplitCommas(place->GetName());
                if (pieces.size() > 1) {
                    waypoint.position.x = float(std::atof(pieces[0].c_str()));
                    waypoint.position.y = float(std::atof(pieces[1].c_str()));
                    if (pieces.size() > 2) waypoint.weight = float(std::atof(pieces[2].c_str()));
                }
            }
        }
        waypoints.push_back(waypoint);
    }
}

bool WalkPath::FindNearest(HVector2 point, int& index) const {
    float best = 100000000.0f;
    int found = -1;
    for (size_t i = 0; i < waypoints.size(); ++i) {
        float d = (waypoints[i].position - point).SquaredLength();
        if (d < best) {
            best = d;
            found = int(i);
        }
    }
    if (found < 0) return false;
    index = found;
    return true;
}

int WalkPath::NextWaypoint(int current, int previous) const {
    if (!Contains(current)) return 0;
    const std::vector<int>& links = waypoints[size_t(current)].neighbours;
    const long long n = (long long)links.size();
    long long k = (long long)(rand() % 1000) * n / 1000;
    if (k != 0 && rand() % 1000 > 500) k = 0;
    if (n > 1 && links[size_t(k)] == previous && previous >= 0) k = (k + 1) % n;
    // Coming from the waypoint itself, the first link's value is taken as a place in the
    // list. Authors keep it inside the list; a value outside leaves the choice made above.
    if (current == previous && n > 0) {
        const int place = links[0];
        if (place >= 0 && place < n) k = place;
    }
    // A waypoint that leads nowhere keeps the walker where it is.
    if (n == 0) return current;
    return links[size_t(k)];
}

int WalkPath::FirstNeighbour(int current) const {
    if (!Contains(current)) return current;
    const std::vector<int>& links = waypoints[size_t(current)].neighbours;
    return links.empty() ? current : links[0];
}

void WalkPath::Connect() {
    for (size_t i = 0; i < waypoints.size(); ++i) {
        std::vector<int>& links = waypoints[i].neighbours;
        for (size_t j = 0; j < waypoints.size(); ++j) {
            if (j == i) continue;
            bool known = false;
            for (int link : links) known = known || link == int(j);
            if (!known) links.push_back(int(j));
        }
    }
}

void WalkPath::Append(HVector2 point) {
    Waypoint waypoint;
    waypoint.position = point;
    if (!waypoints.empty()) waypoint.neighbours.push_back(int(waypoints.size()) - 1);
    waypoints.push_back(waypoint);
}

HVector2 WalkPath::Last() const {
    return waypoints.empty() ? HVector2(0.0f, 0.0f) : waypoints.back().position;
}

void WalkPath::RemoveWaypoint(int index) {
    if (!Contains(index)) return;
    waypoints.erase(waypoints.begin() + index);
}
