// The game logic of one frame of the courtyard level in CPU time: the collision step, the
// delivery of the frame's events (input, the hero, the patrols' AI and their animation
// steps, doors, switches, items) and the clean-up, without the drawing, over a scripted
// minute of play at 60 frames a second. The frames are drawn (so that the patrols know
// whether they are in view and animate), but the drawing is not timed. Beside it, a Box2D
// world holding the same bodies in the same places each frame steps once a frame, with the
// same rays cast through it, so that the share of the collision step can be compared.
// Run it inside Xvfb, from anywhere; it plays a copy of the source tree's data/ in a
// scratch folder (the level rewrites its tree file as it loads), in a 320x240 window:
//   scripts/with-xvfb.sh build/<dir>/bench/bench_game_frame

#include <benchmark/benchmark.h>
#include <box2d/box2d.h>

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "app/application.h"
#include "benchstats.h"
#include "events/events.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "scene/scenemanager.h"

namespace {

constexpr float kStep = 1.0f / 60.0f;
constexpr int kFrames = 60 * 60;

using benchstats::Median;
using benchstats::ThreadMs;

InputEvent* Key(bool down, int32_t sym) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.key.type = down ? SDL12_KEYDOWN : SDL12_KEYUP;
    e.key.state = down ? 1 : 0;
    e.key.keysym.sym = sym;
    return new InputEvent(e);
}

InputEvent* Motion(int16_t dx) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.motion.type = SDL12_MOUSEMOTION;
    e.motion.xrel = dx;
    return new InputEvent(e);
}

// The minute's input at frame `f`: walk, run until the stamina is gone, turn with the mouse,
// strike, step sideways, toggle the doors.
void Script(SceneManager* sm, int f) {
    const int s = f / 60, in_second = f % 60;
    auto at = [&](int second) { return s == second && in_second == 0; };
    if (at(0)) sm->Post(Key(true, k_action_forward));
    if (at(10)) sm->Post(Key(true, 304));
    if (at(20)) sm->Post(Key(false, 304));
    if (s >= 20 && s < 25) sm->Post(Motion(4));
    if (s >= 25 && s < 35 && in_second == 0) sm->Post(Key(true, k_action_hit));
    if (s >= 25 && s < 35 && in_second == 30) sm->Post(Key(false, k_action_hit));
    if (at(35)) sm->Post(Key(true, 97));
    if (at(45)) sm->Post(Key(false, 97));
    if (s >= 45 && s < 55) sm->Post(Motion(-3));
    if (at(50)) sm->Post(Key(true, 116));
    if (s == 50 && in_second == 5) sm->Post(Key(false, 116));
}

// The same bodies in Box2D: static polygons for the level's walls, plinths and items,
// bodies for the figures and doors placed where ours are before each step, the same rays.
struct Box2DMirror {
    b2World world{b2Vec2(0.0f, 0.0f)};
    std::vector<std::pair<PhysicsCharacter*, b2Body*>> movers;
    std::vector<PhysicsRayCast*> rays;

    struct Closest : b2RayCastCallback {
        float ReportFixture(b2Fixture* f, const b2Vec2&, const b2Vec2&, float fraction) override {
            hit = f;
            return fraction;
        }
        b2Fixture* hit = nullptr;
    };

    static bool Shape(const PhysicsBody& body, b2PolygonShape& shape) {
        const size_t n = body.vertices.size();
        if (n < 3 || n > size_t(b2_maxPolygonVertices)) return false;
        b2Vec2 v[b2_maxPolygonVertices];
        for (size_t i = 0; i < n; i++) v[i].Set(body.vertices[i].x, body.vertices[i].y);
        shape.Set(v, int32(n));
        return true;
    }

    explicit Box2DMirror(CollisionManager& physics) {
        const int charId = PhysicsCharacter::StaticTypeId();
        const int staticId = PhysicsStaticGeometry::StaticTypeId();
        const int rayId = PhysicsRayCast::StaticTypeId();
        for (PhysicsObject* obj : physics.objects) {
            if (obj->GetTypeId() == staticId) {
                auto* s = static_cast<PhysicsStaticGeometry*>(obj);
                b2PolygonShape shape;
                if (!Shape(s->body, shape)) continue;
                b2BodyDef def;
                def.type = b2_staticBody;
                def.position.Set(s->body.position.x, s->body.position.y);
                world.CreateBody(&def)->CreateFixture(&shape, 0.0f);
            } else if (obj->GetTypeId() == charId) {
                auto* c = static_cast<PhysicsCharacter*>(obj);
                b2PolygonShape shape;
                if (!Shape(c->body, shape)) continue;
                b2BodyDef def;
                def.type = c->body.immovable ? b2_kinematicBody : b2_dynamicBody;
                def.fixedRotation = true;
                b2Body* body = world.CreateBody(&def);
                b2FixtureDef fd;
                fd.shape = &shape;
                fd.density = 1.0f;
                body->CreateFixture(&fd);
                movers.push_back({c, body});
            } else if (obj->GetTypeId() == rayId) {
                rays.push_back(static_cast<PhysicsRayCast*>(obj));
            }
        }
    }

    // Our bodies' places and speeds, then one step and the rays.
    void Step(float dt) {
        for (auto& [ours, theirs] : movers) {
            const PhysicsBody& b = ours->body;
            theirs->SetTransform(b2Vec2(b.position.x, b.position.y),
                                 b.orientation * b2_pi / 180.0f);
            theirs->SetLinearVelocity(b2Vec2(b.velocity.x, b.velocity.y));
        }
        world.Step(dt, 8, 3);
        Closest cb;
        for (PhysicsRayCast* r : rays) {
            const HVector2 o = r->GetPosition(), d = r->GetDirection();
            cb.hit = nullptr;
            world.RayCast(&cb, b2Vec2(o.x, o.y), b2Vec2(o.x + d.x * 1000.0f, o.y + d.y * 1000.0f));
            benchmark::DoNotOptimize(cb.hit);
        }
    }
};

// A scratch folder holding a copy of data/ with a small window in its configuration; the
// game reads data/ from the current folder.
bool EnterScratchCopy() {
    namespace fs = std::filesystem;
    const fs::path scratch =
        fs::temp_directory_path() / ("velmora_gamebench_" + std::to_string(getpid()));
    std::error_code error;
    fs::remove_all(scratch, error);
    fs::create_directories(scratch, error);
    fs::copy(fs::path(VELMORA_SOURCE_DIR) / "data", scratch / "data", fs::copy_options::recursive,
             error);
    if (error) return false;
    const fs::path conf = scratch / "data" / "conf_pc_d.cfo";
    std::stringstream text;
    text << std::ifstream(conf).rdbuf();
    std::string config = text.str();
    for (auto [from, to] : {std::pair<std::string, std::string>{"width = 1024;", "width = 320;"},
                            {"height = 768;", "height = 240;"}}) {
        const size_t at = config.find(from);
        if (at != std::string::npos) config.replace(at, from.size(), to);
    }
    std::ofstream(conf, std::ios::trunc) << config;
    return chdir(scratch.c_str()) == 0;
}

void BM_GameMinute(benchmark::State& state) {
    if (!EnterScratchCopy()) {
        state.SkipWithError("cannot make the scratch copy of data/");
        return;
    }
    Application app;
    char name[] = "bench_game_frame";
    char* argv[] = {name, nullptr};
    if (!app.Start(1, argv)) {
        state.SkipWithError("the game did not start (no display?)");
        return;
    }
    SceneManager* sm = app.GetSceneManager();
    std::vector<double> logic, collision, box2d;
    for (auto _ : state) {
        logic.clear();
        collision.clear();
        box2d.clear();
        sm->Post(new ResumeGameEvent(true));
        sm->Post(new CameraModeEvent(2));  // the follow camera: the hero steers by it
        Box2DMirror mirror(*sm->GetPhysics());
        float now = sm->time;
        for (int f = 0; f < kFrames; f++) {
            Script(sm, f);
            now += kStep;
            const double t0 = ThreadMs();
            sm->dt = now - sm->time;
            sm->time = now;
            sm->GetPhysics()->Step(sm->dt, sm->time);
            const double t1 = ThreadMs();
            sm->events.Update(sm->time);
            sm->Post(new FrameEvent(sm->dt, sm->time, sm, nullptr));
            sm->CleanUpObjects();
            const double t2 = ThreadMs();
            sm->render_queue.Flush();  // drawn, not timed
            const double t3 = ThreadMs();
            mirror.Step(kStep);
            const double t4 = ThreadMs();
            logic.push_back(t2 - t0);
            collision.push_back(t1 - t0);
            box2d.push_back(t4 - t3);
        }
    }
    state.counters["frames"] = double(logic.size());
    state.counters["logic_median_ms"] = Median(logic);
    const auto worst = std::max_element(logic.begin(), logic.end());
    state.counters["logic_worst_ms"] = worst == logic.end() ? 0.0 : *worst;
    state.counters["worst_frame"] = worst == logic.end() ? 0.0 : double(worst - logic.begin());
    std::vector<double> rest(logic.size() > 60 ? logic.begin() + 60 : logic.end(), logic.end());
    state.counters["worst_after_first_second_ms"] =
        rest.empty() ? 0.0 : *std::max_element(rest.begin(), rest.end());
    state.counters["collision_median_ms"] = Median(collision);
    state.counters["box2d_step_median_ms"] = Median(box2d);
    state.counters["bodies"] = double(sm->GetPhysics()->objects.size());
    app.Shutdown();
    const std::filesystem::path scratch = std::filesystem::current_path();
    if (chdir("/") == 0) {
        std::error_code error;
        std::filesystem::remove_all(scratch, error);
    }
}
BENCHMARK(BM_GameMinute)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
