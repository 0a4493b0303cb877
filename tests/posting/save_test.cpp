#include "posting/save.h"

#include <gtest/gtest.h>

#include <string>

#include "host/account_posting.h"
#include "host/errors.h"
#include "host/settings.h"
#include "matching/matching_run.h"
#include "posting/posting_runs.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

using testing::Ledger;

// A grid row: record, reference, amount as shown, company, mark.
GridRow Row(std::int32_t record, const std::string& ref, const std::string& amount, int company,
            const std::string& mark = "0") {
    return GridRow{std::to_string(record),  "01/02/25", "1", "Fra. 1", ref,
                   ShownAmount::Of(amount), company,    mark};
}

void PutRow(Grid& g, int r, std::int32_t record, const std::string& ref, const std::string& amount,
            int company) {
    if (g.Rows() < r) g.SetRows(r);
    g.row(r) = Row(record, ref, amount, company);
    g.Touch();
}

class SaveTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        r25 = l.Entries(
            y25, {{"4300000001", "15/01/25", "1", "Fra. 1", 1, 100.0, "", "", "", "", "vieja"},
                  {"4300000001", "20/02/25", "2", "Cobro", 2, -60.0},
                  {"4300000001", "21/02/25", "3", "Cobro", 2, -40.0}});
        r24 = l.Entries(y24, {{"4300000001", "15/01/24", "1", "Fra. 0", 1, 75.0},
                              {"4300000002", "15/01/24", "2", "Otra", 1, 5.0}});
        l.SetActive(y25);
        w.session.ActiveCompanyFile = y25;
        w.session.FirstCompanyFile = y24;
        w.EntryFiles = {"", l.EntriesFile(y25), l.EntriesFile(y24)};
    }
    // What saving one grid of these rows does: its writes, posted.
    std::vector<RowWrite> Post(const std::vector<GridRow>& rows) {
        std::vector<RowWrite> writes;
        FixRef(rows, 2, ReadPostingMarks(w.session.Lib()), writes);
        PostAccount(w.session, {"4300000001", Files(), writes}, "save");
        return writes;
    }
    std::vector<PostingFile> Files() {
        return {{l.EntriesFile(y25), "E5"}, {l.EntriesFile(y24), "E4"}};
    }
    EntryRecord At(const std::string& company, std::int32_t record) {
        for (const EntryRecord& e : l.Read(company))
            if (e.registro == record) return e;
        ADD_FAILURE() << "no record " << record;
        return {};
    }
    Ledger l;
    std::string y24, y25;
    std::vector<std::int32_t> r25, r24;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(SaveTest, FixRefWritesEveryRowWithItsMarkAndReturnsOpenRowsInOrder) {
    SaveSetting("Punteo0", "S", "");
    SaveSetting("Punteo1", "N", "");
    const std::vector<GridRow> d{
        Row(r25[0], "RF-7", "100,00", 1, "1"), Row(r24[0], "", "75,00", 2, "0"),
        Row(r25[1], "RF-8", "-60,00", 1, "2"), Row(r25[2], "1234", "-40,00", 1, "0")};
    // Company k of the chain is the posting's file k - 1.
    EXPECT_EQ(Post(d), (std::vector<RowWrite>{{0, r25[0], "RF-7", "S", std::nullopt},
                                              {1, r24[0], "", "N", std::nullopt},
                                              {0, r25[1], "RF-8", "2", std::nullopt},
                                              {0, r25[2], "1234", "N", std::nullopt}}));

    EXPECT_EQ(At(y25, r25[0]).referencia, "RF-7");
    EXPECT_EQ(At(y25, r25[0]).marca, "S");
    EXPECT_EQ(At(y24, r24[0]).referencia, "");
    EXPECT_EQ(At(y24, r24[0]).marca, "N");
    EXPECT_EQ(At(y25, r25[1]).marca, "2");
    EXPECT_EQ(At(y25, r25[2]).referencia, "1234");
    EXPECT_EQ(At(y25, r25[2]).marca, "N");
    EXPECT_EQ(At(y24, r24[1]).marca, "");  // another account, not in the rows

    EXPECT_EQ(OpenRows(d), (std::vector<GridRow>{d[1], d[3]}));
}

TEST_F(SaveTest, MarksNeverStoredAreWrittenEmpty) {
    Post({Row(r25[0], "RF-7", "100,00", 1, "1"), Row(r25[1], "", "-60,00", 1, "0")});
    EXPECT_EQ(At(y25, r25[0]).marca, "");
    EXPECT_EQ(At(y25, r25[1]).marca, "");
    EXPECT_TRUE(OpenRows({Row(r25[0], "RF-7", "100,00", 1, "1")}).empty());
}

TEST_F(SaveTest, RowsThatNameNoRecordOrCompanyOfTheChainAreRefused) {
    std::vector<RowWrite> writes;
    const PostingMarks marks;
    // The numbers of the columns, rounded halves to even, as the grid cells are read.
    GridRow odd = Row(0, "", "1,00", 1);
    odd.record = "12.5x";
    FixRef({odd}, 2, marks, writes);
    EXPECT_EQ(writes.back().record, 12);
    odd.record = "99999999999";
    EXPECT_THROW(FixRef({odd}, 2, marks, writes), HostError);
    EXPECT_THROW(FixRef({Row(1, "", "1,00", 3)}, 2, marks, writes), HostError);
    EXPECT_THROW(FixRef({Row(1, "", "1,00", 0)}, 2, marks, writes), HostError);
    EXPECT_THROW(
        PostAccount(w.session, {"4300000001", Files(), {{0, 99999, "RF-7", "1", {}}}}, "save"),
        HostError);
}

TEST_F(SaveTest, FailedWriteShowsCriticalMessageEndsAndLeavesTheAccountAsItWas) {
    PutRow(w.SGrid1, 1, r25[0], "RF-7", "100,00", 1);
    PutRow(w.SGrid1, 2, r24[0], "RF-7", "75,00", 2);
    PutRow(w.SGrid2, 1, r25[1], "RF-7", "-60,00", 3);  // no company 3
    EXPECT_THROW(GrabaRef_Click(w), ProgramEnd);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].style, kVbCritical);
    EXPECT_EQ(port.messages[0].text.rfind(std::string(kSaveFailureText) + "\n", 0), 0u)
        << port.messages[0].text;
    EXPECT_GT(port.messages[0].text.size(), std::string(kSaveFailureText).size() + 1);
    // Nothing of the account is written, the debit grid's rows included.
    EXPECT_EQ(At(y25, r25[0]).referencia, "vieja");
    EXPECT_EQ(At(y24, r24[0]).referencia, "");

    // A record number the file does not have takes the same path.
    w.SGrid1.SetRowsFrom({Row(99999, "RF-7", "1,00", 1)});
    w.SGrid2.Clear();
    EXPECT_THROW(GrabaRef_Click(w), ProgramEnd);
    EXPECT_EQ(port.messages.size(), 2u);
}

TEST_F(SaveTest, GaugeMovesEveryHundredRowsAndEndsClear) {
    std::vector<EntryRecord> many;
    for (int i = 0; i < 250; ++i)
        many.push_back({"4300000009", "01/03/25", "9", "x", 1, 1.0});
    std::vector<std::int32_t> records = l.Entries(y25, many);
    std::vector<GridRow> d;
    for (std::size_t r = 1; r <= 250; ++r)
        d.push_back(Row(records[r - 1], "", "1,00", 1));
    w.SGrid1.SetRowsFrom(d);
    port.gauge.history.clear();
    GrabaRef_Click(w);
    EXPECT_EQ(port.gauge.history, (std::vector<std::string>{"40%", "80%"}));
    EXPECT_EQ(port.gauge.text, "");
    EXPECT_EQ(w.SGrid1.Rows(), 250);
}

TEST_F(SaveTest, EverySaveTellsWhatItWrote) {
    std::vector<AccountSaveSummary> told;
    w.onAccountSaved = [&](const AccountSaveSummary& s) { told.push_back(s); };
    w.CTA.setText("4300000001 ");
    PutRow(w.SGrid1, 1, r25[0], "RF-50", "100,00", 1);
    PutRow(w.SGrid1, 2, r24[0], "", "75,00", 2);
    PutRow(w.SGrid2, 1, r25[1], "RF-50", "-60,00", 1);
    PutRow(w.SGrid2, 2, r25[2], "RF-52", "-40,00", 1);
    GrabaRef_Click(w);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].account, "4300000001");
    EXPECT_EQ(told[0].entriesWritten, 4);
    EXPECT_EQ(told[0].references, 2);  // RF-50 and RF-52
    EXPECT_EQ(told[0].entriesOpen, 1);
    // Empty grids write nothing and say so.
    ClearGrids(w);
    GrabaRef_Click(w);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[1].entriesWritten, 0);
    EXPECT_EQ(told[1].references, 0);
    EXPECT_EQ(told[1].entriesOpen, 0);
}

TEST_F(SaveTest, SavingEmptyGridsWritesNothingClearsAndStillDrawsAReference) {
    const auto before25 = l.Read(y25);
    GrabaRef_Click(w);
    EXPECT_EQ(l.Read(y25), before25);
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid2.Rows(), 1);
    EXPECT_EQ(w.newref.text(), "RF-1");
    GrabaRef_Click(w);
    EXPECT_EQ(w.newref.text(), "RF-2");
    EXPECT_EQ(w.CurrentReference, "RF-2");
}

TEST_F(SaveTest, MatchedGroupsLeaveTheGridsOpenRowsStay) {
    SaveSetting("Punteo0", "1", "");
    SaveSetting("Punteo1", "0", "");
    PutRow(w.SGrid1, 1, r25[0], "RF-50", "100,00", 1);
    PutRow(w.SGrid1, 2, r24[0], "RF-51", "75,00", 2);
    PutRow(w.SGrid2, 1, r25[1], "RF-50", "-60,00", 1);
    PutRow(w.SGrid2, 2, r25[2], "RF-50", "-40,00", 1);
    GrabaRef_Click(w);

    EXPECT_EQ(At(y25, r25[0]).marca, "1");
    EXPECT_EQ(At(y25, r25[2]).referencia, "RF-50");
    EXPECT_EQ(At(y24, r24[0]).marca, "2");  // RF-51 does not balance
    // Every row had a system reference: both grids keep one blank row.
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 1), "");
    EXPECT_EQ(w.SGrid2.Rows(), 1);

    PutRow(w.SGrid1, 1, r25[0], "", "100,00", 1);
    PutRow(w.SGrid1, 2, r24[0], "RF-51", "75,00", 2);
    w.UnsavedEdits = true;
    GrabaRef_Click(w);
    EXPECT_FALSE(w.UnsavedEdits);
    EXPECT_EQ(At(y25, r25[0]).referencia, "");
    EXPECT_EQ(At(y25, r25[0]).marca, "0");
    ASSERT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 1), std::to_string(r25[0]));
}

// Amounts whose host text once took an exponent are written back like any other entry.
TEST_F(SaveTest, TinyAndHugeAmountsAreMatchedAndSaved) {
    SaveSetting("Punteo0", "1", "");
    const std::string account = "4300000003";
    l.Accounts(y25, {{account, "Cliente tres", 0}});
    auto r = l.Entries(y25, {{account, "10/01/25", "1", "Ajuste", 1, 0.00001},
                             {account, "11/01/25", "2", "Grande", 1, 1E15},
                             {account, "20/01/25", "4", "Ajuste", 2, -0.00001},
                             {account, "21/01/25", "5", "Grande", 2, -1E15}});
    PVporImportes(w, y25, account);
    GrabaRef_Click(w);
    const EntryRecord tiny = At(y25, r[0]), huge = At(y25, r[1]);
    EXPECT_EQ(tiny.referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(At(y25, r[2]).referencia, tiny.referencia);
    EXPECT_EQ(huge.referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(At(y25, r[3]).referencia, huge.referencia);
    EXPECT_NE(huge.referencia, tiny.referencia);
    for (std::int32_t record : r)
        EXPECT_EQ(At(y25, record).marca, "1");
    EXPECT_EQ(w.SGrid1.Cell(1, 1), "");  // nothing stays open
}

}  // namespace
}  // namespace pendara
