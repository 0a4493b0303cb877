#include "services/run_summary.h"

#include "host/conversions.h"
#include "host/numbers.h"
#include "matching/references.h"

namespace pendara {

namespace {

void AddOpen(RunSummary& r, const std::vector<GridRow>& rows, double sign) {
    for (const GridRow& row : rows) {
        if (row.company == 0) continue;  // the row of no entry of an empty grid
        ++r.openEntries;
        r.openBalance += sign * row.amount.value;
    }
}

}  // namespace

void RunSummary::AddWrites(const SaveResult& saved) {
    entriesWritten += static_cast<std::int64_t>(saved.changes.size());
    for (const RowChange& c : saved.changes)
        if (IsSystemReference(c.after.reference) && c.after.reference != c.before.reference)
            references.insert(c.after.reference);
    groupsBalanced += saved.groupsBalanced;
    groupsUnbalanced += saved.groupsUnbalanced;
}

void RunSummary::AddOpenRows(const SaveResult& saved) {
    AddOpen(*this, saved.debits, 1);
    AddOpen(*this, saved.credits, -1);
}

void RunSummary::AddSave(const SaveResult& saved) {
    AddWrites(saved);
    AddOpenRows(saved);
}

void RunSummary::AddAccount(const AccountOutcome& outcome) {
    ++accounts;
    if (outcome.account.empty()) return;
    // A later save of the account (the review's) writes the rows the first one left open.
    AddWrites(outcome.saved);
    if (outcome.review) AddWrites(outcome.review->saved);
    AddOpenRows(outcome.last());
}

std::string DescribeSummary(const RunSummary& r, bool preview) {
    std::string out = preview ? "Simulación: no se ha escrito nada.\n" : "";
    if (r.stopped)
        out += "Proceso detenido tras " + std::to_string(r.accounts) + " de " +
               std::to_string(r.total) + " cuentas\n";
    out += "Cuentas procesadas: " + std::to_string(r.accounts) + "\n";
    out += std::string(preview ? "Partidas que se escribirían: " : "Partidas escritas: ") +
           std::to_string(r.entriesWritten) + "\n";
    out += std::string(preview ? "Referencias que se crearían: " : "Referencias creadas: ") +
           std::to_string(r.references.size()) + "\n";
    out += "Grupos cuadrados: " + std::to_string(r.groupsBalanced) + "\n";
    out += "Grupos descuadrados: " + std::to_string(r.groupsUnbalanced) + "\n";
    // In the grids' form (1.234,50); a sum that rounds to zero is shown without its sign.
    std::string balance = FormatAmountPlain(r.openBalance);
    if (balance == "-0,00") balance = "0,00";
    out += "Partidas pendientes: " + std::to_string(r.openEntries) + " (saldo " + balance + ")\n";
    return out;
}

}  // namespace pendara
