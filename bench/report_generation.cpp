// The report over every account of a large company group, and the time spent per part: opening
// the company for the balance, loading the extract over the chain, building the text; then the
// rendering of the whole report to each file format.
//
// Data: a demo group of PENDARA_REPORT_ENTRIES entries (default 1,000,000) over three years with
// PENDARA_REPORT_ACCOUNTS customer and supplier accounts (default 2,000), made once in
// $TMPDIR/pendara-bench-report-<entries>-<accounts> and kept for later runs.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "companies/catalogue.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/demo.h"
#include "host/qv_ole70.h"
#include "host/report_output.h"
#include "host/settings.h"
#include "matching/extract.h"
#include "reports/report.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/report_handlers.h"

namespace pendara {
namespace {

long EnvNumber(const char* name, long def) {
    const char* v = std::getenv(name);
    return v && *v ? std::atol(v) : def;
}

struct Data {
    std::string active;
    std::vector<std::string> accounts;  // posting accounts of the active company's chart
    std::size_t entries = 0;
    std::string report;  // the whole report text, once made
};

Data& GetData() {
    static Data data = [] {
        const long entries = EnvNumber("PENDARA_REPORT_ENTRIES", 1000000);
        const long accounts = EnvNumber("PENDARA_REPORT_ACCOUNTS", 2000);
        const std::filesystem::path folder =
            std::filesystem::temp_directory_path() /
            ("pendara-bench-report-" + std::to_string(entries) + "-" + std::to_string(accounts));
        ::setenv("QUORVEX_HOME", (folder / "home").c_str(), 1);
        ResetSettingsBackends();
        Data d;
        const std::filesystem::path done = folder / "ready";
        if (!std::filesystem::exists(done)) {
            std::filesystem::remove_all(folder);
            DemoOptions o;
            o.folder = (folder / "data").string();
            o.accounts = static_cast<int>(accounts);
            o.entriesPerYear = static_cast<int>(entries / 3);
            o.years = 3;
            o.withKey = false;
            auto t0 = std::chrono::steady_clock::now();
            DemoResult r = GenerateDemo(o);
            std::chrono::duration<double> took = std::chrono::steady_clock::now() - t0;
            std::cerr << "demo group: " << r.entries << " entries in " << took.count() << " s\n";
            std::ofstream(done) << r.companies.back() << "\n" << r.entries << "\n";
        }
        std::ifstream in(done);
        std::getline(in, d.active);
        in >> d.entries;
        const std::string key = std::string(kRegistryRoot) + "Settings\\";
        Registry().OpenKey(key);
        Registry().Store(key, "Active", d.active);
        for (const ChartAccount& c : ReadAccounts(d.active))
            if (c.nivel == 0) d.accounts.push_back(c.cuenta);
        std::sort(d.accounts.begin(), d.accounts.end());
        return d;
    }();
    return data;
}

// Wall time of the timed loop, to give the cost of one account.
class Clock {
  public:
    void Start() { t0_ = std::chrono::steady_clock::now(); }
    void Stop() { spent_ += std::chrono::steady_clock::now() - t0_; }
    double Ms() const { return spent_.count() * 1000; }

  private:
    std::chrono::steady_clock::time_point t0_;
    std::chrono::duration<double> spent_{0};
};

void Counters(benchmark::State& state, const Data& d, const Clock& clock) {
    state.counters["accounts"] = static_cast<double>(d.accounts.size());
    state.counters["entries"] = static_cast<double>(d.entries);
    state.counters["ms_per_account"] =
        clock.Ms() / static_cast<double>(d.accounts.size() * state.iterations());
}

// Informe_Click over every account, open items only, no balance threshold (every account with
// movements is listed), output to the screen (kept by the scripted port).
void BM_ReportAllAccounts(benchmark::State& state) {
    Data& d = GetData();
    Clock clock;
    for (auto _ : state) {
        clock.Start();
        ScriptedPort port;
        Pndra w(port);
        LoadEmpresas(w);
        port.QueueParameters([&](const std::string&, ParameterValues& v, const ParameterKinds&) {
            v[kItemFromAccount - 1][1] = d.accounts.front();
            v[kItemToAccount - 1][1] = d.accounts.back();
            v[kItemMinBalance - 1][1] = "0";
            v[kItemOutput - 1][0] = "0";
            return true;
        });
        Informe_Click(w);
        clock.Stop();
        d.report = port.reports.at(0).first.text;
        state.counters["events"] = port.doEventsCalls;
    }
    Counters(state, d, clock);
    state.counters["report_MB"] = static_cast<double>(d.report.size()) / 1e6;
}

// Opening: per account, a fresh server opens the company and reads balance and title.
void BM_PartOpening(benchmark::State& state) {
    Data& d = GetData();
    ScriptedPort port;
    Pndra w(port);
    LoadEmpresas(w);
    w.session.ActiveCompanyFile = d.active;
    Clock clock;
    for (auto _ : state) {
        clock.Start();
        double sum = 0;
        for (const std::string& a : d.accounts) {
            QvOLE70 server;
            bool ok = false;
            OpenEmp(w.session, server, d.active, ok);
            server.SelectAccount(a, "", "");
            if (server.HasBalances() != 0)
                for (std::int32_t p = 0; p <= 14; ++p)
                    sum += server.GetPeriodDebit(1, p) + server.GetPeriodCredit(1, p);
            benchmark::DoNotOptimize(server.GetAccountInfo(1).Title());
            server.CloseCompany();
        }
        clock.Stop();
        benchmark::DoNotOptimize(sum);
    }
    Counters(state, d, clock);
}

// Extract: per account, the extract over the three years.
void BM_PartExtract(benchmark::State& state) {
    Data& d = GetData();
    ScriptedPort port;
    Pndra w(port);
    LoadEmpresas(w);
    std::size_t rows = 0;
    Clock clock;
    for (auto _ : state) {
        clock.Start();
        rows = 0;
        for (const std::string& a : d.accounts) {
            Extract x = GetExtracto(w.session, d.active, a);
            rows += static_cast<std::size_t>(x.count());
            benchmark::DoNotOptimize(x);
        }
        clock.Stop();
    }
    Counters(state, d, clock);
    state.counters["rows"] = static_cast<double>(rows);
}

// Text: per account, the report and its text from the loaded extract (loading not timed).
void BM_PartText(benchmark::State& state) {
    Data& d = GetData();
    ScriptedPort port;
    Pndra w(port);
    LoadEmpresas(w);
    ReportOptions options;
    options.fromDate = DateText("01/01/99");
    options.toDate = DateText("31/12/26");
    std::size_t bytes = 0;
    Clock clock;
    for (auto _ : state) {
        bytes = 0;
        for (const std::string& a : d.accounts) {
            state.PauseTiming();
            Extract x = GetExtracto(w.session, d.active, a);
            AccountReport report;
            report.listed = true;
            state.ResumeTiming();
            clock.Start();
            AccountBody(report, x.rows, x.count(), options);
            const std::string text = AccountText(report);
            clock.Stop();
            bytes += text.size();
        }
    }
    Counters(state, d, clock);
    state.counters["text_MB"] = static_cast<double>(bytes) / 1e6;
}

// The whole report rendered to each file format.
void Render(benchmark::State& state, std::int32_t destination) {
    Data& d = GetData();
    if (d.report.empty()) {
        state.SkipWithError("run BM_ReportAllAccounts first (the report text is made there)");
        return;
    }
    const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                       ("pendara-bench-report" + ReportFileExtension(destination));
    ReportRequest request{destination,    kReportTitle,      d.report,  "23/11/26",
                          kReportColumns, kReportAlignments, "DEMO2025"};
    for (auto _ : state) {
        switch (destination) {
            case kReportToPdf:
                WriteReportPdf(request, file.string());
                break;
            case kReportToCsv:
                WriteReportCsv(request, file.string());
                break;
            default:
                WriteReportXlsx(request, file.string());
                break;
        }
    }
    state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
    if (destination == kReportToPdf) {
        ReportLayout l = LayoutReport(request, ReportPageSize{}, ApproximateTextWidth);
        state.counters["pages"] = static_cast<double>(l.pages.size());
    }
}

void BM_RenderPdf(benchmark::State& state) {
    Render(state, kReportToPdf);
}
void BM_RenderCsv(benchmark::State& state) {
    Render(state, kReportToCsv);
}
void BM_RenderXlsx(benchmark::State& state) {
    Render(state, kReportToSpreadsheet);
}

BENCHMARK(BM_ReportAllAccounts)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_PartOpening)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_PartExtract)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_PartText)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_RenderPdf)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_RenderCsv)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(BM_RenderXlsx)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace pendara

BENCHMARK_MAIN();
