#pragma once
// The extract of one account: its entries in the company asked for and in every earlier company
// of the chain, earliest company first, as one table of texts (rows from 1, columns 0 to 12).

#include <cstdint>
#include <string>

#include "host/text_table.h"

namespace pendara {

class Pndra;

// One line per entry of `cuenta` in company `empresa`: twelve TAB-separated fields ended by
// CR LF (record number, field 2, compact date, entry number, description, debit, credit, "0",
// mark, class, field 14, reference).
std::string LeerDatosExtracto(Pndra& w, const std::string& cuenta, const std::string& empresa);

// The extract over the chain from `empresa` back; `count` receives the rows filled. Numbers the
// companies in w.CompanyFiles / w.EntryFiles (1 = `empresa`), after w.CompanyCount.
TextTable GetExtracto(Pndra& w, const std::string& empresa, const std::string& cuenta,
                      std::int32_t& count);

}  // namespace pendara
