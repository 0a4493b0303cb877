#pragma once
// Reference-text matching and group validation written out literally, for comparison: the side
// tables as the specified tables of texts (14 columns, an empty last row), amounts read from the
// texts at the moment the rule reads them.

#include <algorithm>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/text_table.h"
#include "host/utf8.h"
#include "matching/check_ref.h"
#include "matching/references.h"
#include "model/entry.h"
#include "model/grid_row.h"

namespace pendara::naive {

// The characters of a text, each as its bytes.
inline std::vector<std::string> Characters(const std::string& s) {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < s.size();) {
        const std::size_t n = DecodeUtf8(s, i).bytes;
        out.push_back(s.substr(i, n));
        i += n;
    }
    return out;
}

// Whether `what` occurs in `text` as a run of characters, tried at every character of the text.
inline bool Contains(const std::string& text, const std::string& what) {
    const std::vector<std::string> t = Characters(text), w = Characters(what);
    for (std::size_t at = 0; at + w.size() <= t.size(); ++at)
        if (std::equal(w.begin(), w.end(), t.begin() + static_cast<long>(at))) return true;
    return false;
}

inline void CheckRef2(std::vector<SideRow>& h, std::vector<SideRow>& d) {
    for (long k = static_cast<long>(h.size()) - 1; k >= 0; --k) {
        auto uk = static_cast<std::size_t>(k);
        if (h[uk].matched || Trim(h[uk].reference).empty()) continue;
        std::vector<bool> selH(h.size()), selD(d.size());
        std::string r = Trim(h[uk].reference);
        std::string search = r + " ";
        double sum = h[uk].amount;
        selH[uk] = true;
        for (long j = static_cast<long>(d.size()) - 1; j >= 0; --j) {
            auto uj = static_cast<std::size_t>(j);
            if (!d[uj].matched && Contains(d[uj].reference, search)) {
                selD[uj] = true;
                sum += d[uj].amount;
            }
        }
        for (long j = k - 1; j >= 0; --j) {
            auto uj = static_cast<std::size_t>(j);
            if (!h[uj].matched && Contains(h[uj].reference, search)) {
                selH[uj] = true;
                sum += h[uj].amount;
            }
        }
        if (RoundTo(sum, 2) != 0) continue;
        for (std::size_t j = 0; j < h.size(); ++j)
            if (selH[j]) h[j].reference = search, h[j].matched = true;
        for (std::size_t j = 0; j < d.size(); ++j)
            if (selD[j]) d[j].reference = search, d[j].matched = true;
    }
}

// CheckRef2 over the specified tables: column 11 the reference, 13 the state, pos1 / pos2 the
// amount columns of d / h rows, read with ToDouble whenever a row is looked at.
inline void CheckRef2(TextTable& h, TextTable& d, std::size_t pos1, std::size_t pos2) {
    for (long k = h.upperRow(); k >= 0; --k) {
        std::size_t uk = static_cast<std::size_t>(k);
        if (h(uk, 13) == "1" || Trim(h(uk, 11)).empty()) continue;
        std::vector<bool> selH(h.rows()), selD(d.rows());
        std::string r = Trim(h(uk, 11));
        std::string search = r + " ";
        double sum = ToDouble(h(uk, pos2));
        selH[uk] = true;
        for (long j = d.upperRow(); j >= 0; --j) {
            auto uj = static_cast<std::size_t>(j);
            if (d(uj, 13) != "1" && Contains(d(uj, 11), search)) {
                selD[uj] = true;
                sum += ToDouble(d(uj, pos1));
            }
        }
        for (long j = k - 1; j >= 0; --j) {
            auto uj = static_cast<std::size_t>(j);
            if (h(uj, 13) != "1" && Contains(h(uj, 11), search)) {
                selH[uj] = true;
                sum += ToDouble(h(uj, pos2));
            }
        }
        if (RoundTo(sum, 2) != 0) continue;
        for (std::size_t j = 0; j < h.rows(); ++j)
            if (selH[j]) h(j, 11) = search, h(j, 13) = "1";
        for (std::size_t j = 0; j < d.rows(); ++j)
            if (selD[j]) d(j, 11) = search, d(j, 13) = "1";
    }
}

// CheckRef step by step: the counts (amounts in the user's format), the tables with their empty
// last row, the fill (amounts read from the start), both passes and the copy back.
inline void CheckRef(std::vector<Entry>& x) {
    std::size_t nDebit = 0, nCredit = 0;
    for (const Entry& e : x) {
        if (e.entryClass > "9") continue;
        double d = ToDouble(e.debit.text), c = ToDouble(e.credit.text);
        if (d == 0 && c != 0)
            ++nCredit;
        else if (d != 0)
            ++nDebit;
    }
    TextTable debits(nDebit + 1, 14), credits(nCredit + 1, 14);
    std::size_t nextD = 0, nextC = 0;
    auto copy = [&](TextTable& side, std::size_t& next, std::size_t row) {
        if (next + 1 >= side.rows()) side.resize(next + 2, 14);
        const Entry& e = x[row];
        side(next, 5) = e.debit.text;
        side(next, 6) = e.credit.text;
        side(next, 9) = e.entryClass;
        side(next, 11) = e.reference;
        side(next, 12) = std::to_string(row);
        side(next, 13) = "-1";
        ++next;
    };
    for (std::size_t i = 1; i < x.size(); ++i) {
        if (x[i].entryClass > "9") continue;
        double d = LeadingNumber(x[i].debit.text), c = LeadingNumber(x[i].credit.text);
        if (d == 0 && c != 0)
            copy(credits, nextC, i);
        else if (d != 0)
            copy(debits, nextD, i);
    }
    naive::CheckRef2(credits, debits, 5, 6);
    naive::CheckRef2(debits, credits, 6, 5);
    for (TextTable* side : {&debits, &credits})
        for (long r = side->upperRow(); r >= 0; --r) {
            auto ur = static_cast<std::size_t>(r);
            if ((*side)(ur, 13) != "1") continue;
            x[std::stoul((*side)(ur, 12))].reference = (*side)(ur, 11);
        }
}

// Puntear with the grids' amounts read as shown (ParseNumber of the text) at each use.
inline void Puntear(std::vector<GridRow>& d1, std::vector<GridRow>& d2) {
    auto amount = [](const GridRow& row) {
        std::string text = row.amount.text;
        return ParseNumber(text);
    };
    std::vector<bool> done1(d1.size()), done2(d2.size());
    for (std::size_t i = 0; i < d1.size(); ++i) {
        if (!IsSystemReference(d1[i].reference)) {
            d1[i].mark = "0";
            continue;
        }
        if (done1[i]) continue;
        std::vector<bool> in1(d1.size()), in2(d2.size());
        std::string r = Trim(d1[i].reference);
        done1[i] = in1[i] = true;
        double sum = amount(d1[i]);
        for (std::size_t j = i + 1; j < d1.size(); ++j)
            if (d1[j].reference == r) done1[j] = in1[j] = true, sum += amount(d1[j]);
        for (std::size_t j = 0; j < d2.size(); ++j)
            if (d2[j].reference == r) done2[j] = in2[j] = true, sum += amount(d2[j]);
        std::string m = RoundTo(sum, 2) == 0 ? "1" : "2";
        for (std::size_t j = 0; j < d1.size(); ++j)
            if (in1[j]) d1[j].mark = m;
        for (std::size_t j = 0; j < d2.size(); ++j)
            if (in2[j]) d2[j].mark = m;
    }
    for (std::size_t i = 0; i < d2.size(); ++i) {
        if (!IsSystemReference(d2[i].reference)) {
            d2[i].mark = "0";
            continue;
        }
        if (done2[i]) continue;
        std::vector<bool> in2(d2.size());
        std::string r = d2[i].reference;
        done2[i] = in2[i] = true;
        double sum = amount(d2[i]);
        for (std::size_t j = i + 1; j < d2.size(); ++j)
            if (d2[j].reference == r) done2[j] = in2[j] = true, sum += amount(d2[j]);
        std::string m = RoundTo(sum, 2) == 0 ? "1" : "2";
        for (std::size_t j = 0; j < d2.size(); ++j)
            if (in2[j]) d2[j].mark = m;
    }
}

}  // namespace pendara::naive
