#include "matching/matching_run.h"

#include <gtest/gtest.h>

#include <array>

#include "host/company_file.h"
#include "host/conversions.h"
#include "model/grid_row.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAcc = "4300000001";

class MatchingRunTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{kAcc, "Cliente uno", 0}});
        w.session.ActiveCompanyFile = y25;
        w.session.FirstCompanyFile = y24;
        SetCounter(y24, 41);
        w.DesFac.setText("Fra.");
        port.gauge = RecordingGauge();
        w.gauge.SetSurface(&port.gauge);
    }
    // Grid rows as "record|date|entry|description|reference|amount|company|mark".
    static std::vector<std::string> Lines(const Grid& g) {
        std::vector<std::string> out;
        for (int r = 1; r <= g.Rows(); ++r) {
            std::string line;
            for (int c = 1; c <= 8; ++c)
                line += (c > 1 ? "|" : "") + g.Cell(r, c);
            out.push_back(line);
        }
        return out;
    }
    static std::string Reference(const Grid& g, int row) { return g.Cell(row, 5); }

    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
    std::string y24, y25;
};

TEST_F(MatchingRunTest, GridsHoldEveryEntryWithItsGroupAndZeroBalanceIsBlack) {
    auto r = l.Entries(y25, {{kAcc, "10/01/25", "1", "Fra. 12", 1, 100},
                             {kAcc, "11/01/25", "2", "Fra. 13", 1, 50},
                             {kAcc, "20/01/25", "3", "Cobro Fra. 12 13", 2, -150}});
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(w.SaldoCta.caption(), "Saldo Cuenta: 0,00");
    EXPECT_EQ(w.SaldoCta.foreColor(), kColourBlack);
    EXPECT_FALSE(w.SaldoCta.bold());
    EXPECT_TRUE(w.Image1[0].visible());
    EXPECT_FALSE(w.Image1[1].visible());
    EXPECT_EQ(w.TituloL.caption(), "Cliente uno");
    // "12 " is quoted by the payment but 100 - 150 does not cancel; amounts then group all three.
    auto d = Lines(w.SGrid1);
    ASSERT_EQ(d.size(), 2u);
    EXPECT_EQ(d[0],
              std::to_string(r[0]) + "|10/01/25|1|Fra. 12|RF-42|" + FormatAmount(100) + "|1|");
    EXPECT_EQ(Reference(w.SGrid1, 2), "RF-42");
    auto c = Lines(w.SGrid2);
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0], std::to_string(r[2]) + "|20/01/25|3|Cobro Fra. 12 13|RF-42|" +
                        FormatAmount(-150) + "|1|");
    EXPECT_EQ(ReadCounter(y24), 42);
    EXPECT_FALSE(port.gauge.history.empty());  // shown while matching
    EXPECT_EQ(port.gauge.history.back(), "100%");
    EXPECT_EQ(port.gauge.text, "");  // cleared at the end
    EXPECT_TRUE(w.SGrid1.redraw());
}

TEST_F(MatchingRunTest, NonZeroBalanceIsRedAndBoldAndEmptyCreditGridKeepsOneLine) {
    l.Entries(y25, {{kAcc, "10/01/25", "1", "Fra. 12", 1, 1234.5}});
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(w.SaldoCta.caption(), "Saldo Cuenta: 1.234,50");
    EXPECT_EQ(w.SaldoCta.foreColor(), kColourRed);
    EXPECT_TRUE(w.SaldoCta.bold());
    EXPECT_FALSE(w.Image1[0].visible());
    EXPECT_TRUE(w.Image1[1].visible());
    EXPECT_EQ(Reference(w.SGrid1, 1), "12");
    EXPECT_EQ(Lines(w.SGrid2), (std::vector<std::string>{"|||||" + FormatAmount(0) + "||"}));
    EXPECT_EQ(ReadCounter(y24), 41);
}

TEST_F(MatchingRunTest, StoredSystemReferenceSurvivesUnlessAllAreCleared) {
    l.Entries(y25, {{kAcc, "10/01/25", "1", "Fra. 5", 1, 10, "1", "", "", "", "RF-7"},
                    {kAcc, "11/01/25", "2", "Cobro", 2, -10, "1", "", "", "", "RF-7"}});
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(Reference(w.SGrid1, 1), "RF-7");
    EXPECT_EQ(Reference(w.SGrid2, 1), "RF-7");
    EXPECT_EQ(w.SGrid1.Cell(1, 8), "1");
    w.Check1.setValue(1);
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(Reference(w.SGrid1, 1), "RF-42");
    EXPECT_EQ(Reference(w.SGrid2, 1), "RF-42");
}

TEST_F(MatchingRunTest, OnlyFirstOpeningEntryOfEarliestYearTakesPart) {
    l.Entries(y24, {{kAcc, "01/01/24", "1", "Apertura", 1, 100, "", "A"},
                    {kAcc, "02/01/24", "2", "Regularización", 1, 7, "", "R"}});
    l.Entries(y25, {{kAcc, "01/01/25", "1", "Apertura", 1, 200, "", "A"},
                    {kAcc, "05/01/25", "3", "Fra. 9", 1, 30, "", "1"}});
    PVporImportes(w, y25, kAcc);
    auto d = Lines(w.SGrid1);
    ASSERT_EQ(d.size(), 2u);
    EXPECT_NE(d[0].find("|Apertura|"), std::string::npos);
    EXPECT_NE(d[0].find(FormatAmount(100)), std::string::npos);
    EXPECT_EQ(w.SGrid1.Cell(1, 7), "2");
    EXPECT_NE(d[1].find("|Fra. 9|9|"), std::string::npos);
}

TEST_F(MatchingRunTest, AnUndatedOpeningEntryIsNotOfTheEarliestYear) {
    // The earliest year is that of the first dated row (25); the undated opening entry before it
    // does not begin with it and is left out, the dated one stays.
    auto r = l.Entries(y25, {{kAcc, "", "1", "Apertura sin fecha", 1, 100, "", "A"},
                             {kAcc, "01/01/25", "2", "Apertura", 1, 50, "", "A"}});
    PVporImportes(w, y25, kAcc);
    auto d = Lines(w.SGrid1);
    ASSERT_EQ(d.size(), 1u);
    EXPECT_EQ(d[0], std::to_string(r[1]) + "|01/01/25|2|Apertura||" + FormatAmount(50) + "|1|");
}

TEST_F(MatchingRunTest, AShiftedDateColumnIsShownAsItsCharactersGive) {
    // A TAB inside host field 2 moves the fields one column on: the date column gets the text
    // after the TAB and the grid shows it through the date conversion, by its length in
    // characters ("ñy" is a two-character year and stays as it is). The amount lands in the
    // credit column, so the row is a credit.
    EntryRecord e{kAcc, "15/01/25", "7", "25", 1, 25};
    e.campo2 = "x\tñy";
    l.Entry(y25, e);
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(w.SGrid2.Cell(1, 2), "ñy");
}

// Amounts whose host text once took an exponent ("1E-05", "1E+15") take part like any other: in
// the grids, shown as FormatAmount shows them, and in the matching by amounts.
TEST_F(MatchingRunTest, TinyAndHugeAmountsReachBothGridsAndMatch) {
    auto r = l.Entries(y25, {{kAcc, "10/01/25", "1", "Ajuste", 1, 0.00001},
                             {kAcc, "11/01/25", "2", "Grande", 1, 1E15},
                             {kAcc, "12/01/25", "3", "Resto", 1, 0.0001},
                             {kAcc, "20/01/25", "4", "Ajuste", 2, -0.00001},
                             {kAcc, "21/01/25", "5", "Grande", 2, -1E15}});
    PVporImportes(w, y25, kAcc);
    auto find = [](const Grid& g, std::int32_t record) {
        for (int row = 1; row <= g.Rows(); ++row)
            if (g.Cell(row, 1) == std::to_string(record)) return row;
        return 0;
    };
    ASSERT_EQ(w.SGrid1.Rows(), 3);
    ASSERT_EQ(w.SGrid2.Rows(), 2);
    const int tiny = find(w.SGrid1, r[0]), huge = find(w.SGrid1, r[1]), rest = find(w.SGrid1, r[2]);
    const int tinyCredit = find(w.SGrid2, r[3]), hugeCredit = find(w.SGrid2, r[4]);
    ASSERT_TRUE(tiny && huge && rest && tinyCredit && hugeCredit);
    EXPECT_EQ(w.SGrid1.Cell(tiny, 6), FormatAmount(0.00001));
    EXPECT_EQ(w.SGrid1.Cell(huge, 6), "1.000.000.000.0");  // cut to 15 characters
    EXPECT_EQ(w.SGrid2.Cell(hugeCredit, 6), FormatAmount(-1E15));
    // Each pair cancels out exactly and gets its own group; the rest stays open.
    EXPECT_FALSE(Reference(w.SGrid1, tiny).empty());
    EXPECT_EQ(Reference(w.SGrid2, tinyCredit), Reference(w.SGrid1, tiny));
    EXPECT_FALSE(Reference(w.SGrid1, huge).empty());
    EXPECT_EQ(Reference(w.SGrid2, hugeCredit), Reference(w.SGrid1, huge));
    EXPECT_NE(Reference(w.SGrid1, huge), Reference(w.SGrid1, tiny));
    EXPECT_EQ(Reference(w.SGrid1, rest), "");
}

TEST_F(MatchingRunTest, AccountWithoutMovementsEmptiesGridsOnly) {
    l.Entries(y25, {{"4300000002", "10/01/25", "1", "Fra. 12", 1, 100}});
    w.SGrid1.SetRows(3);
    w.SGrid1.SetCell(1, 1, "old");
    w.SaldoCta.setCaption("antes");
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 1), "");
    EXPECT_EQ(w.SGrid2.Rows(), 1);
    EXPECT_EQ(w.SaldoCta.caption(), "antes");
}

TEST(YearFilter, TheYearIsTheFirstTwoCharactersOfTheFirstDatedRow) {
    // Rows: date, debit, class.
    auto table = [](const std::vector<std::array<const char*, 3>>& rows) {
        std::vector<Entry> t(rows.size() + 1);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            t[i + 1].date = rows[i][0];
            t[i + 1].debit = Amount::Of(rows[i][1]);
            t[i + 1].credit = Amount::Zero();
            t[i + 1].entryClass = rows[i][2];
        }
        return t;
    };
    auto kept = [](const std::vector<Entry>& t) {
        std::string out;
        for (std::size_t r = 1; r < t.size(); ++r)
            out += t[r].debit.text.empty() ? '-' : '+';
        return out;
    };
    std::vector<Entry> t = table({{"", "100", "A"}, {"C50101", "50", "A"}, {"C50102", "5", "1"}});
    YearFilter(t);
    EXPECT_EQ(kept(t), "-++");
    EXPECT_EQ(t[1].debit, Amount::Of(""));  // no amount left to read
    // Compared by characters: "ñé..." and "ñz..." differ in their second character.
    t = table({{"ñé0101", "1", "1"}, {"ñz0101", "2", "A"}, {"ñé0102", "3", "A"}});
    YearFilter(t);
    EXPECT_EQ(kept(t), "+-+");
    t = table({{"𝄞€0101", "1", "1"}, {"\xF0\x9D", "2", "A"}, {"𝄞€", "3", "A"}});
    YearFilter(t);
    EXPECT_EQ(kept(t), "+-+");
    // Classes after "9" other than "A" never stay; no dated row: the first undated "A" stays.
    t = table({{"", "1", "B"}, {"", "2", "A"}, {" ", "3", "A"}, {"", "4", "A"}});
    YearFilter(t);
    EXPECT_EQ(kept(t), "-+--");
    // A debit read as 0 from the start ("0,5") leaves the credit to decide: here none.
    t = table({{"C50101", "0,5", "B"}});
    YearFilter(t);
    EXPECT_EQ(kept(t), "+");
}

// The grid rows the run builds by moving the texts out of the extract are those built from a
// copy: every column in its place, short and long texts alike, on both sides.
TEST(GridRowsOfTheExtract, MovedRowsEqualCopiedRows) {
    const std::string longText(40, 'x');
    for (int side = 0; side < 2; ++side)
        for (int variant = 0; variant < 3; ++variant) {
            Entry e;
            e.record = variant ? "123" : "";
            e.date = variant == 1 ? "C50131" : "ERROR";
            e.entry = variant == 2 ? longText + "e" : "7";
            e.description = variant ? "Fra. 1001 " + longText : "";
            e.debit = Amount::Of(side ? "0" : "1234,5");
            e.credit = Amount::Of(side ? "-0,01" : "0");
            e.mark = variant == 2 ? "1" : longText;
            e.company = variant + 1;
            const std::string ref = variant ? "RF-" + longText : "";
            const GridRow copied = side ? CreditRow(e, ref) : DebitRow(e, ref);
            Entry moved = e;
            const GridRow fromMove =
                side ? CreditRow(std::move(moved), ref) : DebitRow(std::move(moved), ref);
            EXPECT_EQ(fromMove, copied) << "side " << side << " variant " << variant;
            EXPECT_EQ(fromMove.amount, ShownAmount::Format(side ? e.credit.value : e.debit.value));
        }
}

}  // namespace
}  // namespace pendara
