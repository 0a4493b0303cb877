#include "group/group_commands.h"

#include <gtest/gtest.h>

#include "companies/catalogue.h"
#include "host/settings.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/group_handlers.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

using testing::Ledger;

// Three years of one company; two customers whose invoices are paid, one left open.
class GroupCommandsTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y23 = l.Company("E3", "Empresa", 2023);
        y24 = l.Company("E4", "Empresa", 2024, y23);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(
            y25,
            {{"4300000001", "Pagado"}, {"4300000002", "Abierto"}, {"4300000003", "Pagado tarde"}});
        l.Entries(y24, {{"4300000003", "10/05/24", "1", "Fra. 77", 1, 80.0}});
        l.Entries(y25, {{"4300000001", "15/01/25", "1", "Fra. 12", 1, 100.0},
                        {"4300000001", "20/02/25", "2", "Cobro Fra. 12", 2, -100.0},
                        {"4300000002", "15/01/25", "3", "Fra. 13", 1, 40.0},
                        {"4300000003", "20/02/25", "4", "Cobro Fra. 77", 2, -80.0}});
        l.SetActive(y25);
        SaveSetting("Punteo0", "1", "");
        Form_Load(w);
    }
    void FillFullList() {
        w.PendingOnly = false;
        Toolbar1_Click(w, 8);
    }
    std::vector<std::string> ListEntries() const {
        std::vector<std::string> out;
        for (const auto& i : w.List2.items())
            out.push_back(i.text);
        return out;
    }
    Ledger l;
    std::string y23, y24, y25;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(GroupCommandsTest, ConsultedCompaniesOneLineEachNewestFirst) {
    EXPECT_EQ(Ver_empresas(w.session), "EMPE5\r\nEMPE4\r\nEMPE3\r\n");
    Toolbar1_Click(w, 23);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].title, "Pendara. Empresas consultadas");
    EXPECT_EQ(port.messages[0].style, kVbInformation);
}

TEST_F(GroupCommandsTest, ClearingAsksAndNoOrNoSelectionChangesNothing) {
    const auto before = l.Read(y25);
    Toolbar1_Click(w, 78);  // nothing selected
    EXPECT_TRUE(port.messages.empty());

    FillFullList();
    w.List2.onClick = nullptr;
    w.List2.SetListIndex(0);
    ConnectHandlers(w);
    port.QueueMsgBox(kVbNo);
    Toolbar1_Click(w, 78);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text,
              "Se borraran todos los punteos y referencias de punteo de la cuenta 4300000001 "
              "Pagado ¿Esta usted seguro?");
    EXPECT_EQ(port.messages[0].style, 324);
    EXPECT_EQ(port.messages[0].title, "Pendara");
    EXPECT_EQ(l.Read(y25), before);
}

TEST_F(GroupCommandsTest, ClearingEmptiesTheAccountEverywhereThenReloadsAndSavesIt) {
    FillFullList();
    w.List2.SetListIndex(2);  // 4300000003: matched across two years and saved
    const auto saved24 = l.Read(y24, "4300000003");
    ASSERT_EQ(saved24[0].referencia.rfind("RF-", 0), 0u);
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 78);
    const auto again24 = l.Read(y24, "4300000003");
    const auto again25 = l.Read(y25, "4300000003");
    // Matched afresh under a new reference, saved with the balanced mark.
    EXPECT_EQ(again24[0].referencia, again25[0].referencia);
    EXPECT_NE(again24[0].referencia, saved24[0].referencia);
    EXPECT_EQ(again24[0].marca, "1");
    EXPECT_EQ(l.Read(y25, "4300000001")[0].referencia, "");  // never loaded, untouched
}

TEST_F(GroupCommandsTest, GroupSaveDropsBalancedAccountsAndRestoresTheToolbar) {
    FillFullList();
    port.QueueMsgBox(kVbNo);
    Toolbar1_Click(w, 17);
    EXPECT_EQ(w.List2.ListCount(), 3);

    std::vector<std::string> duringRun;
    port.onDoEvents = [&] { duringRun.push_back(w.Toolbar1.imageList()); };
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    // Balances are the active company's: the account paid across two years stays.
    EXPECT_EQ(ListEntries(),
              (std::vector<std::string>{"4300000002 Abierto", "4300000003 Pagado tarde"}));
    EXPECT_EQ(duringRun, (std::vector<std::string>{"21", "21", "21"}));
    EXPECT_EQ(w.Toolbar1.imageList(), kToolbar1Images);
    EXPECT_EQ(w.Toolbar1.toolTipList(), kToolbar1Tips);
    EXPECT_EQ(l.Read(y25, "4300000001")[0].marca, "1");
}

TEST_F(GroupCommandsTest, StopTakesEffectAfterTheAccountInProgressAndDoesNotCarryOver) {
    FillFullList();
    int visited = 0;
    port.onDoEvents = [&] {
        ++visited;
        Toolbar1_Click(w, 21);
    };
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    EXPECT_EQ(visited, 1);
    EXPECT_TRUE(w.StopRequested);
    EXPECT_EQ(w.Toolbar1.imageList(), kToolbar1Images);
    // The last entry (4300000003) was saved; the others were not visited.
    EXPECT_EQ(w.List2.ListCount(), 3);
    EXPECT_EQ(l.Read(y24, "4300000003")[0].marca, "1");
    EXPECT_EQ(l.Read(y25, "4300000001")[0].marca, "");

    visited = 0;
    port.onDoEvents = [&] { ++visited; };
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    EXPECT_EQ(visited, 3);
    EXPECT_FALSE(w.StopRequested);
    EXPECT_EQ(w.List2.ListCount(), 2);
}

TEST_F(GroupCommandsTest, GroupSaveOverAnEmptyListOnlyResetsAndClearsTheGauge) {
    w.List2.Clear();
    port.gauge.history.clear();
    const int clears = port.gauge.clears;
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    EXPECT_TRUE(port.gauge.history.empty());
    EXPECT_EQ(port.gauge.clears, clears + 2);
    EXPECT_EQ(port.doEventsCalls, 0);
}

}  // namespace
}  // namespace pendara
