#pragma once
// Reference-text matching and group validation written out literally, for comparison.

#include <algorithm>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/text_table.h"
#include "host/utf8.h"
#include "matching/references.h"

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

inline void Puntear(TextTable& d1, TextTable& d2) {
    std::vector<bool> done1(d1.rows()), done2(d2.rows());
    for (std::size_t i = 1; i < d1.rows(); ++i) {
        if (!IsSystemReference(d1(i, 5))) {
            d1(i, 8) = "0";
            continue;
        }
        if (done1[i]) continue;
        std::vector<bool> in1(d1.rows()), in2(d2.rows());
        std::string r = Trim(d1(i, 5));
        done1[i] = in1[i] = true;
        double sum = ParseNumber(d1(i, 6));
        for (std::size_t j = i + 1; j < d1.rows(); ++j)
            if (d1(j, 5) == r) done1[j] = in1[j] = true, sum += ParseNumber(d1(j, 6));
        for (std::size_t j = 1; j < d2.rows(); ++j)
            if (d2(j, 5) == r) done2[j] = in2[j] = true, sum += ParseNumber(d2(j, 6));
        std::string m = RoundTo(sum, 2) == 0 ? "1" : "2";
        for (std::size_t j = 1; j < d1.rows(); ++j)
            if (in1[j]) d1(j, 8) = m;
        for (std::size_t j = 1; j < d2.rows(); ++j)
            if (in2[j]) d2(j, 8) = m;
    }
    for (std::size_t i = 1; i < d2.rows(); ++i) {
        if (!IsSystemReference(d2(i, 5))) {
            d2(i, 8) = "0";
            continue;
        }
        if (done2[i]) continue;
        std::vector<bool> in2(d2.rows());
        std::string r = d2(i, 5);
        done2[i] = in2[i] = true;
        double sum = ParseNumber(d2(i, 6));
        for (std::size_t j = i + 1; j < d2.rows(); ++j)
            if (d2(j, 5) == r) done2[j] = in2[j] = true, sum += ParseNumber(d2(j, 6));
        std::string m = RoundTo(sum, 2) == 0 ? "1" : "2";
        for (std::size_t j = 1; j < d2.rows(); ++j)
            if (in2[j]) d2(j, 8) = m;
    }
}

}  // namespace pendara::naive
