// Amount matching alone: open debit and credit items with random cent amounts, so that exact
// pairs are few and pass 2 runs its greedy search from every starting item of every target (the
// worst case). The literal rules run on the smaller sizes for comparison.

#include <benchmark/benchmark.h>

#include <random>

#include "../tests/matching/naive_matching.h"
#include "host/conversions.h"
#include "matching/amount_matching.h"

namespace pendara {
namespace {

// n rows, alternately debit and credit, amounts 10,00 to 5.000,00.
std::vector<Entry> OpenItems(std::int64_t n, std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<Entry> t(static_cast<std::size_t>(n) + 1);
    for (std::size_t i = 1; i <= static_cast<std::size_t>(n); ++i) {
        double a = static_cast<double>(1000 + rng() % 499001) / 100.0;
        t[i].debit = Amount::Of(i % 2 ? ValueText(a) : "0");
        t[i].credit = Amount::Of(i % 2 ? "0" : ValueText(-a));
    }
    return t;
}

template <class Split>
void Run(benchmark::State& state, Split split) {
    std::vector<Entry> rows = OpenItems(state.range(0), 42);
    int groups = 0;
    for (auto _ : state) {
        std::vector<AmountItem> d(1), c(1);
        GroupNumbers numbers;
        const AmountHooks hooks;
        split(rows, d, c, numbers, hooks);
        groups = numbers.count();
        benchmark::DoNotOptimize(d.data());
    }
    state.counters["groups"] = groups;
    state.SetComplexityN(state.range(0));
}

void BM_SplitByAmounts(benchmark::State& state) {
    Run(state, [](auto&&... a) { SplitByAmounts(a...); });
}
BENCHMARK(BM_SplitByAmounts)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000)
    ->Arg(10000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void BM_SplitByAmountsLiteral(benchmark::State& state) {
    Run(state, [](auto&&... a) { naive::SplitByAmounts(a...); });
}
BENCHMARK(BM_SplitByAmountsLiteral)
    ->Arg(250)
    ->Arg(500)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
