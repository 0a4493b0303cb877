#include "host/company_keys.h"

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "host/company_file.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/crypt_vfs.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/run_journal.h"
#include "host/store.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace pendara {

// A change of key rewrites every data file of the company into "<file>.nuevo" (encrypted with
// the new key, or plain when the key goes), syncs them, and then rewrites the company header:
// that write is the change. Only then are the new files renamed over the old ones. A change cut
// short leaves new files beside the old ones; FinishKeyChange, run before the company is opened
// again, renames those that match the header (the change happened) and deletes the others (it
// did not). Either way the company is whole, under the old key or the new one.
namespace {

namespace fs = std::filesystem;

constexpr const char* kPending = ".nuevo";

// The files that hold the company's data: its entries and chart, and the run journal of the
// chain when the company is its first.
std::vector<std::string> DataFiles(const std::string& companyFile, const std::string& code) {
    return {EntriesFileOf(companyFile, code), ChartFileOf(companyFile, code),
            RunJournal::PathFor(companyFile, code)};
}

bool Exists(const std::string& path) {
    std::error_code ec;
    return fs::exists(path, ec);
}

void RemoveWithLogs(const std::string& path) {
    std::error_code ec;
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        fs::remove(path + suffix, ec);
}

void Sync(const std::string& path, bool folder) {
#ifndef _WIN32
    int fd = ::open(path.empty() ? "." : path.c_str(),
                    O_RDONLY | O_CLOEXEC | (folder ? O_DIRECTORY : 0));
    if (fd < 0) throw HostError("No se puede abrir " + path + " para asegurar lo escrito");
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    if (!ok) throw HostError("No se puede asegurar lo escrito en " + path);
#else
    (void)path;
    (void)folder;
#endif
}

// Whether `file` is what the header says the company's data files are.
bool MatchesHeader(const CompanyHeader& h, const std::string& file) {
    const std::optional<Salt> salt = EncryptedFileSalt(file);
    return h.hasKey && h.version >= 2 ? salt && *salt == h.salt : !salt;
}

// Makes sure no other connection uses the file, and keeps it so until `db` closes: a WAL file
// leaves WAL only when it is the last connection, and the exclusive lock of the rollback journal
// is then kept.
void TakeAlone(Db& db, const std::string& companyFile) {
    sqlite3_busy_timeout(db.handle(), 2000);
    try {
        Stmt mode(db, "PRAGMA journal_mode=DELETE");
        if (!mode.Step() || !EqualsNoCase(mode.Text(0), "delete"))
            throw HostError("modo de diario no cambiado");
        mode = Stmt();
        db.Exec("PRAGMA locking_mode=EXCLUSIVE");
        db.Exec("BEGIN EXCLUSIVE");
        db.Exec("COMMIT");
    } catch (const HostError& e) {
        throw HostError("La empresa " + companyFile +
                        " está abierta en otro programa o puesto: ciérrela en todos antes de "
                        "cambiar su clave; no se ha cambiado nada (" +
                        e.description() + ")");
    }
}

// The data of `source` copied page by page into the new file `target`, encrypted with the key
// of `salt`, or plain without one.
void CopyData(Db& source, const std::string& target, const Salt* salt) {
    {
        if (salt) CreateEncryptedFile(target, *salt);
        Db dest(target, Db::Mode::Create);
        dest.Exec("PRAGMA journal_mode=DELETE");
        sqlite3_backup* backup =
            sqlite3_backup_init(dest.handle(), "main", source.handle(), "main");
        if (!backup) dest.Fail("copia de " + source.path());
        const int rc = sqlite3_backup_step(backup, -1);
        sqlite3_backup_finish(backup);
        if (rc != SQLITE_DONE)
            throw HostError("No se puede copiar " + source.path() + " en " + target + ": " +
                            sqlite3_errstr(rc));
    }
    Sync(target, false);
}

}  // namespace

bool FinishKeyChange(const std::string& companyFile, const std::string& code) {
    bool pending = false;
    for (const std::string& data : DataFiles(companyFile, code))
        pending = pending || Exists(data + kPending);
    if (!pending) return false;
    CompanyHeaderLock lock(companyFile);
    const CompanyHeader h = lock.Read();
    for (const std::string& data : DataFiles(companyFile, h.code)) {
        const std::string next = data + kPending;
        if (!Exists(next)) continue;
        if (MatchesHeader(h, next)) {
            RemoveWithLogs(data + "-journal");
            RemoveWithLogs(data + "-wal");
            std::error_code ec;
            fs::rename(next, data, ec);
            if (ec)
                throw HostError("No se puede terminar el cambio de clave de " + data + ": " +
                                ec.message());
        } else {
            RemoveWithLogs(next);
        }
    }
    Sync(FolderOf(companyFile), true);
    return true;
}

void ChangeAccessKey(const std::string& companyFile, const std::string& currentKey,
                     const std::string& newKey) {
    const std::string file = ExistingCompanyFile(companyFile);
    FinishKeyChange(file, ReadCompanyCode(file));
    if (!VerifyAccessKey(file, currentKey))
        throw HostError(kErrAccessKey, "Clave de acceso incorrecta para " + file);
    const CompanyHeader before = ReadCompanyHeader(file);
    if (before.hasKey && before.version >= 2)
        RegisterDataKey(before.salt, DeriveKeys(currentKey, before.salt, before.keyCost).data);
    // The derivation takes a while: it is done before the header is locked.
    CompanyHeader fresh;
    SetAccessKey(fresh, newKey);
    if (fresh.hasKey)
        RegisterDataKey(fresh.salt, DeriveKeys(newKey, fresh.salt, fresh.keyCost).data);

    // Held to the end: counters and key checks of the company wait for the change.
    CompanyHeaderLock lock(file);
    CompanyHeader h = lock.Read();
    if (h.hasKey != before.hasKey || h.salt != before.salt)
        throw HostError("La clave de " + file +
                        " ha cambiado mientras tanto: no se ha cambiado nada");
    std::vector<std::string> data;
    std::vector<std::unique_ptr<Db>> sources;  // kept open, and alone, until the end
    try {
        for (const std::string& d : DataFiles(file, h.code)) {
            if (!Exists(d)) continue;
            auto source = std::make_unique<Db>(d, Db::Mode::ReadWrite);
            TakeAlone(*source, file);
            RemoveWithLogs(d + kPending);
            data.push_back(d);
            CopyData(*source, d + kPending, fresh.hasKey ? &fresh.salt : nullptr);
            sources.push_back(std::move(source));
        }
    } catch (...) {
        for (const std::string& d : data)
            RemoveWithLogs(d + kPending);
        throw;
    }
    h.version = fresh.version;
    h.hasKey = fresh.hasKey;
    h.keyCost = fresh.keyCost;
    h.salt = fresh.salt;
    h.keyCheck = fresh.keyCheck;
    h.failedAttempts = 0;
    h.lastFailureMs = 0;
    lock.Write(h);
    for (const std::string& d : data) {
        std::error_code ec;
        fs::rename(d + kPending, d, ec);
        if (ec)
            throw HostError("La clave de " + file + " ha cambiado pero " + d +
                            " no se ha podido sustituir (" + ec.message() +
                            "): se terminará al abrir la empresa");
    }
    Sync(FolderOf(file), true);
}

}  // namespace pendara
