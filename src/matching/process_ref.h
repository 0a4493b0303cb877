#pragma once
// One reference group of an extract as a block of report text: a heading with the reference,
// one line per entry and the group's balance.

#include <cstdint>
#include <string>
#include <vector>

#include "model/entry.h"

namespace pendara {

// For each extract row, the next row (up to `last`) whose reference text is the same, or 0.
// Built once per extract, it lets ProcessRef visit a group's rows without scanning every later
// row, so a report over an extract stays linear instead of quadratic.
class ReferenceChains {
  public:
    ReferenceChains(const std::vector<Entry>& extract, std::int32_t last);
    std::int32_t Next(std::int32_t row) const { return next_[static_cast<std::size_t>(row)]; }
    std::int32_t last() const { return last_; }

  private:
    std::vector<std::int32_t> next_;
    std::int32_t last_;
};

// Builds the block of the group that starts at `row`: the rows after it (up to `last`) whose
// reference (column 11) equals the starting row's. Marks the rows processed and adds the printed
// balance to `total`. With a positive `minimum`, a group whose rounded balance lies within
// [-minimum, minimum] is marked processed and left out. `text` is empty when nothing is printed.
//
// `chains` takes the place of an argument the caller passes but the routine never read; given,
// it must have been built over the same extract and `last`; nullptr scans every later row.
// The amount of an extract row: its debit when that is not 0, otherwise its credit.
double RowAmount(const Entry& e);
// Appends an entry line of the report: date, entry number, description, reference and amount,
// TAB-separated, ended by CR LF.
void AppendEntryLine(std::string& out, const Entry& e);

void ProcessRef(std::int32_t row, std::vector<std::int16_t>& processed,
                const std::vector<Entry>& extract, double& total, const ReferenceChains* chains,
                std::int32_t last, double minimum, std::string& text);

}  // namespace pendara
