// What encrypting the data files of protected companies costs: the group save over a demo group
// whose years all have a key, against the same group without keys (in the process, and as the
// command "pendara-cli save-all" with its key derivations), reading one account of a
// million-entry company, and giving that company a key (encrypting it). Argument 0: plain,
// 1: encrypted.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/company_keys.h"
#include "host/company_store.h"
#include "host/demo.h"
#include "host/qv_file_control.h"
#include "host/qv_ole70.h"
#include "posting/save.h"
#include "posting_common.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

namespace fs = std::filesystem;

constexpr const char* kKey = "clave";

// A demo group (every year with the key when `encrypted`) in the scratch folder, made active.
bool MakeGroup(const bench::Scratch& scratch, bool encrypted) {
    const std::string folder = scratch.file("demo");
    const std::string command =
        std::string(QVDATA_EXE) + " demo " + folder + " --no-key >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return false;
    if (encrypted)
        for (const auto& e : fs::directory_iterator(folder))
            if (e.path().extension() == ".QVT") ChangeAccessKey(e.path().string(), "", kKey);
    return true;
}

void BM_GroupSave(benchmark::State& state) {
    const bool encrypted = state.range(0) != 0;
    for (auto _ : state) {
        state.PauseTiming();
        bench::Scratch scratch;
        if (!MakeGroup(scratch, encrypted)) {
            state.SkipWithError("qvdata demo failed");
            break;
        }
        ScriptedPort port;
        port.QueueInput(kKey);
        Pndra w(port);
        Form_Load(w);
        Toolbar1_Click(w, 8);  // the full account list
        state.ResumeTiming();
        Grabartodo(w);
    }
}
BENCHMARK(BM_GroupSave)->Arg(0)->Arg(1)->Unit(benchmark::kSecond)->Iterations(2);

// Processor seconds used by the children waited for so far: the wall time of a save is mostly
// the disk's syncs, which vary with whatever else the machine does.
double ChildrenCpuSeconds() {
    rusage u{};
    ::getrusage(RUSAGE_CHILDREN, &u);
    auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(u.ru_utime) + seconds(u.ru_stime);
}

// As a user runs it: a process of its own, which derives each protected year's key once.
void BM_CliSaveAll(benchmark::State& state) {
    const bool encrypted = state.range(0) != 0;
    double cpu = 0;
    for (auto _ : state) {
        state.PauseTiming();
        bench::Scratch scratch;
        if (!MakeGroup(scratch, encrypted)) {
            state.SkipWithError("qvdata demo failed");
            break;
        }
        const std::string command = std::string("echo ") + kKey + " | " + PENDARA_CLI_EXE +
                                    " save-all --yes >/dev/null 2>&1";
        const double before = ChildrenCpuSeconds();
        state.ResumeTiming();
        if (std::system(command.c_str()) != 0) state.SkipWithError("save-all failed");
        cpu += ChildrenCpuSeconds() - before;
    }
    state.counters["cli_cpu_s"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_CliSaveAll)->Arg(0)->Arg(1)->Unit(benchmark::kSecond)->Iterations(2);

// A million-entry company, and the same encrypted, made once.
struct Million {
    bench::Scratch scratch;
    std::string plain, encrypted;
    Million() {
        DemoOptions o;
        o.folder = scratch.file("plano");
        o.years = 1;
        o.entriesPerYear = 1000000;
        o.withKey = false;
        plain = GenerateDemo(o).companies.back();
        fs::copy(o.folder, scratch.file("cifrado"));
        encrypted = scratch.file("cifrado") + "/" + fs::path(plain).filename().string();
        ChangeAccessKey(encrypted, "", kKey);
        QvOLE70 server;
        server.OpenCompany(encrypted, kKey);
    }
};

Million& MillionCompanies() {
    static Million m;
    return m;
}

const std::int32_t kFields[] = {1, 2, 3, 4, 5, 6, 7, 8, 14, 22, 23};

void BM_ReadAccount(benchmark::State& state) {
    Million& m = MillionCompanies();
    const std::string entries = EntriesFileOf(state.range(0) ? m.encrypted : m.plain);
    std::size_t rows = 0;
    for (auto _ : state) {
        QvFileControl2 c;
        c.OpenFile(entries, "");
        c.MoveFirst();
        c.SetFilter("cuenta =4300000001");
        c.MoveFirst();
        rows = 0;
        for (; !c.IsEof(); c.MoveNext(), ++rows) {
            benchmark::DoNotOptimize(c.GetRecNo());
            for (std::int32_t f : kFields)
                benchmark::DoNotOptimize(c.GetField(f, 0));
        }
        c.CloseFile();
    }
    state.counters["rows"] = static_cast<double>(rows);
}
BENCHMARK(BM_ReadAccount)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Giving the million-entry company a key: every page rewritten encrypted.
void BM_ProtectMillion(benchmark::State& state) {
    Million& m = MillionCompanies();
    for (auto _ : state) {
        state.PauseTiming();
        const std::string folder = m.scratch.file("copia");
        fs::remove_all(folder);
        fs::copy(fs::path(m.plain).parent_path(), folder);
        const std::string company = folder + "/" + fs::path(m.plain).filename().string();
        state.ResumeTiming();
        ChangeAccessKey(company, "", kKey);
    }
}
BENCHMARK(BM_ProtectMillion)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
