#pragma once
// The run journal of a chain of companies: one SQLite database beside the earliest company file
// of the chain (the one that keeps the reference counter), shared by every process and
// workstation that works on the chain. For every run that writes references and marks (a save,
// a group save, a clear, an undo, the maintenance commands) it keeps who ran what and when; for
// every account of a run, each entry changed with its old and new reference and mark, and
// whether the account was done. account_posting.h writes it; this file keeps the records.
//
// A run is live while the process that began it holds its byte of the lock file beside the
// journal: a run that was never ended and whose byte is free belongs to a process that is gone.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pendara {

// What an entry holds in the two fields a posting writes.
struct RowValue {
    std::string reference;  // "Referencia punteo"
    std::string mark;       // "Marca"
    bool operator==(const RowValue&) const = default;
};

// One entry changed by an account of a run.
struct JournalRow {
    std::int64_t file = 0;  // RunJournal::FileId
    std::int32_t record = 0;
    RowValue before, after;
    // Not written by the run: another program had changed it when an interrupted account was
    // completed.
    bool skipped = false;
};

struct JournalAccount {
    std::int64_t id = 0;  // also the order in which accounts were posted, over every run
    std::int64_t run = 0;
    std::string account;
    bool done = false;
    std::int64_t changed = 0;  // entries it changed
};

struct RunInfo {
    enum class State { Running, Finished, Interrupted, Recovered };
    std::int64_t id = 0;
    std::string started;  // local time, "aaaa-mm-dd hh:mm:ss"
    std::string user, machine, command, arguments;
    std::int64_t accounts = 0;
    std::int64_t rows = 0;
    State state = State::Running;
};

// The state as the listing names it: "en curso", "terminada", "interrumpida", "completada".
const char* StateText(RunInfo::State state);

class RunJournal {
  public:
    // The journal file of the chain whose earliest company file is `firstCompanyFile`.
    static std::string PathFor(const std::string& firstCompanyFile);
    // The same for a company file whose code is known (without reading the file).
    static std::string PathFor(const std::string& firstCompanyFile, const std::string& code);
    static bool Exists(const std::string& firstCompanyFile);

    // Opens the journal; `create` makes it when missing (otherwise a missing journal is a
    // HostError).
    RunJournal(const std::string& firstCompanyFile, bool create);
    ~RunJournal();
    RunJournal(const RunJournal&) = delete;
    RunJournal& operator=(const RunJournal&) = delete;

    const std::string& path() const;
    const std::string& companyFile() const;

    // --- Writing (account_posting.cpp) ----------------------------------------------------------
    // A new run, live until EndRun (or until this object or the process goes).
    std::int64_t BeginRun(const std::string& command, const std::string& arguments);
    // The id of an entries file, kept relative to the journal's folder when it can be so that
    // every workstation finds it; `company` names it in messages.
    std::int64_t FileId(const std::string& entriesFile, const std::string& company);
    // Records an account's rows and the counter as they stand, and syncs them: from here on a
    // crash cannot lose the account's intent. Returns the account's id.
    std::int64_t RecordIntent(std::int64_t run, const std::string& account, std::int32_t counter,
                              const std::vector<JournalRow>& rows);
    // Done: every row is in the data. Not synced (see account_posting.cpp).
    void MarkDone(std::int64_t account);
    void MarkSkipped(std::int64_t account, const std::vector<JournalRow>& rows);
    // The data files hold every account of the run up to `account` durably.
    void MarkSynced(std::int64_t run, std::int64_t account);
    // The run is over; `recovered` when another process completed it. Releases it.
    void EndRun(std::int64_t run, bool recovered = false);
    // Lets the run go without ending it (its accounts wait for the next recovery).
    void ReleaseRun(std::int64_t run);

    // --- Recovery
    // ---------------------------------------------------------------------------------- Runs never
    // ended whose process is gone, oldest first; each is held by this object (as if it had begun
    // them) until EndRun or ReleaseRun.
    std::vector<std::int64_t> ClaimAbandonedRuns();
    // The accounts of a run posted after the last point its data was known to be synced.
    std::vector<JournalAccount> UnsyncedAccounts(std::int64_t run);
    // What an account changed, by file and record.
    std::vector<JournalRow> Rows(std::int64_t account);
    // For each (file, record) written by an account later than `account`, the latest such
    // account: a row written later by anyone is not the older account's to complete.
    std::vector<std::pair<std::pair<std::int64_t, std::int32_t>, std::int64_t>> LaterWrites(
        std::int64_t account);
    // The highest counter recorded by the accounts of the run (0 when none).
    std::int32_t CounterOf(std::int64_t run);

    // --- Reading
    // -----------------------------------------------------------------------------------
    std::vector<RunInfo> Runs();
    std::optional<RunInfo> Run(std::int64_t id);
    // The accounts of a run in the order they were posted.
    std::vector<JournalAccount> Accounts(std::int64_t run);
    // The path of an entries file as this workstation reaches it, and its company's name.
    std::string FilePath(std::int64_t file);
    std::string FileCompany(std::int64_t file);

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

// The user and the machine the journal records for a run started now.
std::string CurrentUserName();
std::string CurrentMachineName();

}  // namespace pendara
