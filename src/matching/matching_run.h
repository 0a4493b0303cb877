#pragma once
// The automatic matching of one account: balance and title, the extract over the chain, invoice
// numbers from descriptions, matching by reference text and by amounts, and the two grids.

#include <string>

namespace pendara {

class Pndra;

// `empresa`: the company file chosen in the company list; `cuenta`: the account code. Writes
// nothing to the accounting data except the reference counter.
void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta);

}  // namespace pendara
