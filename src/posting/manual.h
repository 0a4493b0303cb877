#pragma once
// Grouping entries by hand: undoing a reference on the grid rows.

#include <string>
#include <vector>

#include "model/grid_row.h"

namespace pendara {

// Removes `reference` from the rows that carry it (their reference, trimmed, is exactly it): the
// reference is emptied and a mark whose numeric value is 1 goes back to "0". Nothing is written.
void UndoReference(std::vector<GridRow>& rows, const std::string& reference);

}  // namespace pendara
