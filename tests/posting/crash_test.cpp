// A group save killed just before each call that changes a file (write, pwrite, fsync,
// ftruncate, rename, unlink: crash_shim.c counts them), then started again. After the start's
// recovery:
//  - every data file and the journal are sound, and no account is half-saved in any year: for
//    each account, the entries the interrupted run changed are either none, or exactly the
//    entries, with exactly the references and marks, that an uninterrupted run changes;
//  - the undo of the interrupted run gives back every company's entries as they were, byte for
//    byte (what qvdata export-entries writes);
//  - on every sixth kill point, a rerun to the end gives each account what an uninterrupted run
//    gives it. Two things differ on purpose and are compared for what must stay equal: the rerun
//    draws its numbers from a counter the interrupted run advanced, so system references are
//    compared by the groups they form (renumbered in order of first appearance within each
//    account); and an account the interrupted run completed is saved a second time by the rerun,
//    so it is compared with an uninterrupted run followed by a second one.
// The kill points are split over four tests that ctest runs side by side.

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/company_store.h"
#include "host/csv.h"
#include "host/run_journal.h"
#include "support/spawn.h"
#include "support/temp_dir.h"

// Sanitizer builds have no shim: their run-time library must be the first one a program loads.
#ifndef CRASH_SHIM_PATH
#define CRASH_SHIM_PATH ""
#endif

namespace pendara {
namespace {

namespace fs = std::filesystem;
using testing::RunProgram;

constexpr int kSlices = 4;
constexpr int kRerunEvery = 6;  // of each slice's kill points
// A group small enough to be killed at each of its calls (about 600).
const std::vector<std::string> kDemo = {"--no-key", "--accounts", "2", "--entries-per-year", "60"};

// Per account, each entry's reference and mark by (company, record).
using Values = std::map<std::pair<std::size_t, std::int32_t>, std::pair<std::string, std::string>>;
using ByAccount = std::map<std::string, Values>;

std::string IntegrityOf(const std::string& path) {
    sqlite3* db = nullptr;
    std::string result = "no se abre";
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &st, nullptr) == SQLITE_OK &&
            sqlite3_step(st) == SQLITE_ROW)
            result = reinterpret_cast<const char*>(sqlite3_column_text(st, 0));
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
    return result;
}

// The rows that differ from `before`, with their new values, by account (none: no entry).
ByAccount Changed(const ByAccount& before, const ByAccount& now) {
    ByAccount out;
    for (const auto& [account, rows] : now)
        for (const auto& [row, value] : rows)
            if (before.at(account).at(row) != value) out[account][row] = value;
    return out;
}

// Each account's lines of the exports, system references renumbered by first appearance.
std::map<std::string, std::string> Normalised(const std::vector<std::string>& exports) {
    std::map<std::string, std::string> out;
    std::map<std::string, std::map<std::string, std::string>> labels;
    for (std::size_t c = 0; c < exports.size(); ++c) {
        std::vector<CsvRecord> records = ParseCsv(exports[c]);
        for (std::size_t r = 1; r < records.size(); ++r) {
            std::vector<std::string>& f = records[r].fields;
            const std::string& account = f.at(1);
            std::string& ref = f.back();
            if (ref.rfind("RF-", 0) == 0) {
                auto& mine = labels[account];
                ref = mine.emplace(ref, "RF-#" + std::to_string(mine.size() + 1)).first->second;
            }
            std::string line = std::to_string(c);
            for (const std::string& field : f)
                line += ";" + field;
            out[account] += line + "\n";
        }
    }
    return out;
}

class GroupSaveCrash : public ::testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        if (std::string(CRASH_SHIM_PATH).empty())
            GTEST_SKIP() << "sin la biblioteca de LD_PRELOAD (compilación con sanitizadores)";
        fs::create_directories(data());
        fs::create_directories(home());
        std::vector<std::string> demo = {QVDATA_EXE, "demo", data().string()};
        demo.insert(demo.end(), kDemo.begin(), kDemo.end());
        ASSERT_EQ(RunProgram(demo, Env()), 0);
        for (const auto& f : fs::directory_iterator(data()))
            if (f.path().extension() == ".QVT") companies.push_back(f.path().string());
        std::sort(companies.begin(), companies.end());
        ASSERT_EQ(companies.size(), 3u);
        fs::copy(trial(), pristine(), fs::copy_options::recursive);
    }

    fs::path trial() const { return dir.path() / "prueba"; }
    fs::path pristine() const { return dir.path() / "original"; }
    fs::path data() const { return trial() / "datos"; }
    fs::path home() const { return trial() / "ajustes"; }
    std::vector<std::string> Env() const { return {"QUORVEX_HOME=" + home().string()}; }

    void Reset() {
        fs::remove_all(trial());
        fs::copy(pristine(), trial(), fs::copy_options::recursive);
    }
    int Cli(const std::vector<std::string>& args, std::vector<std::string> env = {}) {
        std::vector<std::string> argv = {PENDARA_CLI_EXE};
        argv.insert(argv.end(), args.begin(), args.end());
        env.push_back(Env()[0]);
        return RunProgram(argv, env, (dir.path() / "salida.txt").string());
    }
    ByAccount Read() const {
        ByAccount out;
        for (std::size_t c = 0; c < companies.size(); ++c)
            for (const EntryRecord& e : ReadEntries(companies[c]))
                out[e.cuenta][{c, e.registro}] = {e.referencia, e.marca};
        return out;
    }
    std::vector<std::string> Exports() const {
        std::vector<std::string> out;
        for (const std::string& c : companies)
            out.push_back(ExportEntriesCsv(c));
        return out;
    }
    std::vector<RunInfo> Runs() const {
        if (!RunJournal::Exists(companies.front())) return {};
        return RunJournal(companies.front(), false).Runs();
    }
    // Undoes every group save of the journal, the last first.
    void UndoGroupSaves() {
        std::vector<RunInfo> runs = Runs();
        for (auto r = runs.rbegin(); r != runs.rend(); ++r) {
            if (r->command == "save-all" && r->accounts > 0) {
                ASSERT_EQ(Cli({"undo", std::to_string(r->id)}), 0) << "undo " << r->id;
            }
        }
    }

    testing::TempDir dir;
    std::vector<std::string> companies;  // oldest first
};

TEST_P(GroupSaveCrash, RecoveryLeavesEveryAccountWholeAndUndoAndRerunAgree) {
    const ByAccount before = Read();
    const std::vector<std::string> beforeExports = Exports();

    // The uninterrupted run, traced: one line per call the shim counts.
    const std::string tracePath = (dir.path() / "llamadas.txt").string();
    ASSERT_EQ(Cli({"save-all", "--yes"},
                  {"LD_PRELOAD=" CRASH_SHIM_PATH, "CRASH_SHIM_TRACE=" + tracePath}),
              0);
    const ByAccount full = Changed(before, Read());
    const std::map<std::string, std::string> once = Normalised(Exports());
    ASSERT_GE(full.size(), 4u) << "the run must change several accounts for the test to mean much";
    ASSERT_EQ(Cli({"save-all", "--yes"}), 0);
    const std::map<std::string, std::string> twice = Normalised(Exports());
    std::vector<std::string> calls;
    {
        std::ifstream in(tracePath);
        for (std::string line; std::getline(in, line);)
            calls.push_back(line);
    }
    ASSERT_GT(calls.size(), 100u);
    ASSERT_LT(calls.size(), 2000u) << "too many calls to kill at each";

    // The syncs of the run: one per account in the journal (and a few to make it and to start
    // its write-ahead log again), a few per entries file and one of the counter for the whole run.
    std::map<std::string, int> syncs;
    for (const std::string& call : calls)
        if (call.find("\tfsync\t") != std::string::npos)
            ++syncs[fs::path(call.substr(call.rfind('\t') + 1)).filename().string()];
    int journal = 0;
    for (const auto& [file, count] : syncs) {
        if (file.rfind("diario", 0) == 0) journal += count;
        if (file.rfind("extra", 0) == 0) {
            EXPECT_LE(count, 2) << file;
        }
        if (file.rfind("DEMO", 0) == 0) {
            EXPECT_LE(count, 1) << file;
        }
    }
    EXPECT_LE(journal, Runs().at(0).accounts + 6);

    std::map<std::string, int> kinds;  // call and file kind -> kills
    int killed = 0, reruns = 0;
    for (std::size_t n = 1; n <= calls.size(); ++n) {
        if (static_cast<int>(n % kSlices) != GetParam()) continue;
        SCOPED_TRACE("muerto antes de la llamada " + calls[n - 1]);
        Reset();
        const int status = Cli({"save-all", "--yes"}, {"LD_PRELOAD=" CRASH_SHIM_PATH,
                                                       "CRASH_SHIM_KILL_AT=" + std::to_string(n)});
        if (status == -SIGKILL) ++killed;
        std::string kind = calls[n - 1].substr(calls[n - 1].find('\t') + 1);
        kind = kind.substr(0, kind.find('\t')) + " " +
               fs::path(kind.substr(kind.find('\t') + 1)).filename().string();
        if (auto tmp = kind.find(".tmp."); tmp != std::string::npos) kind.resize(tmp);
        ++kinds[kind];

        for (const auto& f : fs::directory_iterator(data())) {
            if (f.path().extension() == ".qvd" || f.path().extension() == ".qvj") {
                EXPECT_EQ(IntegrityOf(f.path().string()), "ok") << f.path();
            }
        }
        ASSERT_EQ(Cli({"runs"}), 0);  // every start recovers
        for (const RunInfo& r : Runs())
            EXPECT_TRUE(r.state == RunInfo::State::Finished || r.state == RunInfo::State::Recovered)
                << "ejecución " << r.id << ": " << StateText(r.state);

        const ByAccount changed = Changed(before, Read());
        for (const auto& [account, rows] : changed)
            EXPECT_EQ(rows, full.at(account)) << "cuenta " << account << " a medias";

        if ((n / kSlices) % kRerunEvery == 0) {
            ++reruns;
            ASSERT_EQ(Cli({"save-all", "--yes"}), 0);
            for (const auto& [account, text] : Normalised(Exports()))
                EXPECT_EQ(text, changed.count(account) ? twice.at(account) : once.at(account))
                    << "cuenta " << account;
        }
        UndoGroupSaves();
        EXPECT_EQ(Exports(), beforeExports);
        if (HasFailure()) break;
    }
    EXPECT_GT(killed, 0);
    std::cout << "muertes " << killed << ", repeticiones " << reruns << "; por llamada y fichero:";
    for (const auto& [kind, count] : kinds)
        std::cout << " [" << kind << "] " << count;
    std::cout << "\n";
}

INSTANTIATE_TEST_SUITE_P(Slices, GroupSaveCrash, ::testing::Range(0, kSlices));

}  // namespace
}  // namespace pendara
