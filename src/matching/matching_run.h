#pragma once
// The automatic matching of one account: balance and title, the extract over the chain, invoice
// numbers from descriptions, matching by reference text and by amounts, and the two grids.

#include <cstdint>
#include <string>

#include "host/text_table.h"

namespace pendara {

class Pndra;

// Of the entries whose class sorts after "9" only the first opening entry ("A") of the earliest
// year (the first two characters of the first non-blank date of rows 0..count) keeps its amount;
// the others lose it and drop out of the grids.
void YearFilter(TextTable& t, std::int32_t count);

// `empresa`: the company file chosen in the company list; `cuenta`: the account code. Writes
// nothing to the accounting data except the reference counter.
void PVporImportes(Pndra& w, const std::string& empresa, const std::string& cuenta);

}  // namespace pendara
