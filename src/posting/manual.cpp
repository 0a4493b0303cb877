#include "posting/manual.h"

#include "host/conversions.h"

namespace pendara {

void UndoReference(std::vector<GridRow>& rows, const std::string& reference) {
    for (GridRow& row : rows) {
        if (Trim(row.reference) != reference) continue;
        row.reference.clear();
        if (LeadingNumber(row.mark) == 1) row.mark = "0";
    }
}

}  // namespace pendara
