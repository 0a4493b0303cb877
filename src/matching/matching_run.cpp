#include "matching/matching_run.h"

#include <charconv>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/utf8.h"
#include "matching/amount_matching.h"
#include "matching/check_ref.h"
#include "matching/enhanced_matching.h"
#include "matching/extract.h"
#include "matching/references.h"
#include "ui/pndra.h"
#include "ui/str_builder.h"

namespace pendara {

namespace {

constexpr std::int32_t kPeriods = 15;
// Host texts hold no NUL character, so no stored reference starts like this.
const std::string kPlaceholder("\0#", 2);
const char* const kEnhancedSetting = "PunteoMejorado";

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

// The year of a compact date: its first two characters.
std::string_view YearOf(const std::string& date) {
    return Utf8Left(date, 2);
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

bool EnhancedMode(Pndra& w) {
    return w.EnhancedForced || w.Lib().GetSetting(kEnhancedSetting, "", "0") == "1";
}

// The enhanced passes over the items the amount matching left open; each group takes a reference
// from `newReference`, after every group of the usual passes.
EnhancedStats EnhancedPasses(const TextTable& t, std::vector<AmountItem>& debits,
                             std::vector<AmountItem>& credits,
                             const std::function<std::string()>& newReference) {
    std::vector<EnhancedItem> items;
    std::vector<AmountItem*> owners;
    for (auto [list, side] : {std::pair{&debits, EntrySide::Debit}, {&credits, EntrySide::Credit}})
        for (AmountItem& it : *list) {
            if (!it.open) continue;
            std::optional<std::int64_t> cents = ExactCents(it.amount);
            if (!cents) continue;
            auto r = static_cast<std::size_t>(it.row);
            const std::string& number = t(r, 12);
            std::int32_t company = 0;
            std::from_chars(number.data(), number.data() + number.size(), company);
            items.push_back({static_cast<std::int32_t>(owners.size()), side,
                             side == EntrySide::Debit ? *cents : -*cents, t(r, 4), it.reference,
                             t(r, 2), company});
            owners.push_back(&it);
        }
    EnhancedResult result = MatchEnhanced(items);
    for (const EnhancedGroup& g : result.groups) {
        const std::string ref = newReference();
        for (std::int32_t id : g.ids) {
            owners[static_cast<std::size_t>(id)]->open = kItemClosed;
            owners[static_cast<std::size_t>(id)]->reference = ref;
        }
    }
    return result.stats;
}

}  // namespace

// The earliest year is that of the first dated row wherever it stands: an undated opening entry
// before it is not of that year.
void YearFilter(TextTable& t, std::int32_t count) {
    std::string prefix;  // stays empty when no row is dated
    for (std::int32_t i = 0; i <= count; ++i) {
        const std::string& date = t(static_cast<std::size_t>(i), 2);
        if (!Trim(date).empty()) {
            prefix = std::string(YearOf(date));
            break;
        }
    }
    bool openingKept = false;
    for (std::int32_t i = 0; i <= count; ++i) {
        auto r = static_cast<std::size_t>(i);
        std::size_t amountCol;
        if (LeadingNumber(t(r, 5)) != 0)
            amountCol = 5;
        else if (LeadingNumber(t(r, 6)) != 0)
            amountCol = 6;
        else
            continue;
        const std::string& cls = t(r, 9);
        if (cls <= "9") continue;
        if (cls == "A" && !openingKept && YearOf(t(r, 2)) == prefix) {
            openingKept = true;
            continue;
        }
        t(r, amountCol).clear();
    }
}

void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta) {
    const bool clearAll = w.Check1.value() == 1;
    // A notice belongs to the run that gave it.
    w.AvisoPunteo.setCaption("");
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
    if (EnhancedMode(w)) {
        if (EnhancedPasses(t, debits, credits, hooks.newReference).budgetReached)
            w.AvisoPunteo.setCaption("Punteo mejorado: la cuenta " + Trim(cuenta) +
                                     " llegó al límite de búsqueda; pueden quedar partidas que "
                                     "se podrían puntear.");
    }
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
