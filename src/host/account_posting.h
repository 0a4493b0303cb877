#pragma once
// Posting an account: the new references and marks of one account's entries, over the entries
// files of every company of the chain, written all or nothing and recorded in the run journal
// (run_journal.h). An account is the unit: a crash, a failure or a stop loses at most the account
// in progress, and that one wholly.
//
// How the program uses it:
//
//   At every start, before anything reads or writes entries (the catalogue load):
//       RecoveryReport r = RecoverRuns(firstCompanyFile, options);   // nothing to do: empty
//
//   A save of one account (both sides, every company of the chain):
//       PostingRun run(firstCompanyFile, "save", account, options);
//       AccountPosting p{account, files, rows};   // files: entries file and company name
//       run.Post(p);                              // HostError: nothing of the account written
//       run.Finish();
//
//   A group save, a clear of every account: one PostingRun for the whole walk, Post once per
//   account, Finish at the end (also after a stop). The run keeps one connection per entries
//   file for all its accounts and syncs the data files once at the end.
//
//   A dry run: run.Preview(p) gives the changes Post would make and writes nothing.
//   Undo: UndoRun(firstCompanyFile, run, account, options), itself a run of the journal.
//   Listing: RunJournal(firstCompanyFile, false).Runs().
//
// With an empty firstCompanyFile a run has no journal: each account is still written in one
// transaction per file, but a crash between two files is not repaired (tools and benchmarks).

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/run_journal.h"
#include "host/waits.h"

namespace pendara {

// One entry to write. A field without a value keeps what the entry holds.
struct RowWrite {
    std::size_t file = 0;  // index into AccountPosting::files
    std::int32_t record = 0;
    std::optional<std::string> reference;
    std::optional<std::string> mark;
    // When set, the entry must still hold this, or the account is refused and nothing written.
    std::optional<RowValue> expected;

    bool operator==(const RowWrite&) const = default;
};

struct PostingFile {
    std::string entries;  // the entries file ("extra" & code & ".qvd")
    std::string company;  // how messages name the company
};

struct AccountPosting {
    std::string account;
    std::vector<PostingFile> files;
    // In any order; when one entry comes twice the later write counts.
    std::vector<RowWrite> rows;
};

// An entry whose value changes (or would change).
struct RowChange {
    std::string company;
    std::int32_t record = 0;
    RowValue before, after;
};

// An entry that no longer holds what a posting expected of it.
struct RowConflict {
    std::string company;
    std::int32_t record = 0;
    RowValue expected, found;
};
// "DEMO2024, registro 12: la referencia es "RF-9" y se esperaba "RF-5""
std::string DescribeConflict(const RowConflict& c);

struct PostResult {
    std::vector<RowChange> changes;
    // Not empty: the account was refused and nothing was written.
    std::vector<RowConflict> conflicts;
};

struct PostingOptions {
    WaitPolicy wait;
    // For a run that draws many references (a group save): the counter's writes are not synced
    // one by one while the run lives; every intent records the counter, a recovery raises the
    // counter to it, and Finish syncs the company file once.
    bool deferCounterSync = false;
    // The data files are synced, and the journal told so, every this many accounts (a recovery
    // re-checks the accounts after the last such point).
    int syncEvery = 200;
};

class PostingRun {
  public:
    // Nothing is written to the journal before the first account that changes something.
    PostingRun(const std::string& firstCompanyFile, std::string command, std::string arguments,
               PostingOptions options = {});
    ~PostingRun();  // finishes a run not finished (never throws)
    PostingRun(const PostingRun&) = delete;
    PostingRun& operator=(const PostingRun&) = delete;

    // Writes the account: takes every entries file it has rows in (waiting as the options say),
    // reads the old values, records and syncs the intent, writes every file, marks it done. A
    // HostError before the intent leaves everything as it was; after it, the account is
    // completed by the next recovery.
    PostResult Post(const AccountPosting& posting);
    // What Post would change; writes nothing.
    PostResult Preview(const AccountPosting& posting);
    // Syncs the data files and ends the run in the journal.
    void Finish();

    // The run's id in the journal; 0 while nothing was written or without a journal.
    std::int64_t id() const;
    std::int64_t accounts() const;  // accounts changed so far
    std::int64_t rows() const;      // entries changed so far

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

struct RecoveredAccount {
    std::int64_t run = 0;
    std::string account;
    std::int64_t written = 0;            // entries written by the recovery
    std::vector<RowConflict> conflicts;  // entries another program had changed: left as found
};

struct RecoveryReport {
    std::vector<RecoveredAccount> accounts;  // only accounts with something to report
    bool empty() const { return accounts.empty(); }
    // The notice for the user, one line per account (and per entry left as found).
    std::string Describe() const;
};

// Completes, from the journal, every account of every run whose process is gone and whose data
// may not all be written. Accounts are rolled forward, not back: their intent was complete and
// synced, and it is the only record that makes the data files safe to commit without syncing
// (see account_posting.cpp). An entry that holds neither the old nor the new value was changed
// by another program afterwards and is left as it is.
RecoveryReport RecoverRuns(const std::string& firstCompanyFile, const PostingOptions& options);

struct UndoResult {
    std::int64_t run = 0;  // the undo's own run (0 when it changed nothing)
    std::vector<std::pair<std::string, std::int64_t>> undone;  // account, entries restored
    // Accounts left as they are because some entry changed since the run: per account, why.
    std::vector<std::pair<std::string, std::vector<RowConflict>>> refused;
};

// Puts back the old references and marks of a run (of one account of it when `account` is not
// empty), account by account, the last first. An account with an entry changed since the run is
// refused whole and named with each such entry. The undo is a run of its own, so it can be
// undone too.
UndoResult UndoRun(const std::string& firstCompanyFile, std::int64_t run,
                   const std::string& account, const PostingOptions& options);

}  // namespace pendara
