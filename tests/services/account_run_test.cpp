#include "services/account_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "companies/session.h"
#include "host/errors.h"
#include "host/run_journal.h"
#include "host/settings.h"
#include "posting/posting_runs.h"
#include "support/ledger.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

using testing::Ledger;

// Two years of one customer: an invoice and two payments this year, an invoice last year.
class AccountRunTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        r25 = l.Entries(y25, {{"4300000001", "15/01/25", "1", "Fra. 1", 1, 100.0},
                              {"4300000001", "20/02/25", "2", "Cobro", 2, -60.0},
                              {"4300000001", "21/02/25", "3", "Cobro", 2, -40.0}});
        r24 = l.Entries(y24, {{"4300000001", "15/01/24", "1", "Fra. 0", 1, 75.0}});
        l.SetActive(y25);
        SaveSetting("Punteo0", "1", "");
        SaveSetting("Punteo1", "0", "");
        s.ActiveCompanyFile = y25;
        s.FirstCompanyFile = y24;
    }
    GridRow Row(std::int32_t record, int company, const std::string& ref,
                const std::string& amount) {
        GridRow row;
        row.record = std::to_string(record);
        row.reference = ref;
        row.amount = ShownAmount::Of(amount);
        row.company = company;
        row.mark = "0";
        return row;
    }
    LoadedAccount Account(std::vector<GridRow> debits, std::vector<GridRow> credits) {
        if (debits.empty()) debits.emplace_back();
        if (credits.empty()) credits.emplace_back();
        return {"4300000001",
                {"", l.EntriesFile(y25), l.EntriesFile(y24)},
                {"", y25, y24},
                std::move(debits),
                std::move(credits)};
    }

    Ledger l;
    std::string y24, y25;
    std::vector<std::int32_t> r25, r24;
    ScriptedPort port;
    Session s{port};
};

// What a save of these grids writes, how it counts the groups and what stays open.
TEST_F(AccountRunTest, SaveAccountWritesBothGridsAsOnePostingAndCountsItsGroups) {
    struct Case {
        const char* what;
        std::vector<GridRow> debits, credits;
        struct {
            std::size_t written;
            int balanced, unbalanced;
            std::size_t openDebits, openCredits;  // rows of an entry left on each grid
        } want;
    };
    const std::vector<Case> cases{
        {"nothing on either grid", {}, {}, {0, 0, 0, 0, 0}},
        {"one group that balances across both grids",
         {Row(r25[0], 1, "RF-50", "100,00")},
         {Row(r25[1], 1, "RF-50", "-60,00"), Row(r25[2], 1, "RF-50", "-40,00")},
         {3, 1, 0, 0, 0}},
        {"a group short of its last payment, an open row from last year",
         {Row(r25[0], 1, "RF-50", "100,00"), Row(r24[0], 2, "", "75,00")},
         {Row(r25[1], 1, "RF-50", "-60,00")},
         {3, 0, 1, 1, 0}},
        {"only the credit grid holds rows, one with a reference of the user's own",
         {},
         {Row(r25[1], 1, "1234", "-60,00")},
         {1, 0, 0, 0, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const SaveResult r = SaveAccount(s, Account(c.debits, c.credits));
        EXPECT_EQ(r.posting.rows.size(), c.want.written);
        EXPECT_EQ(r.groupsBalanced, c.want.balanced);
        EXPECT_EQ(r.groupsUnbalanced, c.want.unbalanced);
        auto open = [](const std::vector<GridRow>& rows) {
            std::size_t n = 0;
            for (const GridRow& row : rows)
                n += row.company != 0;
            return n;
        };
        EXPECT_EQ(open(r.debits), c.want.openDebits);
        EXPECT_EQ(open(r.credits), c.want.openCredits);
        // A grid never comes back without rows: an empty one keeps its row of no entry.
        EXPECT_FALSE(r.debits.empty());
        EXPECT_FALSE(r.credits.empty());
        EXPECT_EQ(r.nextReference.rfind("RF-", 0), 0u);
        for (const RowWrite& w : r.posting.rows)
            EXPECT_LT(w.file, r.posting.files.size());
    }
    // What the cases left, one after another: the payment of the balanced group keeps its
    // reference and the balanced mark, the user's own reference and the open row the
    // unmatched mark.
    auto at = [&](const std::string& company, std::int32_t record) {
        for (const EntryRecord& e : l.Read(company))
            if (e.registro == record) return e;
        ADD_FAILURE() << "no record " << record;
        return EntryRecord{};
    };
    EXPECT_EQ(at(y25, r25[2]).referencia, "RF-50");
    EXPECT_EQ(at(y25, r25[2]).marca, "1");
    EXPECT_EQ(at(y25, r25[1]).referencia, "1234");
    EXPECT_EQ(at(y25, r25[1]).marca, "0");
    EXPECT_EQ(at(y24, r24[0]).referencia, "");
    EXPECT_EQ(at(y24, r24[0]).marca, "0");
}

TEST_F(AccountRunTest, SavesGoIntoTheRunInProgressAndOtherwiseIntoARunOfTheirOwn) {
    const LoadedAccount grids =
        Account({Row(r25[0], 1, "RF-50", "100,00")}, {Row(r25[1], 1, "RF-50", "-100,00")});
    SaveAccount(s, grids);
    std::vector<RunInfo> runs = RunJournal(y24, false).Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].command, "save");
    EXPECT_EQ(runs[0].arguments, "4300000001");

    std::unique_ptr<PostingRun> group = OpenPostingRun(s, "save-all", "43", true);
    {
        RunInProgressScope scope(s, group.get());
        SaveAccount(
            s, Account({Row(r25[0], 1, "RF-60", "100,00")}, {Row(r25[1], 1, "RF-60", "-100,00")}));
        EXPECT_EQ(s.RunInProgress, group.get());
    }
    EXPECT_EQ(s.RunInProgress, nullptr);
    group->Finish();
    runs = RunJournal(y24, false).Runs();
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1].command, "save-all");
    EXPECT_EQ(runs[1].accounts, 1);
}

TEST_F(AccountRunTest, APostingThatCannotBeWrittenEndsTheProgramAndWritesNothing) {
    const auto before = l.Read(y25);
    // The credit row names a company the chain does not have.
    EXPECT_THROW(SaveAccount(s, Account({Row(r25[0], 1, "RF-50", "100,00")},
                                        {Row(r25[1], 3, "RF-50", "-100,00")})),
                 ProgramEnd);
    EXPECT_EQ(l.Read(y25), before);
    // A record the file does not have is refused by the posting itself.
    EXPECT_THROW(SaveAccount(s, Account({Row(r25[0], 1, "RF-50", "100,00")},
                                        {Row(99999, 1, "RF-50", "-100,00")})),
                 ProgramEnd);
    EXPECT_EQ(l.Read(y25), before);
    ASSERT_EQ(port.messages.size(), 2u);
}

TEST_F(AccountRunTest, AListEntryThatNamesNoAccountDoesNothing) {
    for (const char* entry : {"", "4300000001", "   "}) {
        SCOPED_TRACE(entry);
        const AccountOutcome o = ProcessAccount(s, {entry, y25, {}});
        EXPECT_TRUE(o.account.empty());
        EXPECT_FALSE(o.match.loaded);
    }
    EXPECT_TRUE(l.Read(y25)[0].referencia.empty());
}

}  // namespace
}  // namespace pendara
