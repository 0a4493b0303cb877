#include "posting/manual.h"

#include <string>

#include "host/conversions.h"
#include "host/settings.h"
#include "matching/matching_run.h"
#include "matching/references.h"
#include "matching/sums.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

std::string LastAccount() {
    return GetRegValue("Ultima", "Punteo").text();
}

void UndoIn(Grid& grid, const std::string& reference) {
    for (int r = 1; r <= grid.Rows(); ++r) {
        if (Trim(grid.Cell(r, 5)) != reference) continue;
        grid.SetCell(r, 5, "");
        if (LeadingNumber(grid.Cell(r, 8)) == 1) grid.SetCell(r, 8, "0");
    }
}

}  // namespace

void CreaRef_Click(Pndra& w) {
    w.newref.setText(NewReference(w.session));
    DoSumas(w, w.newref.text());
}

void DeshacerRef_Click(Pndra& w) {
    UndoIn(w.SGrid1, w.CurrentReference);
    UndoIn(w.SGrid2, w.CurrentReference);
}

void Punteo_Click(Pndra& w) {
    SetRegValue(w.port, "Ultima", w.CTA.text(), "Punteo");
    SetUltima(w);
    // The company list always has its first entry selected after start; without a selection
    // the active company (catalogue index 0) is the one meant.
    int selected = w.List1.ListIndex();
    std::int32_t k = selected >= 0 ? w.List1.ItemData(selected) : 0;
    const std::string company =
        k >= 0 && static_cast<std::size_t>(k) < w.session.ConsultedFiles.size()
            ? w.session.ConsultedFiles[static_cast<std::size_t>(k)]
            : std::string();
    PVporImportes(w, company, w.CTA.text());
    w.newref.setText(NewReference(w.session));
}

void SetUltima(Pndra& w) {
    w.Ultima.setCaption("Ultima cuenta punteada: " + LastAccount() +
                        " (hacer click para selecionar)");
}

void Ultima_Click(Pndra& w) {
    w.CTA.setText(LastAccount());
    ClearGrids(w);
}

}  // namespace pendara
