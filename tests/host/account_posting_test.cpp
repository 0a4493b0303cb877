#include "host/account_posting.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "host/company_file.h"
#include "host/errors.h"
#include "host/run_journal.h"
#include "host/store.h"
#include "support/host_error.h"
#include "support/ledger.h"

namespace pendara {
namespace {

using namespace std::chrono_literals;
using testing::Ledger;

// A chain of three years with entries of two accounts in each.
class PostingTest : public ::testing::Test {
  protected:
    void SetUp() override {
        y23 = l.Company("E3", "Empresa", 2023);
        y24 = l.Company("E4", "Empresa", 2024, y23);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        for (const std::string* c : {&y23, &y24, &y25}) {
            records.push_back(l.Entries(
                *c, {{"4300000001", "15/01/23", "1", "Fra. 1", 1, 100.0},
                     {"4300000001", "20/02/23", "2", "Cobro", 2, -100.0},
                     {"4000000001", "21/02/23", "3", "Fra. 9", 2, -5.0, "1", "", "", "", "RF-3"}}));
            files.push_back({l.EntriesFile(*c), CleanName(*c)});
        }
    }
    static std::string CleanName(const std::string& path) {
        return std::filesystem::path(path).stem().string();
    }
    // Account 4300000001 matched as RF-7 in every year.
    AccountPosting Matched() const {
        AccountPosting p{"4300000001", files, {}};
        for (std::size_t c = 0; c < files.size(); ++c)
            for (std::size_t i = 0; i < 2; ++i)
                p.rows.push_back({c, records[c][i], "RF-7", "1", std::nullopt});
        return p;
    }
    RowValue At(const std::string& company, std::int32_t record) {
        for (const EntryRecord& e : l.Read(company))
            if (e.registro == record) return {e.referencia, e.marca};
        ADD_FAILURE() << "no record " << record;
        return {};
    }
    std::vector<std::vector<EntryRecord>> All() { return {l.Read(y23), l.Read(y24), l.Read(y25)}; }

    Ledger l;
    std::string y23, y24, y25;
    std::vector<std::vector<std::int32_t>> records;
    std::vector<PostingFile> files;
};

TEST_F(PostingTest, PostWritesEveryYearAndTheJournalKeepsOldAndNewOfTheRowsThatChange) {
    SetCounter(y23, 41);
    AccountPosting p = Matched();
    p.rows.push_back({1, records[1][2], std::nullopt, "0", std::nullopt});  // mark only
    p.rows.push_back({2, records[2][0], "RF-8", std::nullopt, std::nullopt});
    p.rows.push_back({2, records[2][0], "RF-7", "1", std::nullopt});  // the later write counts
    p.rows.push_back({0, records[0][2], "RF-3", "1", std::nullopt});  // holds this already
    PostingRun run(y23, "save", "4300000001");
    PostResult r = run.Post(p);
    run.Finish();

    ASSERT_TRUE(r.conflicts.empty());
    EXPECT_EQ(r.changes.size(), 7u);
    for (const std::string* c : {&y23, &y24, &y25})
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_EQ(At(*c, records[static_cast<std::size_t>(c - &y23)][i]),
                      (RowValue{"RF-7", "1"}));
    EXPECT_EQ(At(y24, records[1][2]), (RowValue{"RF-3", "0"}));

    RunJournal journal(y23, false);
    std::vector<RunInfo> runs = journal.Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].command, "save");
    EXPECT_EQ(runs[0].arguments, "4300000001");
    EXPECT_EQ(runs[0].accounts, 1);
    EXPECT_EQ(runs[0].rows, 7);
    EXPECT_EQ(runs[0].state, RunInfo::State::Finished);
    EXPECT_FALSE(runs[0].user.empty());
    std::vector<JournalAccount> accounts = journal.Accounts(runs[0].id);
    ASSERT_EQ(accounts.size(), 1u);
    EXPECT_TRUE(accounts[0].done);
    EXPECT_EQ(accounts[0].changed, 7);
    const std::vector<JournalRow> rows = journal.Rows(accounts[0].id);
    ASSERT_EQ(rows.size(), 7u);
    const JournalRow* found = nullptr;
    for (const JournalRow& r : rows)
        if (journal.FileCompany(r.file) == "EMPE4" && r.record == records[1][2]) found = &r;
    ASSERT_NE(found, nullptr);
    const JournalRow& mark = *found;
    EXPECT_EQ(std::filesystem::path(journal.FilePath(mark.file)),
              std::filesystem::path(l.EntriesFile(y24)));
    EXPECT_EQ(mark.before, (RowValue{"RF-3", "1"}));
    EXPECT_EQ(mark.after, (RowValue{"RF-3", "0"}));
    EXPECT_EQ(journal.CounterOf(runs[0].id), 41);
    EXPECT_EQ(RunJournal::PathFor(y23), l.File("diarioE3.qvj"));
}

TEST_F(PostingTest, NothingToChangeOrAPreviewWritesNoJournalAndNoData) {
    const auto before = All();
    PostingRun run(y23, "save", "");
    PostResult preview = run.Preview(Matched());
    EXPECT_EQ(preview.changes.size(), 6u);
    EXPECT_EQ(preview.changes[0].before, (RowValue{"", ""}));
    EXPECT_EQ(preview.changes[0].after, (RowValue{"RF-7", "1"}));
    EXPECT_EQ(preview.changes[0].company, "EMPE3");
    AccountPosting same{"4000000001", files, {{0, records[0][2], "RF-3", "1", std::nullopt}}};
    EXPECT_TRUE(run.Post(same).changes.empty());
    run.Finish();
    EXPECT_EQ(run.id(), 0);
    EXPECT_EQ(All(), before);
    EXPECT_FALSE(RunJournal::Exists(y23));
}

TEST_F(PostingTest, AMissingRecordOrFileOrARefusedRowWritesNothingAnywhere) {
    const auto before = All();
    PostingRun run(y23, "save", "4300000001");
    AccountPosting p = Matched();
    p.rows.push_back({2, 9999, "RF-7", "1", std::nullopt});
    const std::string missing = testing::ErrorOf([&] { run.Post(p); });
    EXPECT_NE(missing.find("El registro 9999 no existe en"), std::string::npos) << missing;
    p = Matched();
    p.files[1].entries = l.File("extraZZ.qvd");
    EXPECT_THROW(run.Post(p), HostError);
    p = Matched();
    p.rows.push_back({9, 1, "RF-7", "1", std::nullopt});
    EXPECT_THROW(run.Post(p), HostError);

    p = Matched();
    p.rows[3].expected = RowValue{"RF-1", "1"};
    PostResult r = run.Post(p);
    ASSERT_EQ(r.conflicts.size(), 1u);
    EXPECT_TRUE(r.changes.empty());
    EXPECT_EQ(DescribeConflict(r.conflicts[0]),
              "EMPE4, registro " + std::to_string(records[1][1]) +
                  ": la referencia es \"\" y se esperaba \"RF-1\"; la marca es \"\" y se "
                  "esperaba \"1\"");
    run.Finish();
    EXPECT_EQ(All(), before);
    EXPECT_FALSE(RunJournal::Exists(y23));
}

TEST_F(PostingTest, WithoutAJournalAnAccountIsStillWrittenWhole) {
    PostingRun run("", "save", "");
    EXPECT_EQ(run.Post(Matched()).changes.size(), 6u);
    run.Finish();
    EXPECT_EQ(At(y25, records[2][1]), (RowValue{"RF-7", "1"}));
    EXPECT_FALSE(RunJournal::Exists(y23));
}

// What a process killed between two files leaves: the intent and the first file written.
std::int64_t AbandonAfterFirstFile(const std::string& first, const std::vector<PostingFile>& files,
                                   const std::vector<std::vector<std::int32_t>>& records,
                                   std::int32_t counter) {
    RunJournal journal(first, true);
    std::int64_t run = journal.BeginRun("save-all", "");
    std::vector<JournalRow> rows;
    for (std::size_t c = 0; c < files.size(); ++c)
        for (std::size_t i = 0; i < 2; ++i)
            rows.push_back({journal.FileId(files[c].entries, files[c].company), records[c][i],
                            RowValue{"", ""}, RowValue{"RF-7", "1"}, false});
    journal.RecordIntent(run, "4300000001", counter, rows);
    PostingRun bare("", "", "");
    AccountPosting p{"4300000001", {files[0]}, {}};
    for (std::size_t i = 0; i < 2; ++i)
        p.rows.push_back({0, records[0][i], "RF-7", "1", std::nullopt});
    bare.Post(p);
    return run;  // the journal object goes: its run is abandoned
}

TEST_F(PostingTest, RecoveryRollsAnAbandonedAccountForwardAndRaisesTheCounter) {
    SetCounter(y23, 10);
    const std::int64_t run = AbandonAfterFirstFile(y23, files, records, 57);
    EXPECT_EQ(At(y25, records[2][0]), (RowValue{"", ""}));
    {
        RunJournal journal(y23, false);
        EXPECT_EQ(journal.Run(run)->state, RunInfo::State::Interrupted);
    }
    RecoveryReport report = RecoverRuns(y23, {});
    ASSERT_EQ(report.accounts.size(), 1u);
    EXPECT_EQ(report.accounts[0].account, "4300000001");
    EXPECT_EQ(report.accounts[0].written, 4);
    EXPECT_EQ(report.Describe(),
              "La grabación de la cuenta 4300000001 (ejecución 1) quedó interrumpida y se ha "
              "completado (4 apuntes).\r\n");
    const std::string* years[] = {&y23, &y24, &y25};
    for (std::size_t c = 0; c < 3; ++c)
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_EQ(At(*years[c], records[c][i]), (RowValue{"RF-7", "1"}));
    EXPECT_EQ(ReadCounter(y23), 57);
    RunJournal journal(y23, false);
    EXPECT_EQ(journal.Run(run)->state, RunInfo::State::Recovered);
    EXPECT_TRUE(journal.Accounts(run)[0].done);
    EXPECT_TRUE(RecoverRuns(y23, {}).empty());
}

TEST_F(PostingTest, RecoveryLeavesRowsChangedByOthersAndRowsALaterAccountWrote) {
    const std::int64_t run = AbandonAfterFirstFile(y23, files, records, 0);
    // Another program changed one entry; a later save of another run wrote another.
    {
        PostingRun other("", "", "");
        other.Post({"x", files, {{1, records[1][0], "a mano", "0", std::nullopt}}});
    }
    {
        PostingRun later(y23, "save", "4300000001");
        later.Post({"4300000001", files, {{2, records[2][1], "RF-9", "2", std::nullopt}}});
    }
    RecoveryReport report = RecoverRuns(y23, {});
    ASSERT_EQ(report.accounts.size(), 1u);
    EXPECT_EQ(report.accounts[0].written, 2);
    ASSERT_EQ(report.accounts[0].conflicts.size(), 1u);
    EXPECT_EQ(report.accounts[0].conflicts[0].found, (RowValue{"a mano", "0"}));
    EXPECT_NE(report.Describe().find("otro programa lo modificó: EMPE4, registro " +
                                     std::to_string(records[1][0]) +
                                     ": la referencia es \"a mano\" y se esperaba \"RF-7\""),
              std::string::npos)
        << report.Describe();
    EXPECT_EQ(At(y24, records[1][0]), (RowValue{"a mano", "0"}));
    EXPECT_EQ(At(y24, records[1][1]), (RowValue{"RF-7", "1"}));
    EXPECT_EQ(At(y25, records[2][0]), (RowValue{"RF-7", "1"}));
    EXPECT_EQ(At(y25, records[2][1]), (RowValue{"RF-9", "2"}));
    RunJournal journal(y23, false);
    int skipped = 0;
    for (const JournalRow& r : journal.Rows(journal.Accounts(run)[0].id))
        skipped += r.skipped;
    EXPECT_EQ(skipped, 1);
}

TEST_F(PostingTest, ALiveRunIsNotRecoveredUntilItsProcessLetsItGo) {
    RunJournal live(y23, true);
    const std::int64_t run = live.BeginRun("save-all", "");
    live.RecordIntent(
        run, "4300000001", 0,
        {{live.FileId(files[0].entries, "E3"), records[0][0], {"", ""}, {"RF-7", "1"}, false}});
    EXPECT_TRUE(RecoverRuns(y23, {}).empty());
    EXPECT_EQ(At(y23, records[0][0]), (RowValue{"", ""}));
    EXPECT_EQ(RunJournal(y23, false).Run(run)->state, RunInfo::State::Running);
    live.ReleaseRun(run);
    EXPECT_EQ(RecoverRuns(y23, {}).accounts.size(), 1u);
    EXPECT_EQ(At(y23, records[0][0]), (RowValue{"RF-7", "1"}));
}

TEST_F(PostingTest, UndoRestoresEachAccountAndRefusesOneChangedSince) {
    const auto before = All();
    std::int64_t first = 0;
    {
        PostingRun run(y23, "save-all", "");
        run.Post(Matched());
        run.Post({"4000000001",
                  files,
                  {{0, records[0][2], "", "0", std::nullopt},
                   {2, records[2][2], "RF-4", "2", std::nullopt}}});
        run.Finish();
        first = run.id();
    }
    const auto saved = All();
    // Somebody changes one entry of 4300000001 afterwards.
    {
        PostingRun other(y23, "save", "4300000001");
        other.Post({"4300000001", files, {{1, records[1][1], "RF-8", "1", std::nullopt}}});
    }
    UndoResult undo = UndoRun(y23, first, "", {});
    ASSERT_EQ(undo.undone.size(), 1u);
    EXPECT_EQ(undo.undone[0], (std::pair<std::string, std::int64_t>{"4000000001", 2}));
    ASSERT_EQ(undo.refused.size(), 1u);
    EXPECT_EQ(undo.refused[0].first, "4300000001");
    ASSERT_EQ(undo.refused[0].second.size(), 1u);
    EXPECT_EQ(DescribeConflict(undo.refused[0].second[0]),
              "EMPE4, registro " + std::to_string(records[1][1]) +
                  ": la referencia es \"RF-8\" y se esperaba \"RF-7\"");
    EXPECT_EQ(l.Read(y23)[2], before[0][2]);
    EXPECT_EQ(At(y23, records[0][0]), (RowValue{"RF-7", "1"}));

    // Put back by hand, the account can be undone alone; the undo is a run that undoes too.
    {
        PostingRun fix("", "", "");
        fix.Post({"4300000001", files, {{1, records[1][1], "RF-7", "1", std::nullopt}}});
    }
    UndoResult one = UndoRun(y23, first, "4300000001", {});
    EXPECT_TRUE(one.refused.empty());
    EXPECT_EQ(All(), before);
    EXPECT_EQ(UndoRun(y23, one.run, "", {}).undone.size(), 1u);
    EXPECT_EQ(UndoRun(y23, undo.run, "", {}).undone.size(), 1u);
    EXPECT_EQ(All(), saved);

    EXPECT_THROW(UndoRun(y23, 99, "", {}), HostError);
    EXPECT_THROW(UndoRun(y23, first, "5720000000", {}), HostError);
    EXPECT_THROW(UndoRun(y24, 1, "", {}), HostError);  // no journal beside that company
}

// Another connection holds the middle year's entries file for writing.
class HeldFile {
  public:
    explicit HeldFile(const std::string& path) {
        sqlite3_open(path.c_str(), &db_);
        EXPECT_EQ(sqlite3_exec(db_, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    }
    ~HeldFile() { Release(); }
    void Release() {
        if (!db_) return;
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close(db_);
        db_ = nullptr;
    }

  private:
    sqlite3* db_ = nullptr;
};

TEST_F(PostingTest, AHeldFileIsWaitedForWithNoticesThenGivenUpWithNothingWritten) {
    const auto before = All();
    std::vector<std::pair<std::string, std::chrono::milliseconds>> notices;
    PostingOptions options;
    options.wait.limit = 600ms;
    options.wait.noticeAfter = 200ms;
    options.wait.poll = 50ms;
    options.wait.onWait = [&](const std::string& file, std::chrono::milliseconds waited) {
        notices.emplace_back(file, waited);
        return true;
    };
    HeldFile held(l.EntriesFile(y24));
    PostingRun run(y23, "save", "4300000001", options);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(testing::ErrorOf([&] { run.Post(Matched()); }),
              "Otro puesto tiene ocupado el fichero " + l.EntriesFile(y24) +
                  " desde hace 1 s: no se ha grabado la cuenta 4300000001");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 600ms);
    ASSERT_FALSE(notices.empty());
    EXPECT_EQ(notices.front().first, l.EntriesFile(y24));
    EXPECT_GE(notices.front().second, 200ms);
    EXPECT_EQ(All(), before);
    EXPECT_EQ(WaitingMessage("x.qvd"), "Esperando a que otro puesto libere x.qvd...");

    // Given up by the caller at the first notice.
    options.wait.onWait = [](const std::string&, std::chrono::milliseconds) { return false; };
    PostingRun cancelled(y23, "save", "4300000001", options);
    EXPECT_THROW(cancelled.Post(Matched()), HostError);
    EXPECT_EQ(All(), before);

    // Released during the wait: the account is written.
    options.wait.limit = 5000ms;
    options.wait.onWait = nullptr;
    PostingRun waits(y23, "save", "4300000001", options);
    std::thread release([&] {
        std::this_thread::sleep_for(300ms);
        held.Release();
    });
    EXPECT_EQ(waits.Post(Matched()).changes.size(), 6u);
    release.join();
    EXPECT_EQ(At(y24, records[1][0]), (RowValue{"RF-7", "1"}));
}

// The connection kept for the loading of a group save: each file's account is written through it,
// so that its pages stay cached, and it is given back idle with the settings it had. A kept
// connection that a cursor holds is not taken, and a file another workstation holds is waited
// for and given up as without one.
TEST_F(PostingTest, AKeptConnectionIsWrittenThroughAndGivenBackAsItWas) {
    ConnectionReuse reuse;
    std::vector<sqlite3*> kept;
    for (const PostingFile& f : files) {
        DbHandle h(f.entries);
        ASSERT_TRUE(h.kept());
        kept.push_back(h->handle());
    }
    auto settingsOf = [](Db& db) {
        std::string out;
        for (const char* pragma : {"synchronous", "wal_autocheckpoint"}) {
            Stmt st(db, std::string("PRAGMA ") + pragma);
            out += (st.Step() ? st.Text(0) : "?") + " ";
        }
        return out;
    };
    std::string before;
    {
        DbHandle h(files[0].entries);
        before = settingsOf(*h);
    }
    PostingOptions options;
    options.wait.limit = 300ms;
    options.wait.poll = 20ms;
    PostingRun run(y23, "save", "4300000001", options);
    EXPECT_EQ(run.Post(Matched()).changes.size(), 6u);
    for (std::size_t c = 0; c < files.size(); ++c) {
        DbHandle h(files[c].entries);
        ASSERT_TRUE(h.kept());
        EXPECT_EQ(h->handle(), kept[c]);
        EXPECT_TRUE(sqlite3_get_autocommit(h->handle()));
        EXPECT_EQ(settingsOf(*h), before);
        int reads = 0;
        for (sqlite3_stmt* st = sqlite3_next_stmt(h->handle(), nullptr); st;
             st = sqlite3_next_stmt(h->handle(), st))
            if (std::string(sqlite3_sql(st)).rfind("SELECT referencia, marca", 0) == 0)
                reads += sqlite3_stmt_status(st, SQLITE_STMTSTATUS_VM_STEP, 0) > 0;
        EXPECT_EQ(reads, 1) << files[c].entries;
        Stmt st(*h, "SELECT referencia || marca FROM entries WHERE id = ?");
        st.Bind(1, static_cast<std::int64_t>(records[c][0]));
        ASSERT_TRUE(st.Step());
        EXPECT_EQ(st.Text(0), "RF-71");
    }
    AccountPosting unmark{"4000000001", files, {}};
    unmark.rows.push_back({1, records[1][2], std::nullopt, "0", std::nullopt});
    {
        DbHandle cursor(files[1].entries, DbHandle::Use::Exclusive);
        ASSERT_TRUE(cursor.kept());
        EXPECT_EQ(run.Post(unmark).changes.size(), 1u);
        EXPECT_TRUE(sqlite3_get_autocommit(cursor->handle()));
    }
    EXPECT_EQ(At(y24, records[1][2]), (RowValue{"RF-3", "0"}));
    unmark.rows[0].mark = "2";
    {
        HeldFile held(files[1].entries);
        EXPECT_EQ(testing::ErrorOf([&] { run.Post(unmark); }),
                  "Otro puesto tiene ocupado el fichero " + files[1].entries +
                      " desde hace 0 s: no se ha grabado la cuenta 4000000001");
    }
    for (const PostingFile& f : files) {
        DbHandle h(f.entries);
        EXPECT_TRUE(h.kept());
        EXPECT_TRUE(sqlite3_get_autocommit(h->handle()));
        EXPECT_EQ(settingsOf(*h), before);
    }
    EXPECT_EQ(At(y24, records[1][2]), (RowValue{"RF-3", "0"}));
    run.Finish();
}

TEST(PostingFiles, AnAccountOverMoreFilesThanStayOpenIsWrittenWhole) {
    Ledger l;
    std::vector<PostingFile> files;
    std::vector<std::int32_t> records;
    std::string previous;
    for (int year = 0; year < 34; ++year) {
        std::string code = std::string(1, static_cast<char>('A' + year / 10)) +
                           std::string(1, static_cast<char>('0' + year % 10));
        previous = l.Company(code, "Larga", 1990 + year, previous);
        records.push_back(l.Entry(previous, {"4300000001", "01/01/90", "1", "x", 1, 1.0}));
        files.push_back({l.EntriesFile(previous), code});
    }
    const std::string first = l.File("EMPA0.QVT");
    PostingRun run(first, "save-all", "");
    for (const char* ref : {"RF-1", "RF-2"}) {
        AccountPosting p{"4300000001", files, {}};
        for (std::size_t i = 0; i < files.size(); ++i)
            p.rows.push_back({i, records[i], std::string(ref), "1", std::nullopt});
        EXPECT_EQ(run.Post(p).changes.size(), 34u);
    }
    run.Finish();
    for (std::size_t i = 0; i < files.size(); ++i)
        EXPECT_EQ(ReadEntries(l.File("EMP" + files[i].company + ".QVT"))[0].referencia, "RF-2");
    EXPECT_EQ(RunJournal(first, false).Runs()[0].rows, 68);
}

}  // namespace
}  // namespace pendara
