#include "matching/matching_run.h"

#include <optional>
#include <string_view>
#include <utility>

#include "companies/session.h"
#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/utf8.h"
#include "matching/check_ref.h"
#include "matching/extract.h"
#include "matching/references.h"

namespace pendara {

namespace {

// The year of a compact date: its first two characters.
std::string_view YearOf(const std::string& date) {
    return Utf8Left(date, 2);
}

// The grid rows of a list's items. Each extract row stands in one list at most (row 0, which
// holds no text, in the empty item of both), so its texts and the item's reference move.
std::vector<GridRow> GridRows(std::vector<Entry>& rows, std::vector<AmountItem>& items,
                              GridRow (*rowOf)(Entry&&, std::string)) {
    std::vector<GridRow> out;
    out.reserve(items.size());
    for (AmountItem& it : items)
        out.push_back(
            rowOf(std::move(rows[static_cast<std::size_t>(it.row)]), std::move(it.reference)));
    // A list keeps its empty item, so a grid always gets a row.
    if (out.empty()) out.emplace_back();
    return out;
}

}  // namespace

EnhancedStats EnhancedPasses(const std::vector<Entry>& rows, std::vector<AmountItem>& debits,
                             std::vector<AmountItem>& credits, GroupNumbers& groups) {
    std::vector<EnhancedItem> items;
    std::vector<AmountItem*> owners;
    for (auto [list, side] : {std::pair{&debits, EntrySide::Debit}, {&credits, EntrySide::Credit}})
        for (AmountItem& it : *list) {
            if (!it.open) continue;
            std::optional<std::int64_t> cents = ExactCents(it.amount);
            if (!cents) continue;
            const Entry& e = rows[static_cast<std::size_t>(it.row)];
            items.push_back({static_cast<std::int32_t>(owners.size()), side,
                             side == EntrySide::Debit ? *cents : -*cents, e.description,
                             it.reference, e.date, e.company});
            owners.push_back(&it);
        }
    EnhancedResult result = MatchEnhanced(items);
    for (const EnhancedGroup& g : result.groups) {
        const std::int32_t group = groups.Next();
        for (std::int32_t id : g.ids) {
            owners[static_cast<std::size_t>(id)]->open = kItemClosed;
            owners[static_cast<std::size_t>(id)]->group = group;
        }
    }
    return result.stats;
}

// The earliest year is that of the first dated row wherever it stands: an undated opening entry
// before it is not of that year.
void YearFilter(std::vector<Entry>& rows) {
    std::string prefix;  // stays empty when no row is dated
    for (const Entry& e : rows) {
        if (!Trim(e.date).empty()) {
            prefix = std::string(YearOf(e.date));
            break;
        }
    }
    bool openingKept = false;
    for (Entry& e : rows) {
        Amount* amount;
        if (e.debit.leading != 0)
            amount = &e.debit;
        else if (e.credit.leading != 0)
            amount = &e.credit;
        else
            continue;
        if (e.entryClass <= "9") continue;
        if (e.entryClass == "A" && !openingKept && YearOf(e.date) == prefix) {
            openingKept = true;
            continue;
        }
        *amount = Amount::Of("");
    }
}

MatchedRows MatchExtract(Session& s, Extract& x, const MatchOptions& options) {
    std::vector<Entry>& rows = x.rows;
    for (std::size_t r = 1; r < rows.size(); ++r) {
        Entry& e = rows[r];
        if (options.clearAll || Trim(e.reference).empty())
            e.reference = NumberFromDescription(e.description, options.invoiceKey);
    }
    CheckRef(rows);

    std::vector<AmountItem> debits(1), credits(1);
    YearFilter(rows);
    GroupNumbers groups;
    AmountHooks hooks{options.progress};
    SplitByAmounts(rows, debits, credits, groups, hooks);
    MatchedRows out;
    if (options.enhanced)
        out.searchLimitReached = EnhancedPasses(rows, debits, credits, groups).budgetReached;
    // The numbers are drawn in one go, in the order the groups formed, as one draw per group
    // would give them.
    const std::vector<std::string> refs = s.Counter().Next(groups.count());
    AssignReferences(debits, refs);
    AssignReferences(credits, refs);
    out.referencesDrawn = groups.count();

    out.debits = GridRows(rows, debits, DebitRow);
    out.credits = GridRows(rows, credits, CreditRow);
    if (options.progress) options.progress(0, 0);
    return out;
}

bool EnhancedModeSetting(QvLibrary& lib) {
    return lib.GetSetting(kEnhancedSetting, "", "0") == "1";
}

}  // namespace pendara
