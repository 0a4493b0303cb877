#include "ui/group_handlers.h"

#include <string>

#include "group/group_commands.h"
#include "host/conversions.h"
#include "services/account_run.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {

namespace {

constexpr int kConfirmStyle = kVbYesNo | kVbInformation | kVbDefaultButton2;  // 324

// Puts the normal buttons back when the run leaves, also by an exception.
struct NormalToolbarOnExit {
    Toolbar& toolbar;
    ~NormalToolbarOnExit() { toolbar.SetButtons(kToolbar1Images, kToolbar1Tips); }
};

Grid& SelectedGridOf(Pndra& w) {
    return w.SelectedGrid == 1 ? w.SGrid1 : w.SGrid2;
}

// One line per row carrying the reference: side, TAB, then every cell followed by a TAB.
void AppendRowsOf(StrBuilder& out, const Grid& grid, const char* side,
                  const std::string& reference) {
    for (int r = 1; r <= grid.Rows(); ++r) {
        if (Trim(grid.Cell(r, GridCol::Reference)) != reference) continue;
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

void ClearSelectedAccount(Pndra& w) {
    const int selected = w.List2.ListIndex();
    if (selected < 0) return;
    const std::string entry = w.List2.List(selected);
    if (w.port.MsgBox(ClearAccountQuestion(entry), kConfirmStyle, kDefaultTitle) != kVbYes) return;
    ClearAccount(w.session, entry);
    List2_Click(w);
}

void GroupSaveRun(Pndra& w) {
    if (w.port.MsgBox(kGroupRunQuestion, kConfirmStyle, kDefaultTitle) != kVbYes) return;
    w.Toolbar1.SetButtons(kToolbar1RunImages, kToolbar1RunTips);
    NormalToolbarOnExit restore{w.Toolbar1};
    Grabartodo(w);
}

void PresentaDetalle(Pndra& w) {
    if (w.SelectedCol != GridCol::Reference) return;
    w.detailText.Clear();
    const std::string reference = Trim(SelectedGridOf(w).Text());
    if (reference.empty()) return;
    AppendReference(w, reference);
    if (!w.detailText.Empty() && w.showReferenceDetail) w.showReferenceDetail(w);
    w.detailText.Clear();
}

void CollectReferenceRows(Pndra& w) {
    if (w.SelectedCol != GridCol::Reference) return;
    w.detailText.Clear();
    Grid& grid = SelectedGridOf(w);
    grid.Col = GridCol::Reference;
    grid.Row = w.SelectedRow;
    const std::string reference = Trim(grid.Text());
    if (reference.empty()) return;
    AppendReference(w, reference);
}

}  // namespace pendara
