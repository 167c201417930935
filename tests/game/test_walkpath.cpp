// The waypoint graph of the patrols: reading it from a document, the nearest waypoint, the
// random choice of the next one with its first-link preference, its turning-back rule and
// the double step from a waypoint to itself, and the trail operations.
#include <gtest/gtest.h>

#include <cstdlib>

#include "cfo/cfodocument.h"
#include "game/walkpath.h"

namespace {

WalkPath Parse(const std::string& text) {
    CfoDocument document;
    EXPECT_TRUE(document.Parse("walk_path = { " + text + " }"));
    WalkPath path;
    path.Load(document.FindChild("walk_path"));
    return path;
}

// A graph whose waypoint `at` leads to `links`, padded with waypoints without links.
WalkPath WithLinks(int at, std::vector<int> links, int size) {
    WalkPath path;
    path.waypoints.resize(size_t(size));
    path.waypoints[size_t(at)].neighbours = links;
    return path;
}

TEST(WalkPath, LoadsNeighboursPositionAndThirdNumber) {
    WalkPath path = Parse("{ {1,2} 100,200,3 } { {0} -50.5,7 } { {} 1,2 }");
    ASSERT_EQ(path.Size(), 3);
    EXPECT_EQ(path.waypoints[0].neighbours, (std::vector<int>{1, 2}));
    EXPECT_FLOAT_EQ(path.waypoints[0].position.x, 100.0f);
    EXPECT_FLOAT_EQ(path.waypoints[0].position.y, 200.0f);
    EXPECT_FLOAT_EQ(path.waypoints[0].weight, 3.0f);
    EXPECT_EQ(path.waypoints[1].neighbours, (std::vector<int>{0}));
    EXPECT_FLOAT_EQ(path.waypoints[1].position.x, -50.5f);
    EXPECT_FLOAT_EQ(path.waypoints[1].position.y, 7.0f);
    EXPECT_FLOAT_EQ(path.waypoints[1].weight, 1.0f);  // not given
    EXPECT_TRUE(path.waypoints[2].neighbours.empty());
    EXPECT_FLOAT_EQ(path.waypoints[2].position.x, 1.0f);
}

TEST(WalkPath, NullNodeGivesEmptyGraph) {
    WalkPath path = Parse("{ {1} 5,5 }");
    path.Load(nullptr);
    EXPECT_TRUE(path.Empty());
}

TEST(WalkPath, OnePiecePositionAndMissingPartsAreSkipped) {
    // A single number is no position; a waypoint without a position row stays at (0,0);
    // an empty scope is a waypoint with nothing; pieces go through atoi.
    WalkPath path = Parse("{ {3} 42 } { {1,x,,2,} } { }");
    ASSERT_EQ(path.Size(), 3);
    EXPECT_EQ(path.waypoints[0].neighbours, (std::vector<int>{3}));
    EXPECT_FLOAT_EQ(path.waypoints[0].position.x, 0.0f);
    EXPECT_FLOAT_EQ(path.waypoints[0].position.y, 0.0f);
    EXPECT_EQ(path.waypoints[1].neighbours, (std::vector<int>{1, 0, 2}));
    EXPECT_TRUE(path.waypoints[2].neighbours.empty());
    EXPECT_FLOAT_EQ(path.waypoints[2].weight, 1.0f);
}

TEST(WalkPath, FindNearestTakesSmallestSquaredDistanceFirstOnTies) {
    WalkPath path = Parse("{ {} 10,0 } { {} -10,0 } { {} 3,4 }");
    int index = -7;
    ASSERT_TRUE(path.FindNearest(HVector2(0.0f, 0.0f), index));
    EXPECT_EQ(index, 2);
    // From (0, -100) waypoints 0 and 1 are both 10100 away (squared), 2 is 10825 away.
    ASSERT_TRUE(path.FindNearest(HVector2(0.0f, -100.0f), index));
    EXPECT_EQ(index, 0);  // 0 and 1 tie at 10100; the first wins
}

TEST(WalkPath, FindNearestFailsWhenEmptyOrTooFar) {
    WalkPath empty;
    int index = 5;
    EXPECT_FALSE(empty.FindNearest(HVector2(0.0f, 0.0f), index));
    EXPECT_EQ(index, 5);
    // 10000 away is exactly 100000000 squared: not below the limit.
    WalkPath far = Parse("{ {} 10000,0 }");
    EXPECT_FALSE(far.FindNearest(HVector2(0.0f, 0.0f), index));
    EXPECT_EQ(index, 5);
    EXPECT_TRUE(far.FindNearest(HVector2(1.0f, 0.0f), index));
    EXPECT_EQ(index, 0);
}

// The first draws of rand() % 1000 after srand(seed).
std::vector<int> Draws(unsigned seed) {
    srand(seed);
    std::vector<int> draws;
    for (int i = 0; i < 3; ++i) draws.push_back(rand() % 1000);
    return draws;
}

TEST(WalkPath, NextWaypointFollowsTheDrawsExactly) {
    WalkPath path = WithLinks(0, {4, 5, 6, 7}, 8);
    for (unsigned seed = 1; seed < 200; ++seed) {
        const std::vector<int> draws = Draws(seed);
        size_t used = 1;
        int k = draws[0] * 4 / 1000;
        if (k != 0) {
            used = 2;
            if (draws[1] > 500) k = 0;
        }
        const int expected = path.waypoints[0].neighbours[size_t(k)];
        srand(seed);
        EXPECT_EQ(path.NextWaypoint(0, -1), expected) << "seed " << seed;
        // Exactly as many draws were made: the next one is the draw after them.
        EXPECT_EQ(rand() % 1000, draws[used]) << "seed " << seed;
    }
}

TEST(WalkPath, NextWaypointFavoursTheFirstLink) {
    // With two links, k = 1 for a first draw of 500 and above, then half of those go back
    // to 0: about three in four choices are the first link.
    WalkPath path = WithLinks(0, {1, 2}, 3);
    srand(7);
    int first = 0;
    for (int i = 0; i < 4000; ++i) first += path.NextWaypoint(0, -1) == 1 ? 1 : 0;
    EXPECT_GT(first, 2800);
    EXPECT_LT(first, 3200);
}

TEST(WalkPath, NextWaypointAvoidsTurningBack) {
    // Coming from 1, the choice of 1 moves on to the next link; with one link only the
    // patrol turns back; a negative previous does not count.
    WalkPath path = WithLinks(0, {1, 2}, 3);
    for (unsigned seed = 1; seed < 50; ++seed) {
        srand(seed);
        EXPECT_EQ(path.NextWaypoint(0, 1), 2) << seed;
    }
    WalkPath single = WithLinks(0, {1}, 2);
    srand(3);
    EXPECT_EQ(single.NextWaypoint(0, 1), 1);
    WalkPath negative = WithLinks(0, {-1, 1}, 2);
    // Previous -1 equals link 0, but a negative previous is no waypoint to avoid: link 0
    // is still chosen whenever the draws pick it.
    bool saw_minus_one = false;
    for (unsigned seed = 1; seed < 50; ++seed) {
        srand(seed);
        saw_minus_one = saw_minus_one || negative.NextWaypoint(0, -1) == -1;
    }
    EXPECT_TRUE(saw_minus_one);
}

TEST(WalkPath, NextWaypointFromItselfTakesTheDoubleStep) {
    // current == previous: the value of the first link, 2, is used as a place in the list,
    // whatever the draws chose, so the result is the third link, 9.
    WalkPath path = WithLinks(0, {2, 8, 9}, 10);
    for (unsigned seed = 1; seed < 50; ++seed) {
        srand(seed);
        EXPECT_EQ(path.NextWaypoint(0, 0), 9) << seed;
    }
}

TEST(WalkPath, DoubleStepOutsideTheListKeepsTheDrawnChoice) {
    // The first link's value 5 is no place in a list of two: the choice of the draws stays.
    WalkPath path = WithLinks(0, {5, 1}, 6);
    for (unsigned seed = 1; seed < 50; ++seed) {
        const std::vector<int> draws = Draws(seed);
        int k = draws[0] * 2 / 1000;
        if (k != 0 && draws[1] > 500) k = 0;
        srand(seed);
        EXPECT_EQ(path.NextWaypoint(0, 0), k == 0 ? 5 : 1) << seed;
    }
    // A negative value is no place either.
    WalkPath negative = WithLinks(0, {-3}, 2);
    srand(1);
    EXPECT_EQ(negative.NextWaypoint(0, 0), -3);
    // One link of value 1 from a waypoint to itself: the list has no place 1; link 0 stays.
    WalkPath single = WithLinks(0, {1}, 2);
    srand(1);
    EXPECT_EQ(single.NextWaypoint(0, 0), 1);
}

TEST(WalkPath, NextWaypointOutsideTheGraphOrWithoutLinks) {
    WalkPath path = WithLinks(1, {}, 3);
    EXPECT_EQ(path.NextWaypoint(-1, 0), 0);
    EXPECT_EQ(path.NextWaypoint(3, 0), 0);
    EXPECT_EQ(WalkPath().NextWaypoint(0, 0), 0);
    // A waypoint that leads nowhere keeps the walker there, also from itself.
    EXPECT_EQ(path.NextWaypoint(1, 0), 1);
    EXPECT_EQ(path.NextWaypoint(1, 1), 1);
}

TEST(WalkPath, FirstNeighbour) {
    WalkPath path = Parse("{ {2,1} 0,0 } { {} 1,1 }");
    EXPECT_EQ(path.FirstNeighbour(0), 2);
    EXPECT_EQ(path.FirstNeighbour(1), 1);
    EXPECT_EQ(path.FirstNeighbour(2), 2);
    EXPECT_EQ(path.FirstNeighbour(-4), -4);
}

TEST(WalkPath, ConnectAddsEveryOtherWaypointOnce) {
    WalkPath path = Parse("{ {2} 0,0 } { {} 1,1 } { {1,0} 2,2 }");
    path.Connect();
    EXPECT_EQ(path.waypoints[0].neighbours, (std::vector<int>{2, 1}));
    EXPECT_EQ(path.waypoints[1].neighbours, (std::vector<int>{0, 2}));
    EXPECT_EQ(path.waypoints[2].neighbours, (std::vector<int>{1, 0}));
}

TEST(WalkPath, AppendLinksBackwardsAndLast) {
    WalkPath trail;
    EXPECT_FLOAT_EQ(trail.Last().x, 0.0f);
    EXPECT_FLOAT_EQ(trail.Last().y, 0.0f);
    trail.Append(HVector2(1.0f, 2.0f));
    trail.Append(HVector2(3.0f, 4.0f));
    trail.Append(HVector2(5.0f, 6.0f));
    ASSERT_EQ(trail.Size(), 3);
    EXPECT_TRUE(trail.waypoints[0].neighbours.empty());
    EXPECT_EQ(trail.waypoints[1].neighbours, (std::vector<int>{0}));
    EXPECT_EQ(trail.waypoints[2].neighbours, (std::vector<int>{1}));
    EXPECT_FLOAT_EQ(trail.waypoints[2].weight, 1.0f);
    EXPECT_FLOAT_EQ(trail.Last().x, 5.0f);
    EXPECT_FLOAT_EQ(trail.Last().y, 6.0f);
}

TEST(WalkPath, RemoveWaypointShiftsLaterOnesAndIgnoresBadIndices) {
    WalkPath trail;
    for (int i = 0; i < 3; ++i) trail.Append(HVector2(float(i), 0.0f));
    trail.RemoveWaypoint(3);
    trail.RemoveWaypoint(-1);
    EXPECT_EQ(trail.Size(), 3);
    trail.RemoveWaypoint(0);
    ASSERT_EQ(trail.Size(), 2);
    EXPECT_FLOAT_EQ(trail.waypoints[0].position.x, 1.0f);
    // Links are not renumbered.
    EXPECT_EQ(trail.waypoints[0].neighbours, (std::vector<int>{0}));
    trail.RemoveWaypoint(1);
    trail.RemoveWaypoint(0);
    EXPECT_TRUE(trail.Empty());
    trail.RemoveWaypoint(0);
    EXPECT_TRUE(trail.Empty());
}

TEST(WalkPath, PositionOrGuardsTheIndex) {
    WalkPath path = Parse("{ {} 7,8 }");
    EXPECT_FLOAT_EQ(path.PositionOr(0, HVector2(1.0f, 1.0f)).x, 7.0f);
    EXPECT_FLOAT_EQ(path.PositionOr(1, HVector2(1.0f, 1.0f)).x, 1.0f);
    EXPECT_FLOAT_EQ(path.PositionOr(-1, HVector2(2.0f, 1.0f)).x, 2.0f);
}

}  // namespace
