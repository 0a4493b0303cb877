// Amount matching alone: open debit and credit items with random cent amounts, so that exact
// pairs are few and pass 2 runs its greedy search from every starting item of every target (the
// worst case). The literal rules run on the smaller sizes for comparison.

#include <benchmark/benchmark.h>

#include <algorithm>
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

// Ledger-shaped items: invoices of 10,00 to 7.260,00 on the debit side, and on the credit side
// payments of one invoice, of two at once or of half of one, in a shuffled order, so that pass 1
// finds many pairs and most other targets have none.
std::vector<Entry> LedgerItems(std::int64_t n, std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<double> invoices, payments;
    while (static_cast<std::int64_t>(invoices.size() + payments.size()) < n) {
        const double a = static_cast<double>(1210 + rng() % 725000) / 100.0;
        invoices.push_back(a);
        switch (rng() % 6) {
            case 0:
                payments.push_back(RoundTo(a / 2, 2));
                break;
            case 1:
                if (invoices.size() >= 2) payments.push_back(a + invoices[rng() % invoices.size()]);
                break;
            case 2:
                break;
            default:
                payments.push_back(a);
        }
    }
    std::vector<Entry> t(1);
    for (double a : invoices) {
        t.emplace_back();
        t.back().debit = Amount::Of(ValueText(a));
        t.back().credit = Amount::Zero();
    }
    for (double a : payments) {
        t.emplace_back();
        t.back().debit = Amount::Zero();
        t.back().credit = Amount::Of(ValueText(-a));
    }
    std::shuffle(t.begin() + 1, t.end(), rng);
    return t;
}

// The fast run against the literal rules on the same kind of items, where the literal rules are
// still affordable; a difference stops the benchmark.
bool LedgerAgrees(std::int64_t n) {
    const std::vector<Entry> rows = LedgerItems(n, 7);
    std::vector<AmountItem> d1(1), c1(1), d2(1), c2(1);
    GroupNumbers g1, g2;
    SplitByAmounts(rows, d1, c1, g1);
    naive::SplitByAmounts(rows, d2, c2, g2, {});
    return d1 == d2 && c1 == c2 && g1.count() == g2.count();
}

// The same comparison at full size, once: the literal rules take minutes there, so this runs a
// single iteration and its time is the literal rules' time.
void BM_SplitByAmountsLedgerAgrees(benchmark::State& state) {
    for (auto _ : state)
        if (!LedgerAgrees(state.range(0))) {
            state.SkipWithError("the fast run differs from the literal rules");
            return;
        }
}
BENCHMARK(BM_SplitByAmountsLedgerAgrees)->Arg(10000)->Iterations(1)->Unit(benchmark::kSecond);

void BM_SplitByAmountsLedger(benchmark::State& state) {
    if (!LedgerAgrees(1500)) {
        state.SkipWithError("the fast run differs from the literal rules");
        return;
    }
    std::vector<Entry> rows = LedgerItems(state.range(0), 42);
    int groups = 0;
    for (auto _ : state) {
        std::vector<AmountItem> d(1), c(1);
        GroupNumbers numbers;
        SplitByAmounts(rows, d, c, numbers);
        groups = numbers.count();
        benchmark::DoNotOptimize(d.data());
    }
    state.counters["groups"] = groups;
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_SplitByAmountsLedger)
    ->Arg(10000)
    ->Arg(20000)
    ->Arg(50000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
