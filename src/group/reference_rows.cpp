#include "group/reference_rows.h"

#include <string>

#include "host/conversions.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

Grid& SelectedGridOf(Pndra& w) {
    return w.SelectedGrid == 1 ? w.SGrid1 : w.SGrid2;
}

// One line per row carrying the reference: side, TAB, then every cell followed by a TAB.
void AppendRowsOf(StrBuilder& out, const Grid& grid, const char* side,
                  const std::string& reference) {
    for (int r = 1; r <= grid.Rows(); ++r) {
        if (Trim(grid.Cell(r, 5)) != reference) continue;
        out.Append(side);
        out.Append("\t");
        for (int c = 1; c <= grid.Cols(); ++c) {
            out.Append(grid.Cell(r, c));
            out.Append("\t");
        }
        out.Append("\r\n");
    }
}

void AppendReference(Pndra& w, const std::string& reference) {
    AppendRowsOf(w.detailText, w.SGrid1, "1", reference);
    AppendRowsOf(w.detailText, w.SGrid2, "2", reference);
}

}  // namespace

void PresentaDetalle(Pndra& w) {
    if (w.SelectedCol != 5) return;
    w.detailText.Clear();
    const std::string reference = Trim(SelectedGridOf(w).Text());
    if (reference.empty()) return;
    AppendReference(w, reference);
    if (!w.detailText.Empty()) w.port.ShowReferenceDetail(w);
    w.detailText.Clear();
}

void CollectReferenceRows(Pndra& w) {
    if (w.SelectedCol != 5) return;
    w.detailText.Clear();
    Grid& grid = SelectedGridOf(w);
    grid.Col = 5;
    grid.Row = w.SelectedRow;
    const std::string reference = Trim(grid.Text());
    if (reference.empty()) return;
    AppendReference(w, reference);
}

}  // namespace pendara
