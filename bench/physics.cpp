// Physics against Box2D 2.4 in the same run:
//  (1) one polygon pair: FindCollision plus FindContacts against b2CollidePolygons, with
//      the same 6- and 8-sided polygons, overlapping and apart;
//  (2) a whole step: CollisionManager::Step with N characters among 100 static walls and
//      two rays each, against b2World::Step (zero gravity) with the same bodies plus the
//      same rays cast through b2World::RayCast; and the same at a constant density (the
//      square's area and the walls grow with the characters), with the characters put back
//      where they started every 16 steps so that each step does the same work.
// After the run a line per case gives our time over Box2D's ("ratio ..."); the step also
// counts the contact events it posts per step, which grow with the square of the number
// of characters (every ray meets every body along its unbounded line).

#include <benchmark/benchmark.h>
#include <box2d/box2d.h>

#include <cmath>
#include <cstdio>
#include <unistd.h>
#include <map>
#include <string>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "events/eventmanager.h"
#include "physics/collisionmanager.h"
#include "scene/entity.h"

namespace {

std::vector<HVector2> RegularPolygon(int n, float radius) {
    std::vector<HVector2> v;
    for (int i = 0; i < n; i++) {
        float a = 6.2831853f * float(i) / float(n) + 0.3f;
        v.push_back(HVector2(std::cos(a) * radius, std::sin(a) * radius));
    }
    return v;
}

// ---- (1) one pair ----

struct PairSetup {
    PhysicsBody a, b;
    b2PolygonShape sa, sb;
    b2Transform ta, tb;
    explicit PairSetup(bool overlapping) {
        auto va = RegularPolygon(6, 50.0f);
        auto vb = RegularPolygon(8, 50.0f);
        std::vector<b2Vec2> pa, pb;
        for (auto& v : va) {
            a.AddVertex(v);
            pa.push_back(b2Vec2(v.x, v.y));
        }
        for (auto& v : vb) {
            b.AddVertex(v);
            pb.push_back(b2Vec2(v.x, v.y));
        }
        sa.Set(pa.data(), int32(pa.size()));
        sb.Set(pb.data(), int32(pb.size()));
        a.position = HVector2(0.0f, 0.0f);
        a.orientation = 20.0f;
        b.position = HVector2(overlapping ? 80.0f : 200.0f, 10.0f);
        b.orientation = -35.0f;
        ta.Set(b2Vec2(a.position.x, a.position.y), a.orientation * b2_pi / 180.0f);
        tb.Set(b2Vec2(b.position.x, b.position.y), b.orientation * b2_pi / 180.0f);
    }
};

void BM_PairVelmora(benchmark::State& state) {
    PairSetup s(state.range(0) != 0);
    HVector2 CA[4], CB[4];
    for (auto _ : state) {
        HVector2 N;
        float t = 0.0f;
        int Cnum = 0;
        bool hit = s.a.FindCollision(s.b, N, t);
        if (hit) s.a.FindContacts(s.b, N, t, CA, CB, Cnum);
        benchmark::DoNotOptimize(hit);
        benchmark::DoNotOptimize(Cnum);
        benchmark::DoNotOptimize(CA);
    }
}
BENCHMARK(BM_PairVelmora)->Arg(1)->Arg(0)->ArgName("overlapping");

void BM_PairBox2D(benchmark::State& state) {
    PairSetup s(state.range(0) != 0);
    for (auto _ : state) {
        b2Manifold m;
        b2CollidePolygons(&m, &s.sa, s.ta, &s.sb, s.tb);
        benchmark::DoNotOptimize(m);
    }
}
BENCHMARK(BM_PairBox2D)->Arg(1)->Arg(0)->ArgName("overlapping");

// ---- (2) a whole step ----

struct Layout {
    struct Wall {
        HVector2 centre;
        float hx, hy;
    };
    struct Character {
        HVector2 at;
        float heading;
    };
    std::vector<Wall> walls;
    std::vector<Character> characters;
    // Fixed: 100 walls in a square of side 2000 whatever the characters. Dense: one wall for
    // two characters in a square whose area grows with them (side 2000 at 200 characters),
    // so that the crowd's density stays that of 200 characters.
    Layout(int n, bool dense) {
        std::mt19937 rng(4242);
        const float half = dense ? 1000.0f * std::sqrt(float(n) / 200.0f) : 1000.0f;
        const int wallCount = dense ? n / 2 : 100;
        std::uniform_real_distribution<float> place(-half, half);
        std::uniform_real_distribution<float> size(10.0f, 60.0f);
        std::uniform_real_distribution<float> angle(0.0f, 360.0f);
        for (int i = 0; i < wallCount; i++)
            walls.push_back({HVector2(place(rng), place(rng)), size(rng), size(rng)});
        for (int i = 0; i < n; i++)
            characters.push_back({HVector2(place(rng), place(rng)), angle(rng)});
    }
};

constexpr float kCharacterRadius = 40.0f;  // the hexagon's vertices lie 20 from the centre
constexpr float kStep = 1.0f / 30.0f;

HVector2 RayDirection(float degrees, int k) {
    float a = (degrees + (k == 0 ? 0.0f : 180.0f)) * 3.14159265f / 180.0f;
    return HVector2(std::cos(a), std::sin(a));
}

// Fixed layout: the characters walk on for as long as the case runs, spreading out. Dense:
// every 16 steps, outside the timing, they are put back where they started, so that every
// step of the case does the same work.
void StepVelmora(benchmark::State& state, bool dense) {
    const int n = int(state.range(0));
    Layout layout(n, dense);
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    std::vector<std::unique_ptr<Entity>> entities;
    std::vector<std::unique_ptr<PhysicsStaticGeometry>> walls;
    std::vector<std::unique_ptr<PhysicsCharacter>> characters;
    std::vector<std::unique_ptr<PhysicsRayCast>> rays;
    for (auto& w : layout.walls) {
        auto s = std::make_unique<PhysicsStaticGeometry>();
        s->body.position = w.centre;
        s->AddVertex(HVector2(-w.hx, -w.hy));
        s->AddVertex(HVector2(w.hx, -w.hy));
        s->AddVertex(HVector2(w.hx, w.hy));
        s->AddVertex(HVector2(-w.hx, w.hy));
        s->Prepare();
        m.AddObject(s.get());
        walls.push_back(std::move(s));
    }
    for (auto& c : layout.characters) {
        entities.push_back(std::make_unique<Entity>());
        auto p = std::make_unique<PhysicsCharacter>();
        p->body.MakeCircle(1.0f, 6);
        p->ScaleHull(kCharacterRadius);
        p->body.position = c.at;
        p->body.orientation = c.heading;
        p->Prepare();
        p->boundingCircle.centre = c.at;
        p->moveForward = true;
        p->SetEntity(entities.back().get());
        m.AddObject(p.get());
        for (int k = 0; k < 2; k++) {
            auto r = std::make_unique<PhysicsRayCast>();
            r->SetOrigin(c.at);
            r->SetDirection(RayDirection(c.heading, k));
            r->SetCollisionMode(1, HVector2(0.0f, 1000.0f));
            r->SetEntity(entities.back().get());
            m.AddObject(r.get());
            rays.push_back(std::move(r));
        }
        characters.push_back(std::move(p));
    }
    float time = 0.0f;
    int round = 0;
    double posted = 0.0;
    for (auto _ : state) {
        time += kStep + 0.0001f;  // every call integrates once, as Box2D steps once
        m.Step(kStep, time);
        if (++round % 16 == 0) {
            // Drops the posted events: not part of the physics, and rare enough that the
            // pause costs nothing to speak of.
            state.PauseTiming();
            posted += double(events.NextCount());
            events.Update(time);
            events.Update(time);
            if (dense) {
                for (size_t i = 0; i < characters.size(); i++) {
                    PhysicsBody& body = characters[i]->body;
                    body.position = layout.characters[i].at;
                    body.orientation = layout.characters[i].heading;
                    body.velocity = HVector2(0.0f, 0.0f);
                    characters[i]->boundingCircle.centre = layout.characters[i].at;
                }
            }
            state.ResumeTiming();
        }
    }
    if (round >= 16) {
        const double perStep = posted / double(round - round % 16);
        state.counters["events"] = perStep;
    }
    // Dropped first, so that each removal has no queue to clear of its contacts.
    events.Update(time);
    events.Update(time);
    for (auto& r : rays) m.RemoveObject(r.get());
    for (auto& c : characters) m.RemoveObject(c.get());
    for (auto& w : walls) m.RemoveObject(w.get());
}

void BM_StepVelmora(benchmark::State& state) { StepVelmora(state, false); }
void BM_DenseStepVelmora(benchmark::State& state) { StepVelmora(state, true); }
BENCHMARK(BM_StepVelmora)
    ->Arg(10)
    ->Arg(50)
    ->Arg(200)
    ->Arg(500)
    ->ArgName("characters")
    ->Unit(benchmark::kMicrosecond);

class ClosestHit : public b2RayCastCallback {
public:
    float ReportFixture(b2Fixture* fixture, const b2Vec2& point, const b2Vec2&,
                        float fraction) override {
        hit = fixture;
        where = point;
        return fraction;  // clip to the nearest
    }
    b2Fixture* hit = nullptr;
    b2Vec2 where;
};

void StepBox2D(benchmark::State& state, bool dense) {
    const int n = int(state.range(0));
    Layout layout(n, dense);
    b2World world(b2Vec2(0.0f, 0.0f));
    for (auto& w : layout.walls) {
        b2BodyDef def;
        def.type = b2_staticBody;
        def.position.Set(w.centre.x, w.centre.y);
        b2Body* body = world.CreateBody(&def);
        b2PolygonShape box;
        box.SetAsBox(w.hx, w.hy);
        body->CreateFixture(&box, 0.0f);
    }
    std::vector<b2Body*> bodies;
    std::vector<float> headings;
    // The same hexagon as the characters: radius 20, first vertex at 90 degrees.
    b2Vec2 hex[6];
    for (int i = 0; i < 6; i++) {
        float a = 3.14159265f / 6.0f + 2.0f * 3.14159265f / 6.0f * float(i + 1);
        hex[i].Set(std::cos(a) * kCharacterRadius * 0.5f, std::sin(a) * kCharacterRadius * 0.5f);
    }
    for (auto& c : layout.characters) {
        b2BodyDef def;
        def.type = b2_dynamicBody;
        def.position.Set(c.at.x, c.at.y);
        def.angle = c.heading * 3.14159265f / 180.0f;
        def.linearDamping = 10.0f;
        def.fixedRotation = true;
        b2Body* body = world.CreateBody(&def);
        b2PolygonShape shape;
        shape.Set(hex, 6);
        b2FixtureDef fd;
        fd.shape = &shape;
        fd.density = 1.0f;
        body->CreateFixture(&fd);
        b2MassData md;
        body->GetMassData(&md);
        md.mass = 1.0f;
        body->SetMassData(&md);
        bodies.push_back(body);
        headings.push_back(c.heading);
    }
    ClosestHit cb;
    int round = 0;
    double touching = 0.0, hits = 0.0;
    for (auto _ : state) {
        for (size_t i = 0; i < bodies.size(); i++) {
            float a = bodies[i]->GetAngle();
            bodies[i]->ApplyForceToCenter(b2Vec2(std::cos(a) * 1000.0f, std::sin(a) * 1000.0f),
                                          true);
        }
        world.Step(kStep, 8, 3);
        for (size_t i = 0; i < bodies.size(); i++) {
            b2Vec2 p = bodies[i]->GetPosition();
            for (int k = 0; k < 2; k++) {
                HVector2 d = RayDirection(headings[i], k);
                cb.hit = nullptr;
                world.RayCast(&cb, p, p + 1000.0f * b2Vec2(d.x, d.y));
                benchmark::DoNotOptimize(cb.hit);
                hits += cb.hit != nullptr ? 1.0 : 0.0;
            }
        }
        if (++round % 16 == 0) {
            // Counts the touching contacts of this step, as ours counts its events.
            state.PauseTiming();
            for (b2Contact* c = world.GetContactList(); c; c = c->GetNext())
                touching += c->IsTouching() ? 16.0 : 0.0;
            if (dense) {
                for (size_t i = 0; i < bodies.size(); i++) {
                    const Layout::Character& c = layout.characters[i];
                    bodies[i]->SetTransform(b2Vec2(c.at.x, c.at.y),
                                            c.heading * 3.14159265f / 180.0f);
                    bodies[i]->SetLinearVelocity(b2Vec2(0.0f, 0.0f));
                }
            }
            state.ResumeTiming();
        }
    }
    if (round >= 16) {
        const double contacts = touching / double(round - round % 16);
        const double rayHits = hits / double(round);
        state.counters["touching"] = contacts;
        state.counters["ray_hits"] = rayHits;
    }
}

void BM_StepBox2D(benchmark::State& state) { StepBox2D(state, false); }
void BM_DenseStepBox2D(benchmark::State& state) { StepBox2D(state, true); }
BENCHMARK(BM_StepBox2D)
    ->Arg(10)
    ->Arg(50)
    ->Arg(200)
    ->Arg(500)
    ->ArgName("characters")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DenseStepVelmora)
    ->Arg(50)
    ->Arg(200)
    ->Arg(500)
    ->ArgName("characters")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DenseStepBox2D)
    ->Arg(50)
    ->Arg(200)
    ->Arg(500)
    ->ArgName("characters")
    ->Unit(benchmark::kMicrosecond);

// After the run, each case of ours against the same case of Box2D: the ratio of the CPU
// times, medians where repetitions were asked for, so that the table in docs/performance.md
// can be read off one run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    // Colours only on a terminal, as the default reporter.
    RatioReporter() : ConsoleReporter(isatty(1) ? OO_Defaults : OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& r : runs) {
            if (r.error_occurred) continue;
            const std::string name = r.run_name.str();
            if (seen.insert(name).second) order.push_back(name);
            // The work of a step: our events, or Box2D's touching contacts and ray hits.
            double work = 0.0;
            for (const char* counter : {"events", "touching", "ray_hits"}) {
                auto c = r.counters.find(counter);
                if (c != r.counters.end()) work += c->second.value;
            }
            if (r.run_type == Run::RT_Aggregate) {
                if (r.aggregate_name == "median") {
                    medians[name] = r.GetAdjustedCPUTime();
                    if (work > 0.0) workMedians[name] = work;
                }
                continue;
            }
            singles[name] = r.GetAdjustedCPUTime();
            if (work > 0.0) workSingles[name] = work;
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        auto work = [&](const std::string& name, double& out) {
            auto m = workMedians.find(name);
            if (m != workMedians.end()) return out = m->second, true;
            auto s = workSingles.find(name);
            if (s != workSingles.end()) return out = s->second, true;
            return false;
        };
        auto value = [&](const std::string& name, double& out) {
            auto m = medians.find(name);
            if (m != medians.end()) return out = m->second, true;
            auto s = singles.find(name);
            if (s != singles.end()) return out = s->second, true;
            return false;
        };
        for (const std::string& ours : order) {
            const size_t at = ours.find("Velmora");
            if (at == std::string::npos) continue;
            std::string peer = ours;
            peer.replace(at, 7, "Box2D");
            double a = 0.0, b = 0.0;
            if (!value(ours, a) || !value(peer, b) || !(b > 0.0)) continue;
            printf("ratio %-36s %s / Box2D = %.2f (%s CPU time)\n", ours.c_str(), "Velmora", a / b,
                   medians.count(ours) ? "median" : "one run's");
        }
        // Per unit of work (events for us; touching contacts plus ray hits for Box2D), and
        // how time and work grow from the fewest characters of a case to the most.
        std::map<std::string, std::vector<std::string>> families;  // cases, fewest first
        for (const std::string& name : order) {
            double t = 0.0, w = 0.0;
            if (!value(name, t) || !work(name, w)) continue;
            printf("work  %-36s %.0f per step, %.0f ns each\n", name.c_str(), w, t * 1e3 / w);
            families[name.substr(0, name.find('/'))].push_back(name);
        }
        for (const auto& [family, names] : families) {
            // From each case to the one of the most characters.
            const std::string& last = names.back();
            double t1 = 0.0, w1 = 0.0;
            if (!value(last, t1) || !work(last, w1)) continue;
            for (size_t k = 0; k + 1 < names.size(); k++) {
                double t0 = 0.0, w0 = 0.0;
                if (!value(names[k], t0) || !work(names[k], w0) || !(t0 > 0.0) || !(w0 > 0.0))
                    continue;
                printf("growth %s %s -> %s: time x%.1f, work x%.1f\n", family.c_str(),
                       names[k].substr(family.size() + 1).c_str(),
                       last.substr(family.size() + 1).c_str(), t1 / t0, w1 / w0);
            }
        }
    }

private:
    std::map<std::string, double> medians, singles, workMedians, workSingles;
    std::set<std::string> seen;
    std::vector<std::string> order;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
