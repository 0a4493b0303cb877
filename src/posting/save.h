#pragma once
// Writing the matching of an account back into the companies' entries files: the row writes of
// a grid (FixRef), the rows that stay open, and the end of a save that failed.

#include <cstddef>
#include <string>
#include <vector>

#include "host/account_posting.h"
#include "host/gauge.h"
#include "model/grid_row.h"

namespace pendara {

class QvLibrary;
class Session;

// The text shown before the error's description when a write fails; the program then ends.
inline constexpr const char* kSaveFailureText =
    "Debe efectuar la operación: Herramientas...Utilidades del Programa...Pasar Factura a "
    "Descripción en Quorvex";

// The marks written for the rows of a balanced group (Punteo0) and for rows without a system
// reference (Punteo1); a setting never stored is the empty mark.
struct PostingMarks {
    std::string balanced;
    std::string unmatched;
};
PostingMarks ReadPostingMarks(QvLibrary& lib);

// Where each row of a grid goes and what it gets, appended to `writes` in order: its company's
// file (company k is file k - 1) and record number (the numbers of its columns rounded to 32-bit
// integers), its reference, and the mark Punteo1 without a system reference, Punteo0 for mark
// "1", else its own mark. A number that is no 32-bit integer, or a company that is none of the
// chain's `companies`, is a HostError. Progress: (-1, 0) first, then every hundredth row.
void FixRef(const std::vector<GridRow>& datos, std::size_t companies, const PostingMarks& marks,
            std::vector<RowWrite>& writes, const Progress& progress = {});

// The rows still open (without a system reference), in order.
std::vector<GridRow> OpenRows(const std::vector<GridRow>& datos);

// Shows kSaveFailureText and the description, then ends the program (ProgramEnd).
[[noreturn]] void SaveFailed(Session& s, const std::string& description);

}  // namespace pendara
