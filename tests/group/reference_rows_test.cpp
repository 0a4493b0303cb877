#include "ui/group_handlers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

void Row(Grid& g, int r, const std::string& ref, const std::string& amount) {
    if (g.Rows() < r) g.SetRows(r);
    g.SetCell(r, 1, std::to_string(100 + r));
    g.SetCell(r, 2, "01/02/25");
    g.SetCell(r, 3, "7");
    g.SetCell(r, 4, "Fra. " + std::to_string(r));
    g.SetCell(r, 5, ref);
    g.SetCell(r, 6, amount);
    g.SetCell(r, 7, "1");
    g.SetCell(r, 8, "0");
}

class ReferenceRowsTest : public ::testing::Test {
  protected:
    ReferenceRowsTest() {
        Row(w.SGrid1, 1, "RF-5", "100,00");
        Row(w.SGrid1, 2, "RF-6", "20,00");
        Row(w.SGrid1, 3, "RF-5 ", "50,00");
        Row(w.SGrid2, 1, "RF-5", "-150,00");
        Row(w.SGrid2, 2, "rf-5", "-1,00");
        w.showReferenceDetail = [this](Pndra& win) { shown.push_back(win.detailText.ToString()); };
    }
    void Click(Grid& g, int grid, int row, int col) {
        g.Row = row;
        g.Col = col;
        w.SelectedGrid = static_cast<std::int16_t>(grid);
        w.SelectedRow = static_cast<std::int16_t>(row);
        w.SelectedCol = static_cast<std::int16_t>(col);
    }
    ScriptedPort port;
    Pndra w{port};
    std::vector<std::string> shown;
};

TEST_F(ReferenceRowsTest, DetailHoldsEveryRowOfTheReferenceBothSidesThenIsEmptied) {
    Click(w.SGrid2, 2, 1, 5);
    PresentaDetalle(w);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0],
              "1\t101\t01/02/25\t7\tFra. 1\tRF-5\t100,00\t1\t0\t\r\n"
              "1\t103\t01/02/25\t7\tFra. 3\tRF-5 \t50,00\t1\t0\t\r\n"
              "2\t101\t01/02/25\t7\tFra. 1\tRF-5\t-150,00\t1\t0\t\r\n");
    EXPECT_TRUE(w.detailText.Empty());
}

TEST_F(ReferenceRowsTest, NothingOpensOutsideColumnFiveOrOnAnEmptyReference) {
    Click(w.SGrid1, 1, 1, 3);
    PresentaDetalle(w);
    Click(w.SGrid1, 1, 1, 5);
    w.SGrid1.SetCell(1, 5, "   ");
    PresentaDetalle(w);
    EXPECT_TRUE(shown.empty());
}

TEST_F(ReferenceRowsTest, CollectFollowsSelectedRowAndReadsPastTheLastRowAsEmpty) {
    Click(w.SGrid1, 1, 1, 5);
    w.SelectedRow = 2;
    CollectReferenceRows(w);
    EXPECT_EQ(w.detailText.ToString(), "1\t102\t01/02/25\t7\tFra. 2\tRF-6\t20,00\t1\t0\t\r\n");
    EXPECT_EQ(w.SGrid1.Row, 2);
    EXPECT_EQ(w.SGrid1.Col, 5);

    w.SelectedRow = 9;
    CollectReferenceRows(w);
    EXPECT_TRUE(w.detailText.Empty());

    // Outside column 5 the text keeps what it held.
    w.SelectedRow = 2;
    CollectReferenceRows(w);
    w.SelectedCol = 4;
    CollectReferenceRows(w);
    EXPECT_FALSE(w.detailText.Empty());
}

}  // namespace
}  // namespace pendara
