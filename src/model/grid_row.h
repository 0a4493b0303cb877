#pragma once
// One row of an extract grid (SGrid1 debits, SGrid2 credits): an entry as the grids show it,
// with the reference and the punteo mark that a save writes back.

#include <cstdint>
#include <string>
#include <vector>

#include "model/amount.h"

namespace pendara {

struct Entry;

struct GridRow {
    std::string record;  // the record number as the extract holds it
    std::string date;    // day-first (dd/mm/yy)
    std::string entry;   // journal entry number
    std::string description;
    std::string reference;     // "Ref."
    ShownAmount amount;        // "Importe"
    std::int32_t company = 0;  // the entry's company number; 0 on a row of no entry
    std::string mark;          // as loaded the host's "Marca"; after the validation "0", "1", "2"

    bool operator==(const GridRow&) const = default;
};

// The grid row of an extract row: its debit amount on the debit grid, its credit amount on the
// credit grid, and the reference the matching gave it.
GridRow DebitRow(const Entry& e, std::string reference);
GridRow CreditRow(const Entry& e, std::string reference);
// The same from an extract row that is no longer needed: its texts move into the grid row.
GridRow DebitRow(Entry&& e, std::string reference);
GridRow CreditRow(Entry&& e, std::string reference);

// The text of a grid column (GridCol) of the row, as the grid shows it, and its replacement by a
// text (a company number is read as a whole number; any other text is no company).
std::string CellText(const GridRow& row, int column);
void SetCellText(GridRow& row, int column, std::string text);

// True for the one blank row an empty grid keeps, and for the row the matching makes of an empty
// list: a row of no company (a save passes over a grid that holds only such a row).
inline bool IsEmptyGrid(const std::vector<GridRow>& rows) {
    return rows.empty() || (rows.size() == 1 && rows.front().company == 0);
}

}  // namespace pendara
