#include "reports/report.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "matching/extract.h"
#include "matching/process_ref.h"
#include "reports/menu.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

constexpr const char* kSection = "Punteo";
constexpr const char* kCrLf = "\r\n";

// A stored check setting as the dialog gets it: the text of its numeric value.
std::string CheckSetting(QvLibrary& lib, const std::string& key, const std::string& def) {
    return MenuNumberText(LeadingNumber(lib.GetSetting(key, kSection, def, "")));
}

std::int32_t AsInteger(double v) {
    v = std::nearbyint(v);
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<std::int32_t>(v);
}

void AppendClosing(std::string& out, const std::string& label, double amount) {
    out += "\t\t";
    out += label;
    out += "\t\t";
    out += FormatAmount(amount);
    out += kCrLf;
}

// The account filter of the chart: the range, and the mask unless it is the all-accounts one.
std::string ChartFilter(const std::string& from, const std::string& to, const std::string& mask) {
    std::string f = "Cuenta => " + from + " and cuenta <= " + to;
    if (mask != "??????????") f += " and cuenta like " + mask;
    return f + " and nivel = 0";
}

}  // namespace

void AppendAccountBody(std::string& text, const std::vector<Entry>& x, std::int32_t n,
                       const std::string& DesdeFecha, const std::string& HastaFecha, bool Show1,
                       bool Show2, bool ShowApertura, bool Show0, double Minimo, double balance) {
    std::vector<std::int16_t> processed(static_cast<std::size_t>(n) + 1, 0);
    // Built at the first group, so that a report of open items only never pays for it.
    std::optional<ReferenceChains> chains;
    double total = 0;
    bool gapPending = false;
    std::string block;
    for (std::int32_t r = 1; r <= n; ++r) {
        const Entry& e = x[static_cast<std::size_t>(r)];
        const std::string& date = e.date;
        if (date < DesdeFecha || date > HastaFecha) continue;
        const std::string& mark = e.mark;
        if (mark == "1" || mark == "2") {
            const bool wanted = mark == "1" ? Show1 : Show2;
            if (!wanted) continue;
            if (!chains) chains.emplace(x, n);
            ProcessRef(r, processed, x, total, &*chains, n, mark == "1" ? 0.0 : Minimo, block);
            if (!block.empty()) {
                text += block;
                gapPending = true;
            }
            continue;
        }
        if (!Show0) continue;
        if (!ShowApertura && e.entryClass > "9") continue;
        if (gapPending) {
            text += kCrLf;
            gapPending = false;
        }
        AppendEntryLine(text, e);
        total += e.debit.value + e.credit.value;
    }
    text += kCrLf;
    AppendClosing(text, "Total", total);
    AppendClosing(text, "Saldo según último balance", balance);
    AppendClosing(text, "Diferencia", total - balance);
    text += kCrLf;
}

void DoInforme(Pndra& w, const std::string& cuenta, const std::string& DesdeFecha,
               const std::string& HastaFecha, bool Show1, bool Show2, bool ShowApertura, bool Show0,
               double SaldoMinimo, double Minimo, std::string& text) {
    text.clear();
    double balance = 0;
    {
        QvOLE70 server;
        bool ok = false;
        OpenEmp(w.session, server, w.session.ActiveCompanyFile, ok);
        if (!ok) return;
        server.SelectAccount(cuenta, "", "");
        if (server.HasBalances() == 0) {
            server.CloseCompany();
            return;
        }
        double debit = 0, credit = 0;
        for (std::int32_t p = 0; p <= 14; ++p) {
            debit += server.GetPeriodDebit(1, p);
            credit += server.GetPeriodCredit(1, p);
        }
        balance = debit + credit;
        const double rounded = RoundTo(balance, 2);
        if (SaldoMinimo > 0 && -SaldoMinimo < rounded && rounded < SaldoMinimo) {
            server.CloseCompany();
            return;
        }
        text = "_" + cuenta + " - " + Trim(server.GetAccountInfo(1).Title()) + kCrLf;
        server.CloseCompany();
    }

    const Extract x = GetExtracto(w.session, w.session.ActiveCompanyFile, cuenta);
    w.EntryFiles = x.entryFiles;
    AppendAccountBody(text, x.rows, x.count(), DesdeFecha, HastaFecha, Show1, Show2, ShowApertura,
                      Show0, Minimo, balance);
}

void Informe_Click(Pndra& w) {
    QvLibrary& lib = w.session.Lib();
    const std::string unmatched = CheckSetting(lib, "nopunteados", "1");
    const std::string unbalanced = CheckSetting(lib, "Nocuadrados", "0");
    const std::string balanced = CheckSetting(lib, "Punteadosycuadrados", "0");
    const std::string opening = CheckSetting(lib, "Incluirapertura", "0");
    const std::string year = std::to_string(Today().year % 100);

    Menu menu(w);
    menu.caption = kReportDialogCaption;
    menu.AddItem("Desde Cuenta", 20, 10, w.CTA.text());
    menu.AddItem("Hasta Cuenta", 20, 10, w.CTA.text());
    menu.AddItem("Cuentas coincidentes con", 0, 10, "??????????");
    menu.AddItem("Desde Fecha", 5, 8, "01/01/99");
    menu.AddItem("Hasta Fecha", 5, 8, "31/12/" + std::string(year.size() < 2 ? "0" : "") + year);
    menu.AddItem("Apuntes no punteados", 30, 1, unmatched);
    menu.AddItem("Apuntes punteados pero no cuadrados", 30, 1, unbalanced);
    menu.AddItem("Apuntes punteados y cuadrados", 30, 0, balanced);
    menu.AddItem("Incluir apuntes de Apertura", 30, 0, opening);
    menu.AddItem("Solo cuentas con saldo mayor que €", 3, 12, MenuNumberText(0.01));
    menu.AddItem("Incluir apuntes punteados no cuadrados mayores que €", 3, 12, "0");
    menu.AddItem("Salida a", 71, 0, "");
    if (!menu.Show()) return;

    lib.SaveSetting("Nopunteados", menu.GetText(kItemUnmatched), kSection, "");
    lib.SaveSetting("Nocuadrados", menu.GetText(kItemMatchedUnbalanced), kSection, "");
    lib.SaveSetting("Punteadosycuadrados", menu.GetText(kItemMatchedBalanced), kSection, "");
    lib.SaveSetting("Incluirapertura", menu.GetText(kItemOpening), kSection, "");

    QvFileControl2 chart;
    std::int32_t status = 0;
    chart.OpenFile(
        ChartFile(FolderOf(w.session.ActiveCompanyFile), CompanyCode(w.session.ActiveCompanyFile)),
        "", status);
    chart.SetFilter(ChartFilter(menu.GetText(kItemFromAccount), menu.GetText(kItemToAccount),
                                menu.GetText(kItemMask)));
    chart.MoveFirst();

    w.UpdateGauge(-1);
    // Nothing is written while the report runs, so the selection's size does not change.
    const std::int32_t selected = chart.GetRecordCount();
    std::int32_t done = 0;
    std::string report;
    std::string accountText;
    while (!chart.IsEof()) {
        const std::string account = Trim(chart.GetFieldByName("Cuenta"));
        DoInforme(w, account, DateText(menu.GetText(kItemFromDate)),
                  DateText(menu.GetText(kItemToDate)), MenuTruth(menu.GetVal(kItemMatchedBalanced)),
                  MenuTruth(menu.GetVal(kItemMatchedUnbalanced)),
                  MenuTruth(menu.GetVal(kItemOpening)), MenuTruth(menu.GetVal(kItemUnmatched)),
                  MenuNumber(menu.GetVal(kItemMinBalance)),
                  MenuNumber(menu.GetVal(kItemMinUnbalanced)), accountText);
        report += accountText;
        report += kCrLf;
        ++done;
        w.UpdateGauge(done, selected);
        w.port.DoEvents();
        chart.MoveNext();
    }
    w.UpdateGauge(0);
    chart.CloseFile();

    std::int32_t destination = AsInteger(MenuNumber(menu.GetVal(kItemOutput)));
    std::int32_t one = 1;
    lib.PrintReport(destination, kReportTitle, report, DateText(TodaySystemText()), kReportColumns,
                    kReportAlignments, "", CleanName(w.session.ActiveCompanyFile), one, "");
}

}  // namespace pendara
