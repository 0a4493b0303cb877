#include "ui/main_window.h"

#include <string>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "group/group_commands.h"
#include "group/reference_rows.h"
#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/settings.h"
#include "host/utf8.h"
#include "matching/sums.h"
#include "posting/manual.h"
#include "posting/save.h"
#include "reports/balance_review.h"
#include "reports/report.h"
#include "ui/configuration.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

// List2_Click steps 1 to 4; false when the entry names no account.
bool LoadSelectedAccount(Pndra& w) {
    const std::string entry = w.List2.List(w.List2.ListIndex());
    const std::size_t blank = entry.find(' ');
    w.CTA.setText(blank == std::string::npos ? std::string() : entry.substr(0, blank + 1));
    if (Trim(w.CTA.text()).empty()) return false;
    ClearGrids(w);
    for (Label& sum : w.Sumas)
        sum.setCaption("");
    w.Frame4.setCaption("Sumas por referencia: ");
    w.Frame5.setCaption("Estado de la cuenta activa " + w.CTA.text());
    Punteo_Click(w);
    return true;
}

}  // namespace

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
    if (!LoadSelectedAccount(w)) return;
    Toolbar2_Click(w, 2);
    if (LeadingNumber(w.Lib().GetSetting("Punteo2", "", "0")) == 1) revisarsaldos_Click(w);
}

void Option1_Click(Pndra& w, int index) {
    for (int i = 0; i < 2; ++i)
        w.Option1[static_cast<std::size_t>(i)].setValue(i == index);
    if (index == 1)
        List2_Click(w);
    else if (index == 0)
        LoadSelectedAccount(w);
}

void SGrid_Click(Pndra& w, int grid, int, int modifier, int row, int col) {
    Grid& g = grid == 1 ? w.SGrid1 : w.SGrid2;
    g.Row = row;
    g.Col = col;
    if (modifier == 1) {
        g.SetCell(row, 5, w.newref.text());
        w.UnsavedEdits = true;
        DoSumas(w, w.newref.text());
    } else if (col == 5) {
        DoSumas(w, g.Cell(row, 5));
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
            w.port.MsgBox(Ver_empresas(w), kVbInformation, kCompaniesTitle);
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
