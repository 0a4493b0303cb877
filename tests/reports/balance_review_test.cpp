#include "reports/balance_review.h"

#include <gtest/gtest.h>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"
#include "ui/report_handlers.h"

namespace pendara {
namespace {

using testing::Ledger;

class BalanceReviewTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24, "clave");
        l.Accounts(y25, {{"4300000001", "Cliente"}, {"4300000002", "Otro"}});
        // Entered out of date order: the review reads them by date.
        d24 = l.Entries(y24, {{"4300000001", "15/01/24", "3", "c", 1, 50.0},
                              {"4300000001", "05/01/24", "1", "a", 1, 100.0},
                              {"4300000001", "10/01/24", "2", "b", 2, -100.0},
                              {"4300000001", "20/01/24", "4", "r", 2, -50.0, "", "R"}});
        d25 = l.Entries(y25, {{"4300000001", "01/01/25", "1", "d", 1, 30.0},
                              {"4300000001", "02/01/25", "2", "e", 2, -29.996},
                              {"4300000001", "02/01/25", "3", "f", 1, 5.0},
                              {"4300000001", "03/01/25", "4", "g", 1, 7.0},
                              {"4300000002", "03/01/25", "5", "h", 1, 7.0}});
        l.SetActive(y25);
        port.QueueInput("clave");
        LoadEmpresas(w);
        w.EntryFiles = {"", l.EntriesFile(y25), l.EntriesFile(y24)};
    }
    void Select(const std::string& entry) {
        w.List2.AddItem(entry);
        w.List2.SetListIndex(w.List2.ListCount() - 1);
    }
    // Grid rows as the matching run leaves them: record, day-first date, entry, description.
    void Rows(Grid& g, const std::vector<std::tuple<std::int32_t, std::string, int, double>>& rs) {
        g.SetRows(static_cast<int>(rs.size()));
        int r = 1;
        for (const auto& [record, date, company, amount] : rs) {
            g.SetCell(r, 1, std::to_string(record));
            g.SetCell(r, 2, date);
            g.SetCell(r, 6, FormatAmount(amount));
            g.SetCell(r, 7, std::to_string(company));
            g.SetCell(r, 8, "0");
            ++r;
        }
    }
    std::string RefOf(const std::string& company, std::int32_t record) {
        for (const EntryRecord& e : l.Read(company))
            if (e.registro == record) return e.referencia;
        return "?";
    }
    Ledger l;
    std::string y24, y25;
    std::vector<std::int32_t> d24, d25;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(BalanceReviewTest, ZeroDatesComeOldestCompanyFirstByDateSkippingRegularisation) {
    EXPECT_EQ(ZeroBalanceDates(w.session, "4300000001"),
              (std::vector<std::string>{"", "10/01/24", "02/01/25"}));
    EXPECT_EQ(ZeroBalanceDates(w.session, "4300000002"), std::vector<std::string>{""});
    EXPECT_EQ(ZeroBalanceDates(w.session, ""), std::vector<std::string>{""});
}

TEST_F(BalanceReviewTest, RowsUpToTheLastZeroDateShareItsReferenceAndAreSaved) {
    Select("4300000001 Cliente");
    Rows(w.SGrid1, {{d24[1], "05/01/24", 2, 100.0},
                    {d24[0], "15/01/24", 2, 50.0},
                    {d25[0], "01/01/25", 1, 30.0},
                    {d25[2], "02/01/25", 1, 5.0},
                    {d25[3], "03/01/25", 1, 7.0}});
    Rows(w.SGrid2, {{d24[2], "10/01/24", 2, -100.0}, {d25[1], "02/01/25", 1, -29.996}});
    revisarsaldos_Click(w);

    // The first zero date drew RF-1, the second RF-2 and took over every row up to it.
    EXPECT_EQ(RefOf(y24, d24[1]), "RF-2");
    EXPECT_EQ(RefOf(y24, d24[2]), "RF-2");
    EXPECT_EQ(RefOf(y25, d25[2]), "RF-2");  // same date, read after the balance hit zero
    EXPECT_EQ(RefOf(y25, d25[1]), "RF-2");
    EXPECT_EQ(RefOf(y25, d25[3]), "");
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 1), std::to_string(d25[3]));
    EXPECT_EQ(w.newref.text(), "RF-3");
}

TEST_F(BalanceReviewTest, BalanceThatNeverReturnsToZeroChangesNothingButStillSaves) {
    Select("4300000002 Otro");
    Rows(w.SGrid1, {{d25[4], "03/01/25", 1, 7.0}});
    revisarsaldos_Click(w);
    EXPECT_EQ(RefOf(y25, d25[4]), "");
    EXPECT_EQ(w.SGrid1.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid1.Cell(1, 1), std::to_string(d25[4]));
    EXPECT_EQ(w.newref.text(), "RF-1");
}

}  // namespace
}  // namespace pendara
