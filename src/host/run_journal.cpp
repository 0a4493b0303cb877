#include "host/run_journal.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <set>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>
#endif

#include "host/company_file.h"
#include "host/crypt_vfs.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/store.h"

namespace pendara {

namespace {

namespace fs = std::filesystem;

constexpr int kSchemaVersion = 1;

// runs: one per command that wrote; `ended` stays NULL while the run is live and after it was
// interrupted, until a recovery completes it. `synced_through`: the last account of the run whose
// data files were synced after it (see account_posting.cpp).
// accounts: one per account a run changed, in posting order over every run; `counter` is the
// reference counter when its intent was recorded, so that a recovery never lets the counter fall
// behind a number written into the data.
// rows: what each account changed, by entries file and record number.
const char* const kSchema[] = {
    "CREATE TABLE IF NOT EXISTS runs("
    " id INTEGER PRIMARY KEY AUTOINCREMENT, started TEXT NOT NULL, user TEXT NOT NULL,"
    " machine TEXT NOT NULL, command TEXT NOT NULL, arguments TEXT NOT NULL, ended TEXT,"
    " recovered INTEGER NOT NULL DEFAULT 0, synced_through INTEGER NOT NULL DEFAULT 0)",
    "CREATE INDEX IF NOT EXISTS runs_open ON runs(id) WHERE ended IS NULL",
    "CREATE TABLE IF NOT EXISTS files("
    " id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, company TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS accounts("
    " id INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL, account TEXT NOT NULL,"
    " counter INTEGER NOT NULL, rows INTEGER NOT NULL, done INTEGER NOT NULL DEFAULT 0)",
    "CREATE INDEX IF NOT EXISTS accounts_run ON accounts(run, id)",
    "CREATE TABLE IF NOT EXISTS rows("
    " account INTEGER NOT NULL, file INTEGER NOT NULL, record INTEGER NOT NULL,"
    " old_reference TEXT NOT NULL, old_mark TEXT NOT NULL, new_reference TEXT NOT NULL,"
    " new_mark TEXT NOT NULL, skipped INTEGER NOT NULL DEFAULT 0,"
    " PRIMARY KEY(account, file, record)) WITHOUT ROWID",
};

std::string NowText() {
    std::time_t now = std::time(nullptr);
    std::tm t{};
#ifdef _WIN32
    localtime_s(&t, &now);
#else
    localtime_r(&now, &t);
#endif
    char buf[80];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", t.tm_year + 1900, t.tm_mon + 1,
                  t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
    return buf;
}

std::string Canonical(const std::string& path) {
    std::error_code ec;
    fs::path p = fs::weakly_canonical(fs::absolute(path, ec), ec);
    return ec ? path : p.string();
}

// One byte per run in the lock file beside the journal, locked by the process that runs it. On
// Linux the locks belong to this object's open file description, so a second journal object of
// the same process does not see its own process's live runs as abandoned.
class RunLocks {
  public:
    explicit RunLocks(const std::string& path) : path_(path) {
#ifdef _WIN32
        int n = MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0);
        std::wstring wide(n > 0 ? static_cast<std::size_t>(n) : 1, L'\0');
        MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), n);
        h_ = CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (h_ == INVALID_HANDLE_VALUE)
            throw HostError("No se puede abrir el fichero de bloqueo " + path_);
#else
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ < 0)
            throw HostError("No se puede abrir el fichero de bloqueo " + path_ + ": " +
                            std::strerror(errno));
#endif
    }
    ~RunLocks() {
#ifdef _WIN32
        CloseHandle(h_);
#else
        ::close(fd_);  // releases every byte this description holds
#endif
    }
    RunLocks(const RunLocks&) = delete;
    RunLocks& operator=(const RunLocks&) = delete;

    // Takes the run's byte without waiting; false when another holds it.
    bool TryLock(std::int64_t run) {
#ifdef _WIN32
        OVERLAPPED ov{};
        ov.Offset = static_cast<DWORD>(run & 0xFFFFFFFF);
        ov.OffsetHigh = static_cast<DWORD>(run >> 32);
        if (LockFileEx(h_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &ov))
            return true;
        if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING)
            return false;
        throw HostError("No se puede bloquear " + path_);
#else
        struct flock lk {};
        lk.l_type = F_WRLCK;
        lk.l_whence = SEEK_SET;
        lk.l_start = static_cast<off_t>(run);
        lk.l_len = 1;
        int rc;
        do {
#ifdef F_OFD_SETLK
            rc = ::fcntl(fd_, F_OFD_SETLK, &lk);
#else
            rc = ::fcntl(fd_, F_SETLK, &lk);
#endif
        } while (rc != 0 && errno == EINTR);
        if (rc == 0) return true;
        if (errno == EAGAIN || errno == EACCES) return false;
        throw HostError("No se puede bloquear " + path_ + ": " + std::strerror(errno));
#endif
    }

    void Unlock(std::int64_t run) {
#ifdef _WIN32
        OVERLAPPED ov{};
        ov.Offset = static_cast<DWORD>(run & 0xFFFFFFFF);
        ov.OffsetHigh = static_cast<DWORD>(run >> 32);
        UnlockFileEx(h_, 0, 1, 0, &ov);
#else
        struct flock lk {};
        lk.l_type = F_UNLCK;
        lk.l_whence = SEEK_SET;
        lk.l_start = static_cast<off_t>(run);
        lk.l_len = 1;
#ifdef F_OFD_SETLK
        ::fcntl(fd_, F_OFD_SETLK, &lk);
#else
        ::fcntl(fd_, F_SETLK, &lk);
#endif
#endif
    }

  private:
    std::string path_;
#ifdef _WIN32
    HANDLE h_ = INVALID_HANDLE_VALUE;
#else
    int fd_ = -1;
#endif
};

}  // namespace

const char* StateText(RunInfo::State state) {
    switch (state) {
        case RunInfo::State::Running:
            return "en curso";
        case RunInfo::State::Finished:
            return "terminada";
        case RunInfo::State::Interrupted:
            return "interrumpida";
        case RunInfo::State::Recovered:
            return "completada";
    }
    return "";
}

std::string CurrentUserName() {
#ifdef _WIN32
    const char* u = std::getenv("USERNAME");
    return u ? u : "";
#else
    for (const char* name : {"USER", "LOGNAME"})
        if (const char* u = std::getenv(name); u && *u) return u;
    if (const passwd* pw = ::getpwuid(::geteuid())) return pw->pw_name;
    return std::to_string(::geteuid());
#endif
}

std::string CurrentMachineName() {
#ifdef _WIN32
    const char* m = std::getenv("COMPUTERNAME");
    return m ? m : "";
#else
    char buf[256] = {};
    if (::gethostname(buf, sizeof buf - 1) != 0) return "";
    return buf;
#endif
}

struct RunJournal::Impl {
    std::string company;
    std::string path;
    std::string folder;  // canonical, with a trailing separator
    std::unique_ptr<Db> db;
    std::unique_ptr<RunLocks> locks;
    std::set<std::int64_t> held;
    std::map<std::string, std::int64_t> fileIds;                        // canonical path -> id
    std::map<std::int64_t, std::pair<std::string, std::string>> files;  // id -> path, company

    // A write transaction; `durable` syncs its commit even though the connection does not.
    template <typename F>
    void Write(bool durable, F&& body) {
        if (durable) db->Exec("PRAGMA synchronous=FULL");
        try {
            db->Exec("BEGIN IMMEDIATE");
            try {
                body();
                db->Exec("COMMIT");
            } catch (...) {
                try {
                    db->Exec("ROLLBACK");
                } catch (...) {
                    // the connection rolls back what is left when it closes
                }
                throw;
            }
        } catch (...) {
            if (durable) db->Exec("PRAGMA synchronous=NORMAL");
            throw;
        }
        if (durable) db->Exec("PRAGMA synchronous=NORMAL");
    }

    void LoadFile(std::int64_t id) {
        if (files.count(id)) return;
        Stmt st(*db, "SELECT path, company FROM files WHERE id = ?");
        st.Bind(1, id);
        if (!st.Step())
            throw HostError("El diario " + path + " no conoce el fichero " + std::to_string(id));
        std::string stored = st.Text(0);
        fs::path p(stored);
        files[id] = {p.is_absolute() ? stored : (fs::path(folder) / p).lexically_normal().string(),
                     st.Text(1)};
    }

    bool Live(std::int64_t run) {
        if (held.count(run)) return true;
        if (!locks->TryLock(run)) return true;
        locks->Unlock(run);
        return false;
    }
};

std::string RunJournal::PathFor(const std::string& firstCompanyFile) {
    std::string file = ExistingCompanyFile(firstCompanyFile);
    return PathFor(file, ReadCompanyCode(file));
}

std::string RunJournal::PathFor(const std::string& firstCompanyFile, const std::string& code) {
    return FolderOf(firstCompanyFile) + "diario" + code + ".qvj";
}

bool RunJournal::Exists(const std::string& firstCompanyFile) {
    std::error_code ec;
    try {
        return fs::is_regular_file(PathFor(firstCompanyFile), ec);
    } catch (const HostError&) {
        return false;  // no company file, no journal beside it
    }
}

RunJournal::RunJournal(const std::string& firstCompanyFile, bool create)
    : impl_(std::make_unique<Impl>()) {
    Impl& m = *impl_;
    m.company = ExistingCompanyFile(firstCompanyFile);
    m.path = PathFor(m.company);
    std::error_code ec;
    if (!create && !fs::is_regular_file(m.path, ec))
        throw HostError("No hay diario de ejecuciones en " + m.path);
    m.folder =
        (fs::path(Canonical(FolderOf(m.path).empty() ? "." : FolderOf(m.path))) / "").string();
    if (create && !fs::exists(m.path, ec)) {
        // The journal of a protected company holds its references and marks: it is encrypted as
        // the company's data files are, and opens only in a process that gave the key.
        const CompanyHeader h = ReadCompanyHeader(m.company);
        if (h.hasKey && h.version >= 2) {
            try {
                CreateEncryptedFile(m.path, h.salt);
            } catch (const HostError&) {
                if (!fs::exists(m.path, ec)) throw;  // else another process made it first
            }
        }
    }
    m.db = std::make_unique<Db>(m.path, create ? Db::Mode::Create : Db::Mode::ReadWrite);
    // Only an account's intent needs to reach the disk at once (RecordIntent syncs it); the
    // rest may follow with the next sync.
    m.db->Exec("PRAGMA synchronous=NORMAL");
    {
        Stmt v(*m.db, "PRAGMA user_version");
        v.Step();
        if (v.Int(0) > kSchemaVersion)
            throw HostError("El diario " + m.path + " es de una versión más moderna del programa");
        if (v.Int(0) < kSchemaVersion) {
            m.Write(false, [&] {
                for (const char* sql : kSchema)
                    m.db->Exec(sql);
                m.db->Exec("PRAGMA user_version=" + std::to_string(kSchemaVersion));
            });
        }
    }
    m.locks = std::make_unique<RunLocks>(m.path + "-lock");
}

RunJournal::~RunJournal() = default;

const std::string& RunJournal::path() const {
    return impl_->path;
}

const std::string& RunJournal::companyFile() const {
    return impl_->company;
}

std::int64_t RunJournal::BeginRun(const std::string& command, const std::string& arguments) {
    Impl& m = *impl_;
    std::int64_t id = 0;
    m.Write(false, [&] {
        Stmt st(*m.db,
                "INSERT INTO runs(started, user, machine, command, arguments)"
                " VALUES (?, ?, ?, ?, ?)");
        st.Bind(1, std::string_view(NowText()));
        st.Bind(2, std::string_view(CurrentUserName()));
        st.Bind(3, std::string_view(CurrentMachineName()));
        st.Bind(4, std::string_view(command));
        st.Bind(5, std::string_view(arguments));
        st.Run();
        id = sqlite3_last_insert_rowid(m.db->handle());
        // Locked before anyone can see the run, so that it is never taken for abandoned.
        if (!m.locks->TryLock(id))
            throw HostError("La ejecución " + std::to_string(id) + " ya está bloqueada");
    });
    m.held.insert(id);
    return id;
}

std::int64_t RunJournal::FileId(const std::string& entriesFile, const std::string& company) {
    Impl& m = *impl_;
    if (auto it = m.fileIds.find(entriesFile); it != m.fileIds.end()) return it->second;
    const std::string canonical = Canonical(entriesFile);
    if (auto it = m.fileIds.find(canonical); it != m.fileIds.end())
        return m.fileIds[entriesFile] = it->second;
    fs::path rel = fs::path(canonical).lexically_relative(m.folder);
    const std::string stored = rel.empty() ? canonical : rel.generic_string();
    std::int64_t id = 0;
    m.Write(false, [&] {
        Stmt ins(*m.db, "INSERT OR IGNORE INTO files(path, company) VALUES (?, ?)");
        ins.Bind(1, std::string_view(stored));
        ins.Bind(2, std::string_view(company));
        ins.Run();
        Stmt sel(*m.db, "SELECT id FROM files WHERE path = ?");
        sel.Bind(1, std::string_view(stored));
        sel.Step();
        id = sel.Int(0);
    });
    m.fileIds[canonical] = id;
    m.fileIds[entriesFile] = id;
    return id;
}

std::int64_t RunJournal::RecordIntent(std::int64_t run, const std::string& account,
                                      std::int32_t counter, const std::vector<JournalRow>& rows) {
    Impl& m = *impl_;
    std::int64_t id = 0;
    m.Write(true, [&] {
        Stmt acc(*m.db, "INSERT INTO accounts(run, account, counter, rows) VALUES (?, ?, ?, ?)");
        acc.Bind(1, run);
        acc.Bind(2, std::string_view(account));
        acc.Bind(3, static_cast<std::int64_t>(counter));
        acc.Bind(4, static_cast<std::int64_t>(rows.size()));
        acc.Run();
        id = sqlite3_last_insert_rowid(m.db->handle());
        Stmt row(*m.db,
                 "INSERT INTO rows(account, file, record, old_reference, old_mark, new_reference,"
                 " new_mark) VALUES (?, ?, ?, ?, ?, ?, ?)");
        for (const JournalRow& r : rows) {
            row.Reset();
            row.Bind(1, id);
            row.Bind(2, r.file);
            row.Bind(3, static_cast<std::int64_t>(r.record));
            row.Bind(4, std::string_view(r.before.reference));
            row.Bind(5, std::string_view(r.before.mark));
            row.Bind(6, std::string_view(r.after.reference));
            row.Bind(7, std::string_view(r.after.mark));
            row.Run();
        }
    });
    return id;
}

void RunJournal::MarkDone(std::int64_t account) {
    Impl& m = *impl_;
    m.Write(false, [&] {
        Stmt st(*m.db, "UPDATE accounts SET done = 1 WHERE id = ?");
        st.Bind(1, account);
        st.Run();
    });
}

void RunJournal::MarkSkipped(std::int64_t account, const std::vector<JournalRow>& rows) {
    Impl& m = *impl_;
    m.Write(false, [&] {
        Stmt st(*m.db, "UPDATE rows SET skipped = 1 WHERE account = ? AND file = ? AND record = ?");
        for (const JournalRow& r : rows) {
            st.Reset();
            st.Bind(1, account);
            st.Bind(2, r.file);
            st.Bind(3, static_cast<std::int64_t>(r.record));
            st.Run();
        }
    });
}

void RunJournal::MarkSynced(std::int64_t run, std::int64_t account) {
    Impl& m = *impl_;
    m.Write(false, [&] {
        Stmt st(*m.db, "UPDATE runs SET synced_through = ? WHERE id = ? AND synced_through < ?");
        st.Bind(1, account);
        st.Bind(2, run);
        st.Bind(3, account);
        st.Run();
    });
}

void RunJournal::EndRun(std::int64_t run, bool recovered) {
    Impl& m = *impl_;
    m.Write(false, [&] {
        Stmt st(*m.db, "UPDATE runs SET ended = ?, recovered = ? WHERE id = ?");
        st.Bind(1, std::string_view(NowText()));
        st.Bind(2, std::int64_t{recovered ? 1 : 0});
        st.Bind(3, run);
        st.Run();
    });
    ReleaseRun(run);
}

void RunJournal::ReleaseRun(std::int64_t run) {
    Impl& m = *impl_;
    if (m.held.erase(run)) m.locks->Unlock(run);
}

std::vector<std::int64_t> RunJournal::ClaimAbandonedRuns() {
    Impl& m = *impl_;
    std::vector<std::int64_t> open;
    {
        Stmt st(*m.db, "SELECT id FROM runs WHERE ended IS NULL ORDER BY id");
        while (st.Step())
            open.push_back(st.Int(0));
    }
    std::vector<std::int64_t> claimed;
    for (std::int64_t run : open) {
        if (m.held.count(run) || !m.locks->TryLock(run)) continue;
        m.held.insert(run);
        claimed.push_back(run);
    }
    return claimed;
}

namespace {

std::vector<JournalAccount> ReadJournalAccounts(Db& db, const std::string& sql, std::int64_t run) {
    std::vector<JournalAccount> out;
    Stmt st(db, sql);
    st.Bind(1, run);
    while (st.Step()) {
        JournalAccount a;
        a.id = st.Int(0);
        a.run = run;
        a.account = st.Text(1);
        a.done = st.Int(2) != 0;
        a.changed = st.Int(3);
        out.push_back(std::move(a));
    }
    return out;
}

}  // namespace

std::vector<JournalAccount> RunJournal::UnsyncedAccounts(std::int64_t run) {
    return ReadJournalAccounts(*impl_->db,
                               "SELECT id, account, done, rows FROM accounts WHERE run = ?1 AND"
                               " id > (SELECT synced_through FROM runs WHERE id = ?1) ORDER BY id",
                               run);
}

std::vector<JournalRow> RunJournal::Rows(std::int64_t account) {
    Stmt st(*impl_->db,
            "SELECT file, record, old_reference, old_mark, new_reference, new_mark, skipped"
            " FROM rows WHERE account = ? ORDER BY file, record");
    st.Bind(1, account);
    std::vector<JournalRow> out;
    while (st.Step()) {
        JournalRow r;
        r.file = st.Int(0);
        r.record = static_cast<std::int32_t>(st.Int(1));
        r.before = {st.Text(2), st.Text(3)};
        r.after = {st.Text(4), st.Text(5)};
        r.skipped = st.Int(6) != 0;
        out.push_back(std::move(r));
    }
    return out;
}

std::vector<JournalAccount> RunJournal::Accounts(std::int64_t run) {
    return ReadJournalAccounts(
        *impl_->db, "SELECT id, account, done, rows FROM accounts WHERE run = ? ORDER BY id", run);
}

std::vector<std::pair<std::pair<std::int64_t, std::int32_t>, std::int64_t>> RunJournal::LaterWrites(
    std::int64_t account) {
    Stmt st(*impl_->db,
            "SELECT file, record, MAX(account) FROM rows WHERE account > ? AND skipped = 0"
            " GROUP BY file, record");
    st.Bind(1, account);
    std::vector<std::pair<std::pair<std::int64_t, std::int32_t>, std::int64_t>> out;
    while (st.Step())
        out.push_back({{st.Int(0), static_cast<std::int32_t>(st.Int(1))}, st.Int(2)});
    return out;
}

std::int32_t RunJournal::CounterOf(std::int64_t run) {
    Stmt st(*impl_->db, "SELECT COALESCE(MAX(counter), 0) FROM accounts WHERE run = ?");
    st.Bind(1, run);
    st.Step();
    return static_cast<std::int32_t>(st.Int(0));
}

std::vector<RunInfo> RunJournal::Runs() {
    Impl& m = *impl_;
    Stmt st(*m.db,
            "SELECT r.id, r.started, r.user, r.machine, r.command, r.arguments,"
            " r.ended IS NOT NULL, r.recovered, COUNT(a.id), COALESCE(SUM(a.rows), 0)"
            " FROM runs r LEFT JOIN accounts a ON a.run = r.id GROUP BY r.id ORDER BY r.id");
    std::vector<RunInfo> out;
    while (st.Step()) {
        RunInfo r;
        r.id = st.Int(0);
        r.started = st.Text(1);
        r.user = st.Text(2);
        r.machine = st.Text(3);
        r.command = st.Text(4);
        r.arguments = st.Text(5);
        bool ended = st.Int(6) != 0;
        r.accounts = st.Int(8);
        r.rows = st.Int(9);
        if (ended)
            r.state = st.Int(7) ? RunInfo::State::Recovered : RunInfo::State::Finished;
        else
            r.state = m.Live(r.id) ? RunInfo::State::Running : RunInfo::State::Interrupted;
        out.push_back(std::move(r));
    }
    return out;
}

std::optional<RunInfo> RunJournal::Run(std::int64_t id) {
    for (RunInfo& r : Runs())
        if (r.id == id) return std::move(r);
    return std::nullopt;
}

std::string RunJournal::FilePath(std::int64_t file) {
    impl_->LoadFile(file);
    return impl_->files[file].first;
}

std::string RunJournal::FileCompany(std::int64_t file) {
    impl_->LoadFile(file);
    return impl_->files[file].second;
}

}  // namespace pendara
