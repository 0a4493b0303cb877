// The pending account list over a company of 1,000,000 entries, and the full list beside it.

#include <benchmark/benchmark.h>

#include "companies/account_list.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/qv_file_control.h"
#include "host/settings.h"
#include "posting_common.h"
#include "support/scripted_port.h"
#include "ui/account_list_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr int kAccounts = 2000;

struct BigCompany {
    bench::Scratch scratch;
    std::string file = scratch.file("EMPB2.QVT");
    BigCompany(std::size_t entries) {
        CreateCompany(file, CompanyDetails{"B2", "Empresa grande", 2025, "", ""});
        std::vector<ChartAccount> chart;
        for (int a = 0; a < kAccounts; ++a)
            chart.emplace_back("43" + std::to_string(10000000 + a), "Cliente " + std::to_string(a));
        AddAccounts(file, chart);
        const std::size_t batch = 100000;
        for (std::size_t done = 0; done < entries; done += batch) {
            std::vector<EntryRecord> part;
            for (std::size_t i = done; i < done + batch && i < entries; ++i) {
                const int a = static_cast<int>(i % kAccounts);
                // Most of each account's entries referenced and ticked; a few accounts open.
                const bool settled = (i / kAccounts) % 50 != 49 || a % 10 != 0;
                part.push_back({"43" + std::to_string(10000000 + a), "15/01/25", std::to_string(i),
                                "Fra. " + std::to_string(i), 1, 10.0 + static_cast<double>(a),
                                settled ? "1" : "", "", "", "",
                                settled ? "RF-" + std::to_string(i) : ""});
            }
            AddEntries(file, part);
        }
        SetRegValue(port, "Active", file);
    }
    ScriptedPort port;
};

BigCompany& Company() {
    static BigCompany company(1000000);
    return company;
}

void BM_PendingList(benchmark::State& state) {
    BigCompany& c = Company();
    ScriptedPort port;
    Pndra w(port);
    w.session.ActiveCompanyFile = c.file;
    for (auto _ : state) {
        w.PendingOnly = true;
        bool mode = true;
        Carga_cuentas(w, mode);
    }
    state.counters["listed"] = w.List2.ListCount();
}
BENCHMARK(BM_PendingList)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same list as the chart reads it, a filter, a sum and a scan per account: what the one
// pass above replaces.
void BM_PendingListOneByOne(benchmark::State& state) {
    BigCompany& c = Company();
    const std::string entriesFile = c.scratch.file("extraB2.qvd");
    const std::string chartFile = c.scratch.file("PlancB2.qvd");
    std::size_t listed = 0;
    for (auto _ : state) {
        QvFileControl2 entries, chart;
        entries.OpenFile(entriesFile);
        chart.OpenFile(chartFile);
        chart.SetFilter("Cuenta  like * and nivel =0");
        chart.SetOrder("cuenta");
        chart.MoveFirst();
        listed = 0;
        for (; !chart.IsEof(); chart.MoveNext()) {
            double balance = 0;
            bool open = false;
            AccountStatus(entries, chart.GetField(1), balance, open);
            if (balance != 0 && open) ++listed;
        }
    }
    state.counters["listed"] = static_cast<double>(listed);
}
BENCHMARK(BM_PendingListOneByOne)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_FullList(benchmark::State& state) {
    BigCompany& c = Company();
    ScriptedPort port;
    Pndra w(port);
    w.session.ActiveCompanyFile = c.file;
    for (auto _ : state) {
        w.PendingOnly = false;
        bool mode = false;
        Carga_cuentas(w, mode);
    }
    state.counters["listed"] = w.List2.ListCount();
}
BENCHMARK(BM_FullList)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
