#pragma once
// The sums of one reference over both grids, shown in the frame of sums.

#include <string>

namespace pendara {

class Pndra;

// Makes the trimmed reference the current one and, when it is not empty, shows its debit sum,
// credit sum and balance.
void DoSumas(Pndra& w, const std::string& referencia);

}  // namespace pendara
