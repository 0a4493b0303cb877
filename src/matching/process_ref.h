#pragma once
// One reference group of an extract as a block of report text: a heading with the reference,
// one line per entry and the group's balance.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/entry.h"
#include "model/report.h"

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

// The group that starts at `row`: the rows after it (up to `last`) whose reference equals the
// starting row's. Marks the rows processed and adds the group's balance (the starting row's debit
// plus its credit, plus every other row's amount) to `total`. With a positive `minimum`, a group
// whose rounded balance lies within [-minimum, minimum] is marked processed and left out; a
// starting row already processed gives nothing either.
//
// `chains` takes the place of an argument the caller passes but the routine never read; given,
// it must have been built over the same extract and `last`; nullptr scans every later row.
std::optional<ReportGroup> ProcessRef(std::int32_t row, std::vector<std::int16_t>& processed,
                                      const std::vector<Entry>& extract, double& total,
                                      const ReferenceChains* chains, std::int32_t last,
                                      double minimum);

// An entry as a report line: its amount is the debit when that is not 0, otherwise the credit.
ReportEntry EntryLine(const Entry& e);

// The report text of an entry line (date, entry number, description, reference and amount,
// TAB-separated, ended by CR LF) and of a group's block (a line break, "*Referencia: " and the
// reference, its entry lines and the balance line).
void AppendEntryText(std::string& out, const ReportEntry& line);
std::string GroupText(const ReportGroup& group);

}  // namespace pendara
