#include "matching/matching_run.h"

#include <vector>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/qv_ole70.h"
#include "matching/amount_matching.h"
#include "matching/check_ref.h"
#include "matching/extract.h"
#include "matching/references.h"
#include "ui/pndra.h"
#include "ui/str_builder.h"

namespace pendara {

namespace {

constexpr std::int32_t kPeriods = 15;
// Host texts hold no NUL character, so no stored reference starts like this.
const std::string kPlaceholder("\0#", 2);

void ShowBalance(Pndra& w, QvOLE70& server) {
    double balance = 0;
    for (std::int32_t p = 0; p < kPeriods; ++p) {
        balance += server.GetPeriodDebit(1, p);
        balance += server.GetPeriodCredit(1, p);
    }
    w.SaldoCta.setCaption("Saldo Cuenta: " + FormatAmountPlain(balance));
    w.Image1[0].setVisible(false);
    w.Image1[1].setVisible(false);
    bool zero = balance == 0;
    w.SaldoCta.setForeColor(zero ? kColourBlack : kColourRed);
    w.SaldoCta.setBold(!zero);
    w.Image1[zero ? 0 : 1].setVisible(true);
}

// Only one opening entry ("A") takes part, the first one of the earliest year; any other class
// above "9" is left out by emptying its amount.
void YearFilter(TextTable& t, std::int32_t count) {
    std::string prefix;
    bool prefixTaken = false, openingKept = false;
    for (std::int32_t i = 0; i <= count; ++i) {
        auto r = static_cast<std::size_t>(i);
        if (!prefixTaken && !Trim(t(r, 2)).empty()) {
            prefix = t(r, 2).substr(0, 2);
            prefixTaken = true;
        }
        std::size_t amountCol;
        if (LeadingNumber(t(r, 5)) != 0)
            amountCol = 5;
        else if (LeadingNumber(t(r, 6)) != 0)
            amountCol = 6;
        else
            continue;
        const std::string& cls = t(r, 9);
        if (cls <= "9") continue;
        if (cls == "A" && !openingKept && t(r, 2).substr(0, 2) == prefix) {
            openingKept = true;
            continue;
        }
        t(r, amountCol).clear();
    }
}

void FillGrid(Grid& grid, const TextTable& t, const std::vector<AmountItem>& items,
              std::size_t amountCol) {
    StrBuilder text;
    int lines = 0;
    for (const AmountItem& it : items) {
        auto r = static_cast<std::size_t>(it.row);
        for (const std::string& field : {t(r, 0), DateText(t(r, 2)), t(r, 3), t(r, 4), it.reference,
                                         FormatAmount(ToDouble(t(r, amountCol))), t(r, 12)}) {
            text.Append(field);
            text.Append("\t");
        }
        text.Append(t(r, 8));
        text.Append("\r\n");
        ++lines;
    }
    grid.SetRows(lines == 0 ? 1 : lines);
    grid.LoadText(text.ToString());
    grid.SetRedraw(false);
    grid.SetRedraw(true);
}

// The gauge is redrawn only when the percentage it shows changes.
std::function<void(std::int32_t, std::int32_t)> GaugeProgress(Pndra& w) {
    return [&w, shown = -2](std::int32_t value, std::int32_t maximum) mutable {
        if (value == -1 || maximum <= 0) {
            w.UpdateGauge(value);
            shown = -2;
            return;
        }
        int p = Gauge::Percent(value, maximum);
        if (p == shown) return;
        shown = p;
        w.UpdateGauge(value, maximum);
    };
}

}  // namespace

void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta) {
    const bool clearAll = w.Check1.value() == 1;
    QvOLE70 server;
    bool ok = false;
    OpenEmp(w, server, empresa, ok);
    if (!ok) return;

    server.SelectAccount(cuenta, "", "");
    if (server.HasBalances() == 0) {
        server.CloseCompany();
        for (Grid* g : {&w.SGrid1, &w.SGrid2}) {
            g->Clear();
            g->SetRows(1);
        }
        return;
    }
    ShowBalance(w, server);
    w.TituloL.setCaption(server.GetAccountInfo(1).Title());

    w.CompanyCount = 0;
    std::int32_t count = 0;
    TextTable t = GetExtracto(w, empresa, cuenta, count);

    const std::string key = w.DesFac.text();
    for (std::int32_t i = 1; i <= count; ++i) {
        auto r = static_cast<std::size_t>(i);
        if (clearAll || Trim(t(r, 11)).empty()) t(r, 11) = NumberFromDescription(t(r, 4), key);
    }
    CheckRef(t);

    std::vector<AmountItem> debits(1), credits(1);
    YearFilter(t, count);
    // Groups get numbered placeholders while they form; the numbers are then drawn from the
    // counter in one go, in the order the groups formed, as one draw per group would give them.
    std::int32_t groups = 0;
    AmountHooks hooks{[&groups] { return kPlaceholder + std::to_string(groups++); },
                      GaugeProgress(w)};
    SplitByAmounts(t, debits, credits, hooks);
    const std::vector<std::string> refs = NewReferences(w, groups);
    for (auto* list : {&debits, &credits})
        for (AmountItem& it : *list)
            if (it.reference.starts_with(kPlaceholder))
                it.reference = refs[std::stoul(it.reference.substr(kPlaceholder.size()))];

    FillGrid(w.SGrid1, t, debits, 5);
    FillGrid(w.SGrid2, t, credits, 6);
    w.UpdateGauge(0);
}

}  // namespace pendara
