// A group of company files made with the earlier reference index (every entry in it, the empty
// reference too): a group save gives the same entries as on files with today's index, and
// replaces the index with its first write to each file. Killed before each call that changes a
// file while it does so (crash_shim.c), the files stay sound with one index or the other, and
// the next save leaves the new one, complete.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/company_store.h"
#include "host/csv.h"
#include "support/spawn.h"
#include "support/temp_dir.h"

#ifndef CRASH_SHIM_PATH
#define CRASH_SHIM_PATH ""
#endif

namespace pendara {
namespace {

namespace fs = std::filesystem;
using testing::RunProgram;

constexpr const char* kOldIndex = "CREATE INDEX entries_referencia ON entries(referencia)";
// Kill points: every call up to this many calls on the entries files, which covers the first
// account's commit to each year.
constexpr int kEntriesCalls = 40;

// The answer of a one-value query, or what went wrong.
std::string Query(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    std::string result = "no se abre";
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK)
            result = sqlite3_errmsg(db);
        else if (sqlite3_step(st) == SQLITE_ROW)
            result = reinterpret_cast<const char*>(sqlite3_column_text(st, 0));
        else
            result = "";
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
    return result;
}

std::string IndexSql(const std::string& path) {
    return Query(path, "SELECT sql FROM sqlite_master WHERE name = 'entries_referencia'");
}

class IndexUpgradeCrash : public ::testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(data());
        fs::create_directories(home());
        ASSERT_EQ(RunProgram({QVDATA_EXE, "demo", data().string(), "--no-key", "--accounts", "2",
                              "--entries-per-year", "60"},
                             Env()),
                  0);
        for (const auto& f : fs::directory_iterator(data())) {
            if (f.path().extension() == ".QVT") companies.push_back(f.path().string());
            if (f.path().filename().string().rfind("extra", 0) == 0 &&
                f.path().extension() == ".qvd")
                entries.push_back(f.path().string());
        }
        std::sort(companies.begin(), companies.end());
        ASSERT_EQ(entries.size(), 3u);
        newIndex = IndexSql(entries[0]);
        ASSERT_NE(newIndex.find("WHERE"), std::string::npos) << newIndex;
        fs::copy(trial(), current(), fs::copy_options::recursive);
        for (const std::string& e : entries) {
            ASSERT_EQ(Query(e, "DROP INDEX entries_referencia"), "");
            ASSERT_EQ(Query(e, kOldIndex), "");
            ASSERT_EQ(IndexSql(e), kOldIndex);
        }
        fs::copy(trial(), old(), fs::copy_options::recursive);
    }

    fs::path trial() const { return dir.path() / "prueba"; }
    fs::path current() const { return dir.path() / "actual"; }
    fs::path old() const { return dir.path() / "antigua"; }
    fs::path data() const { return trial() / "datos"; }
    fs::path home() const { return trial() / "ajustes"; }
    std::vector<std::string> Env() const { return {"QUORVEX_HOME=" + home().string()}; }

    void Reset(const fs::path& from) {
        fs::remove_all(trial());
        fs::copy(from, trial(), fs::copy_options::recursive);
    }
    int Cli(const std::vector<std::string>& args, std::vector<std::string> env = {}) {
        std::vector<std::string> argv = {PENDARA_CLI_EXE};
        argv.insert(argv.end(), args.begin(), args.end());
        env.push_back(Env()[0]);
        return RunProgram(argv, env, (dir.path() / "salida.txt").string());
    }
    std::vector<std::string> Exports() const {
        std::vector<std::string> out;
        for (const std::string& c : companies)
            out.push_back(ExportEntriesCsv(c));
        return out;
    }
    // Every entry with a reference is in the index, and no other.
    void ExpectCompleteNewIndex() {
        for (const std::string& e : entries) {
            EXPECT_EQ(IndexSql(e), newIndex) << e;
            const std::string select = "SELECT group_concat(id) FROM (SELECT id FROM entries ";
            const std::string indexed = Query(
                e, select + "INDEXED BY entries_referencia WHERE referencia <> '' ORDER BY id)");
            EXPECT_EQ(indexed, Query(e, select + "NOT INDEXED WHERE referencia <> '' ORDER BY id)"))
                << e;
            EXPECT_FALSE(indexed.empty()) << e;
            EXPECT_EQ(Query(e, "PRAGMA integrity_check"), "ok") << e;
        }
    }

    testing::TempDir dir;
    std::vector<std::string> companies, entries;
    std::string newIndex;
};

TEST_F(IndexUpgradeCrash, OldFilesSaveAlikeAndAKilledUpgradeLeavesThemUsable) {
    if (std::string(CRASH_SHIM_PATH).empty())
        GTEST_SKIP() << "sin la biblioteca de LD_PRELOAD (compilación con sanitizadores)";
    Reset(current());
    ASSERT_EQ(Cli({"save-all", "--yes"}), 0);
    const std::vector<std::string> want = Exports();

    Reset(old());
    ASSERT_EQ(Cli({"save-all", "--dry-run"}), 0);
    for (const std::string& e : entries)
        EXPECT_EQ(IndexSql(e), kOldIndex) << "una simulación no cambia nada";
    const std::string tracePath = (dir.path() / "llamadas.txt").string();
    ASSERT_EQ(Cli({"save-all", "--yes"},
                  {"LD_PRELOAD=" CRASH_SHIM_PATH, "CRASH_SHIM_TRACE=" + tracePath}),
              0);
    EXPECT_EQ(Exports(), want);
    ExpectCompleteNewIndex();

    std::vector<std::string> calls;
    {
        std::ifstream in(tracePath);
        for (std::string line; std::getline(in, line);)
            calls.push_back(line);
    }
    std::size_t last = 0;
    for (int seen = 0; last < calls.size() && seen < kEntriesCalls; ++last)
        if (calls[last].find("/extra") != std::string::npos) ++seen;
    ASSERT_GT(last, 0u);
    int killed = 0, upgradedBeforeRerun = 0;
    for (std::size_t n = 1; n <= last; ++n) {
        SCOPED_TRACE("muerto antes de la llamada " + calls[n - 1]);
        Reset(old());
        if (Cli({"save-all", "--yes"}, {"LD_PRELOAD=" CRASH_SHIM_PATH,
                                        "CRASH_SHIM_KILL_AT=" + std::to_string(n)}) == -SIGKILL)
            ++killed;
        ASSERT_EQ(Cli({"runs"}), 0);  // every start recovers
        for (const std::string& e : entries) {
            EXPECT_EQ(Query(e, "PRAGMA integrity_check"), "ok") << e;
            const std::string index = IndexSql(e);
            EXPECT_TRUE(index == kOldIndex || index == newIndex) << e << ": " << index;
            upgradedBeforeRerun += index == newIndex;
        }
        ASSERT_EQ(Cli({"save-all", "--yes"}), 0);
        ExpectCompleteNewIndex();
        if (HasFailure()) break;
    }
    EXPECT_GT(killed, 0);
    // Some kills came before an upgrade committed, some after.
    EXPECT_GT(upgradedBeforeRerun, 0);
    EXPECT_LT(upgradedBeforeRerun, static_cast<int>(last * entries.size()));
}

}  // namespace
}  // namespace pendara
