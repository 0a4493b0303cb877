#include <gtest/gtest.h>

#include "host/settings.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

using testing::Ledger;

class StartupTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(
            y25,
            {{"4000000001", "Proveedor"}, {"4300000001", "Pagado"}, {"4300000002", "Sin apuntes"}});
        l.Entries(y24, {{"4300000001", "15/12/24", "1", "Fra. 12", 1, 100.0}});
        l.Entries(y25, {{"4300000001", "20/02/25", "2", "Cobro Fra. 12", 2, -100.0},
                        {"4000000001", "20/02/25", "3", "Fra. 5", 2, -10.0}});
        l.SetActive(y25);
    }
    Ledger l;
    std::string y24, y25;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(StartupTest, CommandLineListsSelectsLoadsAndSavesTheFirstMatchingAccountOnce) {
    w.CommandLine = "430";
    Form_Load(w);
    EXPECT_EQ(w.CTA.text(), "430");
    EXPECT_EQ(w.Text1.text(), "430");
    EXPECT_EQ(w.List1.ListCount(), 2);
    Form_Activate(w);
    EXPECT_TRUE(w.Activated);
    // The full list, so the account without entries is there too.
    ASSERT_EQ(w.List2.ListCount(), 2);
    EXPECT_EQ(w.List2.ListIndex(), 0);
    EXPECT_EQ(w.CTA.text(), "4300000001 ");
    EXPECT_EQ(w.Frame5.caption(), "Estado de la cuenta activa 4300000001 ");
    const auto e24 = l.Read(y24, "4300000001");
    const auto e25 = l.Read(y25, "4300000001");
    EXPECT_EQ(e24[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(e24[0].referencia, e25[0].referencia);
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "4300000001 ");
    // The balance shown is the active company's alone.
    EXPECT_TRUE(w.Image1[1].visible());

    const std::string newref = w.newref.text();
    Form_Activate(w);
    EXPECT_EQ(w.newref.text(), newref);
}

TEST_F(StartupTest, AccountMissingFromTheListLoadsNothing) {
    w.CommandLine = "4300000009";
    Form_Load(w);
    Form_Activate(w);
    EXPECT_EQ(w.List2.ListCount(), 0);
    EXPECT_EQ(w.List2.ListIndex(), -1);
    EXPECT_EQ(w.newref.text(), "");
    EXPECT_EQ(l.Read(y24, "4300000001")[0].referencia, "");
}

TEST_F(StartupTest, AllEntriesOptionReloadsWithoutSavingOpenOnlyOptionSaves) {
    Form_Load(w);
    w.List2.AddItem("4300000001 Pagado");
    w.List2.onClick = nullptr;
    w.List2.SetListIndex(0);
    Option1_Click(w, 0);
    EXPECT_EQ(l.Read(y24, "4300000001")[0].referencia, "");
    EXPECT_EQ(w.SGrid1.Cell(1, 5).rfind("RF-", 0), 0u);  // matched on the grid only

    SaveSetting("Punteo2", "1", "");
    Option1_Click(w, 1);
    EXPECT_EQ(l.Read(y24, "4300000001")[0].referencia.rfind("RF-", 0), 0u);
    // Both grids empty after the save.
    EXPECT_EQ(w.SGrid1.Cell(1, 1), "");
    EXPECT_EQ(w.SGrid2.Cell(1, 1), "");
}

TEST_F(StartupTest, PictureDoubleClickAndKeyTwoSaveTheActiveAccount) {
    Form_Load(w);
    w.CTA.setText("4300000001");
    ConnectHandlers(w);
    w.List2.AddItem("4300000001 Pagado");
    w.List2.onClick = nullptr;
    w.List2.SetListIndex(0);
    Option1_Click(w, 0);
    Image1_DblClick(w);
    EXPECT_EQ(l.Read(y25, "4300000001")[0].referencia.rfind("RF-", 0), 0u);
    int cancel = 1;
    Form_QueryUnload(w, cancel, 2);
    EXPECT_EQ(cancel, 0);
}

TEST_F(StartupTest, ListKeysEightAndThirteenBothClearTheGridsAndFillTheList) {
    Form_Load(w);
    for (int key : {13, 8}) {
        w.SGrid1.SetCell(1, 5, "RF-1");
        w.List2.Clear();
        Toolbar1_Click(w, key);
        EXPECT_EQ(w.SGrid1.Cell(1, 5), "") << key;
        EXPECT_GT(w.List2.ListCount(), 0) << key;
    }
    // Each use alternates the kind: full list first, then the pending one.
    EXPECT_FALSE(w.PendingOnly);
    EXPECT_EQ(w.List2.ListCount(), 2);
}

TEST_F(StartupTest, ReportAndConfigurationKeysOpenTheirDialogs) {
    Form_Load(w);
    port.QueueParameters(
        [](const std::string&, ParameterValues&, const ParameterKinds&) { return false; });
    Toolbar1_Click(w, 12);
    port.QueueParameters(
        [](const std::string&, ParameterValues&, const ParameterKinds&) { return false; });
    Toolbar1_Click(w, 25);
    EXPECT_EQ(port.parameterCaptions.size(), 2u);
    EXPECT_TRUE(port.AllAnswersUsed());
    EXPECT_TRUE(port.reports.empty());
}

}  // namespace
}  // namespace pendara
