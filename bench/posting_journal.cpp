// What the run journal costs a group save: the group save of a demo group with the journal, and
// the same group save posting every account without it (each account still in one transaction
// per file, the same connections kept for the run, but no intent, no sync of it, no done mark),
// once with the counter synced at the end as the journal allows and once with every counter
// write synced as a save without journal must. Wall time, the best of R runs of each mode,
// alternating: what the journal adds is mostly syncs, which processor time does not show.
//
//   bench_posting_journal [--accounts N] [--entries-per-year N] [--repeat R]
//
// The goal: the journal costs at most 10% (ratio <= 1.10 against the first baseline).

#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "host/account_posting.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/demo.h"
#include "host/run_journal.h"
#include "host/settings.h"
#include "posting/posting_runs.h"
#include "posting/save.h"
#include "posting_common.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

enum class Mode { Journal, BareCounterAtEnd, BareCounterEachWrite };
constexpr const char* kModeNames[] = {"con diario", "sin diario, contador al final",
                                      "sin diario, contador en cada escritura"};

struct Options {
    int accounts = 40;
    int entriesPerYear = 20000;
    int repeat = 3;
};

struct Result {
    double seconds = 0;
    std::int64_t accounts = 0;
    std::int64_t rows = 0;
};

Result GroupSave(Mode mode) {
    ScriptedPort port;
    Pndra w(port);
    Form_Load(w);
    Toolbar1_Click(w, 8);  // the full account list
    std::optional<CounterSyncDeferral> counter;
    std::unique_ptr<PostingRun> bare;
    if (mode != Mode::Journal) {
        if (mode == Mode::BareCounterAtEnd) counter.emplace(w.session.FirstCompanyFile);
        bare = std::make_unique<PostingRun>("", "save-all", "", PostingOptionsFor(w.session));
    }
    RunInProgressScope scope(w.session, bare.get());
    const auto start = std::chrono::steady_clock::now();
    Grabartodo(w);
    if (bare) bare->Finish();
    counter.reset();
    Result r;
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (bare) {
        r.accounts = bare->accounts();
        r.rows = bare->rows();
    } else {
        RunInfo run = RunJournal(w.session.FirstCompanyFile, false).Runs().back();
        r.accounts = run.accounts;
        r.rows = run.rows;
    }
    return r;
}

// A fresh copy of the group, its newest year the active company.
void Copy(const std::string& from, const DemoResult& demo, const std::string& to) {
    std::filesystem::remove_all(to);
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive);
    ScriptedPort port;
    SetRegValue(
        port, "Active",
        (std::filesystem::path(to) / std::filesystem::path(demo.companies.back()).filename())
            .string());
}

}  // namespace
}  // namespace pendara

int main(int argc, char** argv) {
    using namespace pendara;
    Options o;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string flag = argv[i];
        const int value = std::stoi(argv[i + 1]);
        if (flag == "--accounts")
            o.accounts = value;
        else if (flag == "--entries-per-year")
            o.entriesPerYear = value;
        else if (flag == "--repeat")
            o.repeat = value;
        else {
            std::cerr << "opción desconocida: " << flag << '\n';
            return 2;
        }
    }
    bench::Scratch scratch;
    DemoOptions d;
    d.folder = scratch.file("original");
    d.accounts = o.accounts;
    d.entriesPerYear = o.entriesPerYear;
    d.withKey = false;
    const DemoResult demo = GenerateDemo(d);

    Result best[3];
    for (Result& b : best)
        b.seconds = 1e9;
    for (int r = 0; r < o.repeat; ++r)
        for (int m = 0; m < 3; ++m) {
            Copy(d.folder, demo, scratch.file("grupo"));
            Result now = GroupSave(static_cast<Mode>(m));
            if (now.seconds < best[m].seconds) best[m] = now;
        }
    // Numbers through the program's own writer, which no locale changes.
    auto text = [](double v) { return ValueText(RoundTo(v, 3)); };
    std::cout << "apuntes\t" << std::to_string(demo.entries) << "\n";
    for (int m = 0; m < 3; ++m)
        std::cout << kModeNames[m] << "\t" << text(best[m].seconds) << " s\t"
                  << std::to_string(best[m].accounts) << " cuentas\t"
                  << std::to_string(best[m].rows) << " apuntes escritos\n";
    std::cout << "coste del diario\t" << text(best[0].seconds / best[1].seconds)
              << " (frente a sin diario con el contador al final)\t"
              << text(best[0].seconds / best[2].seconds)
              << " (frente a sin diario con el contador en cada escritura)\n";
    return 0;
}
