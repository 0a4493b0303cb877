#pragma once
// Writing the references and marks of one account back into the entries files of its chain of
// companies: the data side's one posting operation. A save first works out every row it writes,
// both grids and every company, then hands them over here in one call.

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace pendara {

// One entry's new "Referencia punteo" and "Marca".
struct RowWrite {
    std::int32_t company = 0;  // the company's number in the chain: an index of the entries files
    std::int32_t record = 0;   // the entry's record number in that file
    std::string reference;
    std::string mark;

    bool operator==(const RowWrite&) const = default;
};

struct AccountWrites {
    // The entries file of each company of the chain, by company number (index 0 unused).
    std::vector<std::string> entryFiles;
    // In the order they are written.
    std::vector<RowWrite> rows;
};

// A write that failed (positioning, editing, storing or committing a record), with the host's
// description.
class RowWriteError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Opens the entries file of every company of the chain (one that cannot be opened is a
// HostError), then writes the rows in order, each file in one transaction committed once every
// row is written. A failed write is a RowWriteError, and the files whose transaction had not
// been committed keep what they held. Progress, as the gauge takes it: (-1, 0) once the files
// are open, (n, rows) after every hundredth row, (0, 0) at the end.
void PostAccountWrites(const AccountWrites& writes,
                       const std::function<void(std::int32_t, std::int32_t)>& progress = {});

}  // namespace pendara
