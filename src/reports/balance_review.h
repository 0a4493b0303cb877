#pragma once
// "Forzar Punteo cuando saldo sea 0": the dates on which an account's running balance returns to
// zero give the grid rows up to them one reference.

#include <string>
#include <vector>

#include "model/grid_row.h"

namespace pendara {

class ReferenceCounter;
class Session;

// The dates (dd/mm/yy, as the entries give them) on which the running balance of the account is
// zero to two decimals, oldest company first, each company's balance starting at 0; entries of
// class "R" and "C" count for nothing. Position 0 is unused.
std::vector<std::string> ZeroBalanceDates(Session& s, const std::string& account);

// Phase 1 with the active company open on a host server of its own (the key typed at start opens
// a protected one).
std::vector<std::string> ReviewZeroBalanceDates(Session& s, const std::string& account);

// For each zero date in order: every dated row of both grids on or before it gets one reference,
// drawn from `counter` when the date covers its first row. Returns the references drawn.
std::vector<std::string> AssignZeroBalanceReferences(const std::vector<std::string>& dates,
                                                     std::vector<GridRow>& debits,
                                                     std::vector<GridRow>& credits,
                                                     ReferenceCounter& counter);

}  // namespace pendara
