// The host store at scale: importing a million entries, reading one account of a
// million-entry file through the cursor against the same query in plain SQLite, and the
// balance of that account.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "host/company_store.h"
#include "host/csv.h"
#include "host/demo.h"
#include "host/qv_file_control.h"

namespace {

using namespace pendara;

constexpr int kMillion = 1000000;

std::string MakeTempFolder() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "pendara-bench-XXXXXX").string();
    if (!::mkdtemp(tmpl.data())) std::abort();
    return tmpl;
}

struct Folder {
    std::string path = MakeTempFolder();
    ~Folder() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
};

// One company with a million demo entries, made once for the reading benchmarks.
struct MillionLedger {
    Folder folder;
    std::string company;
    std::string entries;
    std::string account = "4300000001";
    MillionLedger() {
        DemoOptions o;
        o.folder = folder.path;
        o.years = 1;
        o.entriesPerYear = kMillion;
        o.withKey = false;
        company = GenerateDemo(o).companies.back();
        entries = EntriesFileOf(company);
    }
};

MillionLedger& Ledger() {
    static MillionLedger l;
    return l;
}

void BM_DemoMillionEntries(benchmark::State& state) {
    for (auto _ : state) {
        Folder f;
        DemoOptions o;
        o.folder = f.path;
        o.years = 1;
        o.entriesPerYear = kMillion;
        o.withKey = false;
        benchmark::DoNotOptimize(GenerateDemo(o).entries);
    }
    state.SetItemsProcessed(state.iterations() * kMillion);
}
BENCHMARK(BM_DemoMillionEntries)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_ImportMillionEntriesCsv(benchmark::State& state) {
    std::string csv = ExportEntriesCsv(Ledger().company);
    for (auto _ : state) {
        Folder f;
        std::string company = f.path + "/EMP.QVT";
        CreateCompany(company, {"E1", "Importada", 2025, "", ""});
        benchmark::DoNotOptimize(ImportEntriesCsv(company, csv));
    }
    state.SetItemsProcessed(state.iterations() * kMillion);
}
BENCHMARK(BM_ImportMillionEntriesCsv)->Unit(benchmark::kMillisecond)->Iterations(1);

const std::int32_t kFields[] = {1, 2, 3, 4, 5, 6, 7, 8, 14, 22, 23};

void BM_CursorReadAccount(benchmark::State& state) {
    MillionLedger& l = Ledger();
    std::size_t rows = 0;
    for (auto _ : state) {
        QvFileControl2 c;
        c.OpenFile(l.entries, "");
        c.MoveFirst();
        c.SetFilter("cuenta =" + l.account);
        c.MoveFirst();
        rows = 0;
        while (!c.IsEof()) {
            benchmark::DoNotOptimize(c.GetRecNo());
            for (std::int32_t f : kFields)
                benchmark::DoNotOptimize(c.GetField(f, 0));
            c.MoveNext();
            ++rows;
        }
        c.CloseFile();
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rows));
}
BENCHMARK(BM_CursorReadAccount)->Unit(benchmark::kMillisecond);

// The same selection in plain SQLite, every column taken as text.
void BM_RawSqliteReadAccount(benchmark::State& state) {
    MillionLedger& l = Ledger();
    std::size_t rows = 0;
    for (auto _ : state) {
        sqlite3* db = nullptr;
        sqlite3_open_v2(l.entries.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
        sqlite3_stmt* st = nullptr;
        sqlite3_prepare_v2(db,
                           "SELECT id, fecha, campo2, asiento, descripcion, debe_haber, importe,"
                           " marca, tipo, campo14, campo22, referencia FROM entries"
                           " WHERE cuenta = ? ORDER BY id",
                           -1, &st, nullptr);
        sqlite3_bind_text(st, 1, l.account.c_str(), -1, SQLITE_STATIC);
        rows = 0;
        while (sqlite3_step(st) == SQLITE_ROW) {
            benchmark::DoNotOptimize(sqlite3_column_int64(st, 0));
            for (int col = 1; col < 12; ++col) {
                const unsigned char* t = sqlite3_column_text(st, col);
                std::string s(t ? reinterpret_cast<const char*>(t) : "",
                              static_cast<std::size_t>(sqlite3_column_bytes(st, col)));
                benchmark::DoNotOptimize(s);
            }
            ++rows;
        }
        sqlite3_finalize(st);
        sqlite3_close(db);
    }
    state.counters["rows"] = static_cast<double>(rows);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rows));
}
BENCHMARK(BM_RawSqliteReadAccount)->Unit(benchmark::kMillisecond);

void BM_SumFieldAccount(benchmark::State& state) {
    MillionLedger& l = Ledger();
    for (auto _ : state) {
        QvFileControl2 c;
        c.OpenFile(l.entries, "");
        c.SetFilter("Cuenta = " + l.account);
        c.MoveFirst();
        benchmark::DoNotOptimize(c.SumField("Importe"));
        c.CloseFile();
    }
}
BENCHMARK(BM_SumFieldAccount)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
