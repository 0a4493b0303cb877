#pragma once
// Punteo marks of the grid rows: "1" for a system reference whose entries in both grids cancel
// out, "2" for one that does not, "0" for rows without a system reference.

#include <vector>

#include "model/grid_row.h"

namespace pendara {

// datos1 / datos2: the rows of the debit / credit grid. Groups rows by their reference, sums the
// amounts as the grid shows them (ParseNumber of the shown text) and writes every row's mark.
void Puntear(std::vector<GridRow>& datos1, std::vector<GridRow>& datos2);

}  // namespace pendara
