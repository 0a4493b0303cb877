#include "matching/sums.h"

#include "host/conversions.h"

namespace pendara {

namespace {

double SumOf(const std::vector<GridRow>& rows, const std::string& reference) {
    double sum = 0;
    for (const GridRow& row : rows)
        if (Trim(row.reference) == reference) sum += row.amount.value;
    return sum;
}

}  // namespace

ReferenceSums SumsOf(const std::vector<GridRow>& debits, const std::vector<GridRow>& credits,
                     const std::string& reference) {
    return {SumOf(debits, reference), SumOf(credits, reference)};
}

}  // namespace pendara
