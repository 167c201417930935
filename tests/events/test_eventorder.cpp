// The order of handler calls, checked against the plain nested loop (every handler walks
// every event of the round) on random scripts: several types, targets, delays, handlers
// added and removed during dispatch, and the odd handler that returns false.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "events/eventmanager.h"
#include "scene/entity.h"

namespace {

// The dispatch as it reads without any grouping, kept here as the reference: same queues,
// same delayed walk, same rules for removal, addition and false.
class NestedLoopManager {
public:
    ~NestedLoopManager() {
        for (EventHandler* h : handlers) delete h;
        for (auto* q : {&current, &next, &delayed})
            for (BaseEvent* e : *q) delete e;
    }
    void AddHandler(EventHandler* h) { handlers.push_back(h); }
    void RemoveHandlers(const void* owner) {
        if (dispatching) {
            for (EventHandler* h : handlers)
                if (h->IsOwner(owner)) h->removed = true;
            return;
        }
        auto keep = std::stable_partition(handlers.begin(), handlers.end(),
                                          [owner](EventHandler* h) { return !h->IsOwner(owner); });
        for (auto it = keep; it != handlers.end(); ++it) delete *it;
        handlers.erase(keep, handlers.end());
    }
    void Post(BaseEvent* event, float delay) {
        if (delay > 0.0f) event->delay = delay;
        if (event->delay > 0.0f) {
            event->fire_time = time + event->delay;
            delayed.push_back(event);
        } else {
            next.push_back(event);
        }
    }
    bool Update(float now) {
        time = now;
        auto it = delayed.begin();
        while (it != delayed.end()) {
            if ((*it)->fire_time <= time) {
                current.push_back(*it);
                delayed.erase(it);
                it = delayed.begin();
                if (it == delayed.end()) break;
            }
            ++it;
        }
        if (!current.empty()) {
            std::vector<std::string> keys;
            for (BaseEvent* e : current) keys.push_back(e->GetTypeName());
            dispatching = true;
            const size_t count = handlers.size();
            bool go_on = true;
            for (size_t h = 0; h < count && go_on; ++h) {
                EventHandler* handler = handlers[h];
                const std::string name = handler->GetEventTypeName();
                size_t k = 0;
                for (auto ev = current.begin(); ev != current.end(); ++ev, ++k) {
                    if (handler->removed) break;
                    if (keys[k] != name) continue;
                    if ((*ev)->target != nullptr && !handler->IsOwner((*ev)->target)) continue;
                    if (!handler->Invoke(*ev)) {
                        go_on = false;
                        break;
                    }
                }
            }
            dispatching = false;
            auto keep = std::stable_partition(handlers.begin(), handlers.end(),
                                              [](EventHandler* h) { return !h->removed; });
            for (auto r = keep; r != handlers.end(); ++r) delete *r;
            handlers.erase(keep, handlers.end());
            if (!go_on) return false;
            for (BaseEvent* e : current) delete e;
            current.clear();
        }
        std::swap(current, next);
        return true;
    }

    std::vector<EventHandler*> handlers;
    std::list<BaseEvent*> current, next, delayed;
    float time = 0.0f;
    bool dispatching = false;
};

const char* const kTypes[] = {"OrderA", "OrderB", "OrderC", "OrderD", "OrderE"};
constexpr int kTypeCount = 5;
constexpr int kOwners = 6;
const float kDelays[] = {0.0f, 0.0f, 0.5f, 1.0f, 2.5f};

class NamedEvent : public BaseEvent {
public:
    NamedEvent(int event_type, int event_serial) : type(event_type), serial(event_serial) {}
    std::string GetTypeName() const override { return kTypes[type]; }
    int type;
    int serial;
};

uint64_t Mix(uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// One side of the comparison: a manager, its owners, and the log of what happened.
template <class Manager>
struct World {
    Manager manager;
    std::vector<std::unique_ptr<Entity>> owners;
    std::vector<std::string> log;
    int next_serial = 0;
    int next_handler = 0;
    int round = 0;
    uint64_t seed = 0;

    World() {
        for (int i = 0; i < kOwners; ++i) owners.push_back(std::make_unique<Entity>());
    }
    int OwnerIndex(const Entity* e) const {
        for (int i = 0; i < kOwners; ++i)
            if (owners[static_cast<size_t>(i)].get() == e) return i;
        return -1;
    }
    void Post(int type, int delay, int target) {
        NamedEvent* e = new NamedEvent(type, next_serial++);
        if (target >= 0) e->target = owners[static_cast<size_t>(target)].get();
        manager.Post(e, kDelays[delay]);
    }
    void Add(int type, int owner);
    void Remove(int owner) { manager.RemoveHandlers(owners[static_cast<size_t>(owner)].get()); }
};

template <class Manager>
class ScriptHandler : public EventHandler {
public:
    ScriptHandler(World<Manager>* in, int handler_id, int handler_type, int owner_index)
        : world(in), id(handler_id), type(handler_type), owner(owner_index) {}

    bool Invoke(BaseEvent* base) override {
        NamedEvent* event = static_cast<NamedEvent*>(base);
        world->log.push_back("h" + std::to_string(id) + ":e" + std::to_string(event->serial));
        uint64_t r = Mix(world->seed ^ Mix(uint64_t(id) << 32 ^ uint64_t(event->serial)) ^
                         uint64_t(world->round) << 48);
        if (r % 7 == 0) {
            int target = (r >> 20) % 4 == 0 ? static_cast<int>((r >> 24) % kOwners) : -1;
            world->Post(static_cast<int>((r >> 8) % kTypeCount), static_cast<int>((r >> 16) % 5),
                        target);
        }
        if (r % 11 == 0)
            world->Add(static_cast<int>((r >> 12) % kTypeCount),
                       static_cast<int>((r >> 28) % kOwners));
        if (r % 13 == 0) world->Remove(static_cast<int>((r >> 36) % kOwners));
        return r % 151 != 0;
    }
    std::string GetEventTypeName() const override { return kTypes[type]; }
    bool IsOwner(const void* entity) const override {
        return entity != nullptr && entity == world->owners[static_cast<size_t>(owner)].get();
    }

    World<Manager>* world;
    int id, type, owner;
};

template <class Manager>
void World<Manager>::Add(int type, int owner) {
    manager.AddHandler(new ScriptHandler<Manager>(this, next_handler++, type, owner));
}

// Runs the same random script on both managers; each step is one driver action.
template <class Manager>
void RunScript(World<Manager>& world, uint64_t seed, int steps) {
    world.seed = seed;
    std::mt19937_64 rng(seed);
    for (int i = 0; i < 12; ++i)
        world.Add(static_cast<int>(rng() % kTypeCount), static_cast<int>(rng() % kOwners));
    float now = 0.0f;
    for (int s = 0; s < steps; ++s) {
        uint64_t pick = rng() % 10;
        if (pick < 5) {
            int target = rng() % 4 == 0 ? static_cast<int>(rng() % kOwners) : -1;
            world.Post(static_cast<int>(rng() % kTypeCount), static_cast<int>(rng() % 5), target);
        } else if (pick < 6) {
            world.Add(static_cast<int>(rng() % kTypeCount), static_cast<int>(rng() % kOwners));
        } else if (pick < 7) {
            world.Remove(static_cast<int>(rng() % kOwners));
        } else {
            now += 0.5f;
            ++world.round;
            bool ok = world.manager.Update(now);
            world.log.push_back("update" + std::to_string(world.round) + (ok ? "" : " false"));
        }
    }
}

}  // namespace

TEST(EventOrder, GroupedDispatchCallsHandlersInTheOrderOfTheNestedLoop) {
    size_t total_calls = 0;
    int false_rounds = 0;
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        World<EventManager> grouped;
        World<NestedLoopManager> reference;
        RunScript(grouped, seed, 400);
        RunScript(reference, seed, 400);
        ASSERT_EQ(grouped.log, reference.log) << "seed " << seed;
        ASSERT_EQ(grouped.manager.HandlerCount(), reference.manager.handlers.size());
        ASSERT_EQ(grouped.manager.NextCount(), reference.manager.next.size());
        ASSERT_EQ(grouped.manager.DelayedCount(), reference.manager.delayed.size());
        total_calls += grouped.log.size();
        for (const std::string& line : grouped.log) false_rounds += line.find("false") != line.npos;
    }
    // The scripts do reach every rule: many calls, and rounds stopped by a false.
    EXPECT_GT(total_calls, 20000u);
    EXPECT_GT(false_rounds, 10);
}
