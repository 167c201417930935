// EventManager::Update with a scene-sized crowd: 300 handlers over 20 event types, 200
// events posted each round, delivered in handler-major order.

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "scene/entity.h"

namespace {

template <int N>
class NumberedEvent : public BaseEvent {
    VELMORA_EVENT_TYPE(NumberedEvent, "NumberedEvent" + std::to_string(N))
};

class Subscriber : public Entity, public EventListener {
public:
    template <int N>
    bool On(NumberedEvent<N>*) {
        ++calls;
        return true;
    }
    uint64_t calls = 0;
};

constexpr int kTypes = 20;

template <int N>
void Subscribe(EventManager& manager, Subscriber* s, int type) {
    if constexpr (N < kTypes) {
        if (type == N)
            manager.AddHandler(s, &Subscriber::On<N>);
        else
            Subscribe<N + 1>(manager, s, type);
    }
}

template <int N>
BaseEvent* Make(int type) {
    if constexpr (N < kTypes) {
        if (type == N) return new NumberedEvent<N>();
        return Make<N + 1>(type);
    }
    return nullptr;
}

void BM_EventManagerUpdate(benchmark::State& state) {
    const int handlers = static_cast<int>(state.range(0));
    const int events = static_cast<int>(state.range(1));
    EventManager manager;
    std::vector<std::unique_ptr<Subscriber>> subscribers;
    for (int i = 0; i < handlers; ++i) {
        subscribers.push_back(std::make_unique<Subscriber>());
        Subscribe<0>(manager, subscribers.back().get(), i % kTypes);
    }
    float now = 0.0f;
    for (auto _ : state) {
        for (int e = 0; e < events; ++e) {
            BaseEvent* event = Make<0>(e % kTypes);
            // One event in ten is addressed to a single subscriber.
            if (e % 10 == 0)
                event->target = subscribers[static_cast<size_t>(e) % subscribers.size()].get();
            manager.Post(event);
        }
        now += 0.016f;
        benchmark::DoNotOptimize(manager.Update(now));
    }
    state.SetItemsProcessed(state.iterations() * events);
    state.counters["events_per_s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * events, benchmark::Counter::kIsRate);
}

// The same round dispatched the plain way, two string copies and a compare per
// handler and event, for comparison with the interned keys of EventManager::Update.
void BM_StringCompareDispatch(benchmark::State& state) {
    const int handlers = static_cast<int>(state.range(0));
    const int events = static_cast<int>(state.range(1));
    EventManager manager;
    std::vector<std::unique_ptr<Subscriber>> subscribers;
    for (int i = 0; i < handlers; ++i) {
        subscribers.push_back(std::make_unique<Subscriber>());
        Subscribe<0>(manager, subscribers.back().get(), i % kTypes);
    }
    std::vector<BaseEvent*> round;
    for (auto _ : state) {
        for (int e = 0; e < events; ++e) {
            BaseEvent* event = Make<0>(e % kTypes);
            if (e % 10 == 0)
                event->target = subscribers[static_cast<size_t>(e) % subscribers.size()].get();
            round.push_back(event);
        }
        for (EventHandler* handler : manager.handlers) {
            for (BaseEvent* event : round) {
                if (event->GetTypeName() != handler->GetEventTypeName()) continue;
                if (event->target != nullptr && !handler->IsOwner(event->target)) continue;
                benchmark::DoNotOptimize(handler->Invoke(event));
            }
        }
        for (BaseEvent* event : round) delete event;
        round.clear();
    }
    state.SetItemsProcessed(state.iterations() * events);
    state.counters["events_per_s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * events, benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(BM_EventManagerUpdate)->Args({300, 200})->Args({30, 200})->Args({300, 20});
BENCHMARK(BM_StringCompareDispatch)->Args({300, 200});

BENCHMARK_MAIN();
