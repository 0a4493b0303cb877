#include "posting/manual.h"

#include <gtest/gtest.h>

#include "host/settings.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

class ManualTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        w.SGrid1.SetRows(3);
        w.SGrid2.SetRows(2);
        Row(w.SGrid1, 1, " RF-4 ", "1");
        Row(w.SGrid1, 2, "RF-5", "1");
        Row(w.SGrid1, 3, "rf-4", "1");
        Row(w.SGrid2, 1, "RF-4", "2");
        Row(w.SGrid2, 2, "RF-4", "1");
    }
    static void Row(Grid& g, int r, const std::string& ref, const std::string& mark) {
        g.SetCell(r, 5, ref);
        g.SetCell(r, 6, "1,00");
        g.SetCell(r, 8, mark);
    }
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(ManualTest, UndoEmptiesEveryRowOfTheReferenceInBothGridsAndResetsBalancedMarks) {
    w.CurrentReference = "RF-4";
    DeshacerRef_Click(w);
    EXPECT_EQ(w.SGrid1.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid1.Cell(1, 8), "0");
    EXPECT_EQ(w.SGrid1.Cell(2, 5), "RF-5");
    EXPECT_EQ(w.SGrid1.Cell(3, 5), "rf-4");
    EXPECT_EQ(w.SGrid1.Cell(3, 8), "1");
    EXPECT_EQ(w.SGrid2.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid2.Cell(1, 8), "2");
    EXPECT_EQ(w.SGrid2.Cell(2, 8), "0");
}

TEST_F(ManualTest, UndoWithoutCurrentReferenceChangesNothingVisible) {
    const std::vector<GridRow> d = w.SGrid1.rows();
    w.CurrentReference = "";
    DeshacerRef_Click(w);
    EXPECT_EQ(w.SGrid1.rows(), d);
}

TEST_F(ManualTest, OnlyAnUndoThatChangesACellLeavesUnsavedEdits) {
    w.CurrentReference = "RF-99";  // on no row
    DeshacerRef_Click(w);
    EXPECT_FALSE(w.UnsavedEdits);
    w.CurrentReference = "RF-4";
    DeshacerRef_Click(w);
    EXPECT_TRUE(w.UnsavedEdits);
}

TEST_F(ManualTest, LastAccountLabelAndRecall) {
    SetUltima(w);
    EXPECT_EQ(w.Ultima.caption(), "Ultima cuenta punteada:  (hacer click para selecionar)");
    w.CTA.setText("x");
    Ultima_Click(w);
    EXPECT_EQ(w.CTA.text(), "");
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid2.Rows(), 1);

    SetRegValue(port, "Ultima", "4300000138 ", "Punteo");
    SetUltima(w);
    EXPECT_EQ(w.Ultima.caption(),
              "Ultima cuenta punteada: 4300000138  (hacer click para selecionar)");
    Ultima_Click(w);
    EXPECT_EQ(w.CTA.text(), "4300000138 ");
}

TEST_F(ManualTest, NewReferenceComesFromTheChainCounterAndShowsItsSums) {
    testing::Ledger l;
    const std::string y25 = l.Company("E5", "Empresa", 2025);
    w.session.ActiveCompanyFile = y25;
    w.session.FirstCompanyFile = y25;
    CreaRef_Click(w);
    EXPECT_EQ(w.newref.text(), "RF-1");
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia: RF-1");
    CreaRef_Click(w);
    EXPECT_EQ(w.newref.text(), "RF-2");
}

}  // namespace
}  // namespace pendara
