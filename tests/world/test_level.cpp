// The courtyard level document as committed (data/scenes/enemy_test.cfo): its top node, the
// world geometry's build step and tree file, and every collision polygon, which must be
// convex, counter-clockwise and small enough for the physics' support search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"

namespace {

const std::string kData = std::string(VELMORA_SOURCE_DIR) + "/data/";

struct Point {
    double x, y;
};

bool ReadDocument(CfoDocument& doc, const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::stringstream text;
    text << in.rdbuf();
    return doc.Parse(text.str());
}

std::vector<CfoNode*> Children(const CfoNode* node, const std::string& name) {
    std::vector<CfoNode*> out;
    for (CfoNode* child : node->children)
        if (child->name == name) out.push_back(child);
    return out;
}

// A hull row is an anonymous scope whose first child's name is "x,y".
std::vector<Point> HullPoints(const CfoNode* hull) {
    std::vector<Point> points;
    for (const CfoNode* row : hull->children) {
        const CfoNode* first = row->FirstChild();
        if (first == nullptr) continue;
        Point p{};
        EXPECT_EQ(std::sscanf(first->name.c_str(), "%lf,%lf", &p.x, &p.y), 2) << first->name;
        points.push_back(p);
    }
    return points;
}

class LevelDocument : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(ReadDocument(doc, kData + "scenes/enemy_test.cfo"));
        scene = doc.FindChild("Scene");
        ASSERT_NE(scene, nullptr);
        world = scene->FindChild("WorldGeometry");
        ASSERT_NE(world, nullptr);
    }
    CfoDocument doc;
    CfoNode* scene = nullptr;
    CfoNode* world = nullptr;
};

}  // namespace

TEST_F(LevelDocument, TopNodeIsTheGameScene) {
    ASSERT_FALSE(doc.children.empty());
    EXPECT_EQ(doc.children.front()->name, "Scene");
    std::string name;
    ASSERT_TRUE(CfoReadString(scene, "name", name));
    EXPECT_EQ(name, "game_scene");
    std::string sky_mesh, sky_texture;
    ASSERT_TRUE(CfoReadString(scene, "sky_mesh", sky_mesh));
    ASSERT_TRUE(CfoReadString(scene, "sky_texture", sky_texture));
    EXPECT_TRUE(std::filesystem::is_regular_file(kData + sky_mesh)) << sky_mesh;
    EXPECT_TRUE(std::filesystem::is_regular_file(kData + sky_texture)) << sky_texture;
}

TEST_F(LevelDocument, BuilderWritesTheTreeTheWorldReads) {
    CfoNode* builder = world->FindChild("ABTBuilder");
    ASSERT_NE(builder, nullptr);
    std::string output, file;
    ASSERT_TRUE(CfoReadString(builder, "output_file", output));
    ASSERT_TRUE(CfoReadString(world, "file", file));
    EXPECT_EQ(output, "data/" + file);  // the game runs from the folder that holds data/
    CfoNode* objects = builder->FindChild("Objects");
    ASSERT_NE(objects, nullptr);
    ASSERT_EQ(objects->children.size(), 4u);
    for (const CfoNode* row : objects->children) {
        ASSERT_NE(row->FirstChild(), nullptr);
        const std::string text = row->FirstChild()->name;
        const size_t comma = text.find(',');
        ASSERT_NE(comma, std::string::npos) << text;
        EXPECT_TRUE(std::filesystem::is_regular_file(kData + text.substr(0, comma))) << text;
        EXPECT_TRUE(std::filesystem::is_regular_file(kData + text.substr(comma + 1))) << text;
    }
}

TEST_F(LevelDocument, CollisionPolygonsAreConvexCounterClockwiseAndInsideTheArea) {
    const std::vector<CfoNode*> bodies = Children(world, "PhysicsStaticGeometry");
    ASSERT_GE(bodies.size(), 16u);
    for (size_t b = 0; b < bodies.size(); ++b) {
        SCOPED_TRACE("PhysicsStaticGeometry " + std::to_string(b));
        const CfoNode* hull = bodies[b]->FindChild("hull");
        ASSERT_NE(hull, nullptr);
        const std::vector<Point> p = HullPoints(hull);
        ASSERT_GE(p.size(), 3u);
        EXPECT_LE(p.size(), 32u);
        const size_t n = p.size();
        double area = 0.0;
        for (size_t i = 0; i < n; ++i) {
            const Point& a = p[i];
            const Point& c = p[(i + 1) % n];
            const Point& d = p[(i + 2) % n];
            // Each turn is to the left: strictly convex and counter-clockwise.
            const double turn = (c.x - a.x) * (d.y - c.y) - (c.y - a.y) * (d.x - c.x);
            EXPECT_GT(turn, 0.0) << "corner " << (i + 1) % n;
            area += a.x * c.y - c.x * a.y;
            EXPECT_GE(a.x, -1405.0);
            EXPECT_LE(a.x, 3248.0);
            EXPECT_GE(a.y, -3004.0);
            EXPECT_LE(a.y, 1224.0);
        }
        EXPECT_GT(area, 0.0);
    }
}

TEST_F(LevelDocument, OuterWallsCloseTheArea) {
    // Each side of the area is covered by one collision polygon along its whole length.
    const std::vector<CfoNode*> bodies = Children(world, "PhysicsStaticGeometry");
    struct Box {
        double x0, x1, y0, y1;
    };
    std::vector<Box> boxes;
    for (const CfoNode* body : bodies) {
        const std::vector<Point> p = HullPoints(body->FindChild("hull"));
        Box box{1e9, -1e9, 1e9, -1e9};
        for (const Point& q : p) {
            box.x0 = std::min(box.x0, q.x);
            box.x1 = std::max(box.x1, q.x);
            box.y0 = std::min(box.y0, q.y);
            box.y1 = std::max(box.y1, q.y);
        }
        boxes.push_back(box);
    }
    auto covered = [&](auto test) {
        for (const Box& b : boxes)
            if (test(b)) return true;
        return false;
    };
    EXPECT_TRUE(
        covered([](const Box& b) { return b.x0 <= -1405 && b.y0 <= -3004 && b.y1 >= 1224; }));
    EXPECT_TRUE(
        covered([](const Box& b) { return b.x1 >= 3248 && b.y0 <= -3004 && b.y1 >= 1224; }));
    EXPECT_TRUE(
        covered([](const Box& b) { return b.y0 <= -3004 && b.x0 <= -1365 && b.x1 >= 3208; }));
    EXPECT_TRUE(
        covered([](const Box& b) { return b.y1 >= 1224 && b.x0 <= -1365 && b.x1 >= 3208; }));
}

TEST_F(LevelDocument, EveryWallFootStandsOnACollisionPolygon) {
    // The foot of every plaster face (walls and houses, z = 0) lies inside or on the edge
    // of a collision polygon, so no wall can be walked through.
    std::vector<std::vector<Point>> hulls;
    for (const CfoNode* body : Children(world, "PhysicsStaticGeometry"))
        hulls.push_back(HullPoints(body->FindChild("hull")));
    CfoDocument mesh;
    ASSERT_TRUE(ReadDocument(mesh, kData + "resources/meshes/courtyard_walls.asm"));
    const CfoNode* verts = mesh.FindChild("verts");
    ASSERT_NE(verts, nullptr);
    size_t feet = 0;
    for (const CfoNode* row : verts->children) {
        double x = 0, y = 0, z = 0;
        ASSERT_EQ(std::sscanf(row->FirstChild()->name.c_str(), "%lf,%lf,%lf", &x, &y, &z), 3);
        if (z != 0.0) continue;
        ++feet;
        bool inside = false;
        for (const std::vector<Point>& p : hulls) {
            bool all_left = true;
            for (size_t i = 0; i < p.size() && all_left; ++i) {
                const Point& a = p[i];
                const Point& b = p[(i + 1) % p.size()];
                all_left = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x) >= -1e-6;
            }
            inside = inside || all_left;
        }
        EXPECT_TRUE(inside) << "wall foot at " << x << "," << y;
    }
    EXPECT_GE(feet, 48u);  // four corners of each of 16 blocks, shared corners written once
}
