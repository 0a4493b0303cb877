#include "host/account_posting.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <thread>
#include <unordered_map>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include "host/company_file.h"
#include "host/connection_settings.h"
#include "host/entry_indexes.h"
#include "host/errors.h"
#include "host/store.h"

// Why an account is never left half-written, and why the entries files may commit without a
// sync of their own.
//
// 1. Post takes the write lock of every entries file the account has rows in (BEGIN EXCLUSIVE,
//    in one fixed order, so that two workstations cannot hold one file each and wait for the
//    other) and reads the old values inside those transactions: nobody can change them before
//    the account is written.
// 2. The intent (every row's old and new reference and mark, and the counter) is committed to the
//    journal with a sync: the one sync of the account. Until then nothing was written anywhere;
//    a failure or a kill leaves every file as it was.
// 3. Each entries file commits. In WAL mode the commit is not synced (synchronous=NORMAL): a
//    killed process loses nothing the kernel has, and after a power failure a commit that did
//    not reach the disk is simply missing; the WAL never leaves a file damaged or half-committed.
// 4. The account is marked done in the journal, not synced either.
//
// A recovery (RecoverRuns, at every start) takes every run whose process is gone and that was
// not ended, and rolls each of its accounts posted after the run's last sync point forward from
// the intent: an entry holding the old value gets the new one, an entry holding the new value is
// left, an entry that a later account of any run wrote is not this account's any more, and an
// entry holding a third value was changed by another program and is left and reported. So
// whatever of steps 3 and 4 reached the disk, the account ends whole. A done mark that reached
// the disk before the data it stands for is harmless for the same reason: the run's accounts
// after its last sync point are checked whatever their marks say. A run whose process lives is
// never touched: the process holds the run's byte of the lock file beside the journal.
//
// Sync points: every syncEvery accounts and at the end of the run every entries file written is
// checkpointed (its WAL synced, copied into the file, the file synced; the run's connections do
// no checkpoint of their own in between), and then the run records that point (Finish ends the
// run). Before that point the intents are the durable record, after it the data files.
//
// On a network folder the files use the rollback journal, whose commits stay synced (FULL): the
// argument above only saves the syncs where WAL is possible.
//
// The counter: a group save defers the counter's syncs (CounterSyncDeferral). Every intent
// records the counter as it stands, which is at least every number the account writes; a
// recovery raises the counter to what the run recorded. A number drawn and never written may be
// drawn again after a power failure, which is harmless.

namespace pendara {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Millis = std::chrono::milliseconds;

// Beyond this many open entries files a run closes the least recently used: a chain of a
// thousand years is worked on a few files at a time.
constexpr std::size_t kMaxOpenFiles = 32;
// The page cache of each entries file a run keeps open (KiB): large enough for the pages of the
// longest accounts; SQLite takes it only as pages are used.
constexpr int kRunCacheKiB = 64 * 1024;

std::string Identity(const std::string& path) {
    std::error_code ec;
    fs::path p = fs::weakly_canonical(fs::absolute(path, ec), ec);
    return ec ? path : p.string();
}

// Syncs what an entries file committed without a sync: its WAL, or the file itself when the WAL
// is gone (a checkpoint synced the file before removing it).
void SyncDataFile(const std::string& path) {
    std::error_code ec;
    const std::string wal = path + "-wal";
    const std::string target = fs::exists(wal, ec) ? wal : path;
#ifdef _WIN32
    int n = MultiByteToWideChar(CP_UTF8, 0, target.c_str(), -1, nullptr, 0);
    std::wstring wide(n > 0 ? static_cast<std::size_t>(n) : 1, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, target.c_str(), -1, wide.data(), n);
    HANDLE h = CreateFileW(wide.c_str(), GENERIC_WRITE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return;
    BOOL ok = FlushFileBuffers(h);
    CloseHandle(h);
    if (!ok) throw HostError("No se puede asegurar en disco el fichero " + path);
#else
    int fd = ::open(target.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;  // gone: removed by a checkpoint that synced it first
    int rc = ::fsync(fd);
    ::close(fd);
    if (rc != 0) throw HostError("No se puede asegurar en disco el fichero " + path);
#endif
}

std::string Seconds(Millis waited) {
    return std::to_string((waited.count() + 500) / 1000);
}

constexpr const char* kReadSql = "SELECT referencia, marca FROM entries WHERE id = ?";
// Both values, the reference alone, the mark alone.
constexpr const char* kWriteSql = "UPDATE entries SET referencia = ?, marca = ? WHERE id = ?";
constexpr const char* kWriteReferenceSql = "UPDATE entries SET referencia = ? WHERE id = ?";
constexpr const char* kWriteMarkSql = "UPDATE entries SET marca = ? WHERE id = ?";

// One entries file a run works on. While an account holds it, it uses the connection that a
// ConnectionReuse keeps for the file when it is free: the one the account was loaded through,
// whose page cache then survives the commit (a commit on a second connection would make it read
// every page again for the next account). Otherwise the run's own connection, kept for the run.
struct DataFile {
    std::string path;
    std::string identity;
    std::unique_ptr<Db> own;
    std::unique_ptr<DbHandle> borrowed;  // for one account
    Db* db = nullptr;                    // while connected
    bool wal = false;
    bool inTransaction = false;
    bool unsynced = false;         // commits not synced yet
    bool indexesUpgraded = false;  // UpgradeEntryIndexes committed, or had nothing to do
    std::uint64_t lastUse = 0;
};

// The open entries files of a run or of a recovery.
class FileSet {
  public:
    explicit FileSet(WaitPolicy wait) : wait_(std::move(wait)) {}
    ~FileSet() { CloseAll(); }
    FileSet(const FileSet&) = delete;
    FileSet& operator=(const FileSet&) = delete;

    DataFile& Get(const std::string& name) {
        // Data files are found without regard to case, as the cursor finds them.
        const std::string path = ResolveFileName(name);
        std::string id = Identity(path);
        auto it = files_.find(id);
        if (it == files_.end()) {
            std::error_code ec;
            if (path.empty() || !fs::is_regular_file(path, ec))
                throw HostError("No existe el fichero de datos " + path);
            auto f = std::make_unique<DataFile>();
            f->path = path;
            f->identity = id;
            Connect(*f);  // a file that is missing or of another kind fails here, before a lock
            Disconnect(*f);
            it = files_.emplace(id, std::move(f)).first;
        }
        it->second->lastUse = ++clock_;
        return *it->second;
    }

    // Takes the write lock of every file, in the order of their identities; a wait given up, or
    // any failure, releases those already taken.
    void LockAll(std::vector<DataFile*>& files, const std::string& account) {
        std::sort(files.begin(), files.end(),
                  [](const DataFile* a, const DataFile* b) { return a->identity < b->identity; });
        try {
            for (DataFile* f : files) {
                Connect(*f);
                Begin(*f, account);
            }
        } catch (...) {
            RollbackAll(files);
            throw;
        }
    }

    RowValue Read(DataFile& f, std::int32_t record) {
        Stmt& read = f.db->Prepared(kReadSql);
        read.Bind(1, static_cast<std::int64_t>(record));
        if (!read.Step())
            throw HostError("El registro " + std::to_string(record) + " no existe en " + f.path);
        RowValue v{read.Text(0), read.Text(1)};
        read.Reset();
        return v;
    }

    // Writes only what changes from `before`, the entry's value: a mark alone leaves the
    // indexes over the reference untouched.
    void Write(DataFile& f, std::int32_t record, const RowValue& before, const RowValue& after) {
        const bool reference = after.reference != before.reference;
        const bool mark = after.mark != before.mark;
        if (!reference && !mark) return;
        Stmt& st = f.db->Prepared(!mark        ? kWriteReferenceSql
                                  : !reference ? kWriteMarkSql
                                               : kWriteSql);
        int i = 1;
        if (reference) st.Bind(i++, std::string_view(after.reference));
        if (mark) st.Bind(i++, std::string_view(after.mark));
        st.Bind(i, static_cast<std::int64_t>(record));
        st.Run();
    }

    // A file from an earlier version gets today's indexes with its first commit of the run, so
    // that the change is all-or-nothing with it, and a preview leaves the file as it was.
    void Commit(DataFile& f) {
        if (!f.indexesUpgraded) UpgradeEntryIndexes(*f.db);
        f.db->Exec("COMMIT");
        f.inTransaction = false;
        f.indexesUpgraded = true;
        if (f.wal) f.unsynced = true;
        Disconnect(f);
    }

    void RollbackAll(const std::vector<DataFile*>& files) noexcept {
        for (DataFile* f : files)
            Rollback(*f);
    }

    // Makes every commit of the set durable. An open file is checkpointed (its WAL synced,
    // copied into the file, the file synced); what a reader kept from being copied stays in the
    // WAL, which is then synced on its own.
    void Sync() {
        for (auto& [id, f] : files_)
            if (f->unsynced) {
                Connect(*f);
                int log = 0, done = 0;
                const int rc = sqlite3_wal_checkpoint_v2(f->db->handle(), "main",
                                                         SQLITE_CHECKPOINT_PASSIVE, &log, &done);
                Disconnect(*f);
                if (rc != SQLITE_OK || done < log) SyncDataFile(f->path);
                f->unsynced = false;
            }
        for (const std::string& path : closedUnsynced_)
            SyncDataFile(path);
        closedUnsynced_.clear();
    }

    // Closes the least recently used files beyond kMaxOpenFiles (none holds a transaction
    // between accounts).
    void Trim() {
        while (files_.size() > kMaxOpenFiles) {
            auto oldest = files_.begin();
            for (auto it = files_.begin(); it != files_.end(); ++it)
                if (it->second->lastUse < oldest->second->lastUse) oldest = it;
            Close(*oldest->second);
            files_.erase(oldest);
        }
    }

    void CloseAll() noexcept {
        for (auto& [id, f] : files_)
            Close(*f);
        files_.clear();
    }

  private:
    // The kept connection when a ConnectionReuse has one free, otherwise the run's own.
    void Connect(DataFile& f) {
        if (f.db) return;
        if (ConnectionReuse::Active()) {
            auto handle = std::make_unique<DbHandle>(f.path, DbHandle::Use::Exclusive);
            if (handle->kept()) {
                Db& db = **handle;
                f.borrowed = std::move(handle);
                f.db = &db;
                try {
                    UseForRun(f, db);
                } catch (...) {
                    Disconnect(f);
                    throw;
                }
                return;
            }
        }
        if (!f.own) {
            auto db = std::make_unique<Db>(f.path, Db::Mode::ReadWrite);
            UseForRun(f, *db);
            f.own = std::move(db);
        }
        f.db = f.own.get();
    }

    // Gives a borrowed connection back with the settings it came with; the run's own keeps
    // the run's settings. The larger page cache stays: it serves the next account's loading.
    void Disconnect(DataFile& f) noexcept {
        if (f.borrowed) {
            try {
                RestoreConnectionSettings(*f.db);
            } catch (...) {
                // the connection is not in a transaction here; a setting that cannot be put
                // back leaves a connection that syncs less only until the run's scope ends
            }
            f.borrowed.reset();
        }
        f.db = nullptr;
    }

    void UseForRun(DataFile& f, Db& db) {
        if (db.Catalogue().kind != FileKind::Entries)
            throw HostError("El fichero " + f.path + " no es un fichero de apuntes");
        {
            Stmt mode(db, "PRAGMA journal_mode");
            f.wal = mode.Step() && mode.Text(0) == "wal";
        }
        if (f.wal) {
            // No checkpoint after the commits of an account: the run checkpoints at its sync
            // points (Sync), so a run costs no more syncs of the data files than it has points.
            db.Exec("PRAGMA synchronous=NORMAL");
            db.Exec("PRAGMA wal_autocheckpoint=0");
        }
        // An account of a group save touches a page or more per entry, spread over the whole
        // file: with SQLite's small default cache its transaction spilled dirty pages into the
        // WAL before the commit (writing them twice) and read back pages it had just evicted.
        db.Exec("PRAGMA cache_size=-" + std::to_string(kRunCacheKiB));
        // Waits are polled here, so that the caller hears of them and may give up.
        sqlite3_busy_timeout(db.handle(), 0);
    }

    void Begin(DataFile& f, const std::string& account) {
        const auto start = Clock::now();
        for (;;) {
            int rc = sqlite3_exec(f.db->handle(), "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
            if (rc == SQLITE_OK) {
                f.inTransaction = true;
                return;
            }
            if ((rc & 0xFF) != SQLITE_BUSY && (rc & 0xFF) != SQLITE_LOCKED)
                f.db->Fail("BEGIN EXCLUSIVE");
            const auto waited = std::chrono::duration_cast<Millis>(Clock::now() - start);
            if (waited >= wait_.limit)
                throw HostError("Otro puesto tiene ocupado el fichero " + f.path + " desde hace " +
                                Seconds(waited) + " s: no se ha grabado la cuenta " + account);
            if (waited >= wait_.noticeAfter && wait_.onWait && !wait_.onWait(f.path, waited))
                throw HostError("Se ha dejado de esperar al fichero " + f.path +
                                ": no se ha grabado la cuenta " + account);
            std::this_thread::sleep_for(std::min(wait_.poll, wait_.limit - waited));
        }
    }

    void Rollback(DataFile& f) noexcept {
        if (f.inTransaction) {
            f.inTransaction = false;
            if (f.db) sqlite3_exec(f.db->handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        }
        Disconnect(f);
    }

    void Close(DataFile& f) noexcept {
        Rollback(f);
        if (f.unsynced) closedUnsynced_.push_back(f.path);
        f.own.reset();
    }

    WaitPolicy wait_;
    std::map<std::string, std::unique_ptr<DataFile>> files_;
    std::vector<std::string> closedUnsynced_;
    std::uint64_t clock_ = 0;
};

// An account's rows read under the write locks of its files.
struct LockedRow {
    DataFile* file = nullptr;
    std::size_t index = 0;  // into AccountPosting::files
    std::int32_t record = 0;
    RowValue before, after;
    std::optional<RowValue> expected;
};

struct LockedAccount {
    std::vector<DataFile*> files;  // locked, in lock order
    std::vector<LockedRow> rows;   // by file, then record
};

// Step 1 of the argument above: locks and reads. Rows are applied over what the entry holds.
LockedAccount LockAndRead(FileSet& set, const AccountPosting& p) {
    std::map<std::pair<std::string, std::int32_t>, const RowWrite*> latest;
    std::map<std::string, DataFile*> byIdentity;
    std::vector<std::pair<DataFile*, std::size_t>> slots(p.files.size(), {nullptr, 0});
    LockedAccount out;
    for (const RowWrite& w : p.rows) {
        if (w.file >= p.files.size())
            throw HostError("La cuenta " + p.account + " escribe en la empresa " +
                            std::to_string(w.file + 1) + " y solo hay " +
                            std::to_string(p.files.size()));
        if (!slots[w.file].first) {
            DataFile& f = set.Get(p.files[w.file].entries);
            slots[w.file] = {&f, w.file};
            if (byIdentity.emplace(f.identity, &f).second) out.files.push_back(&f);
        }
        latest[{slots[w.file].first->identity, w.record}] = &w;
    }
    set.LockAll(out.files, p.account);
    try {
        for (const auto& [key, w] : latest) {
            LockedRow row;
            row.file = slots[w->file].first;
            row.index = w->file;
            row.record = w->record;
            row.before = set.Read(*row.file, w->record);
            row.after = row.before;
            if (w->reference) row.after.reference = *w->reference;
            if (w->mark) row.after.mark = *w->mark;
            row.expected = w->expected;
            out.rows.push_back(std::move(row));
        }
    } catch (...) {
        set.RollbackAll(out.files);
        throw;
    }
    return out;
}

}  // namespace

std::string DescribeConflict(const RowConflict& c) {
    std::string parts;
    if (c.found.reference != c.expected.reference)
        parts += "la referencia es \"" + c.found.reference + "\" y se esperaba \"" +
                 c.expected.reference + "\"";
    if (c.found.mark != c.expected.mark)
        parts += std::string(parts.empty() ? "" : "; ") + "la marca es \"" + c.found.mark +
                 "\" y se esperaba \"" + c.expected.mark + "\"";
    return c.company + ", registro " + std::to_string(c.record) + ": " + parts;
}

// --- PostingRun ----------------------------------------------------------------------------------

struct PostingRun::Impl {
    std::string first;
    std::string command, arguments;
    PostingOptions options;
    FileSet files;
    std::unique_ptr<RunJournal> journal;
    std::optional<CounterSyncDeferral> counter;
    std::int64_t run = 0;
    std::int64_t lastAccount = 0;
    int sinceSync = 0;
    // An account whose intent is recorded and whose writes failed: the run is left to the next
    // recovery instead of being ended.
    bool unfinishedAccount = false;
    bool finished = false;
    std::int64_t accounts = 0, rows = 0;

    Impl(std::string firstCompany, std::string cmd, std::string args, PostingOptions opts)
        : first(std::move(firstCompany)),
          command(std::move(cmd)),
          arguments(std::move(args)),
          options(std::move(opts)),
          files(options.wait) {
        if (!first.empty() && options.deferCounterSync) counter.emplace(first);
    }

    void StartRun() {
        if (run) return;
        journal = std::make_unique<RunJournal>(first, true);
        run = journal->BeginRun(command, arguments);
    }

    void SyncPoint() {
        files.Sync();
        if (run && lastAccount) journal->MarkSynced(run, lastAccount);
        sinceSync = 0;
    }

    PostResult Post(const AccountPosting& p, bool preview) {
        if (finished) throw HostError("La ejecución ya ha terminado");
        LockedAccount locked = LockAndRead(files, p);
        PostResult result;
        for (const LockedRow& r : locked.rows) {
            const std::string& company = p.files[r.index].company;
            if (r.expected && *r.expected != r.before)
                result.conflicts.push_back({company, r.record, *r.expected, r.before});
            else if (r.after != r.before)
                result.changes.push_back({company, r.record, r.before, r.after});
        }
        if (preview || !result.conflicts.empty() || result.changes.empty()) {
            files.RollbackAll(locked.files);
            if (!result.conflicts.empty()) result.changes.clear();
            return result;
        }
        std::int64_t account = 0;
        try {
            if (!first.empty()) {
                StartRun();
                std::vector<JournalRow> intent;
                intent.reserve(result.changes.size());
                for (const LockedRow& r : locked.rows)
                    if (r.after != r.before)
                        intent.push_back({journal->FileId(r.file->path, p.files[r.index].company),
                                          r.record, r.before, r.after, false});
                account = journal->RecordIntent(run, p.account, ReadCounter(first), intent);
            }
        } catch (...) {
            files.RollbackAll(locked.files);
            throw;
        }
        try {
            std::size_t next = 0;
            for (DataFile* f : locked.files) {
                for (; next < locked.rows.size() && locked.rows[next].file == f; ++next) {
                    const LockedRow& r = locked.rows[next];
                    files.Write(*f, r.record, r.before, r.after);
                }
                files.Commit(*f);
            }
            if (account) journal->MarkDone(account);
        } catch (const HostError& e) {
            files.RollbackAll(locked.files);
            if (!account) throw;
            unfinishedAccount = true;
            throw HostError(e.code(), e.description() + ". La grabación de la cuenta " + p.account +
                                          " se completará la próxima vez que se abra el programa");
        }
        lastAccount = account;
        ++accounts;
        rows += static_cast<std::int64_t>(result.changes.size());
        if (++sinceSync >= options.syncEvery) SyncPoint();
        files.Trim();
        return result;
    }

    void Finish() {
        if (finished) return;
        finished = true;
        files.Sync();
        counter.reset();
        if (run) {
            if (unfinishedAccount)
                journal->ReleaseRun(run);
            else
                journal->EndRun(run);
        }
        files.CloseAll();
    }
};

PostingRun::PostingRun(const std::string& firstCompanyFile, std::string command,
                       std::string arguments, PostingOptions options)
    : impl_(std::make_unique<Impl>(firstCompanyFile, std::move(command), std::move(arguments),
                                   std::move(options))) {}

PostingRun::~PostingRun() {
    try {
        impl_->Finish();
    } catch (...) {
        // a run that cannot be ended is completed by the next recovery
    }
}

PostResult PostingRun::Post(const AccountPosting& posting) {
    return impl_->Post(posting, false);
}

PostResult PostingRun::Preview(const AccountPosting& posting) {
    return impl_->Post(posting, true);
}

void PostingRun::Finish() {
    impl_->Finish();
}

std::int64_t PostingRun::id() const {
    return impl_->run;
}

std::int64_t PostingRun::accounts() const {
    return impl_->accounts;
}

std::int64_t PostingRun::rows() const {
    return impl_->rows;
}

// --- Recovery ------------------------------------------------------------------------------------

std::string RecoveryReport::Describe() const {
    std::string text;
    for (const RecoveredAccount& a : accounts) {
        text += "La grabación de la cuenta " + a.account + " (ejecución " + std::to_string(a.run) +
                ") quedó interrumpida";
        if (a.written)
            text += " y se ha completado (" + std::to_string(a.written) +
                    (a.written == 1 ? " apunte)." : " apuntes).");
        else
            text += ".";
        text += "\r\n";
        for (const RowConflict& c : a.conflicts)
            text +=
                "  No se ha cambiado, porque otro programa lo modificó: " + DescribeConflict(c) +
                "\r\n";
    }
    return text;
}

namespace {

// Rolls one account forward; see the argument at the top of this file.
RecoveredAccount RecoverAccount(
    RunJournal& journal, FileSet& set, const JournalAccount& account,
    const std::unordered_map<std::int64_t, std::unordered_map<std::int32_t, std::int64_t>>& later) {
    RecoveredAccount out{account.run, account.account, 0, {}};
    const std::vector<JournalRow> rows = journal.Rows(account.id);
    AccountPosting p;
    p.account = account.account;
    std::map<std::int64_t, std::size_t> slot;
    for (const JournalRow& r : rows) {
        if (r.skipped) continue;
        if (auto f = later.find(r.file); f != later.end())
            if (auto w = f->second.find(r.record); w != f->second.end() && w->second > account.id)
                continue;
        auto [it, added] = slot.emplace(r.file, p.files.size());
        if (added) p.files.push_back({journal.FilePath(r.file), journal.FileCompany(r.file)});
        p.rows.push_back({it->second, r.record, r.after.reference, r.after.mark, std::nullopt});
    }
    std::vector<JournalRow> skipped;
    if (!p.rows.empty()) {
        LockedAccount locked = LockAndRead(set, p);
        std::map<std::pair<std::size_t, std::int32_t>, const JournalRow*> intent;
        for (const JournalRow& r : rows)
            if (slot.count(r.file)) intent[{slot[r.file], r.record}] = &r;
        try {
            std::size_t next = 0;
            for (DataFile* f : locked.files) {
                for (; next < locked.rows.size() && locked.rows[next].file == f; ++next) {
                    const LockedRow& r = locked.rows[next];
                    const JournalRow& j = *intent.at({r.index, r.record});
                    if (r.before == j.after) continue;
                    if (r.before == j.before) {
                        set.Write(*f, r.record, r.before, j.after);
                        ++out.written;
                    } else {
                        out.conflicts.push_back(
                            {p.files[r.index].company, r.record, j.after, r.before});
                        skipped.push_back(j);
                    }
                }
                set.Commit(*f);
            }
        } catch (...) {
            set.RollbackAll(locked.files);
            throw;
        }
    }
    if (!skipped.empty()) journal.MarkSkipped(account.id, skipped);
    if (!account.done) journal.MarkDone(account.id);
    return out;
}

}  // namespace

RecoveryReport RecoverRuns(const std::string& firstCompanyFile, const PostingOptions& options) {
    RecoveryReport report;
    if (firstCompanyFile.empty() || !RunJournal::Exists(firstCompanyFile)) return report;
    RunJournal journal(firstCompanyFile, false);
    std::vector<std::int64_t> runs = journal.ClaimAbandonedRuns();
    if (runs.empty()) return report;
    FileSet set(options.wait);
    for (std::int64_t run : runs) {
        std::vector<JournalAccount> accounts = journal.UnsyncedAccounts(run);
        std::unordered_map<std::int64_t, std::unordered_map<std::int32_t, std::int64_t>> later;
        if (!accounts.empty())
            for (const auto& [row, account] : journal.LaterWrites(accounts.front().id))
                later[row.first][row.second] = account;
        for (const JournalAccount& a : accounts) {
            RecoveredAccount r = RecoverAccount(journal, set, a, later);
            if (r.written || !r.conflicts.empty()) report.accounts.push_back(std::move(r));
            set.Trim();
        }
        set.Sync();
        RaiseCounter(journal.companyFile(), journal.CounterOf(run));
        journal.EndRun(run, true);
    }
    return report;
}

// --- Undo ----------------------------------------------------------------------------------------

UndoResult UndoRun(const std::string& firstCompanyFile, std::int64_t run,
                   const std::string& account, const PostingOptions& options) {
    if (firstCompanyFile.empty() || !RunJournal::Exists(firstCompanyFile))
        throw HostError("No hay ninguna ejecución registrada para esta cadena de empresas");
    RunJournal journal(firstCompanyFile, false);
    std::optional<RunInfo> info = journal.Run(run);
    if (!info) throw HostError("No existe la ejecución " + std::to_string(run));
    if (info->state == RunInfo::State::Running)
        throw HostError("La ejecución " + std::to_string(run) + " sigue en curso");
    if (info->state == RunInfo::State::Interrupted)
        throw HostError("La ejecución " + std::to_string(run) +
                        " quedó interrumpida y aún no se ha completado");
    std::vector<JournalAccount> accounts = journal.Accounts(run);
    if (!account.empty()) {
        std::erase_if(accounts, [&](const JournalAccount& a) { return a.account != account; });
        if (accounts.empty())
            throw HostError("La ejecución " + std::to_string(run) + " no cambió la cuenta " +
                            account);
    }
    UndoResult result;
    PostingRun undo(firstCompanyFile, "undo",
                    std::to_string(run) + (account.empty() ? "" : " --account " + account),
                    options);
    for (auto a = accounts.rbegin(); a != accounts.rend(); ++a) {
        AccountPosting p;
        p.account = a->account;
        std::map<std::int64_t, std::size_t> slot;
        for (const JournalRow& r : journal.Rows(a->id)) {
            if (r.skipped) continue;
            auto [it, added] = slot.emplace(r.file, p.files.size());
            if (added) p.files.push_back({journal.FilePath(r.file), journal.FileCompany(r.file)});
            p.rows.push_back({it->second, r.record, r.before.reference, r.before.mark, r.after});
        }
        if (p.rows.empty()) continue;
        PostResult r = undo.Post(p);
        if (!r.conflicts.empty())
            result.refused.push_back({a->account, std::move(r.conflicts)});
        else
            result.undone.push_back({a->account, static_cast<std::int64_t>(r.changes.size())});
    }
    undo.Finish();
    result.run = undo.id();
    return result;
}

}  // namespace pendara
