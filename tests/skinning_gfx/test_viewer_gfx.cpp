// The character viewer under Xvfb, on a small figure written here (legs, body, arms, head
// as boxes on seven bones, one of them "Mugurkauls_krutis") and on the game's two
// characters: the bind pose and frames of each animation give different pictures; the
// figure stays inside its box; a channel rooted at "Mugurkauls_krutis" playing the
// strike moves the arms and leaves the legs; the advanced path draws the same figure.
// The viewer writes PPM pictures; with VELMORA_SHOTS set they are also kept there. The
// characters come from data/, or, before they are there, from the folder named by
// VELMORA_CHARACTERS (laid out as data/); without either their tests are skipped.
#include <gtest/gtest.h>

#include "support/tempfolder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "world/animation.h"
#include "world/meshaam.h"

#ifdef VELMORA_VIEWER

namespace {

const std::string& TempDir() {
    static testsupport::MountedTempFolder folder("velmora_viewer");
    return folder.path;
}

void WriteText(const std::string& name, const std::string& text) {
    testsupport::WriteNativeFile(TempDir(), name, text.data(), text.size());
}

// The figure: axis-aligned boxes, each bound to one bone with weight 1; per-face normals
// and texture coordinates over the whole texture.
struct Figure {
    std::ostringstream verts, faces, weights;
    int count = 0;

    void Box(float x0, float y0, float z0, float x1, float y1, float z1, int bone) {
        // Corners 0..7: bit 0 x, bit 1 y, bit 2 z.
        const int base = count;
        for (int i = 0; i < 8; ++i) {
            verts << " {" << (i & 1 ? x1 : x0) << "," << (i & 2 ? y1 : y0) << ","
                  << (i & 4 ? z1 : z0) << "}\n";
            weights << " { {" << bone << ",-1,-1,-1} {1,0,0,0} }\n";
        }
        count += 8;
        // Each face: four corners counter-clockwise seen from outside, and its normal.
        const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        const int normals[6] = {0, 1, 2, 3, 4, 5};
        for (int f = 0; f < 6; ++f) {
            const int* q = quads[f];
            const int tri[2][3] = {{0, 1, 2}, {0, 2, 3}};
            for (const auto& t : tri) {
                faces << " { {" << base + q[t[0]] << "," << base + q[t[1]] << "," << base + q[t[2]]
                      << "} {" << t[0] << "," << t[1] << "," << t[2] << "} {" << normals[f] << ","
                      << normals[f] << "," << normals[f] << "} }\n";
            }
        }
    }

    std::string Text() const {
        std::ostringstream out;
        out << "verts={\n" << verts.str() << "}\n";
        out << "texcoords={ {0,0} {1,0} {1,1} {0,1} }\n";
        out << "normals={ {0,0,-1} {0,0,1} {0,-1,0} {0,1,0} {-1,0,0} {1,0,0} }\n";
        out << "faces={\n" << faces.str() << "}\n";
        out << "bones={\n";
        const char* bones[7][3] = {
            {"pelvis", "-1", "0,0,55"}, {"leg_l", "0", "-10,0,55"},
            {"leg_r", "0", "10,0,55"},  {"Mugurkauls_krutis", "0", "0,0,75"},
            {"arm_l", "3", "-24,0,95"}, {"arm_r", "3", "24,0,95"},
            {"head", "3", "0,0,100"},
        };
        for (const auto& b : bones) {
            float x, y, z;
            std::sscanf(b[2], "%f,%f,%f", &x, &y, &z);
            out << " { name=" << b[0] << "; parent_id=" << b[1] << "; transf={1,0,0," << x
                << ", 0,1,0," << y << ", 0,0,1," << z << ", 0,0,0,1} }\n";
        }
        out << "}\n";
        out << "weights={\n" << weights.str() << "}\n";
        return out.str();
    }
};

void WriteFigure() {
    static bool written = false;
    if (written) return;
    written = true;
    Figure f;
    f.Box(-17, -6, 0, -3, 6, 55, 1);    // left leg
    f.Box(3, -6, 0, 17, 6, 55, 2);      // right leg
    f.Box(-18, -8, 55, 18, 8, 75, 0);   // hips
    f.Box(-18, -8, 75, 18, 8, 97, 3);   // chest
    f.Box(-31, -5, 45, -19, 5, 97, 4);  // left arm
    f.Box(19, -5, 45, 31, 5, 97, 5);    // right arm
    f.Box(-8, -8, 98, 8, 8, 114, 6);    // head
    WriteText("models/figure.aam", f.Text());
    // A swing of both arms about x through the shoulders, and one of the legs.
    WriteText("anims/strike.cfo",
              "arm_r={ rot={ {0,1,0,0,0} {10,0.7071,0.7071,0,0} {20,0,1,0,0} } }\n"
              "arm_l={ rot={ {0,1,0,0,0} {10,0.9659,-0.2588,0,0} {20,0.866,-0.5,0,0} } }\n");
    WriteText("anims/walk.cfo",
              "leg_l={ rot={ {0,0.9659,0.2588,0,0} {10,0.9659,-0.2588,0,0} "
              "{20,0.9659,0.2588,0,0} } }\n"
              "leg_r={ rot={ {0,0.9659,-0.2588,0,0} {10,0.9659,0.2588,0,0} "
              "{20,0.9659,-0.2588,0,0} } }\n"
              "arm_r={ rot={ {0,0.9914,0.1305,0,0} {10,0.9914,-0.1305,0,0} "
              "{20,0.9914,0.1305,0,0} } }\n");
    WriteText("anims/idle.cfo",
              "Mugurkauls_krutis={ rot={ {0,1,0,0,0} {10,0.9962,0,0,0.0872} {20,1,0,0,0} } }\n");
}

struct Picture {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;

    const unsigned char* At(int x, int y) const {
        return rgb.data() + (size_t(y) * size_t(width) + size_t(x)) * 3;
    }
    // The viewer clears to (26, 26, 31).
    bool Background(int x, int y) const {
        const unsigned char* p = At(x, y);
        return p[0] == 26 && p[1] == 26 && p[2] == 31;
    }
};

bool ReadPpm(const std::string& path, Picture& out) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    int max = 0;
    in >> magic >> out.width >> out.height >> max;
    in.get();
    if (!in || magic != "P6" || max != 255 || out.width <= 0 || out.height <= 0 ||
        out.width > 4096 || out.height > 4096)
        return false;
    out.rgb.resize(size_t(out.width) * size_t(out.height) * 3);
    in.read(reinterpret_cast<char*>(out.rgb.data()), std::streamsize(out.rgb.size()));
    return bool(in);
}

int shot_number = 0;

// Runs the viewer with `args` (the mesh's folder mounted) and reads its picture.
Picture Shot(const std::string& name, const std::string& args) {
    const std::string path = TempDir() + "/" + name + ".ppm";
    const std::string command = std::string(VELMORA_VIEWER) + " --mount " + TempDir() + " " + args +
                                " --out " + path + " > " + TempDir() + "/viewer_" +
                                std::to_string(shot_number++) + ".log 2>&1";
    const int rc = std::system(command.c_str());
    Picture p;
    EXPECT_EQ(rc, 0) << command;
    EXPECT_TRUE(ReadPpm(path, p)) << path;
    if (const char* keep = std::getenv("VELMORA_SHOTS")) {
        std::error_code ignored;
        std::filesystem::create_directories(keep, ignored);
        std::filesystem::copy_file(path, std::string(keep) + "/" + name + ".ppm",
                                   std::filesystem::copy_options::overwrite_existing, ignored);
    }
    return p;
}

// Pixels that differ between two pictures of one size, within a rectangle (top-left
// origin, right and bottom exclusive).
int Differing(const Picture& a, const Picture& b, int x0, int y0, int x1, int y1) {
    if (a.width != b.width || a.height != b.height) return -1;
    int n = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) {
            const unsigned char* p = a.At(x, y);
            const unsigned char* q = b.At(x, y);
            if (p[0] != q[0] || p[1] != q[1] || p[2] != q[2]) ++n;
        }
    return n;
}

struct Box {
    int x0 = 1 << 30, y0 = 1 << 30, x1 = -1, y1 = -1, count = 0;
};

Box FigureBox(const Picture& p) {
    Box b;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            if (!p.Background(x, y)) {
                b.x0 = std::min(b.x0, x);
                b.y0 = std::min(b.y0, y);
                b.x1 = std::max(b.x1, x);
                b.y1 = std::max(b.y1, y);
                ++b.count;
            }
    return b;
}

// Front view: the figure (114 units tall, 62 wide, at scale 1) fills the middle of a
// 200 by 200 picture.
const char* kFigureView =
    " --mesh models/figure.aam --texture resources/textures/chek.dds --scale 1"
    " --eye 0,-300,57 --target 0,0,57 --size 200x200";

}  // namespace

TEST(ViewerGfx, BindPoseOfTheFigureStaysInsideItsBox) {
    WriteFigure();
    const Picture bind = Shot("figure_bind", kFigureView);
    ASSERT_EQ(bind.width, 200);
    ASSERT_EQ(bind.height, 200);
    const Box b = FigureBox(bind);
    // 45 degrees at 300 units: 248.5 units over 200 pixels, 0.805 pixels per unit. The
    // figure spans x -31..31 and z 0..114 around the middle (z 57): 50 by 92 pixels.
    EXPECT_GT(b.count, 2500);
    EXPECT_NEAR(b.x0, 100 - 25, 3);
    EXPECT_NEAR(b.x1, 100 + 25, 3);
    EXPECT_NEAR(b.y0, 100 - 46, 3);
    EXPECT_NEAR(b.y1, 100 + 46, 3);
    // Between the legs, below the hips, the background shows.
    EXPECT_TRUE(bind.Background(100, 130));
    // The chest is lit and textured: neither background nor black.
    const unsigned char* chest = bind.At(100, 70);
    EXPECT_FALSE(bind.Background(100, 70));
    EXPECT_GT(chest[0] + chest[1] + chest[2], 60);
}

TEST(ViewerGfx, FramesOfAnAnimationDifferAndChannelOneLeavesTheLegs) {
    WriteFigure();
    const Picture bind = Shot("figure_bind2", kFigureView);
    // Frame 2: the legs 24 degrees one way; frame 10, 30 the other.
    const Picture walk2 =
        Shot("figure_walk2", std::string(kFigureView) + " --anim anims/walk.cfo --frame 2");
    const Picture walk10 =
        Shot("figure_walk10", std::string(kFigureView) + " --anim anims/walk.cfo --frame 10");
    EXPECT_GT(Differing(bind, walk2, 0, 0, 200, 200), 100);
    EXPECT_GT(Differing(walk2, walk10, 0, 0, 200, 200), 100);

    // Idle on channel 0 in both; the strike on channel 1 from "Mugurkauls_krutis".
    const std::string idle = std::string(kFigureView) + " --anim anims/idle.cfo --frame 4";
    const Picture still = Shot("figure_idle", idle);
    const Picture strike =
        Shot("figure_strike", idle + " --upper anims/strike.cfo --upper-frame 14");
    // The legs: below the hips (z under 50, rows below 100 + 7 * 0.805).
    EXPECT_EQ(Differing(still, strike, 86, 106, 114, 200), 0);
    // The arms, beside the chest, move.
    EXPECT_GT(Differing(still, strike, 0, 0, 86, 200), 30);
    EXPECT_GT(Differing(still, strike, 114, 0, 200, 200), 30);
}

TEST(ViewerGfx, AdvancedPathDrawsTheFigureInTheSamePlace) {
    WriteFigure();
    const Picture simple = Shot("figure_simple", kFigureView);
    const Picture advanced =
        Shot("figure_advanced",
             std::string(kFigureView) + " --advanced --normal resources/textures/orsin_n.tga");
    const Box a = FigureBox(simple);
    const Box b = FigureBox(advanced);
    EXPECT_NEAR(a.x0, b.x0, 1);
    EXPECT_NEAR(a.x1, b.x1, 1);
    EXPECT_NEAR(a.y0, b.y0, 1);
    EXPECT_NEAR(a.y1, b.y1, 1);
    EXPECT_GT(Differing(simple, advanced, 0, 0, 200, 200), 1000);
}

// The advanced path lights in the level's space: turning the figure, the camera and the
// light together by a quarter about z gives the same picture; turning the figure and the
// camera alone does not.
TEST(ViewerGfx, AdvancedLightStaysInTheLevelWhenTheFigureTurns) {
    WriteFigure();
    const std::string figure =
        " --mesh models/figure.aam --texture resources/textures/chek.dds --scale 1"
        " --target 0,0,57 --size 200x200 --advanced --normal resources/textures/orsin_n.tga";
    const Picture a =
        Shot("figure_turn0", figure + " --turn 0 --eye 0,-300,57 --light -100,-200,150");
    const Picture b =
        Shot("figure_turn90", figure + " --turn 90 --eye 300,0,57 --light 200,-100,150");
    const Picture c =
        Shot("figure_turn90_fixed", figure + " --turn 90 --eye 300,0,57 --light -100,-200,150");
    auto far_apart = [](const Picture& p, const Picture& q) {
        int n = 0;
        for (size_t i = 0; i + 2 < p.rgb.size() && i + 2 < q.rgb.size(); i += 3)
            if (std::abs(p.rgb[i] - q.rgb[i]) > 3 || std::abs(p.rgb[i + 1] - q.rgb[i + 1]) > 3 ||
                std::abs(p.rgb[i + 2] - q.rgb[i + 2]) > 3)
                ++n;
        return n;
    };
    const int figure_pixels = FigureBox(a).count;
    ASSERT_GT(figure_pixels, 2500);
    EXPECT_LT(far_apart(a, b), figure_pixels / 100);
    EXPECT_GT(far_apart(a, c), figure_pixels / 4);
}

// The level's fog: none before 100 units, closed at 1800, over the eye distance in the
// level's units (the scale of 3 here must not bring the figure nearer in the fog).
TEST(ViewerGfx, FigureFogsLikeTheLevel) {
    WriteFigure();
    const std::string far =
        " --mesh models/figure.aam --texture resources/textures/chek.dds --scale 3"
        " --eye 0,-1900,171 --target 0,0,171 --size 200x200";
    // The simple path's fog colour is the caller's: the viewer sets (0.5, 0.5, 0.55).
    const Picture simple = Shot("figure_far_simple", far);
    const Box a = FigureBox(simple);
    ASSERT_GT(a.count, 100);
    const unsigned char* p = simple.At((a.x0 + a.x1) / 2, (a.y0 + a.y1) / 2);
    EXPECT_NEAR(p[0], 128, 1);
    EXPECT_NEAR(p[1], 128, 1);
    EXPECT_NEAR(p[2], 140, 1);
    // The advanced path mixes the level's own advanced fog colour, (0.55, 0.5, 0.4).
    const Picture advanced =
        Shot("figure_far_advanced", far + " --advanced --normal resources/textures/orsin_n.tga");
    const Box b = FigureBox(advanced);
    ASSERT_GT(b.count, 100);
    const unsigned char* q = advanced.At((b.x0 + b.x1) / 2, (b.y0 + b.y1) / 2);
    EXPECT_NEAR(q[0], 140, 1);
    EXPECT_NEAR(q[1], 128, 1);
    EXPECT_NEAR(q[2], 102, 1);
    // Near, at 300 units: a fog of 200 / 1700, the chest's colour mostly its own.
    const Picture near = Shot("figure_near", kFigureView);
    const unsigned char* n = near.At(100, 70);
    EXPECT_LT(n[2], 90);
}

TEST(ViewerGfx, BadOptionsAndMissingFilesFailWithALine) {
    WriteFigure();
    const std::string log = TempDir() + "/bad.log";
    const std::string viewer = VELMORA_VIEWER;
    EXPECT_NE(std::system((viewer + " --mesh models/none.aam --out " + TempDir() +
                           "/x.ppm --mount " + TempDir() + " > " + log + " 2>&1")
                              .c_str()),
              0);
    std::ifstream in(log);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("viewer: cannot load models/none.aam"), std::string::npos) << text;
    EXPECT_NE(std::system((viewer + " --size 0x3 > " + log + " 2>&1").c_str()), 0);
    std::ifstream in2(log);
    std::string text2((std::istreambuf_iterator<char>(in2)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text2, "viewer: bad option --size 0x3\n");
}

namespace {

struct Character {
    const char* name;     // orsin, polic
    const char* texture;  // the diffuse atlas
    float scale;          // as the game draws it
};

const Character kCharacters[] = {
    {"orsin", "resources/textures/orsin_d.dds", 1.22f},
    {"polic", "resources/textures/polic.dds", 0.8f},
};

// The folder to mount for the character files, "" when data/ has them, or null when
// neither has them.
const char* CharacterMount(const Character& c) {
    const std::string model = std::string("/resources/models/") + c.name + ".aam";
    if (std::filesystem::exists(std::string(VELMORA_SOURCE_DIR) + "/data" + model)) return "";
    const char* extra = std::getenv("VELMORA_CHARACTERS");
    if (extra && std::filesystem::exists(std::string(extra) + model)) return extra;
    return nullptr;
}

// A character seen from the front (it faces -y) by the viewer's camera: eye at
// (0, -distance, middle) looking along +y, 45 degrees high, the figure about three
// quarters of the picture's height.
struct CharacterView {
    static constexpr int kWidth = 160;
    static constexpr int kHeight = 240;
    float height = 0.0f;  // of the bind pose, after the scale
    float middle = 0.0f;
    float distance = 0.0f;
    float focal = 0.0f;  // pixels per unit at distance 1
    std::string args;

    CharacterView(const Character& c, const MeshAAM& mesh, const std::string& mount) {
        float top = 0.0f;
        for (const HVector3& p : mesh.positions) top = std::max(top, p.z);
        height = top * c.scale;
        middle = height * 0.5f;
        distance = height * 1.6f;
        focal = (kHeight * 0.5f) / std::tan(22.5f * 3.14159265f / 180.0f);
        char text[512];
        std::snprintf(text, sizeof(text),
                      " --mesh resources/models/%s.aam --texture %s --scale %g --turn 0"
                      " --eye 0,%g,%g --target 0,0,%g --size %dx%d%s%s",
                      c.name, c.texture, double(c.scale), double(-distance), double(middle),
                      double(middle), kWidth, kHeight, mount.empty() ? "" : " --mount ",
                      mount.c_str());
        args = text;
    }
    // The picture row and column of a point of the level (already scaled).
    float Column(float x, float y) const { return kWidth * 0.5f + focal * x / (distance + y); }
    float Row(float y, float z) const {
        return kHeight * 0.5f - focal * (z - middle) / (distance + y);
    }
};

// The box every pose of a character stays in: 0.6 of its height to either side and to the
// front and back, from just under the ground to 1.1 of its height, as pixels.
Box ExpectedBox(const CharacterView& v) {
    const float r = 0.6f * v.height;
    Box b;
    b.x0 = int(std::floor(v.Column(-r, -r))) - 1;
    b.x1 = int(std::ceil(v.Column(r, -r))) + 1;
    b.y0 = int(std::floor(v.Row(-r, 1.1f * v.height))) - 1;
    b.y1 = int(std::ceil(v.Row(-r, -0.03f * v.height))) + 1;
    return b;
}

bool Inside(const Box& figure, const Box& expected) {
    return figure.count > 0 && figure.x0 >= expected.x0 && figure.x1 <= expected.x1 &&
           figure.y0 >= expected.y0 && figure.y1 <= expected.y1;
}

class CharacterGfx : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        character = kCharacters[GetParam()];
        const char* mount = CharacterMount(character);
        if (mount == nullptr) GTEST_SKIP() << character.name << " not generated yet";
        this->mount = mount;
        static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
        ASSERT_TRUE(mounted);
        if (!this->mount.empty()) FileSystemMount(this->mount);
        testing::internal::CaptureStdout();
        const bool loaded = mesh.Load(std::string("resources/models/") + character.name + ".aam");
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(loaded);
        ASSERT_GT(mesh.vertex_count, 0u);
    }

    std::string Anim(const char* which) const {
        return std::string("animations/") + character.name + "_" + which + ".cfo";
    }
    int Length(const char* which) {
        Animation a;
        EXPECT_TRUE(a.Load(Anim(which))) << Anim(which);
        return a.Length();
    }
    std::string ShotName(const std::string& what) const {
        return std::string(character.name) + "_" + what;
    }

    Character character{};
    std::string mount;
    MeshAAM mesh;
};

}  // namespace

TEST_P(CharacterGfx, BindPoseAndThreeFramesOfEachAnimation) {
    const CharacterView view(character, mesh, mount);
    const Box expected = ExpectedBox(view);
    const Picture bind = Shot(ShotName("bind"), view.args);
    const Box b = FigureBox(bind);
    EXPECT_TRUE(Inside(b, expected)) << b.x0 << "," << b.y0 << " " << b.x1 << "," << b.y1;
    // The figure stands on the ground in the middle and fills its height.
    EXPECT_NEAR((b.x0 + b.x1) * 0.5f, CharacterView::kWidth * 0.5f, 8.0f);
    EXPECT_GT(float(b.y1 - b.y0), 0.9f * view.focal * view.height / view.distance);
    EXPECT_NEAR(float(b.y1), view.Row(0.0f, 0.0f), 6.0f);

    const char* names[4] = {"idle", "walk", "run", "attack"};
    const float speeds[4] = {20.0f, 70.0f, 100.0f, 80.0f};
    for (int a = 0; a < 4; ++a) {
        const int length = Length(names[a]);
        ASSERT_GE(length, 4) << names[a];
        Picture frames[3];
        for (int i = 0; i < 3; ++i) {
            const int frame = length * (i + 1) / 4;
            char extra[160];
            std::snprintf(extra, sizeof(extra), " --anim %s --speed %g --frame %d",
                          Anim(names[a]).c_str(), double(speeds[a]), frame);
            frames[i] = Shot(ShotName(std::string(names[a]) + "_" + std::to_string(frame)),
                             view.args + extra);
            const Box f = FigureBox(frames[i]);
            EXPECT_TRUE(Inside(f, expected))
                << names[a] << " frame " << frame << ": " << f.x0 << "," << f.y0 << " " << f.x1
                << "," << f.y1 << " outside " << expected.x0 << "," << expected.y0 << " "
                << expected.x1 << "," << expected.y1;
        }
        const int w = CharacterView::kWidth, h = CharacterView::kHeight;
        EXPECT_GT(Differing(frames[0], frames[1], 0, 0, w, h), 20) << names[a];
        EXPECT_GT(Differing(frames[1], frames[2], 0, 0, w, h), 20) << names[a];
        EXPECT_GT(Differing(frames[0], frames[2], 0, 0, w, h), 20) << names[a];
        EXPECT_GT(Differing(bind, frames[1], 0, 0, w, h), 20) << names[a];
    }
}

TEST_P(CharacterGfx, StrikeOnTheUpperBodyChannelLeavesTheLegs) {
    const CharacterView view(character, mesh, mount);
    ASSERT_GE(mesh.FindBone("Mugurkauls_krutis"), 0);
    const int idle_frame = Length("idle") / 2;
    const int strike_frame = Length("attack") / 2;
    char extra[200];
    std::snprintf(extra, sizeof(extra), " --anim %s --speed 20 --frame %d", Anim("idle").c_str(),
                  idle_frame);
    const std::string idle = view.args + extra;
    std::snprintf(extra, sizeof(extra),
                  " --upper %s --upper-root Mugurkauls_krutis --upper-frame %d",
                  Anim("attack").c_str(), strike_frame);
    const Picture still = Shot(ShotName("idle_only"), idle);
    const Picture strike = Shot(ShotName("idle_strike"), idle + extra);
    const int w = CharacterView::kWidth, h = CharacterView::kHeight;
    // Below the knees (under a third of the height, seen from the front edge of the box).
    const int knees = int(std::ceil(view.Row(-0.6f * view.height, 0.3f * view.height)));
    EXPECT_GT(FigureBox(still).y1, knees);
    EXPECT_EQ(Differing(still, strike, 0, knees, w, h), 0);
    // Above the waist: the arms and the body move.
    const int waist = int(std::floor(view.Row(0.6f * view.height, 0.55f * view.height)));
    EXPECT_GT(Differing(still, strike, 0, 0, w, waist), 100);
}

// Only the hero has the advanced path and a normal map.
class HeroGfx : public CharacterGfx {};

TEST_P(HeroGfx, AdvancedPathDrawsTheHeroInTheSamePlace) {
    const CharacterView view(character, mesh, mount);
    const std::string normal = " --advanced --normal resources/textures/orsin_n.tga";
    const Picture simple = Shot(ShotName("simple"), view.args);
    const Picture advanced = Shot(ShotName("advanced"), view.args + normal);
    const Box a = FigureBox(simple), b = FigureBox(advanced);
    EXPECT_NEAR(a.x0, b.x0, 2);
    EXPECT_NEAR(a.x1, b.x1, 2);
    EXPECT_NEAR(a.y0, b.y0, 2);
    EXPECT_NEAR(a.y1, b.y1, 2);
    EXPECT_GT(Differing(simple, advanced, 0, 0, CharacterView::kWidth, CharacterView::kHeight),
              500);
}

INSTANTIATE_TEST_SUITE_P(Characters, CharacterGfx, ::testing::Values(0, 1),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return std::string(kCharacters[info.param].name);
                         });
INSTANTIATE_TEST_SUITE_P(Hero, HeroGfx, ::testing::Values(0),
                         [](const ::testing::TestParamInfo<int>& info) {
                             return std::string(kCharacters[info.param].name);
                         });

#endif  // VELMORA_VIEWER
