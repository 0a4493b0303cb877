#include "posting/save.h"

#include <cmath>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "companies/session.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_library.h"
#include "matching/references.h"

namespace pendara {

namespace {

// The numeric value of a text rounded to a 32-bit integer, halves to even as the conversion does.
std::int32_t CellInteger(const std::string& text) {
    double v = std::nearbyint(LeadingNumber(text));
    if (!(v >= -2147483648.0 && v <= 2147483647.0))
        throw HostError("Desbordamiento: \"" + text + "\" no es un número de 32 bits");
    return static_cast<std::int32_t>(v);
}

}  // namespace

PostingMarks ReadPostingMarks(QvLibrary& lib) {
    return {lib.GetSetting("Punteo0", "", ""), lib.GetSetting("Punteo1", "", "")};
}

void FixRef(const std::vector<GridRow>& datos, std::size_t companies, const PostingMarks& marks,
            std::vector<RowWrite>& writes, const Progress& progress) {
    if (progress) progress(-1, 0);
    const auto lastRow = static_cast<std::int32_t>(datos.size());
    for (std::size_t r = 0; r < datos.size(); ++r) {
        const GridRow& row = datos[r];
        const std::int32_t k = row.company;
        const std::int32_t n = CellInteger(row.record);
        if (k < 1 || static_cast<std::size_t>(k) > companies)
            throw HostError("Subíndice fuera del intervalo: la fila " + std::to_string(r + 1) +
                            " es de la empresa " + std::to_string(k) + " y hay " +
                            std::to_string(companies));
        std::string mark;
        if (!IsSystemReference(row.reference))
            mark = marks.unmatched;
        else if (row.mark == "1")
            mark = marks.balanced;
        else
            mark = row.mark;
        writes.push_back(
            {static_cast<std::size_t>(k - 1), n, row.reference, std::move(mark), std::nullopt});
        const auto written = static_cast<std::int32_t>(r + 1);
        if (progress && written % 100 == 0) progress(written, lastRow);
    }
}

std::vector<GridRow> OpenRows(const std::vector<GridRow>& datos) {
    std::vector<GridRow> open;
    for (const GridRow& row : datos)
        if (!IsSystemReference(row.reference)) open.push_back(row);
    return open;
}

void SaveFailed(Session& s, const std::string& description) {
    s.port.MsgBox(std::string(kSaveFailureText) + "\n" + description, kVbOKOnly | kVbCritical, "");
    throw ProgramEnd{1};
}

}  // namespace pendara
