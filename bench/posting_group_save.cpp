// The group save (load, match and save every account of the list) over the demo group.

#include <benchmark/benchmark.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "posting_common.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

void BM_GroupSave(benchmark::State& state) {
    int accounts = 0;
    for (auto _ : state) {
        state.PauseTiming();
        bench::Scratch scratch;
        const std::string folder = scratch.file("demo");
        const std::string command = std::string(QVDATA_EXE) + " demo " + folder +
                                    " --no-key --entries-per-year " +
                                    std::to_string(state.range(0)) + " >/dev/null";
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("qvdata demo failed");
            break;
        }
        ScriptedPort port;
        Pndra w(port);
        Form_Load(w);
        Toolbar1_Click(w, 8);  // the full account list
        accounts = w.List2.ListCount();
        state.ResumeTiming();
        Grabartodo(w);
    }
    state.counters["accounts"] = accounts;
}
BENCHMARK(BM_GroupSave)->Arg(3000)->Unit(benchmark::kSecond)->Iterations(2);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
