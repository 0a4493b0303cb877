// Reference groups of one long extract: ProcessRef scanning every later row for each group (the
// straightforward form, quadratic) against the per-extract reference chains (linear).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <optional>
#include <random>

#include "host/conversions.h"
#include "matching/process_ref.h"

namespace pendara {
namespace {

// n rows; about two thirds in matched groups of two to four rows spread over the extract, the
// rest unmatched with an empty reference.
std::vector<Entry> MakeExtract(std::int32_t n) {
    std::vector<Entry> x(static_cast<std::size_t>(n) + 1);
    std::mt19937 rng(7);
    std::vector<std::int32_t> rows(static_cast<std::size_t>(n));
    for (std::int32_t i = 0; i < n; ++i)
        rows[static_cast<std::size_t>(i)] = i + 1;
    std::shuffle(rows.begin(), rows.end(), rng);
    std::size_t next = 0;
    int group = 0;
    while (next + 4 <= rows.size() * 2 / 3) {
        const std::size_t size = 2 + rng() % 3;
        const std::string ref = "RF-" + std::to_string(++group);
        for (std::size_t k = 0; k < size; ++k) {
            auto r = static_cast<std::size_t>(rows[next++]);
            x[r].reference = ref;
            x[r].mark = "1";
        }
    }
    for (std::int32_t r = 1; r <= n; ++r) {
        Entry& e = x[static_cast<std::size_t>(r)];
        e.date = "C50115";
        e.entry = std::to_string(r);
        e.description = "Fra. " + std::to_string(r);
        e.debit = Amount::Of(r % 2 ? ValueText(100 + r % 97) : "0");
        e.credit = Amount::Of(r % 2 ? "0" : ValueText(-(100.0 + r % 89)));
    }
    return x;
}

void Run(benchmark::State& state, bool chained) {
    const auto n = static_cast<std::int32_t>(state.range(0));
    const std::vector<Entry> x = MakeExtract(n);
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::vector<std::int16_t> processed(static_cast<std::size_t>(n) + 1, 0);
        double total = 0;
        std::string text;
        // The chains are part of the work they save.
        std::optional<ReferenceChains> chains;
        if (chained) chains.emplace(x, n);
        for (std::int32_t r = 1; r <= n; ++r) {
            if (x[static_cast<std::size_t>(r)].mark != "1") continue;
            if (auto group = ProcessRef(r, processed, x, total, chained ? &*chains : nullptr, n, 0))
                text += GroupText(*group);
        }
        bytes = text.size();
        benchmark::DoNotOptimize(total);
    }
    state.counters["rows"] = static_cast<double>(n);
    state.counters["text_MB"] = static_cast<double>(bytes) / 1e6;
}

void BM_ProcessRefScan(benchmark::State& state) {
    Run(state, false);
}
void BM_ProcessRefChains(benchmark::State& state) {
    Run(state, true);
}

BENCHMARK(BM_ProcessRefScan)->Arg(1000)->Arg(10000)->Arg(30000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProcessRefChains)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(30000)
    ->Arg(300000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
