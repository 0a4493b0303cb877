// FixRef and the posting writing a grid of 100,000 rows into one company's entries file.

#include <benchmark/benchmark.h>

#include "host/company_store.h"
#include "posting/save.h"
#include "posting_common.h"

namespace pendara {
namespace {

void BM_FixRef(benchmark::State& state) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    bench::Scratch scratch;
    const std::string company = scratch.file("EMPB1.QVT");
    CreateCompany(company, CompanyDetails{"B1", "Banco de pruebas", 2025, "", ""});
    std::vector<EntryRecord> entries;
    entries.reserve(rows);
    for (std::size_t i = 0; i < rows; ++i)
        entries.push_back({"43" + std::to_string(10000000 + i % 500), "15/01/25", std::to_string(i),
                           "Fra. " + std::to_string(i), i % 2 ? 1 : 2, i % 2 ? 10.0 : -10.0});
    AddEntries(company, entries);

    // Half the rows matched (balanced or not), half left open.
    std::vector<GridRow> datos(rows);
    for (std::size_t r = 1; r <= rows; ++r) {
        GridRow& row = datos[r - 1];
        row.record = std::to_string(entries[r - 1].registro);
        row.reference = r % 2 ? "RF-" + std::to_string(r / 4) : std::to_string(r);
        row.amount = ShownAmount::Of("10,00");
        row.company = 1;
        row.mark = r % 4 == 1 ? "1" : (r % 4 == 3 ? "2" : "0");
    }
    const std::vector<PostingFile> files{{EntriesFileOf(company), "B1"}};
    const PostingMarks marks{"1", "0"};
    std::size_t open = 0;
    for (auto _ : state) {
        AccountPosting posting{"4310000000", files, {}};
        FixRef(datos, 1, marks, posting.rows);
        // A run without journal: the posting's own cost, as the tools pay it.
        PostingRun run("", "save", posting.account);
        run.Post(posting);
        run.Finish();
        open = OpenRows(datos).size();
    }
    state.counters["open_rows"] = static_cast<double>(open);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows));
}
BENCHMARK(BM_FixRef)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
