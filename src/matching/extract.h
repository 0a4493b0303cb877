#pragma once
// The extract of one account: its entries in the company asked for and in every earlier company
// of the chain, earliest company first, read straight into entries.
//
// The specified extract is a text, one line per entry of twelve TAB-separated fields ended by
// CR LF, split again into columns. For an entry none of whose fields holds a TAB or a CR that
// round trip gives back the fields; an entry whose field holds one is passed through the text
// as specified, so that its columns shift or it splits into several rows as they always did.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/entry.h"

namespace pendara {

class Session;

// Appends the entries of `cuenta` in company `empresa` to `rows`, in the order the host gives
// them, as company number `company`.
void LeerDatosExtracto(Session& s, const std::string& cuenta, const std::string& empresa,
                       std::int32_t company, std::vector<Entry>& rows);

// The extract over the chain from `empresa` back. Companies are numbered from 1 (`empresa`); a
// company whose predecessor link names a company already read ends the chain there.
Extract GetExtracto(Session& s, const std::string& empresa, const std::string& cuenta);

// The rows an extract line gives as the extract splits it: at each CR (a line feed after it
// belongs to the line break), each piece at TAB into columns 0 to 11; a piece of fewer than two
// fields gives no row.
void AppendLineRows(std::string_view line, std::int32_t company, std::vector<Entry>& rows);

// DateText of a text as the host gives a date field (day first), into `out`.
void CompactDate(std::string_view dayFirst, std::string& out);

// The extract line of an entry's fields (columns 0 to 11, TAB-separated, ended by CR LF).
std::string ExtractLine(const std::vector<std::string>& fields);

}  // namespace pendara
