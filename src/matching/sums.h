#pragma once
// The sums of one reference over both grids: how much of it lies in the debit grid, how much in
// the credit grid, and the balance.

#include <string>
#include <vector>

#include "model/grid_row.h"

namespace pendara {

struct ReferenceSums {
    double debit = 0;
    double credit = 0;  // negative: credit amounts are negative in the grid
    double balance() const { return debit + credit; }
};

// The rows whose reference, trimmed, is exactly `reference` (already trimmed), their amounts as
// the grids show them read in the user's number format.
ReferenceSums SumsOf(const std::vector<GridRow>& debits, const std::vector<GridRow>& credits,
                     const std::string& reference);

}  // namespace pendara
