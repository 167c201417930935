#pragma once
// The probe entity of the graphical tests (tests/gfx) and the start-up benchmark
// (bench/startup.py). It lives only in the probe program (tests/probe/probe_main.cpp),
// which runs the engine exactly as the game does with this one class registered more;
// the game itself never contains it.
//
// "TestProbe" logs what reaches it, on standard output, one line per fact, each starting
// with "TestProbe '<name>' ": its life ("loaded", "bound", "unloaded", "deleted"), the main
// loop pass of its first FrameEvents and of each ResumeGameEvent, its first Render, and,
// with "log_input=1", every InputEvent (keys with their SDL 1.2 codes, mouse motion in
// virtual coordinates beside the raw position, buttons).
//
// Keys of its node, all optional:
//   quad=x1,y1,x2,y2; colour=r,g,b;  a flat quad in the 1024x768 virtual space
//   load_path=scenes/x.cfo;           key "l" posts a LoadGameEvent with it
//   delete_name=other;                key "k" posts a DeleteEntityEvent for that entity,
//                                     then the LoadGameEvent, in one frame
//   pause_ms=N;                       holds its first frame N ms (for a screenshot of what
//                                     the screen shows before the first drawn pass)
//   bench_frames=N;                   logs the time from process start to the first
//                                     swapped frame (and from the last LoadGameEvent a
//                                     probe posted, if one did), then the frame rate over
//                                     N more frames, and ends the program
//   resume_key=1;                     key "r" posts a ResumeGameEvent that resumes the
//                                     world, as the main menu will (the world starts paused)
//   log_messages=1;                   logs the text of every GameGUIMessageEvent, which the
//                                     game's screens show ("message '<text>'"), and every
//                                     frame longer than 0.1 s ("long frame")

#include <GL/gl.h>
#include <SDL.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/draw.h"
#include "platform/settings.h"
#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hvector3.h"
#include "scene/entity.h"
#include "scene/scenemanager.h"

// The main loop's pass number, counted by the probe program before each pass.
inline uint32_t test_loop_pass = 0;
// Taken while the probe program's file is initialised, before main runs: the benchmark's
// zero.
inline const std::chrono::steady_clock::time_point test_process_start =
    std::chrono::steady_clock::now();
// When a probe last posted a LoadGameEvent (key "l"): the zero of the level-load benchmark,
// read by a probe of the scene that the event loads.
inline std::chrono::steady_clock::time_point test_load_posted;
inline bool test_load_was_posted = false;

class TestProbe : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("TestProbe")

public:
    // The registry's prototype is made and dropped without a Load: it stays silent.
    ~TestProbe() override {
        if (loaded) Log("deleted");
    }

    void Load(CfoNode* node, ResourceManager* resources) override {
        Entity::Load(node, resources);
        if (node != nullptr) {
            CfoReadBool(node, "log_input", log_input);
            CfoReadString(node, "load_path", load_path);
            CfoReadString(node, "delete_name", delete_name);
            std::string text;
            if (CfoReadString(node, "quad", text)) {
                has_quad = sscanf(text.c_str(), "%f,%f,%f,%f", &quad[0], &quad[1], &quad[2],
                                  &quad[3]) == 4;
            }
            CfoReadVector3(node, "colour", colour);
            CfoReadInt(node, "pause_ms", pause_ms);
            CfoReadInt(node, "bench_frames", bench_frames);
            CfoReadBool(node, "resume_key", resume_key);
            CfoReadBool(node, "log_messages", log_messages);
            if (pause_ms < 0 || pause_ms > 60000) pause_ms = 0;
            if (bench_frames < 0) bench_frames = 0;
        }
        loaded = true;
        Log("loaded");
    }

    void Bind(EventManager* events, SceneManager* scene, CollisionManager*) override {
        scene_manager = scene;
        events->AddHandler(this, &TestProbe::OnFrame);
        events->AddHandler(this, &TestProbe::OnInput);
        events->AddHandler(this, &TestProbe::OnResume);
        if (log_messages) events->AddHandler(this, &TestProbe::OnMessage);
        Log("bound");
    }

    void Unload(SceneManager*, ResourceManager*) override { Log("unloaded"); }

    void Render(RenderQueue*) override {
        if (renders++ == 0) Log("first Render in pass %u", test_loop_pass);
        if (!has_quad) return;
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0, virtual_width, virtual_height, 0, 1, 0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_LIGHTING);
        glDisable(GL_BLEND);
        glColor3f(colour.x, colour.y, colour.z);
        DrawQuad(quad[0], quad[1], quad[2], quad[3]);
    }

    void PostRender() override {
        if (bench_frames <= 0) return;
        const auto now = std::chrono::steady_clock::now();
        if (swapped == 0) {
            const double ms =
                std::chrono::duration<double, std::milli>(now - test_process_start).count();
            Log("first frame swapped after %.1f ms", ms);
            if (test_load_was_posted) {
                Log("first frame swapped %.1f ms after the LoadGameEvent",
                    std::chrono::duration<double, std::milli>(now - test_load_posted).count());
            }
            bench_start = now;
        }
        if (swapped == bench_frames) {
            const double s = std::chrono::duration<double>(now - bench_start).count();
            Log("%d frames in %.3f s: %.1f frames per second", bench_frames, s,
                s > 0 ? bench_frames / s : 0.0);
            bench_done = true;
        }
        ++swapped;
    }

    bool OnFrame(FrameEvent* event) {
        if (bench_done) return false;
        if (log_messages && event != nullptr && event->dt > 0.1f)
            Log("long frame %.3f s in pass %u", event->dt, test_loop_pass);
        if (scene_manager != nullptr) scene_manager->AddToRenderQueue(this);
        if (frames < 3) Log("FrameEvent in pass %u", test_loop_pass);
        if (frames == 0 && pause_ms > 0) {
            fflush(stdout);
            SDL_Delay(static_cast<Uint32>(pause_ms));
        }
        ++frames;
        return true;
    }

    bool OnResume(ResumeGameEvent* event) {
        Log("ResumeGameEvent %d in pass %u", event->resume ? 1 : 0, test_loop_pass);
        return true;
    }

    bool OnMessage(GameGUIMessageEvent* event) {
        Log("message '%s'", event->text.c_str());
        return true;
    }

    bool OnInput(InputEvent* event) {
        const Sdl12Event& sdl = event->sdl_event;
        if (log_input) {
            switch (sdl.type) {
                case SDL12_KEYDOWN:
                    Log("key down %d r_debug_physics %d", sdl.key.keysym.sym,
                        r_debug_physics ? 1 : 0);
                    break;
                case SDL12_KEYUP:
                    Log("key up %d", sdl.key.keysym.sym);
                    break;
                case SDL12_MOUSEMOTION:
                    Log("motion %d %d raw %u %u", static_cast<int>(event->mouse.x),
                        static_cast<int>(event->mouse.y), static_cast<unsigned>(sdl.motion.x),
                        static_cast<unsigned>(sdl.motion.y));
                    break;
                case SDL12_MOUSEBUTTONDOWN:
                case SDL12_MOUSEBUTTONUP:
                    Log("button %s %u at %u %u", sdl.type == SDL12_MOUSEBUTTONDOWN ? "down" : "up",
                        static_cast<unsigned>(sdl.button.button),
                        static_cast<unsigned>(sdl.button.x), static_cast<unsigned>(sdl.button.y));
                    break;
                default:
                    break;
            }
        }
        if (sdl.type == SDL12_KEYDOWN && resume_key && sdl.key.keysym.sym == 'r') {
            Log("posts ResumeGameEvent 1");
            Post(new ResumeGameEvent(true));
        }
        if (sdl.type == SDL12_KEYDOWN && !load_path.empty()) {
            const int32_t key = sdl.key.keysym.sym;
            if (key == 'k' && !delete_name.empty()) {
                Entity* doomed = FindEntity(delete_name);
                if (doomed != nullptr && doomed->GetParent() != nullptr) {
                    Log("posts DeleteEntityEvent '%s'", delete_name.c_str());
                    Post(new DeleteEntityEvent(doomed));
                }
            }
            if (key == 'l' || key == 'k') {
                Log("posts LoadGameEvent '%s'", load_path.c_str());
                test_load_posted = std::chrono::steady_clock::now();
                test_load_was_posted = true;
                Post(new LoadGameEvent(load_path));
            }
        }
        return true;
    }

private:
    void Log(const char* format, ...) {
        char text[512];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        printf("TestProbe '%s' %s\n", name.c_str(), text);
    }

    SceneManager* scene_manager = nullptr;  // not owned
    bool loaded = false;
    bool log_input = false;
    bool resume_key = false;
    bool log_messages = false;
    std::string load_path;
    std::string delete_name;
    bool has_quad = false;
    float quad[4] = {0, 0, 0, 0};
    HVector3 colour = HVector3(1.0f, 1.0f, 1.0f);
    int32_t pause_ms = 0;
    int32_t bench_frames = 0;
    int32_t frames = 0;
    int32_t renders = 0;
    int32_t swapped = 0;
    bool bench_done = false;
    std::chrono::steady_clock::time_point bench_start;
};

// Registers the probe class; the probe program hands this to Application::Start.
inline void RegisterTestEntities(SceneManager* scene_manager) {
    scene_manager->GetClasses()->Register<TestProbe>();
}
