// The people and things of the courtyard level as its document places them
// (data/scenes/enemy_test.cfo): the hero, the patrols and their rounds (links valid both
// ways, waypoints and legs in open ground, near enough to the hero's start), the two doors
// and the switches that name them, the items, the ambient sound, and every file they name.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"

namespace {

const std::string kData = std::string(VELMORA_SOURCE_DIR) + "/data/";

struct Point {
    double x = 0, y = 0;
};

std::vector<CfoNode*> Children(const CfoNode* node, const std::string& name) {
    std::vector<CfoNode*> out;
    for (CfoNode* child : node->children)
        if (child->name == name) out.push_back(child);
    return out;
}

std::string Text(const CfoNode* node, const std::string& key) {
    std::string value;
    CfoReadString(const_cast<CfoNode*>(node), key, value);
    return value;
}

Point Pair(const std::string& text) {
    Point p;
    EXPECT_EQ(std::sscanf(text.c_str(), "%lf,%lf", &p.x, &p.y), 2) << text;
    return p;
}

// The collision rectangles of the walls and houses, as the world geometry lists them.
struct Box {
    double x0, y0, x1, y1;
    bool Holds(Point p, double margin) const {
        return p.x > x0 - margin && p.x < x1 + margin && p.y > y0 - margin && p.y < y1 + margin;
    }
};

struct Waypoint {
    Point at;
    std::vector<int> links;
};

class LevelActors : public ::testing::Test {
protected:
    void SetUp() override {
        std::ifstream in(kData + "scenes/enemy_test.cfo", std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        ASSERT_TRUE(doc.Parse(text.str()));
        scene = doc.FindChild("Scene");
        ASSERT_NE(scene, nullptr);
        const CfoNode* world = scene->FindChild("WorldGeometry");
        ASSERT_NE(world, nullptr);
        for (const CfoNode* shape : Children(world, "PhysicsStaticGeometry")) {
            const CfoNode* hull = shape->FindChild("hull");
            ASSERT_NE(hull, nullptr);
            Box box{1e9, 1e9, -1e9, -1e9};
            for (const CfoNode* row : hull->children) {
                Point p = Pair(row->FirstChild()->name);
                box = {std::min(box.x0, p.x), std::min(box.y0, p.y), std::max(box.x1, p.x),
                       std::max(box.y1, p.y)};
            }
            walls.push_back(box);
        }
        ASSERT_GT(walls.size(), 10u);
    }

    bool InOpenGround(Point p, double margin) const {
        for (const Box& b : walls)
            if (b.Holds(p, margin)) return false;
        return true;
    }

    // Whether the straight leg from a to b keeps `margin` from every wall and house.
    bool LegInOpenGround(Point a, Point b, double margin) const {
        const int steps = 200;
        for (int i = 0; i <= steps; ++i) {
            const double t = double(i) / steps;
            if (!InOpenGround({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t}, margin)) return false;
        }
        return true;
    }

    static std::vector<Waypoint> Round(const CfoNode* path) {
        std::vector<Waypoint> round;
        for (const CfoNode* entry : path->children) {
            Waypoint w;
            const CfoNode* links = entry->FirstChild();
            EXPECT_NE(links, nullptr);
            if (links == nullptr || links->FirstChild() == nullptr ||
                links->NextSibling() == nullptr)
                continue;
            std::stringstream list(links->FirstChild()->name);
            std::string piece;
            while (std::getline(list, piece, ',')) w.links.push_back(std::stoi(piece));
            w.at = Pair(links->NextSibling()->name);
            round.push_back(w);
        }
        return round;
    }

    static bool FileExists(const std::string& path) {
        return std::filesystem::is_regular_file(kData + path);
    }

    CfoDocument doc;
    const CfoNode* scene = nullptr;
    std::vector<Box> walls;
};

}  // namespace

TEST_F(LevelActors, TheHeroStartsInOpenGroundAsMainPlayer) {
    const auto heroes = Children(scene, "Player");
    ASSERT_EQ(heroes.size(), 1u);
    EXPECT_EQ(Text(heroes[0], "name"), "main_player");
    const CfoNode* body = heroes[0]->FindChild("PhysicsCharacter");
    ASSERT_NE(body, nullptr);
    const Point start = Pair(Text(body, "pos"));
    EXPECT_TRUE(InOpenGround(start, 20.0)) << start.x << "," << start.y;
}

TEST_F(LevelActors, ThreePatrolsWalkRoundsOfOpenGroundLinkedBothWays) {
    const auto patrols = Children(scene, "EnemyPoliceDude");
    ASSERT_GE(patrols.size(), 3u);
    const Point hero =
        Pair(Text(Children(scene, "Player")[0]->FindChild("PhysicsCharacter"), "pos"));
    double nearest_to_hero = 1e9;
    std::set<std::string> names;
    for (const CfoNode* patrol : patrols) {
        const std::string name = Text(patrol, "name");
        EXPECT_TRUE(names.insert(name).second) << "two patrols named " << name;
        const CfoNode* path = patrol->FindChild("walk_path");
        ASSERT_NE(path, nullptr) << name;
        const std::vector<Waypoint> round = Round(path);
        ASSERT_GE(round.size(), 4u) << name;
        for (size_t i = 0; i < round.size(); ++i) {
            const Waypoint& w = round[i];
            EXPECT_TRUE(InOpenGround(w.at, 30.0)) << name << " waypoint " << i;
            ASSERT_FALSE(w.links.empty()) << name << " waypoint " << i;
            for (int link : w.links) {
                ASSERT_GE(link, 0) << name;
                ASSERT_LT(link, int(round.size())) << name;
                const auto& back = round[size_t(link)].links;
                EXPECT_NE(std::find(back.begin(), back.end(), int(i)), back.end())
                    << name << ": " << i << " leads to " << link << " but not back";
                EXPECT_TRUE(LegInOpenGround(w.at, round[size_t(link)].at, 20.0))
                    << name << ": the leg " << i << "-" << link << " meets a wall";
            }
            // A patrol that starts on a waypoint reads its first link as a place in its own
            // list: it must be one.
            EXPECT_LT(w.links[0], int(w.links.size())) << name << " waypoint " << i;
            nearest_to_hero =
                std::min(nearest_to_hero, std::hypot(w.at.x - hero.x, w.at.y - hero.y));
            const Waypoint& next = round[size_t(w.links[0])];
            for (int k = 0; k <= 100; ++k) {
                const double t = k / 100.0;
                nearest_to_hero = std::min(nearest_to_hero,
                                           std::hypot(w.at.x + (next.at.x - w.at.x) * t - hero.x,
                                                      w.at.y + (next.at.y - w.at.y) * t - hero.y));
            }
        }
        // The patrol stands on its first waypoint.
        const CfoNode* enemy = patrol->FindChild("Enemy");
        ASSERT_NE(enemy, nullptr) << name;
        const Point at = Pair(Text(enemy->FindChild("PhysicsCharacter"), "pos"));
        EXPECT_EQ(at.x, round[0].at.x) << name;
        EXPECT_EQ(at.y, round[0].at.y) << name;
        const Point wait = Pair(Text(patrol, "wait_at_target"));
        EXPECT_GT(wait.x, 0.0) << name;
        EXPECT_GE(wait.y, wait.x) << name;
        for (const char* key :
             {"mesh", "texture", "shader", "ani_idle", "ani_walk", "ani_run", "ani_attack"})
            EXPECT_TRUE(FileExists(Text(enemy, key))) << name << " " << key;
    }
    // Some round passes within sight (300) of the hero's start.
    EXPECT_LT(nearest_to_hero, 300.0);
}

TEST_F(LevelActors, ASliderAndARotatingDoorEachObeyASwitchOnTheLevel) {
    const auto doors = Children(scene, "Doors");
    ASSERT_EQ(doors.size(), 2u);
    std::set<std::string> switches;
    for (const CfoNode* t : Children(scene, "Trigger")) {
        switches.insert(Text(t, "name"));
        for (const char* key :
             {"open_model", "closed_model", "open_texture", "closed_texture", "switch_sound"})
            EXPECT_TRUE(FileExists(Text(t, key))) << Text(t, "name") << " " << key;
        const CfoNode* ray = t->FindChild("PhysicsRayCast");
        ASSERT_NE(ray, nullptr);
        // The switch stands in open ground on the square's side, its ray pointing away from
        // the wall behind it into open ground.
        const Point at = Pair(Text(ray, "position"));
        const Point dir = Pair(Text(ray, "direction"));
        EXPECT_TRUE(InOpenGround(at, 20.0));
        EXPECT_TRUE(InOpenGround({at.x + dir.x * 60, at.y + dir.y * 60}, 20.0));
        EXPECT_FALSE(InOpenGround({at.x - dir.x * 60, at.y - dir.y * 60}, 0.0));
    }
    std::set<std::string> kinds;
    for (const CfoNode* d : doors) {
        kinds.insert(Text(d, "type"));
        EXPECT_EQ(switches.count(Text(d, "activator_name")), 1u) << Text(d, "name");
        EXPECT_FALSE(Text(d, "open_message").empty());
        EXPECT_FALSE(Text(d, "close_message").empty());
        for (const char* key : {"model", "texture", "move_sound"})
            EXPECT_TRUE(FileExists(Text(d, key))) << Text(d, "name") << " " << key;
    }
    EXPECT_EQ(kinds, (std::set<std::string>{"slider", "rotate"}));
}

TEST_F(LevelActors, TwoHealthKitsAndATargetLieInOpenGround) {
    int health = 0, target = 0;
    for (const CfoNode* item : Children(scene, "Item")) {
        const std::string kind = Text(item, "type");
        health += kind == "HEALTH";
        target += kind == "TARGET";
        EXPECT_FALSE(Text(item, "pickup_message").empty());
        for (const char* key : {"model", "texture", "pickup_sound"})
            EXPECT_TRUE(FileExists(Text(item, key))) << Text(item, "name") << " " << key;
        const CfoNode* shape = item->FindChild("PhysicsStaticGeometry");
        ASSERT_NE(shape, nullptr);
        EXPECT_TRUE(InOpenGround(Pair(Text(shape, "pos")), 40.0)) << Text(item, "name");
    }
    EXPECT_GE(health, 2);
    EXPECT_GE(target, 1);
}

TEST_F(LevelActors, TheRainLoopsOverTheLevel) {
    const std::string sound = Text(scene, "ambient_sound");
    EXPECT_EQ(sound, "resources/sounds/rain_loop.ogg");
    EXPECT_TRUE(FileExists(sound));
}
