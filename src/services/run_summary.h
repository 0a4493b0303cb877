#pragma once
// What a save or a group save did, told in a few figures: the accounts done, the entries whose
// reference or mark changed, the system references they received, the groups balanced and not,
// and what stays open. Accumulated from the saves as they come; a dry run accumulates the same
// figures from what it would write.

#include <cstdint>
#include <set>
#include <string>

#include "services/account_run.h"

namespace pendara {

struct RunSummary {
    std::int32_t accounts = 0;  // accounts done
    std::int32_t total = 0;     // accounts the run was to do
    bool stopped = false;
    // Entries whose reference or mark changes (an entry written with what it held is not one).
    std::int64_t entriesWritten = 0;
    // Distinct system references an entry received that it did not hold before.
    std::set<std::string> references;
    std::int32_t groupsBalanced = 0;
    std::int32_t groupsUnbalanced = 0;
    // Rows left on the grids after the account's last save, and their debit less their credit.
    std::int64_t openEntries = 0;
    double openBalance = 0;

    // What a save wrote: its entries, references and groups.
    void AddWrites(const SaveResult& saved);
    // The rows a save leaves open on the grids (of an account's last save only).
    void AddOpenRows(const SaveResult& saved);
    // An account saved once: both of the above.
    void AddSave(const SaveResult& saved);
    // One account of a run (the save, and the review's save when there is one): counts it done.
    void AddAccount(const AccountOutcome& outcome);
    bool operator==(const RunSummary&) const = default;
};

// The summary as the command line prints it, one figure per line; `preview` says that nothing
// was written.
std::string DescribeSummary(const RunSummary& summary, bool preview);

}  // namespace pendara
