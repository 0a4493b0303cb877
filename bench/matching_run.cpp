// The account matching run over demo data: one customer account with about 20,000 entries over a
// chain of three years, and the same run cut into its stages (reading the extract, matching by
// reference text, matching by amounts).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

#include "../tests/matching/naive_reference_matching.h"
#include "companies/catalogue.h"
#include "host/company_file.h"
#include "host/demo.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/settings.h"
#include "matching/amount_matching.h"
#include "matching/check_ref.h"
#include "matching/extract.h"
#include "matching/matching_run.h"
#include "matching/references.h"
#include "support/scripted_port.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAccount = "4300000001";

// The demo groups are made once per machine and reused: one customer and one supplier, so that
// the customer account carries about a quarter of all entries (28,000 entries a year give the
// customer about 20,000 over the three years).
struct Data {
    std::vector<std::string> companies;
    explicit Data(int perYear) {
        auto root = std::filesystem::temp_directory_path() / "pendara-bench-matching-run";
        ::setenv("QUORVEX_HOME", (root / "home").c_str(), 1);
        ResetSettingsBackends();
        auto folder = root / (perYear == 28000 ? "data" : "data" + std::to_string(perYear));
        const int years = 3;
        for (int y = 0; y < years; ++y)
            companies.push_back((folder / ("DEMO" + std::to_string(2023 + y) + ".QVT")).string());
        if (std::filesystem::exists(companies.back())) return;
        std::filesystem::remove_all(folder);
        DemoOptions o;
        o.folder = folder.string();
        o.accounts = 2;
        o.entriesPerYear = perYear;
        o.years = years;
        o.withKey = false;
        companies = GenerateDemo(o).companies;
    }
};

Data& TheData(int perYear = 28000) {
    static std::map<int, std::unique_ptr<Data>> sets;
    auto& d = sets[perYear];
    if (!d) d = std::make_unique<Data>(perYear);
    return *d;
}

struct Window {
    ScriptedPort port;
    Pndra w{port};
    explicit Window(int perYear = 28000) {
        w.session.ActiveCompanyFile = TheData(perYear).companies.back();
        w.session.FirstCompanyFile = TheData(perYear).companies.front();
        w.gauge.SetSurface(&port.gauge);
    }
};

// How the run grows with the account: about 5,000, 10,000 and 20,000 entries.
void BM_PVporImportesBySize(benchmark::State& state) {
    Window win(static_cast<int>(state.range(0)));
    for (auto _ : state)
        PVporImportes(win.w, win.w.session.ActiveCompanyFile, kAccount);
    state.counters["entries"] = win.w.SGrid1.Rows() + win.w.SGrid2.Rows();
}
BENCHMARK(BM_PVporImportesBySize)
    ->Arg(7000)
    ->Arg(14000)
    ->Arg(28000)
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2);

void BM_PVporImportes(benchmark::State& state) {
    Window win;
    for (auto _ : state)
        PVporImportes(win.w, win.w.session.ActiveCompanyFile, kAccount);
    state.counters["debe"] = win.w.SGrid1.Rows();
    state.counters["haber"] = win.w.SGrid2.Rows();
}
BENCHMARK(BM_PVporImportes)->Unit(benchmark::kMillisecond)->MinTime(3);

void BM_GetExtracto(benchmark::State& state) {
    Window win;
    std::int32_t count = 0;
    for (auto _ : state) {
        Extract x = GetExtracto(win.w.session, win.w.session.ActiveCompanyFile, kAccount);
        count = x.count();
        benchmark::DoNotOptimize(x);
    }
    state.counters["rows"] = count;
}
BENCHMARK(BM_GetExtracto)->Unit(benchmark::kMillisecond)->MinTime(3);

// The extract with the invoice numbers of the descriptions, as the run matches it.
std::vector<Entry> PreparedExtract(Window& win) {
    Extract x = GetExtracto(win.w.session, win.w.session.ActiveCompanyFile, kAccount);
    for (Entry& e : x.rows)
        if (e.reference.empty()) e.reference = NumberFromDescription(e.description, " Fra");
    return std::move(x.rows);
}

void BM_CheckRef(benchmark::State& state) {
    Window win;
    std::vector<Entry> prepared = PreparedExtract(win);
    for (auto _ : state) {
        std::vector<Entry> t = prepared;
        CheckRef(t);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(BM_CheckRef)->Unit(benchmark::kMillisecond)->MinTime(3);

// CheckRef against its literal steps on the account's first 10,000 entries (the literal steps
// are quadratic: minutes on the whole account), once; a difference stops the benchmark.
void BM_CheckRefAgreesWithLiteral(benchmark::State& state) {
    Window win;
    std::vector<Entry> prepared = PreparedExtract(win);
    prepared.resize(std::min<std::size_t>(prepared.size(), 10001));  // row 0 is no entry
    for (auto _ : state) {
        std::vector<Entry> fast = prepared, literal = prepared;
        CheckRef(fast);
        naive::CheckRef(literal);
        if (fast != literal) {
            state.SkipWithError("CheckRef differs from the literal steps");
            return;
        }
    }
    state.counters["rows"] = static_cast<double>(prepared.size() - 1);
}
BENCHMARK(BM_CheckRefAgreesWithLiteral)->Iterations(1)->Unit(benchmark::kSecond);

void BM_SplitByAmountsOnAccount(benchmark::State& state) {
    Window win;
    std::vector<Entry> t = PreparedExtract(win);
    CheckRef(t);
    int groups = 0;
    for (auto _ : state) {
        std::vector<AmountItem> d(1), c(1);
        GroupNumbers numbers;
        SplitByAmounts(t, d, c, numbers);
        groups = numbers.count();
    }
    state.counters["groups"] = groups;
}
BENCHMARK(BM_SplitByAmountsOnAccount)->Unit(benchmark::kMillisecond)->MinTime(3);

void BM_NewReference(benchmark::State& state) {
    Window win;
    for (auto _ : state)
        benchmark::DoNotOptimize(NewReference(win.w.session));
}
BENCHMARK(BM_NewReference)->Unit(benchmark::kMicrosecond);

// The two host operations each reference costs.
void BM_CounterIncrement(benchmark::State& state) {
    const std::string first = TheData().companies.front();
    for (auto _ : state)
        benchmark::DoNotOptimize(IncrementCounter(first));
}
BENCHMARK(BM_CounterIncrement)->Unit(benchmark::kMicrosecond);

void BM_EntriesLookup(benchmark::State& state) {
    Window win;
    const std::string file = EntriesFile(FolderOf(win.w.session.ActiveCompanyFile),
                                         CompanyCode(win.w.session.ActiveCompanyFile));
    for (auto _ : state) {
        QvFileControl2 c;
        c.OpenFile(file, "");
        c.MoveFirst();
        c.SetFilter("Referencia punteo =RF-1");
        c.MoveFirst();
        benchmark::DoNotOptimize(c.GetRecordCount());
        c.CloseFile();
    }
}
BENCHMARK(BM_EntriesLookup)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
