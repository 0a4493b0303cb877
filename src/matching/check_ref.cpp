#include "matching/check_ref.h"

#include <algorithm>
#include <bitset>
#include <string_view>
#include <unordered_map>

#include "host/conversions.h"
#include "host/utf8.h"

namespace pendara {

namespace {

// The seeds' texts (references trimmed, not empty) and, per text, the rows of a table whose
// reference contains it followed by a blank. Those are the pieces of the reference that end just
// before a blank and start at a non-blank character (a whole one: a piece of a character is not
// contained); a row's pieces are looked up among the seeds' texts, so that only pieces some seed
// asks for are kept.
class SeedTexts {
  public:
    explicit SeedTexts(const std::vector<SideRow>& seeds) {
        // The texts are copied: an accepted group changes the references they come from.
        texts_.reserve(seeds.size());
        idOf_.assign(seeds.size(), -1);
        for (const SideRow& s : seeds)
            texts_.emplace_back(TrimView(s.reference));
        ids_.reserve(seeds.size());
        for (std::size_t k = 0; k < seeds.size(); ++k) {
            if (texts_[k].empty()) continue;
            auto [it, added] = ids_.emplace(texts_[k], static_cast<std::int32_t>(ids_.size()));
            idOf_[k] = it->second;
            if (added) {
                lengths_.set(std::min(texts_[k].size(), kLengths - 1));
                firsts_.set(static_cast<unsigned char>(texts_[k][0]));
            }
        }
    }
    std::int32_t Count() const { return static_cast<std::int32_t>(ids_.size()); }
    // The text's number of seed k, -1 for an empty text.
    std::int32_t IdOf(std::size_t k) const { return idOf_[k]; }
    const std::string& Text(std::size_t k) const { return texts_[k]; }
    std::int32_t Find(std::string_view piece) const {
        if (!firsts_.test(static_cast<unsigned char>(piece[0])) ||
            !lengths_.test(std::min(piece.size(), kLengths - 1)))
            return -1;
        auto it = ids_.find(piece);
        return it == ids_.end() ? -1 : it->second;
    }

  private:
    static constexpr std::size_t kLengths = 256;  // the last one stands for every longer text
    std::vector<std::string> texts_;              // by seed
    std::vector<std::int32_t> idOf_;              // by seed
    std::unordered_map<std::string_view, std::int32_t> ids_;
    std::bitset<kLengths> lengths_;
    std::bitset<256> firsts_;
};

class QuoteIndex {
  public:
    QuoteIndex(const std::vector<SideRow>& table, const SeedTexts& seeds)
        : table_(table), rows_(static_cast<std::size_t>(seeds.Count())) {
        std::vector<std::int32_t> hits;
        std::size_t pieces = 0;
        for (std::size_t r = 0; r < table.size(); ++r) {
            std::string_view text = table[r].reference;
            hits.clear();
            pieces = 0;
            for (std::size_t b = 1; b < text.size() && pieces <= kMaxPieces; ++b) {
                if (text[b] != ' ' || text[b - 1] == ' ') continue;
                for (std::size_t a = 0; a < b; a += DecodeUtf8(text, a).bytes) {
                    if (text[a] == ' ') continue;
                    ++pieces;
                    if (std::int32_t id = seeds.Find(text.substr(a, b - a)); id >= 0)
                        hits.push_back(id);
                }
            }
            if (pieces > kMaxPieces) {
                // Long texts with many blanks are searched directly instead.
                wide_.push_back(static_cast<std::int32_t>(r));
                continue;
            }
            std::sort(hits.begin(), hits.end());
            hits.erase(std::unique(hits.begin(), hits.end()), hits.end());
            for (std::int32_t id : hits)
                rows_[static_cast<std::size_t>(id)].push_back(static_cast<std::int32_t>(r));
        }
    }

    // Rows, ascending, whose reference contains the text of number `id` followed by a blank.
    void Rows(std::int32_t id, const std::string& trimmed, std::vector<std::int32_t>& out) const {
        out = rows_[static_cast<std::size_t>(id)];
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
    std::vector<std::vector<std::int32_t>> rows_;  // by text number
    std::vector<std::int32_t> wide_;
};

}  // namespace

void CheckRef2(std::vector<SideRow>& harray, std::vector<SideRow>& darray) {
    const SeedTexts seeds(harray);
    QuoteIndex hIndex(harray, seeds), dIndex(darray, seeds);
    std::vector<std::int32_t> selH, selD, dRows, hRows;
    for (auto k = static_cast<std::int32_t>(harray.size()) - 1; k >= 0; --k) {
        SideRow& seed = harray[static_cast<std::size_t>(k)];
        if (seed.matched) continue;
        const std::int32_t id = seeds.IdOf(static_cast<std::size_t>(k));
        if (id < 0) continue;
        const std::string& r = seeds.Text(static_cast<std::size_t>(k));
        selH.assign(1, k);
        selD.clear();
        double sum = seed.amount;
        dIndex.Rows(id, r, dRows);
        for (auto it = dRows.rbegin(); it != dRows.rend(); ++it) {
            if (darray[static_cast<std::size_t>(*it)].matched) continue;
            selD.push_back(*it);
            sum += darray[static_cast<std::size_t>(*it)].amount;
        }
        hIndex.Rows(id, r, hRows);
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
