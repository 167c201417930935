// The character viewer: draws one skinned mesh the way the characters draw it, from a fixed
// camera, writes the frame as a binary PPM and exits. The skinning tests and people
// looking at a new model run it; the game never contains it.
//
//   velmora_viewer --mesh resources/models/orsin.aam --texture resources/textures/orsin_d.dds
//                  [--normal resources/textures/orsin_n.tga] [--advanced]
//                  [--anim animations/orsin_walk.cfo --frame 12 --speed 70]
//                  [--upper animations/orsin_attack.cfo --upper-root Mugurkauls_krutis
//                   --upper-frame 20]
//                  [--scale 1.22] [--turn 0] [--eye 0,-260,110] [--target 0,0,70]
//                  [--light 100,100,150]
//                  [--size 320x240] [--mount /extra/folder] --out shot.ppm
//
// Paths are on the search path: data/ of the source tree, then each --mount folder.
// "--anim" plays on channel 0 from the skeleton's root; "--upper" on channel 1 from the
// named bone, as the hero strikes. One animation step poses the mesh at time
// frame / speed; the upper channel's speed is chosen so that it reaches its own frame at
// that time. Exit code 0 with the picture written, 1 otherwise (with a line saying why).

#include <SDL.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "gl/glprocs.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "platform/window.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"
#include "world/skinnedmeshdraw.h"

namespace {

struct Options {
    std::string mesh, texture, normal, anim, upper, upper_root = "Mugurkauls_krutis", out;
    std::vector<std::string> mounts;
    bool advanced = false;
    float frame = 0.0f, speed = 20.0f, upper_frame = 0.0f;
    float scale = 1.22f, turn = 0.0f;
    float eye[3] = {0.0f, -260.0f, 110.0f};
    float target[3] = {0.0f, 0.0f, 70.0f};
    float light[3] = {100.0f, 100.0f, 150.0f};  // the hero's light
    int width = 320, height = 240;
};

bool ParseVector(const std::string& text, float out[3]) {
    return std::sscanf(text.c_str(), "%f,%f,%f", &out[0], &out[1], &out[2]) == 3;
}

bool ParseOptions(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string key = argv[i];
        if (key == "--advanced") {
            o.advanced = true;
            continue;
        }
        if (i + 1 >= argc) {
            std::cout << "viewer: " << key << " needs a value" << std::endl;
            return false;
        }
        const std::string value = argv[++i];
        bool ok = true;
        if (key == "--mesh")
            o.mesh = value;
        else if (key == "--texture")
            o.texture = value;
        else if (key == "--normal")
            o.normal = value;
        else if (key == "--anim")
            o.anim = value;
        else if (key == "--upper")
            o.upper = value;
        else if (key == "--upper-root")
            o.upper_root = value;
        else if (key == "--out")
            o.out = value;
        else if (key == "--mount")
            o.mounts.push_back(value);
        else if (key == "--frame")
            o.frame = std::strtof(value.c_str(), nullptr);
        else if (key == "--speed")
            o.speed = std::strtof(value.c_str(), nullptr);
        else if (key == "--upper-frame")
            o.upper_frame = std::strtof(value.c_str(), nullptr);
        else if (key == "--scale")
            o.scale = std::strtof(value.c_str(), nullptr);
        else if (key == "--turn")
            o.turn = std::strtof(value.c_str(), nullptr);
        else if (key == "--eye")
            ok = ParseVector(value, o.eye);
        else if (key == "--target")
            ok = ParseVector(value, o.target);
        else if (key == "--light")
            ok = ParseVector(value, o.light);
        else if (key == "--size")
            ok = std::sscanf(value.c_str(), "%dx%d", &o.width, &o.height) == 2 && o.width > 0 &&
                 o.height > 0 && o.width <= 4096 && o.height <= 4096;
        else
            ok = false;
        if (!ok) {
            std::cout << "viewer: bad option " << key << " " << value << std::endl;
            return false;
        }
    }
    if (o.mesh.empty() || o.out.empty()) {
        std::cout << "viewer: --mesh and --out are required" << std::endl;
        return false;
    }
    if (o.speed <= 0.0f) {
        std::cout << "viewer: --speed must be above 0" << std::endl;
        return false;
    }
    return true;
}

// A texture of either kind the characters use; its GL name, 0 when it did not load.
struct AnyTexture {
    ResourceHandle<TextureDDS> dds;
    ResourceHandle<TextureTGA> tga;

    uint32_t Load(ResourceManager& resources, const std::string& path) {
        if (path.empty()) return 0;
        const bool is_tga = path.size() > 4 && path.compare(path.size() - 4, 4, ".tga") == 0;
        if (is_tga) return resources.Load(tga, path) ? tga->texture_id : 0;
        return resources.Load(dds, path) ? dds->texture_id : 0;
    }
};

int RootBone(const MeshAAM& mesh) {
    for (size_t i = 0; i < mesh.bones.size(); ++i)
        if (mesh.bones[i].parent_id < 0) return int(i);
    return 0;
}

bool WritePpm(const std::string& path, int width, int height) {
    std::vector<unsigned char> rgb(size_t(width) * size_t(height) * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) {
        std::cout << "viewer: cannot write " << path << std::endl;
        return false;
    }
    std::fprintf(f, "P6\n%d %d\n255\n", width, height);
    // GL's rows run from the bottom; the picture's from the top.
    for (int row = height - 1; row >= 0; --row)
        std::fwrite(rgb.data() + size_t(row) * size_t(width) * 3, 1, size_t(width) * 3, f);
    const bool ok = std::fclose(f) == 0;
    if (!ok) std::cout << "viewer: cannot write " << path << std::endl;
    return ok;
}

const float kLightColor[3] = {1.0f, 1.0f, 0.6f};

void DrawSimple(ShaderProgram* shader, uint32_t texture, const MeshAAM& mesh) {
    glEnable(GL_CULL_FACE);
    // The level's fog: the program writes the coordinate, 0 at the eye to 1 where the
    // view closes.
    EnableProgramFog(0.5f, 0.5f, 0.55f, 1.0f);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    BindCharacterTexture(texture);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    ShaderProgram::EnableProfile(cg_vertex_profile);
    shader->Bind();
    shader->SetViewMatrices();
    shader->SetParameter3fv("LigthColor", kLightColor);
    SetBoneParameters(shader, mesh);
    DrawSkinnedMesh(mesh);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    glDisable(GL_FOG);
}

void DrawAdvanced(const Options& o, ShaderProgram* vertex, ShaderProgram* fragment,
                  uint32_t diffuse, uint32_t normal, const MeshAAM& mesh) {
    glDisable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    BindCharacterTexture(diffuse);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    const float camera_dir[3] = {o.eye[0] - o.target[0], o.eye[1] - o.target[1],
                                 o.eye[2] - o.target[2]};
    ShaderProgram::EnableProfile(cg_vertex_profile);
    vertex->Bind();
    vertex->SetViewMatrices();
    vertex->SetParameter3fv("LigthPos", o.light);
    vertex->SetParameter3fv("LigthColor", kLightColor);
    vertex->SetParameter3fv("CameraPos", o.eye);
    SetBoneParameters(vertex, mesh);
    vertex->SetParameter3fv("CameraDir", camera_dir);
    ShaderProgram::EnableProfile(cg_fragment_profile);
    fragment->Bind();
    fragment->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
    fragment->SetParameter3fv("LigthPos", o.light);
    fragment->SetParameter3fv("LigthColor", kLightColor);
    fragment->SetTexture("diffuse_map", diffuse);
    fragment->SetTexture("normal_map", normal);
    fragment->EnableTexture("diffuse_map");
    fragment->EnableTexture("normal_map");
    DrawSkinnedMesh(mesh);
    fragment->DisableTexture("diffuse_map");
    fragment->DisableTexture("normal_map");
    ShaderProgram::DisableProfile(cg_vertex_profile);
    ShaderProgram::DisableProfile(cg_fragment_profile);
}

int Run(const Options& o) {
    FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    for (const std::string& m : o.mounts) FileSystemMount(m);

    Window window;
    if (window.SetVideoMode(o.width, o.height, 32, false, false) != 1) return 1;
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &max_anisotropy);
    InitCg("arbvp1", "arbfp1");
    if (!cg_context) return 1;

    ResourceManager resources;
    resources.RegisterType<ShaderProgram>("cg");
    resources.RegisterType<TextureDDS>("dds");
    resources.RegisterType<TextureTGA>("tga");

    MeshAAM mesh;
    if (!mesh.Load(o.mesh)) {
        std::cout << "viewer: cannot load " << o.mesh << std::endl;
        return 1;
    }
    AnyTexture diffuse_file, normal_file;
    const uint32_t diffuse = diffuse_file.Load(resources, o.texture);
    const uint32_t normal = normal_file.Load(resources, o.normal);
    ResourceHandle<ShaderProgram> simple, vertex, fragment;
    if (o.advanced) {
        resources.Load(vertex, "resources/shaders/character_advanced.cg");
        SetShaderLoadMode(false);
        resources.Load(fragment, "resources/shaders/character_advanced_frag.cg");
        SetShaderLoadMode(true);
        if (!vertex.IsValid() || !fragment.IsValid()) return 1;
    } else {
        resources.Load(simple, "resources/shaders/quat_skinned_geometry.cg");
        if (!simple.IsValid()) return 1;
    }

    // The pose: one animation step at the time that puts channel 0 at its frame.
    Animation base, upper;
    Animator animator;
    const float time = o.frame / o.speed;
    bool posed = false;
    if (!o.anim.empty()) {
        if (!base.Load(o.anim)) {
            std::cout << "viewer: cannot load " << o.anim << std::endl;
            return 1;
        }
        mesh.BindAnimation(&base);
        animator.SetupChannel(0, 1.0f, 0.0f, RootBone(mesh));
        animator.Play(&base, 0.0f, o.speed, 0);
        posed = true;
    }
    if (!o.upper.empty()) {
        const int root = mesh.FindBone(o.upper_root);
        if (root < 0) {
            std::cout << "viewer: no bone " << o.upper_root << std::endl;
            return 1;
        }
        if (!upper.Load(o.upper)) {
            std::cout << "viewer: cannot load " << o.upper << std::endl;
            return 1;
        }
        mesh.BindAnimation(&upper);
        animator.SetupChannel(1, 1.0f, 0.0f, root);
        // Both channels count from time 0: this speed brings the upper one to its frame.
        const float upper_speed = time > 0.0f ? o.upper_frame / time : 0.0f;
        animator.Play(&upper, 0.0f, upper_speed, 1);
        posed = true;
    }
    if (posed) {
        // One step, whatever the time: the animator poses when a step has passed since
        // its last update.
        animator.last_update = time - 2.0f * r_animation_step - 1.0f;
        animator.Update(mesh, time);
    }

    glViewport(0, 0, o.width, o.height);
    // Dusk grey-blue, exactly (26, 26, 31) in bytes: the tests tell the figure from it.
    glClearColor(26.0f / 255.0f, 26.0f / 255.0f, 31.0f / 255.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(45.0, double(o.width) / double(o.height), 1.0, 5000.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(o.eye[0], o.eye[1], o.eye[2], o.target[0], o.target[1], o.target[2], 0, 0, 1);
    glPushMatrix();
    glRotatef(o.turn, 0.0f, 0.0f, 1.0f);
    glScalef(o.scale, o.scale, o.scale);
    if (o.advanced)
        DrawAdvanced(o, vertex.Get(), fragment.Get(), diffuse, normal, mesh);
    else
        DrawSimple(simple.Get(), diffuse, mesh);
    glPopMatrix();
    glFinish();
    const bool written = WritePpm(o.out, o.width, o.height);
    return written ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    Options options;
    if (!ParseOptions(argc, argv, options)) return 1;
    return Run(options);
}
