#pragma once
// Punteo marks of the grid rows: "1" for a system reference whose entries in both grids cancel
// out, "2" for one that does not, "0" for rows without a system reference.

#include "host/text_table.h"

namespace pendara {

// datos1 / datos2: the exported rows of the debit / credit grid (rows and columns from 1).
// Reads column 5 (reference) and 6 (amount, trimmed in place when read), writes column 8.
void Puntear(TextTable& datos1, TextTable& datos2);

}  // namespace pendara
