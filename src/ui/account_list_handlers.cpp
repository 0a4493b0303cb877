#include "ui/account_list_handlers.h"

#include <cmath>
#include <string>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/numbers.h"
#include "host/paths.h"
#include "host/qv_library.h"
#include "services/account_list.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

bool CommandLineGiven(const Pndra& w) {
    return !Trim(w.CommandLine).empty();
}

// A number in plain decimal digits, as an account code is written.
std::string PlainDigits(double number) {
    if (std::fabs(number) < 1e15 && number == std::floor(number)) return FixedText(number, 0);
    return GeneralText(number, 15);
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
    const std::vector<std::string> entries = ListAccounts(
        w.session, w.Text1.text(), mode ? AccountListKind::Full : AccountListKind::Pending);
    w.List2.Clear();
    for (const std::string& entry : entries)
        w.List2.AddItem(entry);
}

void Text1_KeyPress(Pndra& w, std::int32_t& key) {
    if (!CommandLineGiven(w)) w.session.Lib().AccountKeyPress(w.Text1.text(), 3, 8, key);
    if (key != 13) return;
    ClearGrids(w);
    w.PendingOnly = !CommandLineGiven(w);
    bool mode = false;
    Carga_cuentas(w, mode);
}

void BuscaCta_Click(Pndra& w) {
    const std::string& active = w.session.ActiveCompanyFile;
    const std::string answer = w.session.Lib().SelectAccountDialog(
        active, FolderOf(active), CompanyCode(active), 1, 2, "", 1);
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
