// Parse throughput of CfoDocument on a level-geometry-shaped table, against RapidJSON's
// DOM parse of the same content written as JSON, and against the byte-at-a-time
// reference parser kept with the tests.
//
// The document is about 20 MB: one named scope holding rows of 11 comma-separated floats
// as anonymous scopes ("{1.0,2.0,...}"), the form every row table of the engine uses.
// JSON forms: "rows" keeps the same tree ({"geometry":[["1.0,2.0,..."],...]}: each row an
// array with one string), "cells" splits each row into 11 strings.
//
// After the table of runs the program prints, per parser, the median and the spread of the
// repetitions in MB/s (CPU time), and the ratio of CfoDocument::Parse to each peer.
// CfoParse includes the destruction of the document, whose node blocks are kept for the next
// one (CfoArena); CfoParseNoSpares gives them back to the system each time.
#include <benchmark/benchmark.h>

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo_reference.h"

namespace {

constexpr size_t kTargetBytes = 20u * 1024 * 1024;

struct Corpus {
    std::string cfo, json_rows, json_cells;
    size_t rows = 0;
};

const Corpus& GetCorpus() {
    static Corpus corpus = [] {
        Corpus c;
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> value(-500.0f, 500.0f);
        c.cfo = "// level geometry\ngeometry={\n";
        c.json_rows = "{\"geometry\":[";
        c.json_cells = "{\"geometry\":[";
        char cell[32];
        while (c.cfo.size() < kTargetBytes) {
            std::string row;
            std::string cells = "[";
            for (int k = 0; k < 11; ++k) {
                std::snprintf(cell, sizeof(cell), "%.4f", static_cast<double>(value(rng)));
                if (k) {
                    row += ',';
                    cells += ',';
                }
                row += cell;
                cells += '"';
                cells += cell;
                cells += '"';
            }
            cells += ']';
            if (c.rows) {
                c.json_rows += ',';
                c.json_cells += ',';
            }
            c.cfo += "\t{" + row + "}\n";
            c.json_rows += "[\"" + row + "\"]";
            c.json_cells += cells;
            ++c.rows;
        }
        c.cfo += "}\n";
        c.json_rows += "]}";
        c.json_cells += "]}";
        return c;
    }();
    return corpus;
}

void BM_CfoParse(benchmark::State& state) {
    const Corpus& c = GetCorpus();
    for (auto _ : state) {
        CfoDocument doc;
        bool ok = doc.Parse(c.cfo);
        if (!ok || doc.FindChild("geometry")->children.size() != c.rows) {
            state.SkipWithError("CFO parse gave the wrong tree");
            break;
        }
        benchmark::DoNotOptimize(doc.children.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c.cfo.size()));
    state.counters["bytes"] = static_cast<double>(c.cfo.size());
}

// The same with the spare node blocks given back to the system after each document, so
// that every parse takes its blocks from the allocator, as the first parse of a run does.
void BM_CfoParseNoSpares(benchmark::State& state) {
    const Corpus& c = GetCorpus();
    for (auto _ : state) {
        {
            CfoDocument doc;
            bool ok = doc.Parse(c.cfo);
            if (!ok || doc.FindChild("geometry")->children.size() != c.rows) {
                state.SkipWithError("CFO parse gave the wrong tree");
                break;
            }
            benchmark::DoNotOptimize(doc.children.data());
        }
        CfoArena::DropSpareBlocks();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c.cfo.size()));
    state.counters["bytes"] = static_cast<double>(c.cfo.size());
}

void BM_CfoParseReference(benchmark::State& state) {
    const Corpus& c = GetCorpus();
    for (auto _ : state) {
        CfoNode root;
        bool ok = cforef::Parse(&root, c.cfo);
        if (!ok) {
            state.SkipWithError("reference parse failed");
            break;
        }
        benchmark::DoNotOptimize(root.children.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * c.cfo.size()));
    state.counters["bytes"] = static_cast<double>(c.cfo.size());
}

void RapidJsonParse(benchmark::State& state, const std::string& json) {
    const Corpus& c = GetCorpus();
    for (auto _ : state) {
        rapidjson::Document doc;
        doc.Parse(json.c_str(), json.size());
        if (doc.HasParseError() || doc["geometry"].Size() != c.rows) {
            state.SkipWithError("RapidJSON parse failed");
            break;
        }
        benchmark::DoNotOptimize(&doc);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * json.size()));
    state.counters["bytes"] = static_cast<double>(json.size());
}

void BM_RapidJsonDomRows(benchmark::State& state) { RapidJsonParse(state, GetCorpus().json_rows); }

void BM_RapidJsonDomCells(benchmark::State& state) {
    RapidJsonParse(state, GetCorpus().json_cells);
}

// Collects the MB/s of every repetition (CPU time) for the summary; prints the usual table
// without colours, so that logs stay plain.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            double seconds =
                run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            auto bytes = run.counters.find("bytes");
            if (bytes == run.counters.end() || seconds <= 0.0) continue;
            rates[run.run_name.function_name].push_back(bytes->second.value / seconds / 1e6);
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
        std::printf("\nMB/s, CPU time: median [min, max] of %zu repetition(s)\n",
                    rates.empty() ? size_t(0) : rates.begin()->second.size());
        for (const auto& [name, v] : rates) {
            auto [lo, hi] = std::minmax_element(v.begin(), v.end());
            std::printf("  %-24s %8.1f [%.1f, %.1f]\n", name.c_str(), Median(name), *lo, *hi);
        }
        for (const char* own : {"BM_CfoParse", "BM_CfoParseNoSpares"}) {
            double cfo = Median(own);
            for (const char* peer : {"BM_RapidJsonDomRows", "BM_RapidJsonDomCells"}) {
                double other = Median(peer);
                if (cfo > 0.0 && other > 0.0)
                    std::printf("ratio %s / %s: %.2f\n", own + 3, peer + 3, cfo / other);
            }
        }
    }

private:
    std::map<std::string, std::vector<double>> rates;
};

}  // namespace

BENCHMARK(BM_CfoParse)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_CfoParseNoSpares)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_CfoParseReference)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_RapidJsonDomRows)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_RapidJsonDomCells)->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.Summary();
    benchmark::Shutdown();
    return 0;
}
