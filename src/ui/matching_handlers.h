#pragma once
// The matching run and the sums of a reference on the window: what the services give, shown on
// the grids, the balance and title labels and the frame of sums.

#include <string>

#include "matching/matching_run.h"
#include "model/account.h"

namespace pendara {

class Pndra;

// The options the window's controls give a matching run: "Borrar todas las referencias", the
// invoice key of "Descripción para facturas:" and the enhanced mode (forced or stored).
MatchOptions MatchOptionsOf(Pndra& w);
// The company file of the selected company-list entry (the active company when none is).
std::string ChosenCompany(const Pndra& w);

// The matching run of `cuenta` in `empresa` (the company chosen in the company list), shown.
void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta);
// A matching run's result on the window: an account without movements empties the grids only;
// otherwise the balance ("Saldo Cuenta: ", black and the zero picture for exactly 0, red and bold
// and the other picture otherwise), the title, the notice of the enhanced search and the grids.
void ShowAccountMatch(Pndra& w, const AccountMatch& m);

// Makes the trimmed reference the current one and, when it is not empty, shows its debit sum,
// credit sum and balance.
void DoSumas(Pndra& w, const std::string& referencia);

}  // namespace pendara
