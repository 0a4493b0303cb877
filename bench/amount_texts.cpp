// The texts of amounts as the grids and the data files write and read them, on ledger-like
// amounts (whole cents, mostly below a million): each routine against the general one it
// shortens, which the same amounts would otherwise take.

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "host/amount_texts.h"
#include "host/conversions.h"
#include "model/amount.h"

namespace {

std::vector<double> LedgerAmounts() {
    std::mt19937_64 rng(2026);
    std::uniform_int_distribution<long long> cents(-99999999, 99999999);
    std::vector<double> out(4096);
    for (double& v : out)
        v = static_cast<double>(cents(rng)) / 100;
    return out;
}

template <class Fn>
void Each(benchmark::State& state, Fn fn) {
    const std::vector<double> amounts = LedgerAmounts();
    for (auto _ : state)
        for (double v : amounts)
            benchmark::DoNotOptimize(fn(v));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(amounts.size()));
}

void BM_FormatAmount(benchmark::State& state) {
    Each(state, [](double v) { return pendara::FormatAmount(v); });
}
BENCHMARK(BM_FormatAmount);

void BM_FormatAmountGeneral(benchmark::State& state) {
    Each(state, [](double v) { return pendara::detail::FormatAmountPlainGeneral(v); });
}
BENCHMARK(BM_FormatAmountGeneral);

void BM_ShownAmountFormat(benchmark::State& state) {
    Each(state, [](double v) { return pendara::ShownAmount::Format(v); });
}
BENCHMARK(BM_ShownAmountFormat);

void BM_ValueText(benchmark::State& state) {
    Each(state, [](double v) { return pendara::ValueText(v); });
}
BENCHMARK(BM_ValueText);

void BM_ValueTextGeneral(benchmark::State& state) {
    Each(state, [](double v) { return pendara::detail::ValueTextGeneral(v); });
}
BENCHMARK(BM_ValueTextGeneral);

void BM_AmountOf(benchmark::State& state) {
    std::vector<std::string> texts;
    for (double v : LedgerAmounts())
        texts.push_back(pendara::ValueText(v));
    for (auto _ : state)
        for (const std::string& t : texts)
            benchmark::DoNotOptimize(pendara::Amount::Of(t));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(texts.size()));
}
BENCHMARK(BM_AmountOf);

void BM_ToDoubleGeneral(benchmark::State& state) {
    std::vector<std::string> texts;
    for (double v : LedgerAmounts())
        texts.push_back(pendara::ValueText(v));
    for (auto _ : state)
        for (const std::string& t : texts)
            benchmark::DoNotOptimize(pendara::detail::ToDoubleGeneral(t));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(texts.size()));
}
BENCHMARK(BM_ToDoubleGeneral);

}  // namespace

BENCHMARK_MAIN();
