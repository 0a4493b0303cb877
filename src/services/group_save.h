#pragma once
// The group save: every account of the account list saved in one run, from the last entry to
// the first, the accounts that come out balanced dropped from the list, with a stop request
// honoured after the account in progress.

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "host/gauge.h"
#include "services/account_run.h"

namespace pendara {

class Session;

// Where the run stands when it takes an account.
struct GroupStep {
    std::int32_t done = 0;       // accounts finished so far
    std::int32_t remaining = 0;  // entries in the list as the account starts
    std::int32_t index = 0;      // the account's entry in the list (from 0)
    std::string entry;
};

struct SaveAllCallbacks {
    // Before each account ("Cuenta n de N": n = done + 1, N = remaining).
    std::function<void(const GroupStep&)> beforeAccount;
    // After each account, with what its click did and whether its entry left the list; the
    // window shows it and lets pending events through (where the stop button is pressed).
    std::function<void(const GroupStep&, const AccountOutcome&, bool removed)> afterAccount;
};

struct SaveAllResult {
    std::vector<std::string> remaining;  // the list after the run
    std::int32_t done = 0;
    bool stopped = false;
    // The state of the balance-zero picture after the run (see SaveAll).
    bool zeroBalanceShown = false;
    std::int32_t entriesWritten = 0;
};

// Saves every account of `entries` (Grabartodo) as ProcessAccount does, with the company and the
// options of `request` (its entry is not read). The saves go into one run of the journal: the
// session's run in progress, or a run "save-all" of its own named by `mask` (the list's mask),
// finished at the end, after a stop too. An account leaves the list when, after it, the
// account-state picture of a zero balance is shown: the matching run shows it for a balance of
// exactly 0 and hides it for any other, and an account without movements leaves it as it was,
// so the run starts from `zeroBalanceShown`, the picture's state before it.
SaveAllResult SaveAll(Session& s, std::vector<std::string> entries, const std::string& mask,
                      const AccountRequest& request, bool zeroBalanceShown, std::stop_token stop,
                      const SaveAllCallbacks& callbacks = {}, const Progress& progress = {});

}  // namespace pendara
