#include "ui/main_window.h"

#include <string>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "group/group_commands.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/settings.h"
#include "host/utf8.h"
#include "services/account_run.h"
#include "ui/account_list_handlers.h"
#include "ui/configuration.h"
#include "ui/group_handlers.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"
#include "ui/report_handlers.h"

namespace pendara {

bool StartAccount(Pndra& w, const std::string& entry) {
    w.CTA.setText(ListEntryAccount(entry));
    if (Trim(w.CTA.text()).empty()) return false;
    ClearGrids(w);
    for (Label& sum : w.Sumas)
        sum.setCaption("");
    w.Frame4.setCaption("Sumas por referencia: ");
    w.Frame5.setCaption("Estado de la cuenta activa " + w.CTA.text());
    return true;
}

void ConnectHandlers(Pndra& w) {
    w.List2.onClick = [&w] { List2_Click(w); };
}

void Form_Load(Pndra& w) {
    ConnectHandlers(w);
    w.CTA.setText(w.CommandLine);
    w.Text1.setText(w.CTA.text());
    w.gauge.SetSurface(&w.port.Gauge());
    LoadEmpresas(w);
}

void LoadEmpresas(Pndra& w) {
    LoadCatalogue(w.session, [&w](const std::string& file) {
        // The entry's item data is the file's place in the catalogue.
        int index = w.List1.AddItem(CleanName(file));
        w.List1.SetItemData(index, static_cast<std::int32_t>(w.session.ConsultedFiles.size() - 1));
    });
    if (w.List1.ListCount() > 0) w.List1.SetListIndex(0);
}

void Form_Activate(Pndra& w) {
    if (w.Activated) return;
    if (Trim(w.CTA.text()).empty()) {
        w.Activated = true;
        return;
    }
    std::int32_t enter = 13;
    Text1_KeyPress(w, enter);
    const std::string& account = w.CTA.text();
    for (int i = 0; i < w.List2.ListCount(); ++i) {
        if (!Utf8Contains(w.List2.List(i), account)) continue;
        w.List2.SetListIndex(i);
        if (!Trim(w.CommandLine).empty()) Toolbar1_Click(w, 2);
        break;
    }
    w.Activated = true;
}

void Form_QueryUnload(Pndra&, int& cancel, int) {
    // In every mode the close goes ahead; at the end of a session nothing is saved either.
    cancel = 0;
}

void List2_Click(Pndra& w) {
    const std::string entry = w.List2.List(w.List2.ListIndex());
    if (!StartAccount(w, entry)) return;
    const AccountOutcome outcome =
        ProcessAccount(w.session, AccountRequestOf(w, entry), w.GaugeProgress());
    ShowAccountOutcome(w, outcome);
}

void Option1_Click(Pndra& w, int index) {
    for (int i = 0; i < 2; ++i)
        w.Option1[static_cast<std::size_t>(i)].setValue(i == index);
    if (index == 1) {
        List2_Click(w);
    } else if (index == 0) {
        if (StartAccount(w, w.List2.List(w.List2.ListIndex()))) Punteo_Click(w);
    }
}

void SGrid_Click(Pndra& w, int grid, int, int modifier, int row, int col) {
    Grid& g = grid == 1 ? w.SGrid1 : w.SGrid2;
    g.Row = row;
    g.Col = col;
    if (modifier == 1) {
        g.SetCell(row, GridCol::Reference, w.newref.text());
        w.UnsavedEdits = true;
        DoSumas(w, w.newref.text());
    } else if (col == GridCol::Reference) {
        DoSumas(w, g.Cell(row, GridCol::Reference));
    }
    w.SelectedCol = static_cast<std::int16_t>(col);
    w.SelectedRow = static_cast<std::int16_t>(row);
    w.SelectedGrid = static_cast<std::int16_t>(grid == 1 ? 1 : 2);
}

void Image1_DblClick(Pndra& w) {
    Toolbar2_Click(w, 2);
}

void ClearGrids(Pndra& w) {
    w.UnsavedEdits = false;
    w.SGrid1.Clear();
    w.SGrid1.SetRows(1);
    w.SGrid2.Clear();
    w.SGrid2.SetRows(1);
}

void Ayuda_Click(Pndra& w) {
    w.port.OpenDocument("punteo.htm", GetRegValue("Directory").text());
}

void Toolbar1_Click(Pndra& w, int key) {
    bool mode = false;
    switch (key) {
        case 80:
            Buscaanterior(w);
            break;
        case 20:
            BuscaSig_Click(w);
            break;
        case 23:
            w.port.MsgBox(Ver_empresas(w.session), kVbInformation, kCompaniesTitle);
            break;
        case 78:
            ClearSelectedAccount(w);
            break;
        case 17:
            GroupSaveRun(w);
            break;
        case 25:
            Informe_Click(w);
            break;
        case 8:
        case 13:
            ClearGrids(w);
            Carga_cuentas(w, mode);
            break;
        case 12:
            ConfigurarPunteo(w);
            break;
        case 112:
            Ayuda_Click(w);
            break;
        case 2:
            GrabaRef_Click(w);
            break;
        case 21:
            w.StopRequested = true;
            break;
        default:
            break;
    }
}

void Toolbar2_Click(Pndra& w, int key) {
    switch (key) {
        case 117:
            revisarsaldos_Click(w);
            break;
        case 25:
            PresentaDetalle(w);
            break;
        case 17:
            GrabaRef_Click(w);
            break;
        case 78:
            DeshacerRef_Click(w);
            break;
        case 2:
            Toolbar1_Click(w, 2);
            break;
        default:
            break;
    }
}

}  // namespace pendara
