#include "matching/puntear.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/conversions.h"
#include "matching/references.h"

namespace pendara {

namespace {

constexpr std::size_t kRef = 5;
constexpr std::size_t kAmount = 6;
constexpr std::size_t kMark = 8;

// Rows 1.. of a table by their exact reference text, ascending; a group is gathered by looking
// its text up instead of scanning both tables.
using RowsByText = std::unordered_map<std::string, std::vector<std::size_t>>;

RowsByText IndexSystemRows(const TextTable& t) {
    RowsByText index;
    for (std::size_t i = 1; i < t.rows(); ++i)
        if (IsSystemReference(t(i, kRef))) index[t(i, kRef)].push_back(i);
    return index;
}

const std::vector<std::size_t>& Lookup(const RowsByText& index, const std::string& text) {
    static const std::vector<std::size_t> none;
    auto it = index.find(text);
    return it == index.end() ? none : it->second;
}

bool Balances(double sum) {
    return RoundTo(sum, 2) == 0;
}

}  // namespace

void Puntear(TextTable& datos1, TextTable& datos2) {
    if (datos1.cols() <= kMark || datos2.cols() <= kMark) return;
    RowsByText debits = IndexSystemRows(datos1), credits = IndexSystemRows(datos2);
    std::vector<bool> done1(datos1.rows()), done2(datos2.rows());
    std::vector<std::size_t> group1, group2;

    for (std::size_t i = 1; i < datos1.rows(); ++i) {
        if (!IsSystemReference(datos1(i, kRef))) {
            datos1(i, kMark) = "0";
            continue;
        }
        if (done1[i]) continue;
        // The seed is compared trimmed, the other rows as they stand.
        std::string r = Trim(datos1(i, kRef));
        group1.assign(1, i);
        group2.clear();
        done1[i] = true;
        double sum = ParseNumber(datos1(i, kAmount));
        const auto& later = Lookup(debits, r);
        for (auto it = std::upper_bound(later.begin(), later.end(), i); it != later.end(); ++it) {
            done1[*it] = true;
            group1.push_back(*it);
            sum += ParseNumber(datos1(*it, kAmount));
        }
        for (std::size_t j : Lookup(credits, r)) {
            done2[j] = true;
            group2.push_back(j);
            sum += ParseNumber(datos2(j, kAmount));
        }
        const char* m = Balances(sum) ? "1" : "2";
        for (std::size_t j : group1)
            datos1(j, kMark) = m;
        for (std::size_t j : group2)
            datos2(j, kMark) = m;
    }

    for (std::size_t i = 1; i < datos2.rows(); ++i) {
        if (!IsSystemReference(datos2(i, kRef))) {
            datos2(i, kMark) = "0";
            continue;
        }
        if (done2[i]) continue;
        const std::string r = datos2(i, kRef);
        group2.assign(1, i);
        done2[i] = true;
        double sum = ParseNumber(datos2(i, kAmount));
        const auto& later = Lookup(credits, r);
        for (auto it = std::upper_bound(later.begin(), later.end(), i); it != later.end(); ++it) {
            done2[*it] = true;
            group2.push_back(*it);
            sum += ParseNumber(datos2(*it, kAmount));
        }
        const char* m = Balances(sum) ? "1" : "2";
        for (std::size_t j : group2)
            datos2(j, kMark) = m;
    }
}

}  // namespace pendara
