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

// True when a cell changed.
bool UndoIn(Grid& grid, const std::string& reference) {
    bool changed = false;
    for (int r = 1; r <= grid.Rows(); ++r) {
        if (Trim(grid.Cell(r, 5)) != reference) continue;
        changed = changed || !grid.Cell(r, 5).empty();
        grid.SetCell(r, 5, "");
        if (LeadingNumber(grid.Cell(r, 8)) == 1) {
            changed = changed || grid.Cell(r, 8) != "0";
            grid.SetCell(r, 8, "0");
        }
    }
    return changed;
}

}  // namespace

void CreaRef_Click(Pndra& w) {
    w.newref.setText(NewReference(w));
    DoSumas(w, w.newref.text());
}

void DeshacerRef_Click(Pndra& w) {
    const bool debits = UndoIn(w.SGrid1, w.CurrentReference);
    const bool credits = UndoIn(w.SGrid2, w.CurrentReference);
    if (debits || credits) w.UnsavedEdits = true;
}

void Punteo_Click(Pndra& w) {
    SetRegValue(w.port, "Ultima", w.CTA.text(), "Punteo");
    SetUltima(w);
    // The company list always has its first entry selected after start; without a selection
    // the active company (catalogue index 0) is the one meant.
    int selected = w.List1.ListIndex();
    std::int32_t k = selected >= 0 ? w.List1.ItemData(selected) : 0;
    const std::string company = k >= 0 && static_cast<std::size_t>(k) < w.ConsultedFiles.size()
                                    ? w.ConsultedFiles[static_cast<std::size_t>(k)]
                                    : std::string();
    PVporImportes(w, company, w.CTA.text());
    w.newref.setText(NewReference(w));
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
