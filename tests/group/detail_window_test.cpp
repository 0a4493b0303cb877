#include "ui/detail_window.h"

#include <gtest/gtest.h>

#include "support/scripted_port.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

using Align = DetailWindow::Align;

std::string Line(const std::string& side, const std::string& rec, const std::string& date,
                 const std::string& entry, const std::string& desc, const std::string& ref,
                 const std::string& amount) {
    return side + "\t" + rec + "\t" + date + "\t" + entry + "\t" + desc + "\t" + ref + "\t" +
           amount + "\t3\t1\t\r\n";
}

TEST(DetailWindow, FormatStringGivesHeadersAlignmentsAndWidths) {
    DetailWindow d;
    const char* heads[] = {"N", "Fecha", "Asiento", "Descripcion", "importe",
                           "",  "Fecha", "Asiento", "Descripcion", "importe"};
    for (int c = 0; c < DetailWindow::kCols; ++c)
        EXPECT_EQ(d.Cell(0, c), heads[c]) << c;
    EXPECT_EQ(d.ColAlignment(0), Align::Centre);
    EXPECT_EQ(d.ColAlignment(3), Align::Left);
    EXPECT_EQ(d.ColAlignment(4), Align::Right);
    EXPECT_EQ(d.ColAlignment(9), Align::Right);
    EXPECT_EQ(d.ColAlignment(6), Align::Centre);
    EXPECT_EQ(d.ColWidth(1), 800);
    EXPECT_EQ(d.ColWidth(7), 900);
    EXPECT_EQ(d.ColWidth(4), 1000);
    // The descriptions share what is left: 12735 - (800+900+1000+w5+800+900+1000+w0) - 500,
    // halved, each rounding taking halves to even.
    double rest =
        12735 - (800 + 900 + 1000 + d.ColWidth(5) + 800 + 900 + 1000 + d.ColWidth(0)) - 500;
    EXPECT_EQ(rest, 6495);
    EXPECT_EQ(d.ColWidth(3), 3248);  // 3247.5 rounds to even
    EXPECT_EQ(d.ColWidth(8), 3248);
    EXPECT_EQ(d.Label2[0].caption(), "Referencia:");
    EXPECT_EQ(d.Toolbar1.imageList(), "80,20");
    EXPECT_EQ(d.Toolbar1.toolTipList(), "Anterior,Siguiente");
}

TEST(DetailWindow, HeaderWidthGrowsWithCharactersNotBytes) {
    EXPECT_DOUBLE_EQ(HeaderTextWidth("Descripción"), HeaderTextWidth("Descripcion"));
    EXPECT_DOUBLE_EQ(HeaderTextWidth("ñ€𝄞"), HeaderTextWidth("abc"));
    EXPECT_DOUBLE_EQ(HeaderTextWidth("\xC3"), HeaderTextWidth("a"));
    EXPECT_LT(HeaderTextWidth("ab"), HeaderTextWidth("abc"));
}

TEST(DetailWindow, TwoDebitsAndOneCreditFillBothHalvesAndTheSums) {
    DetailWindow d;
    std::string text = Line("1", "17", " 05/01/24 ", "12", " Fra. 101 ", " RF-7 ", "1.210,50") +
                       Line("2", "40", "20/02/24", "88", "Cobro Fra. 101", "RF-7", "-1.500,00") +
                       Line("1", "18", "06/01/24", "13", "Fra. 102", "RF-7", "289,50");
    d.PresentaDatos(text);
    EXPECT_EQ(d.Cell(1, 1), "05/01/24");
    EXPECT_EQ(d.Cell(1, 2), "12");
    EXPECT_EQ(d.Cell(1, 3), "Fra. 101");
    EXPECT_EQ(d.Cell(1, 4), "1.210,50");
    EXPECT_EQ(d.Cell(2, 1), "06/01/24");
    EXPECT_EQ(d.Cell(2, 4), "289,50");
    EXPECT_EQ(d.Cell(1, 6), "20/02/24");
    EXPECT_EQ(d.Cell(1, 8), "Cobro Fra. 101");
    EXPECT_EQ(d.Cell(1, 9), "-1.500,00");
    EXPECT_EQ(d.Cell(2, 6), "");
    EXPECT_EQ(d.Cell(1, 0), "");
    EXPECT_EQ(d.Cell(1, 5), "");
    EXPECT_EQ(d.Sumas[0].caption(), "1.500,00");
    EXPECT_EQ(d.Sumas[1].caption(), "-1.500,00");
    EXPECT_EQ(d.Sumas[2].caption(), "0,00");
    EXPECT_EQ(d.Text1.text(), "RF-7");
}

TEST(DetailWindow, SideOtherThanOneIsCreditAndUnfinishedLineIsIgnored) {
    DetailWindow d;
    d.PresentaDatos(Line("1.0", "1", "01/01/24", "1", "a", "X", "10") +
                    Line("7", "2", "02/01/24", "2", "b", "Y", "-4") +
                    "1\t3\t03/01/24\t3\tc\tZ\t99");
    EXPECT_EQ(d.Cell(1, 4), "10,00");
    EXPECT_EQ(d.Cell(1, 9), "-4,00");
    EXPECT_EQ(d.Cell(2, 1), "");  // the piece after the last CR LF
    EXPECT_EQ(d.Text1.text(), "Y");
    EXPECT_EQ(d.Sumas[2].caption(), "6,00");
}

TEST(DetailWindow, EmptyTextChangesNothingAndLimpiarClears) {
    DetailWindow d;
    d.PresentaDatos(Line("1", "1", "01/01/24", "1", "a", "RF-1", "5"));
    std::uint64_t before = d.version();
    d.PresentaDatos("");
    EXPECT_EQ(d.version(), before);
    EXPECT_EQ(d.Cell(1, 3), "a");
    d.Limpiar();
    EXPECT_EQ(d.Cell(1, 3), "");
    EXPECT_EQ(d.Cell(0, 3), "Descripcion");
    EXPECT_EQ(d.Text1.text(), "");
    EXPECT_EQ(d.Sumas[0].caption(), "");
}

TEST(DetailWindow, MoreEntriesThanRowsAreDropped) {
    DetailWindow d;
    std::string text;
    for (int i = 0; i < 205; ++i)
        text += Line("1", std::to_string(i), "01/01/24", std::to_string(i), "d", "R", "1");
    d.PresentaDatos(text);
    EXPECT_EQ(d.Cell(199, 2), "198");
    EXPECT_EQ(d.Sumas[0].caption(), "205,00");  // the totals still count every entry
}

// The credit grid of a window: rows 1-2 carry RF-1, row 3 carries RF-2, row 4 none.
void FillCredits(Pndra& w) {
    const char* refs[] = {"RF-1", " RF-1 ", "RF-2", ""};
    w.SGrid2.SetRows(4);
    for (int r = 1; r <= 4; ++r) {
        w.SGrid2.SetCell(r, 1, std::to_string(r));
        w.SGrid2.SetCell(r, 2, "0" + std::to_string(r) + "/03/24");
        w.SGrid2.SetCell(r, 3, std::to_string(10 + r));
        w.SGrid2.SetCell(r, 4, "Cobro " + std::to_string(r));
        w.SGrid2.SetCell(r, 5, refs[r - 1]);
        w.SGrid2.SetCell(r, 6, "-" + std::to_string(r) + "0,00");
    }
    w.SGrid1.SetRows(1);
    w.SGrid1.SetCell(1, 4, "Fra. 1");
    w.SGrid1.SetCell(1, 5, "RF-2");
    w.SGrid1.SetCell(1, 6, "30,00");
}

TEST(DetailWindow, SiguienteAndAnteriorStepOneRowOfTheClickedGrid) {
    ScriptedPort port;
    Pndra w(port);
    FillCredits(w);
    w.SelectedCol = 5;
    w.SelectedGrid = 2;
    w.SelectedRow = 2;
    DetailWindow d;

    d.Toolbar1_Click(w, 20);  // row 3: RF-2, one debit and one credit
    EXPECT_EQ(w.SelectedRow, 3);
    EXPECT_EQ(d.Text1.text(), "RF-2");
    EXPECT_EQ(d.Cell(1, 3), "Fra. 1");
    EXPECT_EQ(d.Cell(1, 8), "Cobro 3");
    EXPECT_EQ(d.Cell(2, 8), "");  // the rows of RF-1 shown before are gone
    EXPECT_EQ(d.Sumas[2].caption(), "0,00");

    d.Toolbar1_Click(w, 20);  // row 4 has no reference: the window empties
    EXPECT_EQ(w.SelectedRow, 4);
    EXPECT_EQ(d.Text1.text(), "");
    EXPECT_EQ(d.Sumas[0].caption(), "");
    EXPECT_EQ(d.Cell(1, 8), "");

    d.Toolbar1_Click(w, 20);  // past the last row: still empty
    EXPECT_EQ(w.SelectedRow, 5);
    EXPECT_EQ(d.Text1.text(), "");

    w.SelectedRow = 2;
    d.Toolbar1_Click(w, 80);  // row 1: RF-1, rows 1 and 2 (the trimmed reference matches)
    EXPECT_EQ(w.SelectedRow, 1);
    EXPECT_EQ(d.Text1.text(), "RF-1");
    EXPECT_EQ(d.Cell(1, 8), "Cobro 1");
    EXPECT_EQ(d.Cell(2, 8), "Cobro 2");
    EXPECT_EQ(d.Sumas[1].caption(), "-30,00");
    d.Toolbar1_Click(w, 80);  // "Anterior" on row 1 stays on row 1
    EXPECT_EQ(w.SelectedRow, 1);
    EXPECT_EQ(d.Text1.text(), "RF-1");
}

TEST(DetailWindow, SteppingOutsideTheReferenceColumnChangesOnlyTheRow) {
    ScriptedPort port;
    Pndra w(port);
    FillCredits(w);
    w.SelectedCol = 3;
    w.SelectedGrid = 2;
    w.SelectedRow = 1;
    w.detailText.Append("stale");
    DetailWindow d;
    d.Toolbar1_Click(w, 20);
    EXPECT_EQ(w.SelectedRow, 2);
    EXPECT_EQ(w.detailText.ToString(), "stale");  // nothing was collected
    EXPECT_EQ(d.Text1.text(), "");
}

}  // namespace
}  // namespace pendara
