#include "matching/check_ref.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/conversions.h"
#include "host/utf8.h"

namespace pendara {

namespace {

constexpr std::size_t kRefCol = 11;
constexpr std::size_t kRowCol = 12;
constexpr std::size_t kStateCol = 13;
constexpr const char* kMatched = "1";
constexpr const char* kUnmatched = "-1";

// Every text R that a row's reference contains followed by a blank, with R trimmed and not
// empty: the pieces ending just before a blank and starting at a non-blank character (a whole
// one: a piece of a character is not contained). A seed R finds its candidates by looking its
// own text up here instead of searching every row.
class QuoteIndex {
  public:
    explicit QuoteIndex(const TextTable& table) : table_(table) {
        std::vector<std::string_view> pieces;
        for (std::size_t r = 0; r < table.rows(); ++r) {
            std::string_view text = table(r, kRefCol);
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
            if (Utf8Contains(table_(static_cast<std::size_t>(r), kRefCol), search))
                out.push_back(r);
        std::inplace_merge(out.begin(), out.begin() + static_cast<long>(indexed), out.end());
    }

  private:
    static constexpr std::size_t kMaxPieces = 64;
    const TextTable& table_;
    std::unordered_map<std::string, std::vector<std::int32_t>> rows_;
    std::vector<std::int32_t> wide_;
};

bool IsCreditRow(double debit, double credit) {
    return debit == 0 && credit != 0;
}

}  // namespace

void CheckRef2(TextTable& harray, TextTable& darray, std::int16_t pos1, std::int16_t pos2) {
    const auto p1 = static_cast<std::size_t>(pos1), p2 = static_cast<std::size_t>(pos2);
    QuoteIndex hIndex(harray), dIndex(darray);
    std::vector<std::int32_t> selH, selD, dRows, hRows;
    for (long k = harray.upperRow(); k >= 0; --k) {
        auto uk = static_cast<std::size_t>(k);
        if (harray(uk, kStateCol) == kMatched) continue;
        std::string r = Trim(harray(uk, kRefCol));
        if (r.empty()) continue;
        selH.assign(1, static_cast<std::int32_t>(k));
        selD.clear();
        double sum = ToDouble(harray(uk, p2));
        dIndex.Rows(r, dRows);
        for (auto it = dRows.rbegin(); it != dRows.rend(); ++it) {
            if (darray(*it, kStateCol) == kMatched) continue;
            selD.push_back(*it);
            sum += ToDouble(darray(*it, p1));
        }
        hIndex.Rows(r, hRows);
        auto below = std::lower_bound(hRows.begin(), hRows.end(), static_cast<std::int32_t>(k));
        for (auto it = std::make_reverse_iterator(below); it != hRows.rend(); ++it) {
            if (harray(*it, kStateCol) == kMatched) continue;
            selH.push_back(*it);
            sum += ToDouble(harray(*it, p2));
        }
        if (RoundTo(sum, 2) != 0) continue;
        // The group keeps the seed's text with the blank its partners quote it with.
        std::string groupRef = r + " ";
        for (std::int32_t i : selH) {
            harray(i, kRefCol) = groupRef;
            harray(i, kStateCol) = kMatched;
        }
        for (std::int32_t i : selD) {
            darray(i, kRefCol) = groupRef;
            darray(i, kStateCol) = kMatched;
        }
    }
}

void CheckRef(TextTable& t3array) {
    if (t3array.empty() || t3array.cols() < 12) return;
    const long last = t3array.upperRow();
    std::size_t nDebit = 0, nCredit = 0;
    for (long i = 0; i <= last; ++i) {
        auto ui = static_cast<std::size_t>(i);
        if (t3array(ui, 9) > "9") continue;
        double d = ToDouble(t3array(ui, 5)), c = ToDouble(t3array(ui, 6));
        if (IsCreditRow(d, c))
            ++nCredit;
        else if (d != 0)
            ++nDebit;
    }
    TextTable debits(nDebit + 1, 14), credits(nCredit + 1, 14);
    std::size_t nextD = 0, nextC = 0;
    auto copy = [&](TextTable& side, std::size_t& next, std::size_t row) {
        // The count above reads amounts in the user's format and the fill reads them as plain
        // numbers; should the two disagree, the table grows and keeps its empty last row.
        if (next + 1 >= side.rows()) side.resize(next + 2, 14);
        for (std::size_t c = 0; c <= 11; ++c)
            side(next, c) = t3array(row, c);
        side(next, kRowCol) = std::to_string(row);
        side(next, kStateCol) = kUnmatched;
        ++next;
    };
    for (long i = 1; i <= last; ++i) {
        auto ui = static_cast<std::size_t>(i);
        if (t3array(ui, 9) > "9") continue;
        double d = LeadingNumber(t3array(ui, 5)), c = LeadingNumber(t3array(ui, 6));
        if (IsCreditRow(d, c))
            copy(credits, nextC, ui);
        else if (d != 0)
            copy(debits, nextD, ui);
    }
    CheckRef2(credits, debits, 5, 6);
    CheckRef2(debits, credits, 6, 5);
    for (TextTable* side : {&debits, &credits})
        for (long r = side->upperRow(); r >= 0; --r) {
            auto ur = static_cast<std::size_t>(r);
            if ((*side)(ur, kStateCol) != kMatched) continue;
            auto row = static_cast<std::size_t>(std::stoul((*side)(ur, kRowCol)));
            t3array(row, kRefCol) = (*side)(ur, kRefCol);
        }
}

}  // namespace pendara
