#include "ui/posting_handlers.h"

#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "companies/session.h"
#include "host/conversions.h"
#include "host/settings.h"
#include "host/utf8.h"
#include "matching/references.h"
#include "posting/maintenance.h"
#include "posting/manual.h"
#include "services/group_save.h"
#include "ui/account_list_handlers.h"
#include "ui/main_window.h"
#include "ui/matching_handlers.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

// The registry's last account, or the one a group save in progress will write there.
std::string LastAccount(const Pndra& w) {
    if (w.session.PendingLastAccount) return *w.session.PendingLastAccount;
    return GetRegValue("Ultima", "Punteo").text();
}

// True when a row changed.
bool Undo(Grid& grid, const std::string& reference) {
    std::vector<GridRow> rows = grid.rows();
    UndoReference(rows, reference);
    if (rows == grid.rows()) return false;
    grid.SetRowsFrom(std::move(rows));
    return true;
}

// What the save wrote and left open, as the window tells it.
AccountSaveSummary SummaryOf(const std::string& account, const SaveResult& saved) {
    AccountSaveSummary summary{account};
    summary.entriesWritten = static_cast<int>(saved.posting.rows.size());
    std::set<std::string> references;
    for (const RowWrite& row : saved.posting.rows)
        if (row.reference && IsSystemReference(*row.reference)) references.insert(*row.reference);
    summary.references = static_cast<int>(references.size());
    for (const std::vector<GridRow>* grid : {&saved.debits, &saved.credits})
        for (const GridRow& row : *grid)
            if (row.company != 0) ++summary.entriesOpen;
    return summary;
}

}  // namespace

AccountRequest AccountRequestOf(Pndra& w, const std::string& entry) {
    return {entry, ChosenCompany(w), MatchOptionsOf(w)};
}

void ShowSave(Pndra& w, const SaveResult& saved) {
    w.SGrid1.SetRowsFrom(saved.debits);
    w.SGrid2.SetRowsFrom(saved.credits);
    w.UnsavedEdits = false;
    w.newref.setText(saved.nextReference);
    DoSumas(w, w.newref.text());
    if (w.onAccountSaved) w.onAccountSaved(SummaryOf(Trim(w.CTA.text()), saved));
}

void ShowAccountOutcome(Pndra& w, const AccountOutcome& o) {
    if (o.account.empty()) return;
    SetUltima(w);
    ShowAccountMatch(w, o.match);
    w.newref.setText(o.matchReference);
    ShowSave(w, o.saved);
    if (o.review) ShowSave(w, o.review->saved);
}

void GrabaRef_Click(Pndra& w) {
    ShowSave(w, SaveAccount(w.session, w.Grids(), w.GaugeProgress()));
}

void Grabartodo(Pndra& w) {
    w.StopRequested = false;
    std::stop_source stop;
    std::vector<std::string> entries;
    for (const ListBox::Item& item : w.List2.items())
        entries.push_back(item.text);
    SaveAllCallbacks callbacks;
    callbacks.beforeAccount = [&w](const GroupStep& step) {
        w.List2.SelectWithoutClick(step.index);
    };
    callbacks.afterAccount = [&w, &stop](const GroupStep& step, const AccountOutcome& outcome,
                                         bool removed) {
        if (StartAccount(w, step.entry)) ShowAccountOutcome(w, outcome);
        if (removed) w.List2.RemoveItem(step.index);
        w.port.DoEvents();
        if (w.StopRequested) stop.request_stop();
    };
    SaveAll(w.session, std::move(entries), w.Text1.text(), AccountRequestOf(w, ""),
            w.Image1[0].visible(), stop.get_token(), callbacks, w.GaugeProgress());
}

void CreaRef_Click(Pndra& w) {
    w.newref.setText(w.session.Counter().Next());
    DoSumas(w, w.newref.text());
}

void DeshacerRef_Click(Pndra& w) {
    const bool debits = Undo(w.SGrid1, w.CurrentReference);
    const bool credits = Undo(w.SGrid2, w.CurrentReference);
    if (debits || credits) w.UnsavedEdits = true;
}

void Punteo_Click(Pndra& w) {
    SetRegValue(w.port, "Ultima", w.CTA.text(), "Punteo");
    SetUltima(w);
    PVporImportes(w, ChosenCompany(w), w.CTA.text());
    w.newref.setText(w.session.Counter().Next());
}

void SetUltima(Pndra& w) {
    w.Ultima.setCaption("Ultima cuenta punteada: " + LastAccount(w) +
                        " (hacer click para selecionar)");
}

void Ultima_Click(Pndra& w) {
    w.CTA.setText(LastAccount(w));
    ClearGrids(w);
}

void Command1_Click(Pndra& w) {
    ClearAllReferences(w.session);
}

void Command2_Click(Pndra& w) {
    CopyField22ToReferences(w.session);
    w.port.MsgBox("FIN", kVbOKOnly, "");
}

void Command3_Click(Pndra& w) {
    ResetFixedAccountMarks(w.session);
    w.port.MsgBox("FIN", kVbOKOnly, "");
}

void Command4_Click(Pndra& w) {
    w.List2.Clear();
    BuscaCta_Click(w);
    w.Text1.setText(w.CTA.text());
    if (Utf8Length(w.Text1.text()) < 6) {
        bool mode = false;
        Carga_cuentas(w, mode);
    }
}

}  // namespace pendara
