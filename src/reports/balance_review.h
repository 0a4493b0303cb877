#pragma once
// "Forzar Punteo cuando saldo sea 0": the dates on which the selected account's running balance
// returns to zero give the grid rows up to them one reference, then the account is saved.

#include <string>
#include <vector>

namespace pendara {

class Pndra;

// The dates (dd/mm/yy, as the entries give them) on which the running balance of the account is
// zero to two decimals, oldest company first; position 0 unused.
std::vector<std::string> ZeroBalanceDates(Pndra& w, const std::string& account);

void revisarsaldos_Click(Pndra& w);

}  // namespace pendara
