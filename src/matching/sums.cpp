#include "matching/sums.h"

#include "host/conversions.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

double SumOf(const Grid& grid, const std::string& reference) {
    double sum = 0;
    for (const GridRow& row : grid.rows())
        if (Trim(row.reference) == reference) sum += row.amount.value;
    return sum;
}

}  // namespace

void DoSumas(Pndra& w, const std::string& referencia) {
    w.CurrentReference = Trim(referencia);
    if (w.CurrentReference.empty()) return;
    w.Frame4.setCaption("Sumas por referencia: " + w.CurrentReference);
    double debit = SumOf(w.SGrid1, w.CurrentReference);
    double credit = SumOf(w.SGrid2, w.CurrentReference);
    w.Sumas[0].setCaption(FormatAmount(debit));
    w.Sumas[1].setCaption(FormatAmount(credit));
    w.Sumas[2].setCaption(FormatAmount(debit + credit));
}

}  // namespace pendara
