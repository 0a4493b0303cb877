#include "ui/controls.h"

#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

TEST(Grid, KeepsAtLeastOneRowAndReadsOutsideAsEmpty) {
    Grid g;
    EXPECT_EQ(g.Rows(), 1);
    g.SetRows(0);
    EXPECT_EQ(g.Rows(), 1);
    g.SetRows(3);
    g.SetCell(3, 8, "x");
    EXPECT_EQ(g.Cell(3, 8), "x");
    EXPECT_EQ(g.Cell(4, 1), "");
    EXPECT_EQ(g.Cell(1, 9), "");
    EXPECT_THROW(g.SetCell(4, 1, "y"), std::out_of_range);
    g.Row = 3;
    g.Col = 5;
    g.Clear();
    EXPECT_EQ(g.Rows(), 1);
    EXPECT_EQ(g.Cell(1, 1), "");
    // The clicked cell stays current through a reload of the rows.
    EXPECT_EQ(g.Text(), "");
    g.SetRows(3);
    g.SetCell(3, 5, "RF-12");
    EXPECT_EQ(g.Text(), "RF-12");
}

TEST(Grid, CellsShowTheRowsTypedValuesAndReadTextsBack) {
    Grid g;
    g.SetRowsFrom(
        {GridRow{"1", "01/01/25", "7", "Fra. 1", "RF-1", ShownAmount::Of("     100,00"), 1, "0"},
         GridRow{"2", "02/01/25", "8", "Cobro", "", ShownAmount::Of("-5,00"), 2, "1"}});
    EXPECT_EQ(g.Rows(), 2);
    EXPECT_EQ(g.Cell(0, 1), "");
    EXPECT_EQ(g.Cell(1, 1), "1");
    EXPECT_EQ(g.Cell(1, 5), "RF-1");
    EXPECT_EQ(g.Cell(1, 6), "     100,00");
    EXPECT_EQ(g.Cell(2, 5), "");
    EXPECT_EQ(g.Cell(2, 7), "2");
    EXPECT_EQ(g.Cell(2, 8), "1");
    // A text put into a cell is read as the grid reads that column.
    g.SetCell(2, 6, " 1.234,50");
    EXPECT_EQ(g.rows()[1].amount.value, 1234.5);
    EXPECT_EQ(g.rows()[1].amount.parsed, 1234.5);
    g.SetCell(2, 7, "3");
    EXPECT_EQ(g.rows()[1].company, 3);
    g.SetCell(2, 7, "x");
    EXPECT_EQ(g.rows()[1].company, 0);
    EXPECT_EQ(g.Cell(2, 7), "");
    // No rows leave one empty row.
    g.SetRowsFrom({});
    EXPECT_EQ(g.Rows(), 1);
    EXPECT_EQ(g.rows()[0], GridRow{});
}

TEST(Grid, VersionTellsAViewSomethingChanged) {
    Grid g;
    int calls = 0;
    g.onChange = [&] { ++calls; };
    auto v0 = g.version();
    g.SetCell(1, 1, "a");
    EXPECT_GT(g.version(), v0);
    EXPECT_EQ(calls, 1);
}

TEST(ListBox, SelectionFiresClickAndRemovalAdjustsIt) {
    ListBox l;
    int clicks = 0;
    l.onClick = [&] { ++clicks; };
    l.AddItem("a");
    l.AddItem("b");
    EXPECT_EQ(l.NewIndex(), 1);
    l.SetItemData(l.NewIndex(), 7);
    l.SetListIndex(1);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(l.ItemData(1), 7);
    l.RemoveItem(0);
    EXPECT_EQ(l.ListIndex(), 0);
    l.RemoveItem(0);
    EXPECT_EQ(l.ListIndex(), -1);
    l.SetListIndex(-1);
    EXPECT_EQ(clicks, 1);
    EXPECT_THROW(l.SetListIndex(0), std::out_of_range);
}

TEST(ListBox, SelectingWithoutAClickMovesOnlyTheSelection) {
    ListBox l;
    int clicks = 0;
    l.onClick = [&] { ++clicks; };
    l.AddItem("a");
    l.AddItem("b");
    const auto version = l.version();
    l.SelectWithoutClick(1);
    EXPECT_EQ(l.ListIndex(), 1);
    EXPECT_EQ(clicks, 0);
    EXPECT_GT(l.version(), version);  // a view redraws the selection
    l.SelectWithoutClick(-1);
    EXPECT_EQ(l.ListIndex(), -1);
    EXPECT_THROW(l.SelectWithoutClick(2), std::out_of_range);
    l.SetListIndex(0);
    EXPECT_EQ(clicks, 1);
}

TEST(Toolbar, ImageNumbersAreKeysAndMinusOneSeparates) {
    Toolbar t;
    t.SetButtons(kToolbar1Images, kToolbar1Tips);
    ASSERT_EQ(t.buttons().size(), 12u);
    EXPECT_EQ(t.buttons()[0].key, 80);
    EXPECT_EQ(t.buttons()[0].toolTip, "Anterior");
    EXPECT_TRUE(t.buttons()[2].separator());
    EXPECT_EQ(t.buttons()[6].toolTip,
              "Conciliar y guardar punteo en contabilidad de todo el grupo");
    EXPECT_EQ(t.buttons()[11].toolTip, "Ayuda");
    t.SetButtons(kToolbar1RunImages, kToolbar1RunTips);
    ASSERT_EQ(t.buttons().size(), 1u);
    EXPECT_EQ(t.buttons()[0].key, 21);
}

TEST(Pndra, StartsAsTheWindowIsDesigned) {
    ScriptedPort port;
    Pndra w(port);
    EXPECT_EQ(w.DesFac.text(), " Fra");
    EXPECT_TRUE(w.Option1[1].value());
    EXPECT_FALSE(w.Option1[0].value());
    EXPECT_EQ(w.SGrid1.headers[1], "N");
    EXPECT_EQ(w.SGrid2.headers[1], "R");
    EXPECT_TRUE(w.session.ConsultedFiles.empty());
    EXPECT_EQ(w.Toolbar2.buttons().size(), 4u);
    EXPECT_EQ(w.SelectedCompanyFile(), "");
    w.session.ConsultedFiles.push_back("/d/EMP.QVT");
    w.List1.AddItem("EMP");
    w.List1.SetListIndex(0);
    EXPECT_EQ(w.SelectedCompanyFile(), "/d/EMP.QVT");
}

}  // namespace
}  // namespace pendara
