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
#include "matching/puntear.h"
#include "matching/references.h"
#include "matching/sums.h"
#include "ui/pndra.h"

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
            std::vector<RowWrite>& writes) {
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
        writes.push_back({k, n, row.reference, std::move(mark)});
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

void GrabaRef_Click(Pndra& w) {
    std::vector<GridRow> debits = w.SGrid1.rows();
    std::vector<GridRow> credits = w.SGrid2.rows();
    Puntear(debits, credits);
    // A grid that holds only its blank row is not posted.
    const bool postDebits = !IsEmptyGrid(debits), postCredits = !IsEmptyGrid(credits);
    AccountWrites writes{w.EntryFiles, {}};
    if (postDebits || postCredits) {
        try {
            const std::size_t companies = w.EntryFiles.empty() ? 0 : w.EntryFiles.size() - 1;
            const PostingMarks marks = ReadPostingMarks(w.session.Lib());
            if (postDebits) FixRef(debits, companies, marks, writes.rows);
            if (postCredits) FixRef(credits, companies, marks, writes.rows);
        } catch (const HostError& e) {
            SaveFailed(w.session, e.description());
        } catch (const std::exception& e) {
            SaveFailed(w.session, e.what());
        }
        try {
            PostAccountWrites(writes, [&w](std::int32_t value, std::int32_t maximum) {
                w.UpdateGauge(value, maximum);
            });
        } catch (const RowWriteError& e) {
            SaveFailed(w.session, e.what());
        }
    }
    w.SGrid1.SetRowsFrom(postDebits ? OpenRows(debits) : std::vector<GridRow>{});
    w.SGrid2.SetRowsFrom(postCredits ? OpenRows(credits) : std::vector<GridRow>{});
    w.newref.setText(NewReference(w.session));
    DoSumas(w, w.newref.text());
}

void Grabartodo(Pndra& w) {
    w.StopRequested = false;
    w.UpdateGauge(-1);
    std::int32_t done = 0;
    const int n = w.List2.ListCount();
    for (int i = n; i >= 1; --i) {
        // The list can only shrink behind the walk; an entry that is gone is passed over.
        if (i - 1 >= w.List2.ListCount()) continue;
        w.UpdateGauge(done, w.List2.ListCount());
        w.List2.SetListIndex(i - 1);
        if (w.Image1[0].visible()) w.List2.RemoveItem(i - 1);
        ++done;
        w.port.DoEvents();
        if (w.StopRequested) break;
    }
    w.UpdateGauge(0);
}

}  // namespace pendara
