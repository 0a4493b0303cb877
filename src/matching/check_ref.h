#pragma once
// Matching by reference text: rows whose reference texts quote each other's (the seed's text
// followed by a blank) and whose amounts cancel out get one common reference.

#include <cstdint>
#include <string>
#include <vector>

#include "model/entry.h"

namespace pendara {

// A row of a side table: the extract row it stands for, its amount (the debit of a debit row,
// the credit of a credit row, read in the Spanish form), its reference and whether it belongs to
// an accepted group.
struct SideRow {
    std::int32_t row = 0;
    double amount = 0;
    std::string reference;
    bool matched = false;

    bool operator==(const SideRow&) const = default;
};

// The side tables of the extract rows 1..last whose class sorts up to "9": credit rows (debit 0
// and credit not 0, both read from the start of the text) and debit rows (debit not 0).
void SideTables(const std::vector<Entry>& rows, std::vector<SideRow>& debits,
                std::vector<SideRow>& credits);

// Gathers groups both ways (credit seeds, then debit seeds) and gives the rows of every accepted
// group the group's reference.
void CheckRef(std::vector<Entry>& rows);

// Seeds are the rows of harray from the last to the first; candidates are rows of darray and
// earlier rows of harray.
void CheckRef2(std::vector<SideRow>& harray, std::vector<SideRow>& darray);

}  // namespace pendara
