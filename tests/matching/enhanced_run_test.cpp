// The enhanced mode inside the account matching run: off unless the option or the window says
// so, after every usual group, and its notice when the search reaches its limit.

#include <gtest/gtest.h>

#include "host/company_file.h"
#include "host/settings.h"
#include "matching/matching_run.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAcc = "4300000001";

class EnhancedRunTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y25 = l.Company("E5", "Empresa", 2025);
        l.Accounts(y25, {{kAcc, "Cliente uno", 0}});
        w.session.ActiveCompanyFile = y25;
        w.session.FirstCompanyFile = y25;
        SetCounter(y25, 41);
        w.DesFac.setText("Fra.");
        w.gauge.SetSurface(&port.gauge);
        // A pair the amounts close, and a payment of two invoices their double sum misses.
        l.Entries(y25, {{kAcc, "10/01/25", "1", "Fra. 1033", 1, 3834.65},
                        {kAcc, "11/01/25", "2", "Fra. 1044", 1, 2518.99},
                        {kAcc, "12/01/25", "3", "Fra. 1050", 1, 100},
                        {kAcc, "20/01/25", "4", "Cobro Fra. 1050", 2, -100},
                        {kAcc, "25/01/25", "5", "Cobro Fra. 1033 1044", 2, -6353.64}});
    }
    std::vector<std::string> References() {
        std::vector<std::string> refs;
        for (const Grid* g : {&w.SGrid1, &w.SGrid2})
            for (int r = 1; r <= g->Rows(); ++r)
                refs.push_back(g->Cell(r, 5));
        return refs;
    }

    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
    std::string y25;
};

TEST_F(EnhancedRunTest, OffUnlessTheOptionIsExactlyOne) {
    for (const char* stored : {"", "0", "2", "sí"}) {
        if (*stored) SaveSetting("PunteoMejorado", stored, "");
        SetCounter(y25, 41);
        PVporImportes(w, y25, kAcc);
        EXPECT_EQ(References(),
                  (std::vector<std::string>{"1033", "1044", "RF-42", "RF-42", "1033 1044"}))
            << "stored '" << stored << "'";
    }
}

TEST_F(EnhancedRunTest, EnhancedGroupsTakeTheirReferencesAfterTheUsualOnes) {
    SaveSetting("PunteoMejorado", "1", "");
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(References(),
              (std::vector<std::string>{"RF-43", "RF-43", "RF-42", "RF-42", "RF-43"}));
    EXPECT_EQ(ReadCounter(y25), 43);
    EXPECT_EQ(w.AvisoPunteo.caption(), "");
}

TEST_F(EnhancedRunTest, TheWindowCanTurnItOnForItsRuns) {
    SaveSetting("PunteoMejorado", "0", "");
    w.EnhancedForced = true;
    PVporImportes(w, y25, kAcc);
    EXPECT_EQ(References()[0], "RF-43");
}

TEST_F(EnhancedRunTest, ReachingTheSearchLimitIsNoticedWithTheAccount) {
    // An odd charge against many even credits of about a fifth of it: no subset can make it, and
    // the search runs out before it has tried them all.
    std::vector<EntryRecord> many{{kAcc, "01/02/25", "9", "Cargo", 1, 2500.01}};
    for (int i = 0; i < 80; ++i)
        many.push_back({kAcc, "02/02/25", "10", "Abono", 2, -(450.0 + 2 * i)});
    l.Entries(y25, many);
    std::vector<std::string> notices;
    w.AvisoPunteo.onChange = [&] { notices.push_back(w.AvisoPunteo.caption()); };
    w.EnhancedForced = true;
    PVporImportes(w, y25, kAcc);
    ASSERT_FALSE(notices.empty());
    EXPECT_NE(notices.back().find("la cuenta 4300000001"), std::string::npos);
    EXPECT_NE(notices.back().find("límite"), std::string::npos);
    // The invoice numbers were read before the search ran out.
    EXPECT_EQ(References()[0], "RF-43");
}

}  // namespace
}  // namespace pendara
