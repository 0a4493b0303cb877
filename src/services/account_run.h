#pragma once
// The services over one account that every front end calls: the matching run, the save, the
// balance review, the clearing in every company, and what a click on an account of the list
// does (load, match, save and, with Punteo2, review). Typed in and typed out; what they show or
// print is the front end's.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/account_posting.h"
#include "host/gauge.h"
#include "matching/matching_run.h"
#include "model/account.h"
#include "model/grid_row.h"

namespace pendara {

class Session;

struct MatchRequest {
    std::string company;  // a company file of the catalogue: the company the account is opened in
    std::string account;  // the account code (the list click's cut keeps its blank)
    MatchOptions options;
};

// The matching run of the account (PVporImportes without a window): its balance and title from
// the host, its extract over the chain, matched, as the rows of both grids. Writes nothing to the
// accounting data except the reference counter.
AccountMatch MatchAccount(Session& s, const MatchRequest& request, const Progress& progress = {});

struct SaveResult {
    // The grids after the save: the rows still open (without a system reference), in order, or
    // one row of no entry.
    std::vector<GridRow> debits;
    std::vector<GridRow> credits;
    // Every row written, both grids and every company of the chain, in order, as one posting.
    AccountPosting posting;
    // The entries whose reference or mark the posting changed (a dry run: would change).
    std::vector<RowChange> changes;
    // System references on the rows written whose group balances (mark "1") or does not ("2").
    std::int32_t groupsBalanced = 0;
    std::int32_t groupsUnbalanced = 0;
    // The reference drawn after the save (every save draws one).
    std::string nextReference;
};

// The save of the account's grids (GrabaRef_Click without a window): every row's mark, then
// every row's reference and mark of both grids worked out as one posting and handed to the
// journaled posting (PostAccount: the session's run in progress or a run "save" of its own), the
// rows that stay open, then the next reference. A grid that holds only its row of no entry is not
// posted. A posting that fails shows the save's failure message and ends the program; nothing of
// the account is written then.
SaveResult SaveAccount(Session& s, const LoadedAccount& account, const Progress& progress = {});

struct ReviewResult {
    std::vector<std::string> zeroDates;   // position 0 unused
    std::vector<std::string> references;  // drawn, one per zero date that covered a row
    SaveResult saved;
};

// "Forzar Punteo cuando saldo sea 0" on the grids of `account` (the account code): the rows up
// to each date on which the balance returns to zero take one reference, then the grids are saved.
ReviewResult ReviewBalance(Session& s, const std::string& account, LoadedAccount grids,
                           const Progress& progress = {});

// Empties the reference and resets the mark of every entry of the account in every company of the
// catalogue; `entryOrCode` may be an account-list entry. Returns how many entries were cleared.
std::int32_t ClearAccount(Session& s, const std::string& entryOrCode);

struct AccountRequest {
    std::string entry;    // the account list's entry: code, one blank, name
    std::string company;  // the company file chosen in the company list
    MatchOptions options;
};

struct AccountOutcome {
    // The account as the click cuts it from the entry (with its blank); empty when the entry
    // names none, and then nothing was done.
    std::string account;
    AccountMatch match;
    std::string matchReference;  // drawn after the matching run
    SaveResult saved;
    std::optional<ReviewResult> review;  // when Punteo2 is 1

    // The grids and the next reference as the click leaves them.
    const SaveResult& last() const { return review ? review->saved : saved; }
};

// What a click on an account of the list does: the account is remembered as the last one worked
// on, matched and saved, and reviewed when the setting Punteo2 is 1.
AccountOutcome ProcessAccount(Session& s, const AccountRequest& request,
                              const Progress& progress = {});

// The notice of an account on which the enhanced passes spent their search budget.
std::string SearchLimitNotice(const std::string& account);

}  // namespace pendara
