#pragma once
// The automatic matching of one account: invoice numbers from descriptions, matching by
// reference text and by amounts (and, when asked, the enhanced passes), and the rows of the two
// grids.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "matching/amount_matching.h"
#include "matching/enhanced_matching.h"
#include "model/entry.h"
#include "model/grid_row.h"

namespace pendara {

class QvLibrary;
class Session;

// Of the entries whose class sorts after "9" only the first opening entry ("A") of the earliest
// year (the first two characters of the first non-blank date) keeps its amount; the others lose
// it and drop out of the grids. Visits every row, row 0 included.
void YearFilter(std::vector<Entry>& rows);

struct MatchOptions {
    bool clearAll = false;            // "Borrar todas las referencias"
    std::string invoiceKey = " Fra";  // "Descripción para facturas:"
    bool enhanced = false;            // the enhanced passes after the usual ones
    // Gauge protocol: (-1, 0) starts, (value, maximum) shows value/maximum, (0, 0) clears.
    std::function<void(std::int32_t value, std::int32_t maximum)> progress;
};

struct MatchedRows {
    std::vector<GridRow> debits;   // "Partidas pendientes del debe": at least one row
    std::vector<GridRow> credits;  // "Partidas pendientes del haber": at least one row
    std::int32_t referencesDrawn = 0;
    bool searchLimitReached = false;  // the enhanced passes spent their budget
};

// The matching of an extract just read: every row without a reference (all rows with clearAll)
// takes the number of its description, then the matching by reference text, the year filter,
// the matching by amounts and the enhanced passes. The groups formed take their references from
// the session's counter in one draw, in the order they formed. A list with no row gives its
// grid the one row of its empty item. The texts of the extract's rows move into the grid rows.
MatchedRows MatchExtract(Session& s, Extract& x, const MatchOptions& options);

// The enhanced passes over the items the amount matching left open; each group they form takes
// the next number of `groups`.
EnhancedStats EnhancedPasses(const std::vector<Entry>& rows, std::vector<AmountItem>& debits,
                             std::vector<AmountItem>& credits, GroupNumbers& groups);

// The stored option of the enhanced matching mode (PunteoMejorado): on when it is exactly "1".
inline constexpr const char* kEnhancedSetting = "PunteoMejorado";
bool EnhancedModeSetting(QvLibrary& lib);

}  // namespace pendara
