#pragma once
// Saving, grouping by hand and maintenance on the window: thin handlers that read the controls,
// call a service and show what it gives.

#include <string>

#include "services/account_run.h"

namespace pendara {

class Pndra;

// Marks both grids, writes every row's reference and mark, and reloads the grids with the rows
// still open; then draws the next reference.
void GrabaRef_Click(Pndra& w);
// The group save over the account list, from the last entry to the first; the accounts that
// come out balanced leave the list, and the stop request is honoured after each account.
void Grabartodo(Pndra& w);

// Draws the next reference into newref and shows its sums.
void CreaRef_Click(Pndra& w);
// Removes the current reference from every grid row that carries it (nothing is written).
void DeshacerRef_Click(Pndra& w);
// Remembers the account box as the last account, loads and matches it, draws a new reference.
void Punteo_Click(Pndra& w);
// Shows the last account in the Ultima label.
void SetUltima(Pndra& w);
// Puts the last account into the account box and clears the grids (it is not loaded).
void Ultima_Click(Pndra& w);

// The maintenance buttons: every reference and mark cleared in every company; for account
// 4300000138 field 22 copied into the reference, or its marks reset ("FIN" after both); the
// account look-up with the account list of a short code.
void Command1_Click(Pndra& w);
void Command2_Click(Pndra& w);
void Command3_Click(Pndra& w);
void Command4_Click(Pndra& w);

// What a click on the list entry asks of the services.
AccountRequest AccountRequestOf(Pndra& w, const std::string& entry);
// A save's result on the window: the grids, the next reference and its sums.
void ShowSave(Pndra& w, const SaveResult& saved);
// Everything a list click did, shown after StartAccount: the last account, the matching run,
// the save and the balance review.
void ShowAccountOutcome(Pndra& w, const AccountOutcome& outcome);

}  // namespace pendara
