#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/settings.h"
#include "services/account_run.h"
#include "support/ledger.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

using testing::Ledger;

class ReviewBalanceTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.SetActive(y25);
        SaveSetting("Punteo0", "1", "");
        SaveSetting("Punteo1", "0", "");
        LoadCatalogue(s);
    }
    Ledger l;
    std::string y24, y25;
    ScriptedPort port;
    Session s{port};
};

// One entry of the account as both the ledger and the grids hold it.
struct Line {
    int company;  // 1 this year, 2 last year
    const char* date;
    double amount;  // credits negative
    const char* type = "";
    const char* reference = "";
    // Which drawn reference the row carries after the review: its position, or -1 for none.
    int drawn = -1;
    bool onGrid = true;
};

TEST_F(ReviewBalanceTest, RowsUpToEachZeroDateShareOneReference) {
    struct Case {
        const char* what;
        const char* account;
        std::vector<Line> lines;
        std::vector<std::string> zeroDates;
        // References drawn, groups balanced and unbalanced, rows left open in each grid.
        struct {
            std::size_t drawn;
            int balanced, unbalanced;
            std::size_t openDebits, openCredits;
        } want;
    };
    const std::vector<Case> cases{
        {"a balance that never returns to zero",
         "4300000001",
         {{1, "05/01/25", 100.0}, {1, "06/01/25", -40.0}},
         {""},
         {0, 0, 0, 1, 1}},
        {"six tenths of a cent is not zero",
         "4300000002",
         {{1, "01/04/25", 30.0}, {1, "02/04/25", -29.994}},
         {""},
         {0, 0, 0, 1, 1}},
        {"zero once; the invoice after it stays open",
         "4300000003",
         {{1, "05/01/25", 100.0, "", "", 0},
          {1, "10/01/25", -100.0, "", "", 0},
          {1, "20/01/25", 30.0}},
         {"", "10/01/25"},
         {1, 1, 0, 1, 0}},
        {"zero in each year: the later date takes every row up to it",
         "4300000004",
         {{2, "05/01/24", 100.0, "", "", 1},
          {2, "10/01/24", -100.0, "", "", 1},
          {1, "01/02/25", 40.0, "", "", 1},
          {1, "03/02/25", -40.0, "", "", 1},
          {1, "04/02/25", 7.0}},
         {"", "10/01/24", "03/02/25"},
         {2, 1, 0, 1, 0}},
        {"each year's balance starts from nothing",
         "4300000005",
         {{2, "05/01/24", 100.0}, {1, "06/01/25", -100.0}},
         {""},
         {0, 0, 0, 1, 1}},
        {"a zero date before every row left on the grids draws nothing",
         "4300000006",
         {{1, "05/01/25", 100.0, "", "RF-77", -1, false},
          {1, "06/01/25", -100.0, "", "RF-77", -1, false},
          {1, "20/01/25", 30.0}},
         {"", "06/01/25"},
         {0, 0, 0, 1, 0}},
        {"regularisation entries count for nothing but take the reference",
         "4300000007",
         {{1, "01/03/25", 50.0, "", "", 0},
          {1, "02/03/25", -50.0, "R", "", 0},
          {1, "03/03/25", -50.0, "", "", 0},
          {1, "04/03/25", 20.0, "C"}},
         {"", "03/03/25"},
         {1, 0, 1, 1, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::int32_t> records;
        for (const Line& line : c.lines) {
            EntryRecord e{c.account,   line.date, "1",      "x", line.amount < 0 ? 2 : 1,
                          line.amount, "",        line.type};
            e.referencia = line.reference;
            records.push_back(l.Entry(line.company == 1 ? y25 : y24, e));
        }
        LoadedAccount grids{
            c.account, {"", l.EntriesFile(y25), l.EntriesFile(y24)}, {"", y25, y24}, {}, {}};
        for (std::size_t i = 0; i < c.lines.size(); ++i) {
            const Line& line = c.lines[i];
            if (!line.onGrid) continue;
            GridRow row;
            row.record = std::to_string(records[i]);
            row.date = line.date;
            row.amount = ShownAmount::Of(FormatAmountPlain(line.amount));
            row.company = line.company;
            row.mark = "0";
            (line.amount < 0 ? grids.credits : grids.debits).push_back(row);
        }
        if (grids.debits.empty()) grids.debits.emplace_back();
        if (grids.credits.empty()) grids.credits.emplace_back();

        const ReviewResult r = ReviewBalance(s, c.account, grids);
        EXPECT_EQ(r.zeroDates, c.zeroDates);
        ASSERT_EQ(r.references.size(), c.want.drawn);
        if (c.want.drawn == 2) {
            EXPECT_NE(r.references[0], r.references[1]);
        }
        EXPECT_EQ(r.saved.groupsBalanced, c.want.balanced);
        EXPECT_EQ(r.saved.groupsUnbalanced, c.want.unbalanced);
        auto open = [](const std::vector<GridRow>& rows) {
            std::size_t n = 0;
            for (const GridRow& row : rows)
                n += row.company != 0;
            return n;
        };
        EXPECT_EQ(open(r.saved.debits), c.want.openDebits);
        EXPECT_EQ(open(r.saved.credits), c.want.openCredits);
        for (const std::string& ref : r.references)
            EXPECT_NE(r.saved.nextReference, ref);

        // What the ledger holds afterwards, entry by entry.
        for (std::size_t i = 0; i < c.lines.size(); ++i) {
            const Line& line = c.lines[i];
            const std::string want = line.drawn >= 0
                                         ? r.references[static_cast<std::size_t>(line.drawn)]
                                         : std::string(line.reference);
            std::string got = "?";
            for (const EntryRecord& e : l.Read(line.company == 1 ? y25 : y24, c.account))
                if (e.registro == records[i]) got = e.referencia;
            EXPECT_EQ(got, want) << "entry of " << line.date;
        }
    }
}

}  // namespace
}  // namespace pendara
