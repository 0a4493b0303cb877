#include "posting/save.h"

#include <cmath>
#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_library.h"
#include "matching/puntear.h"
#include "matching/references.h"
#include "matching/sums.h"
#include "posting/posting_runs.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

// The numeric value of a cell rounded to a 32-bit integer, halves to even as the conversion does.
std::int32_t CellInteger(const std::string& text) {
    double v = std::nearbyint(LeadingNumber(text));
    if (!(v >= -2147483648.0 && v <= 2147483647.0))
        throw HostError("Desbordamiento: \"" + text + "\" no es un número de 32 bits");
    return static_cast<std::int32_t>(v);
}

[[noreturn]] void SaveFailed(Pndra& w, const std::string& description) {
    w.port.MsgBox(std::string(kSaveFailureText) + "\n" + description, kVbOKOnly | kVbCritical, "");
    throw ProgramEnd{1};
}

bool IsEmptyGrid(const TextTable& rows) {
    return rows.at(1, 7).empty() && rows.upperRow() == 1;
}

// Posting steps 2 and 3 without the writes themselves: the write of every row, in order, for
// one posting of the whole account.
void AddRowWrites(Pndra& w, TextTable& datos, std::vector<RowWrite>& writes) {
    const std::size_t companies = w.EntryFiles.empty() ? 0 : w.EntryFiles.size() - 1;
    w.UpdateGauge(-1);
    const long lastRow = datos.upperRow();
    // Read once: the options cannot change while the rows are written.
    const std::string balancedMark = w.Lib().GetSetting("Punteo0", "", "");
    const std::string unmatchedMark = w.Lib().GetSetting("Punteo1", "", "");
    for (long r = 1; r <= lastRow; ++r) {
        const auto row = static_cast<std::size_t>(r);
        std::int32_t k = CellInteger(datos.at(row, 7));
        std::int32_t n = CellInteger(datos.at(row, 1));
        if (k < 1 || static_cast<std::size_t>(k) > companies)
            throw HostError("Subíndice fuera del intervalo: la fila " + std::to_string(r) +
                            " es de la empresa " + std::to_string(k) + " y hay " +
                            std::to_string(companies));
        const std::string& ref = datos.at(row, 5);
        std::string mark;
        if (!IsSystemReference(ref))
            mark = unmatchedMark;
        else if (datos.at(row, 8) == "1")
            mark = balancedMark;
        else
            mark = datos.at(row, 8);
        writes.push_back({static_cast<std::size_t>(k - 1), n, ref, mark, std::nullopt});
        if (r % 100 == 0)
            w.UpdateGauge(static_cast<std::int32_t>(r), static_cast<std::int32_t>(lastRow));
    }
}

// Writes the rows of the active account into the companies of the last extract load, all or
// nothing; a failure shows kSaveFailureText and ends the program.
void PostRows(Pndra& w, const std::function<void(std::vector<RowWrite>&)>& collect) {
    try {
        std::vector<RowWrite> writes;
        collect(writes);
        PostAccount(w, {Trim(w.CTA.text()), ExtractPostingFiles(w), std::move(writes)}, "save");
    } catch (const HostError& e) {
        SaveFailed(w, e.description());
    } catch (const std::exception& e) {
        SaveFailed(w, e.what());
    }
}

// Posting step 4: the rows without a system reference, in order, as rows 1..m.
TextTable OpenRows(TextTable& datos) {
    const long lastRow = datos.upperRow();
    std::size_t open = 0;
    for (long r = 1; r <= lastRow; ++r)
        if (!IsSystemReference(datos.at(static_cast<std::size_t>(r), 5))) ++open;
    const std::size_t cols = datos.cols();
    TextTable result(open + 1, cols);
    std::size_t m = 0;
    for (long r = 1; r <= lastRow; ++r) {
        const auto row = static_cast<std::size_t>(r);
        if (IsSystemReference(datos.at(row, 5))) continue;
        ++m;
        for (std::size_t c = 1; c < cols; ++c)
            result.at(m, c) = datos.at(row, c);
    }
    return result;
}

// Step 3 of the save after the posting: an empty grid (one blank row) is only cleared.
void ShowOpenRows(Grid& grid, TextTable& rows, bool posted) {
    grid.Clear();
    if (!posted) return;
    TextTable open = OpenRows(rows);
    if (open.upperRow() < 1)
        grid.SetRows(1);
    else
        grid.ImportRows(open);
}

// Counts what the posting writes of a table: every row of a grid that is not empty.
void CountWritten(const TextTable& rows, AccountSaveSummary& summary,
                  std::set<std::string>& references) {
    if (IsEmptyGrid(rows)) return;
    for (long r = 1; r <= rows.upperRow(); ++r) {
        ++summary.entriesWritten;
        const std::string& ref = rows.at(static_cast<std::size_t>(r), 5);
        if (IsSystemReference(ref)) references.insert(ref);
    }
}

int CountOpenRows(const Grid& grid) {
    int n = 0;
    for (int r = 1; r <= grid.Rows(); ++r)
        if (!grid.Cell(r, 7).empty()) ++n;
    return n;
}

}  // namespace

void GrabaRef_Click(Pndra& w) {
    TextTable debits = w.SGrid1.ExportRows();
    TextTable credits = w.SGrid2.ExportRows();
    Puntear(debits, credits);
    AccountSaveSummary summary{Trim(w.CTA.text())};
    std::set<std::string> references;
    CountWritten(debits, summary, references);
    CountWritten(credits, summary, references);
    // Both grids are one posting: the account is written whole or not at all.
    const bool postDebits = !IsEmptyGrid(debits);
    const bool postCredits = !IsEmptyGrid(credits);
    if (postDebits || postCredits) {
        PostRows(w, [&](std::vector<RowWrite>& writes) {
            if (postDebits) {
                AddRowWrites(w, debits, writes);
                w.UpdateGauge(0);
            }
            if (postCredits) {
                AddRowWrites(w, credits, writes);
                w.UpdateGauge(0);
            }
        });
    }
    ShowOpenRows(w.SGrid1, debits, postDebits);
    ShowOpenRows(w.SGrid2, credits, postCredits);
    w.UnsavedEdits = false;
    w.newref.setText(NewReference(w));
    DoSumas(w, w.newref.text());
    summary.references = static_cast<int>(references.size());
    summary.entriesOpen = CountOpenRows(w.SGrid1) + CountOpenRows(w.SGrid2);
    if (w.onAccountSaved) w.onAccountSaved(summary);
}

TextTable FixRef(Pndra& w, TextTable& datos) {
    PostRows(w, [&](std::vector<RowWrite>& writes) { AddRowWrites(w, datos, writes); });
    TextTable result = OpenRows(datos);
    w.UpdateGauge(0);
    return result;
}

void Grabartodo(Pndra& w) {
    w.StopRequested = false;
    w.UpdateGauge(-1);
    // The walk is one run of the journal (unless the caller opened one): every account is
    // posted whole as it is saved, and a stop keeps the accounts saved so far.
    std::unique_ptr<PostingRun> run;
    if (!w.RunInProgress) run = OpenPostingRun(w, "save-all", Trim(w.Text1.text()), true);
    RunInProgressScope scope(w, w.RunInProgress ? w.RunInProgress : run.get());
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
    if (run) run->Finish();
    w.UpdateGauge(0);
}

}  // namespace pendara
