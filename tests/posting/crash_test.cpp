// A group save killed at random points must leave every data file readable and, for each
// company, each account's save either fully written or not at all.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "host/conversions.h"
#include "host/qv_file_control.h"
#include "support/temp_dir.h"

extern char** environ;

namespace pendara {
namespace {

namespace fs = std::filesystem;

struct Child {
    pid_t pid = -1;
};

// Starts a program with QUORVEX_HOME set and standard input from a file.
Child Spawn(const std::vector<std::string>& argv, const std::string& home,
            const std::string& input) {
    std::vector<std::string> env{"QUORVEX_HOME=" + home};
    for (char** e = environ; *e; ++e)
        if (std::string(*e).rfind("QUORVEX_HOME=", 0) != 0) env.emplace_back(*e);
    std::vector<char*> envp, args;
    for (auto& s : env)
        envp.push_back(s.data());
    envp.push_back(nullptr);
    std::vector<std::string> copy = argv;
    for (auto& s : copy)
        args.push_back(s.data());
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    Child c;
    int rc = posix_spawn(&c.pid, args[0], &actions, nullptr, args.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) throw std::runtime_error("no se pudo lanzar " + argv[0]);
    return c;
}

int Wait(Child c) {
    int status = 0;
    waitpid(c.pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// A demo group of its own: data folder and settings folder under root.
struct Group {
    std::string data, home, input;
};

Group MakeGroup(const fs::path& root) {
    Group g{(root / "data").string(), (root / "home").string(), "/dev/null"};
    fs::create_directories(g.data);
    fs::create_directories(g.home);
    // Without access keys nobody needs to answer; the same seed gives the same group each time.
    Child c = Spawn({QVDATA_EXE, "demo", g.data, "--no-key", "--entries-per-year", "1500"}, g.home,
                    "/dev/null");
    if (Wait(c) != 0) throw std::runtime_error("qvdata demo falló");
    return g;
}

// (file, account, debit side) -> the references and marks of its entries by record number.
using Key = std::tuple<std::string, std::string, std::string>;
using Snapshot = std::map<Key, std::vector<std::string>>;

Snapshot Snap(const Group& g) {
    Snapshot s;
    for (const auto& f : fs::directory_iterator(g.data)) {
        const std::string name = f.path().filename().string();
        if (!EqualsNoCase(name.substr(0, 5), "extra") || !EndsWithNoCase(name, ".qvd")) continue;
        QvFileControl2 cursor;
        cursor.OpenFile(f.path().string(), "");
        cursor.MoveFirst();
        while (!cursor.IsEof()) {
            Key key{name, cursor.GetFieldByName("Cuenta"), cursor.GetField(5)};
            s[key].push_back(std::to_string(cursor.GetRecNo()) + "|" + cursor.GetField(23) + "|" +
                             cursor.GetField(7));
            cursor.MoveNext();
        }
        cursor.CloseFile();
    }
    return s;
}

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

std::vector<std::string> SaveAll() {
    return {PENDARA_CLI_EXE, "save-all", "--yes"};
}

TEST(GroupSaveCrash, KilledRunLeavesEveryFileReadableAndEachCompanySaveWholeOrAbsent) {
    testing::TempDir root;
    Group reference = MakeGroup(root.path() / "reference");
    const Snapshot before = Snap(reference);
    auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Wait(Spawn(SaveAll(), reference.home, reference.input)), 0);
    const auto full = std::chrono::steady_clock::now() - start;
    const Snapshot after = Snap(reference);
    ASSERT_NE(before, after) << "the full run must change something for the test to mean much";

    std::mt19937 random(std::random_device{}());
    const int trials = 4;
    for (int t = 0; t < trials; ++t) {
        Group g = MakeGroup(root.path() / ("trial" + std::to_string(t)));
        std::uniform_real_distribution<double> at(0.05, 0.95);
        const auto delay = std::chrono::duration_cast<std::chrono::microseconds>(full * at(random));
        Child c = Spawn(SaveAll(), g.home, g.input);
        std::this_thread::sleep_for(delay);
        kill(c.pid, SIGKILL);
        Wait(c);
        SCOPED_TRACE("killed after " + std::to_string(delay.count()) + " us");

        for (const auto& f : fs::directory_iterator(g.data)) {
            if (EndsWithNoCase(f.path().string(), ".qvd")) {
                EXPECT_EQ(IntegrityOf(f.path().string()), "ok") << f.path();
            }
        }
        const Snapshot now = Snap(g);
        ASSERT_EQ(now.size(), before.size());
        for (const auto& [key, rows] : now) {
            const bool untouched = rows == before.at(key);
            const bool complete = rows == after.at(key);
            EXPECT_TRUE(untouched || complete) << std::get<0>(key) << " cuenta " << std::get<1>(key)
                                               << " lado " << std::get<2>(key);
        }
    }
}

}  // namespace
}  // namespace pendara
