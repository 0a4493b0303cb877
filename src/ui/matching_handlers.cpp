#include "ui/matching_handlers.h"

#include <cstdint>

#include "host/conversions.h"
#include "host/qv_library.h"
#include "matching/sums.h"
#include "services/account_run.h"
#include "ui/pndra.h"

namespace pendara {

MatchOptions MatchOptionsOf(Pndra& w) {
    MatchOptions o;
    o.clearAll = w.Check1.value() == 1;
    o.invoiceKey = w.DesFac.text();
    o.enhanced = w.EnhancedForced || EnhancedModeSetting(w.session.Lib());
    return o;
}

std::string ChosenCompany(const Pndra& w) {
    // The company list always has its first entry selected after start; without a selection the
    // active company (catalogue index 0) is the one meant.
    const int selected = w.List1.ListIndex();
    const std::int32_t k = selected >= 0 ? w.List1.ItemData(selected) : 0;
    const auto& files = w.session.ConsultedFiles;
    return k >= 0 && static_cast<std::size_t>(k) < files.size() ? files[static_cast<std::size_t>(k)]
                                                                : std::string();
}

void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta) {
    ShowAccountMatch(
        w, MatchAccount(w.session, {empresa, cuenta, MatchOptionsOf(w)}, w.GaugeProgress()));
}

void ShowAccountMatch(Pndra& w, const AccountMatch& m) {
    // A notice belongs to the run that gave it.
    w.AvisoPunteo.setCaption("");
    if (!m.loaded) {
        for (Grid* g : {&w.SGrid1, &w.SGrid2}) {
            g->Clear();
            g->SetRows(1);
        }
        return;
    }
    w.SaldoCta.setCaption("Saldo Cuenta: " + FormatAmountPlain(m.balance));
    w.Image1[0].setVisible(false);
    w.Image1[1].setVisible(false);
    const bool zero = m.balance == 0;
    w.SaldoCta.setForeColor(zero ? kColourBlack : kColourRed);
    w.SaldoCta.setBold(!zero);
    w.Image1[zero ? 0 : 1].setVisible(true);
    w.TituloL.setCaption(m.title);
    w.EntryFiles = m.rows.entryFiles;
    w.CompanyFiles = m.rows.companyFiles;
    if (m.searchLimitReached) w.AvisoPunteo.setCaption(SearchLimitNotice(m.account));
    w.SGrid1.SetRowsFrom(m.rows.debits);
    w.SGrid2.SetRowsFrom(m.rows.credits);
}

void DoSumas(Pndra& w, const std::string& referencia) {
    w.CurrentReference = Trim(referencia);
    if (w.CurrentReference.empty()) return;
    w.Frame4.setCaption("Sumas por referencia: " + w.CurrentReference);
    const ReferenceSums sums = SumsOf(w.SGrid1.rows(), w.SGrid2.rows(), w.CurrentReference);
    w.Sumas[0].setCaption(FormatAmount(sums.debit));
    w.Sumas[1].setCaption(FormatAmount(sums.credit));
    w.Sumas[2].setCaption(FormatAmount(sums.balance()));
}

}  // namespace pendara
