#pragma once
// Matching by reference text: rows whose reference texts quote each other's (the seed's text
// followed by a blank) and whose amounts cancel out get one common reference.

#include <cstdint>

#include "host/text_table.h"

namespace pendara {

// Builds the debit and credit side tables of the extract, gathers groups both ways and copies the
// accepted groups' references into column 11 of the extract.
void CheckRef(TextTable& t3array);

// Seeds are the rows of harray from the last to the first; candidates are rows of darray and
// earlier rows of harray. pos1 / pos2: amount column of darray / harray rows.
void CheckRef2(TextTable& harray, TextTable& darray, std::int16_t pos1, std::int16_t pos2);

}  // namespace pendara
