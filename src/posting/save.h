#pragma once
// Writing the matching of the active account back into the companies' entries files, and the
// group save over the whole account list.

#include "host/text_table.h"

namespace pendara {

class Pndra;

// The text shown before the error's description when a write fails; the program then ends.
inline constexpr const char* kSaveFailureText =
    "Debe efectuar la operación: Herramientas...Utilidades del Programa...Pasar Factura a "
    "Descripción en Quorvex";

// Marks both grids, writes every row's reference and mark (both grids as one posting), and
// reloads the grids with the rows still open; then draws the next reference.
void GrabaRef_Click(Pndra& w);

// Writes every row of a grid row table into its company's entries file and returns the rows
// still open (no system reference), rows 1..m. The rows are one posting (posting_runs.h): all
// written or none. A failed write shows kSaveFailureText and ends the program (ProgramEnd).
TextTable FixRef(Pndra& w, TextTable& datos);

// Selects every entry of the account list from the last to the first (loading, matching and
// saving it) and drops the accounts that came out balanced; honours the stop request after each.
// The saves go into one run of the journal: the window's run in progress, or one of its own.
void Grabartodo(Pndra& w);

}  // namespace pendara
