#include "matching/check_ref.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "host/conversions.h"
#include "host/utf8.h"

namespace pendara {

namespace {

// Every text R that a row's reference contains followed by a blank, with R trimmed and not
// empty: the pieces ending just before a blank and starting at a non-blank character (a whole
// one: a piece of a character is not contained). A seed R finds its candidates by looking its
// own text up here instead of searching every row.
class QuoteIndex {
  public:
    explicit QuoteIndex(const std::vector<SideRow>& table) : table_(table) {
        std::vector<std::string_view> pieces;
        for (std::size_t r = 0; r < table.size(); ++r) {
            std::string_view text = table[r].reference;
            pieces.clear();
            for (std::size_t b = 1; b < text.size() && pieces.size() <= kMaxPieces; ++b) {
                if (text[b] != ' ' || text[b - 1] == ' ') continue;
                for (std::size_t a = 0; a < b; a += DecodeUtf8(text, a).bytes)
                    if (text[a] != ' ') pieces.push_back(text.substr(a, b - a));
            }
            if (pieces.size() > kMaxPieces) {
                // Long texts with many blanks are searched directly instead.
                wide_.push_back(static_cast<std::int32_t>(r));
                continue;
            }
            std::sort(pieces.begin(), pieces.end());
            pieces.erase(std::unique(pieces.begin(), pieces.end()), pieces.end());
            for (std::string_view p : pieces)
                rows_[std::string(p)].push_back(static_cast<std::int32_t>(r));
        }
    }

    // Rows, ascending, whose reference contains `trimmed` followed by a blank.
    void Rows(const std::string& trimmed, std::vector<std::int32_t>& out) const {
        out.clear();
        auto it = rows_.find(trimmed);
        if (it != rows_.end()) out = it->second;
        if (wide_.empty()) return;
        std::string search = trimmed + " ";
        std::size_t indexed = out.size();
        for (std::int32_t r : wide_)
            if (Utf8Contains(table_[static_cast<std::size_t>(r)].reference, search))
                out.push_back(r);
        std::inplace_merge(out.begin(), out.begin() + static_cast<long>(indexed), out.end());
    }

  private:
    static constexpr std::size_t kMaxPieces = 64;
    const std::vector<SideRow>& table_;
    std::unordered_map<std::string, std::vector<std::int32_t>> rows_;
    std::vector<std::int32_t> wide_;
};

}  // namespace

void CheckRef2(std::vector<SideRow>& harray, std::vector<SideRow>& darray) {
    QuoteIndex hIndex(harray), dIndex(darray);
    std::vector<std::int32_t> selH, selD, dRows, hRows;
    for (auto k = static_cast<std::int32_t>(harray.size()) - 1; k >= 0; --k) {
        SideRow& seed = harray[static_cast<std::size_t>(k)];
        if (seed.matched) continue;
        std::string r = Trim(seed.reference);
        if (r.empty()) continue;
        selH.assign(1, k);
        selD.clear();
        double sum = seed.amount;
        dIndex.Rows(r, dRows);
        for (auto it = dRows.rbegin(); it != dRows.rend(); ++it) {
            if (darray[static_cast<std::size_t>(*it)].matched) continue;
            selD.push_back(*it);
            sum += darray[static_cast<std::size_t>(*it)].amount;
        }
        hIndex.Rows(r, hRows);
        auto below = std::lower_bound(hRows.begin(), hRows.end(), k);
        for (auto it = std::make_reverse_iterator(below); it != hRows.rend(); ++it) {
            if (harray[static_cast<std::size_t>(*it)].matched) continue;
            selH.push_back(*it);
            sum += harray[static_cast<std::size_t>(*it)].amount;
        }
        if (RoundTo(sum, 2) != 0) continue;
        // The group keeps the seed's text with the blank its partners quote it with.
        const std::string groupRef = r + " ";
        for (std::int32_t i : selH) {
            harray[static_cast<std::size_t>(i)].reference = groupRef;
            harray[static_cast<std::size_t>(i)].matched = true;
        }
        for (std::int32_t i : selD) {
            darray[static_cast<std::size_t>(i)].reference = groupRef;
            darray[static_cast<std::size_t>(i)].matched = true;
        }
    }
}

void SideTables(const std::vector<Entry>& rows, std::vector<SideRow>& debits,
                std::vector<SideRow>& credits) {
    debits.clear();
    credits.clear();
    // Row 0 is not copied.
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const Entry& e = rows[i];
        if (e.entryClass > "9") continue;
        const auto row = static_cast<std::int32_t>(i);
        if (e.debit.leading == 0 && e.credit.leading != 0)
            credits.push_back({row, e.credit.value, e.reference, false});
        else if (e.debit.leading != 0)
            debits.push_back({row, e.debit.value, e.reference, false});
    }
}

void CheckRef(std::vector<Entry>& rows) {
    std::vector<SideRow> debits, credits;
    SideTables(rows, debits, credits);
    CheckRef2(credits, debits);
    CheckRef2(debits, credits);
    for (const std::vector<SideRow>* side : {&debits, &credits})
        for (const SideRow& s : *side)
            if (s.matched) rows[static_cast<std::size_t>(s.row)].reference = s.reference;
}

}  // namespace pendara
