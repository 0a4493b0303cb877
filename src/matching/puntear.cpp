#include "matching/puntear.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "host/conversions.h"
#include "matching/references.h"

namespace pendara {

namespace {

// Rows of a table by their exact reference text, ascending; a group is gathered by looking its
// text up instead of scanning both tables.
using RowsByText = std::unordered_map<std::string, std::vector<std::size_t>>;

RowsByText IndexSystemRows(const std::vector<GridRow>& t) {
    RowsByText index;
    for (std::size_t i = 0; i < t.size(); ++i)
        if (IsSystemReference(t[i].reference)) index[t[i].reference].push_back(i);
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

void Puntear(std::vector<GridRow>& datos1, std::vector<GridRow>& datos2) {
    RowsByText debits = IndexSystemRows(datos1), credits = IndexSystemRows(datos2);
    std::vector<bool> done1(datos1.size()), done2(datos2.size());
    std::vector<std::size_t> group1, group2;

    for (std::size_t i = 0; i < datos1.size(); ++i) {
        if (!IsSystemReference(datos1[i].reference)) {
            datos1[i].mark = "0";
            continue;
        }
        if (done1[i]) continue;
        // The seed is compared trimmed, the other rows as they stand.
        std::string r = Trim(datos1[i].reference);
        group1.assign(1, i);
        group2.clear();
        done1[i] = true;
        double sum = datos1[i].amount.parsed;
        const auto& later = Lookup(debits, r);
        for (auto it = std::upper_bound(later.begin(), later.end(), i); it != later.end(); ++it) {
            done1[*it] = true;
            group1.push_back(*it);
            sum += datos1[*it].amount.parsed;
        }
        for (std::size_t j : Lookup(credits, r)) {
            done2[j] = true;
            group2.push_back(j);
            sum += datos2[j].amount.parsed;
        }
        const char* m = Balances(sum) ? "1" : "2";
        for (std::size_t j : group1)
            datos1[j].mark = m;
        for (std::size_t j : group2)
            datos2[j].mark = m;
    }

    for (std::size_t i = 0; i < datos2.size(); ++i) {
        if (!IsSystemReference(datos2[i].reference)) {
            datos2[i].mark = "0";
            continue;
        }
        if (done2[i]) continue;
        const std::string r = datos2[i].reference;
        group2.assign(1, i);
        done2[i] = true;
        double sum = datos2[i].amount.parsed;
        const auto& later = Lookup(credits, r);
        for (auto it = std::upper_bound(later.begin(), later.end(), i); it != later.end(); ++it) {
            done2[*it] = true;
            group2.push_back(*it);
            sum += datos2[*it].amount.parsed;
        }
        const char* m = Balances(sum) ? "1" : "2";
        for (std::size_t j : group2)
            datos2[j].mark = m;
    }
}

}  // namespace pendara
