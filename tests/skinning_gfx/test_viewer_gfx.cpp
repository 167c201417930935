// The character viewer under Xvfb, on a small figure written here (legs, body, arms, head
// as boxes on seven bones, one of them "Mugurkauls_krutis") and on the game's two
// characters: the bind pose and frames of each animation give different pictures; the
// figure stays inside its box; a channel rooted at "Mugurkauls_krutis" playing the
// strike moves the arms and leaves the legs; the advanced path draws the same figure.
// The viewer writes PPM pictures; with VELMORA_SHOTS set they are also kept there.
#include <gtest/gtest.h>

#include "support/tempfolder.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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

#endif  // VELMORA_VIEWER
