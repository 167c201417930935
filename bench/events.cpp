// EventManager::Update with a scene-sized crowd: 300 handlers over 20 event types, 200
// events posted each round, delivered in handler-major order.
//
// Peers: the nested loop the manager used before it grouped the round by type (every
// handler walks every event, comparing interned keys), and the same loop with string
// compares. After the table the program prints, per case, the median and the spread of the
// repetitions in events per second (CPU time) and the ratio of Update to the nested loop.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <string>
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

// The round as Update dispatched it before grouping by type: the event keys are taken once
// a round, then each handler walks all events of the round and compares keys. Events are
// posted to a list as Post does, and freed after the round.
void BM_NestedLoopReference(benchmark::State& state) {
    const int handlers = static_cast<int>(state.range(0));
    const int events = static_cast<int>(state.range(1));
    EventManager manager;
    std::vector<std::unique_ptr<Subscriber>> subscribers;
    for (int i = 0; i < handlers; ++i) {
        subscribers.push_back(std::make_unique<Subscriber>());
        Subscribe<0>(manager, subscribers.back().get(), i % kTypes);
    }
    std::vector<const std::string*> handler_keys;
    for (EventHandler* handler : manager.handlers)
        handler_keys.push_back(InternTypeName(handler->GetEventTypeName()));
    std::list<BaseEvent*> current;
    std::vector<const std::string*> round_keys;
    for (auto _ : state) {
        for (int e = 0; e < events; ++e) {
            BaseEvent* event = Make<0>(e % kTypes);
            if (e % 10 == 0)
                event->target = subscribers[static_cast<size_t>(e) % subscribers.size()].get();
            current.push_back(event);
        }
        round_keys.clear();
        round_keys.reserve(current.size());
        for (BaseEvent* event : current) round_keys.push_back(event->GetTypeKey());
        bool go_on = true;
        const size_t handler_count = manager.handlers.size();
        for (size_t h = 0; h < handler_count && go_on; ++h) {
            EventHandler* handler = manager.handlers[h];
            size_t e = 0;
            for (auto ev = current.begin(); ev != current.end(); ++ev, ++e) {
                if (handler->removed) break;
                if (round_keys[e] != handler_keys[h]) continue;
                BaseEvent* event = *ev;
                if (event->target != nullptr && !handler->IsOwner(event->target)) continue;
                if (!handler->Invoke(event)) {
                    go_on = false;
                    break;
                }
            }
        }
        benchmark::DoNotOptimize(go_on);
        for (BaseEvent* event : current) delete event;
        current.clear();
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

// Collects the events per second of every repetition (CPU time) for the summary; prints
// the usual table without colours, so that logs stay plain.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            double seconds =
                run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            if (seconds <= 0.0) continue;
            // The args are "handlers/events"; the rate is events over CPU time.
            const std::string& args = run.run_name.args;
            double events = std::stod(args.substr(args.find('/') + 1));
            rates[run.run_name.function_name + "/" + args].push_back(events / seconds);
        }
    }

    double Median(const std::string& name) const {
        auto it = rates.find(name);
        if (it == rates.end() || it->second.empty()) return 0.0;
        std::vector<double> v = it->second;
        std::sort(v.begin(), v.end());
        size_t n = v.size();
        return n % 2 ? v[n / 2] : 0.5 * (v[n / 2 - 1] + v[n / 2]);
    }

    void Summary() const {
        std::printf("\nM events/s, CPU time: median [min, max] of %zu repetition(s)\n",
                    rates.empty() ? size_t(0) : rates.begin()->second.size());
        for (const auto& [name, v] : rates) {
            auto [lo, hi] = std::minmax_element(v.begin(), v.end());
            std::printf("  %-36s %8.2f [%.2f, %.2f]\n", name.c_str(), Median(name) / 1e6, *lo / 1e6,
                        *hi / 1e6);
        }
        for (const char* args : {"300/200", "30/200", "300/20"}) {
            double now = Median(std::string("BM_EventManagerUpdate/") + args);
            double before = Median(std::string("BM_NestedLoopReference/") + args);
            if (now > 0.0 && before > 0.0)
                std::printf("ratio Update / nested loop, %s: %.2f\n", args, now / before);
        }
    }

private:
    std::map<std::string, std::vector<double>> rates;
};

}  // namespace

BENCHMARK(BM_EventManagerUpdate)->Args({300, 200})->Args({30, 200})->Args({300, 20});
BENCHMARK(BM_NestedLoopReference)->Args({300, 200})->Args({30, 200})->Args({300, 20});
BENCHMARK(BM_StringCompareDispatch)->Args({300, 200});

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.Summary();
    benchmark::Shutdown();
    return 0;
}
