#include "ui/main_window.h"

#include <gtest/gtest.h>

#include "host/settings.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

class MainWindowTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        ConnectHandlers(w);
        w.SGrid1.SetRows(2);
        w.SGrid1.SetCell(1, 5, "RF-1");
        w.SGrid1.SetCell(1, 6, "100,00");
        w.SGrid1.SetCell(2, 5, "");
        w.SGrid1.SetCell(2, 6, "40,00");
        w.SGrid2.SetCell(1, 5, "RF-1");
        w.SGrid2.SetCell(1, 6, "-60,00");
        w.newref.setText("RF-9");
    }
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(MainWindowTest, ModifierOneWritesNewReferenceIntoColumnFiveWhateverColumnWasClicked) {
    SGrid_Click(w, 1, 0, 1, 2, 3);
    EXPECT_EQ(w.SGrid1.Cell(2, 5), "RF-9");
    EXPECT_EQ(w.SGrid1.Cell(2, 3), "");
    EXPECT_EQ(w.CurrentReference, "RF-9");
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia: RF-9");
    EXPECT_EQ(w.SelectedCol, 3);
    EXPECT_EQ(w.SelectedRow, 2);
    EXPECT_EQ(w.SelectedGrid, 1);
}

TEST_F(MainWindowTest, OnlyModifierOneLeavesUnsavedEditsAndClearingTheGridsDropsThem) {
    SGrid_Click(w, 1, 0, 0, 2, 5);
    EXPECT_FALSE(w.UnsavedEdits);
    SGrid_Click(w, 2, 0, 1, 1, 4);
    EXPECT_TRUE(w.UnsavedEdits);
    ClearGrids(w);
    EXPECT_FALSE(w.UnsavedEdits);
}

TEST_F(MainWindowTest, ClickInColumnFiveShowsSumsOtherColumnsOnlyRecordTheSelection) {
    SGrid_Click(w, 2, 0, 0, 1, 3);
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia:");
    EXPECT_EQ(w.SelectedCol, 3);
    EXPECT_EQ(w.SelectedGrid, 2);
    EXPECT_EQ(w.SGrid2.Cell(1, 5), "RF-1");

    SGrid_Click(w, 2, 0, 0, 1, 5);
    EXPECT_EQ(w.Frame4.caption(), "Sumas por referencia: RF-1");
    EXPECT_EQ(w.CurrentReference, "RF-1");
    EXPECT_EQ(w.SGrid2.Row, 1);
    EXPECT_EQ(w.SGrid2.Col, 5);
}

TEST_F(MainWindowTest, StopKeySetsTheRequestAndUnknownKeysDoNothing) {
    Toolbar1_Click(w, 21);
    EXPECT_TRUE(w.StopRequested);
    const std::vector<GridRow> before = w.SGrid1.rows();
    Toolbar1_Click(w, 999);
    Toolbar1_Click(w, -1);
    Toolbar2_Click(w, 21);
    EXPECT_EQ(w.SGrid1.rows(), before);
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(MainWindowTest, UndoKeyOfSmallToolbarClearsTheCurrentReference) {
    w.SGrid1.SetCell(1, 8, "1");
    SGrid_Click(w, 1, 0, 0, 1, 5);
    Toolbar2_Click(w, 78);
    EXPECT_EQ(w.SGrid1.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid1.Cell(1, 8), "0");
    EXPECT_EQ(w.SGrid2.Cell(1, 5), "");
}

TEST_F(MainWindowTest, ListEntryWithoutBlankGivesNoAccountAndLeavesGrids) {
    w.List2.AddItem("4300000138");
    const std::vector<GridRow> before = w.SGrid1.rows();
    w.List2.SetListIndex(0);
    EXPECT_EQ(w.CTA.text(), "");
    EXPECT_EQ(w.SGrid1.rows(), before);
    Option1_Click(w, 0);
    EXPECT_EQ(w.SGrid1.rows(), before);
    EXPECT_TRUE(w.Option1[0].value());
    EXPECT_FALSE(w.Option1[1].value());
}

TEST_F(MainWindowTest, ClearGridsLeavesOneBlankRowInEach) {
    ClearGrids(w);
    EXPECT_EQ(w.SGrid1.Rows(), 1);
    EXPECT_EQ(w.SGrid2.Rows(), 1);
    EXPECT_EQ(w.SGrid1.Cell(1, 5), "");
    EXPECT_EQ(w.SGrid2.Cell(1, 6), "");
}

TEST_F(MainWindowTest, BlankCommandLineOnlyMarksTheWindowActivated) {
    w.CommandLine = "   ";
    w.CTA.setText(w.CommandLine);
    Form_Activate(w);
    EXPECT_TRUE(w.Activated);
    EXPECT_EQ(w.List2.ListCount(), 0);
    EXPECT_EQ(w.CTA.text(), "   ");
}

TEST_F(MainWindowTest, HelpOpensThePageInTheDirectoryFolder) {
    SetRegValue(port, "Directory", "/opt/quorvex/");
    Toolbar1_Click(w, 112);
    ASSERT_EQ(port.openedDocuments.size(), 1u);
    EXPECT_EQ(port.openedDocuments[0].first, "punteo.htm");
    EXPECT_EQ(port.openedDocuments[0].second, "/opt/quorvex/");
}

}  // namespace
}  // namespace pendara
