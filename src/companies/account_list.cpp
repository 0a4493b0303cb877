#include "companies/account_list.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

// The chart of accounts cursor over the posting accounts that begin with the mask, by code.
void OpenChart(QvFileControl2& chart, const std::string& folder, const std::string& code,
               const std::string& mask) {
    chart.OpenFile(folder + "Planc" + code + ".qvd", "");
    chart.MoveFirst();
    chart.SetFilter("Cuenta  like " + mask + "* and nivel =0");
    chart.MoveFirst();
    chart.SetOrder("cuenta");
    chart.MoveFirst();
}

std::string EntryText(const QvFileControl2& chart) {
    return Trim(chart.GetField(1)) + " " + Trim(chart.GetField(2));
}

bool CommandLineGiven(const Pndra& w) {
    return !Trim(w.CommandLine).empty();
}

// A number in plain decimal digits, as an account code is written.
std::string PlainDigits(double number) {
    if (std::fabs(number) < 1e15 && number == std::floor(number))
        return WritePlainNumber(number, 'f', 0);
    return WritePlainNumber(number, 'g', 15);
}

}  // namespace

void Carga_cuentas(Pndra& w, bool& mode) {
    if (w.PendingOnly) {
        w.PendingOnly = false;
        mode = false;
    } else {
        w.PendingOnly = true;
        mode = true;
    }
    const std::string folder = FolderOf(w.ActiveCompanyFile);
    const std::string code = CompanyCode(w.ActiveCompanyFile);
    const std::string mask = w.Text1.text();

    if (!mode) {
        QvFileControl2 entries;
        entries.OpenFile(folder + "Extra" + code + ".qvd", "");
        entries.MoveFirst();
        QvFileControl2 chart;
        OpenChart(chart, folder, code, mask);
        w.CurrentFolder = folder;
        w.CurrentCode = code;
        w.List2.Clear();
        while (!chart.IsEof()) {
            double balance = 0;
            bool open = false;
            AccountStatus(entries, chart.GetField(1), balance, open);
            if (balance != 0 && open) w.List2.AddItem(EntryText(chart));
            chart.MoveNext();
        }
        chart.CloseFile();
        entries.CloseFile();
        return;
    }

    QvFileControl2 chart;
    OpenChart(chart, folder, code, mask);
    w.List2.Clear();
    while (!chart.IsEof()) {
        w.List2.AddItem(EntryText(chart));
        chart.MoveNext();
    }
    chart.CloseFile();
}

void AccountStatus(QvFileControl2& entries, const std::string& account, double& balance,
                   bool& open) {
    entries.SetFilter("Cuenta = " + account);
    entries.MoveFirst();
    balance = RoundTo(entries.SumField("Importe"), 2);
    entries.MoveFirst();
    open = false;
    while (!entries.IsEof()) {
        const std::string reference = Upper(Trim(entries.GetField(23)));
        if (reference.find("RF-") == std::string::npos && LeadingNumber(entries.GetField(7)) == 0) {
            open = true;
            return;
        }
        entries.MoveNext();
    }
}

void Text1_KeyPress(Pndra& w, std::int32_t& key) {
    if (!CommandLineGiven(w)) w.Lib().AccountKeyPress(w.Text1, 3, 8, key);
    if (key != 13) return;
    ClearGrids(w);
    w.PendingOnly = !CommandLineGiven(w);
    bool mode = false;
    Carga_cuentas(w, mode);
}

void BuscaCta_Click(Pndra& w) {
    const std::string folder = FolderOf(w.ActiveCompanyFile);
    const std::string code = CompanyCode(w.ActiveCompanyFile);
    const std::string answer =
        w.Lib().SelectAccountDialog(w.ActiveCompanyFile, folder, code, 1, 2, "", 1);
    const double number = LeadingNumber(answer);
    if (number == 0) return;
    w.CTA.setText(PlainDigits(number));
    ClearGrids(w);
}

void BuscaSig_Click(Pndra& w) {
    const int next = w.List2.ListIndex() + 1;
    if (next < w.List2.ListCount()) w.List2.SetListIndex(next);
}

void Buscaanterior(Pndra& w) {
    const int current = w.List2.ListIndex();
    if (current > 0) w.List2.SetListIndex(current - 1);
}

}  // namespace pendara
