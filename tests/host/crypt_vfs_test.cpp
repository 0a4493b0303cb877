// The data of a protected company at rest: encrypted in its data files and in their logs, opened
// only with the key its company file checks, whole after a crash, and rewritten all or nothing
// when the key changes.

#include "host/crypt_vfs.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/company_file.h"
#include "host/company_keys.h"
#include "host/csv.h"
#include "host/errors.h"
#include "host/qv_file_control.h"
#include "host/qv_ole70.h"
#include "host/run_journal.h"
#include "host/store.h"
#include "support/host_error.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

namespace fs = std::filesystem;

const std::string kSecret = "Factura secreta 4471";

using testing::ReadAll;

using testing::ErrorOf;

// What plain SQLite, the sqlite3 program's way, makes of a file.
std::string RawSqlite(const std::string& path, const std::string& table = "entries") {
    sqlite3* db = nullptr;
    sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    char* err = nullptr;
    int rc = sqlite3_exec(db, ("SELECT count(*) FROM " + table).c_str(), nullptr, nullptr, &err);
    std::string out = rc == SQLITE_OK ? "legible" : (err ? err : "error");
    sqlite3_free(err);
    sqlite3_close(db);
    return out;
}

std::vector<EntryRecord> SomeEntries(int n, const std::string& description) {
    std::vector<EntryRecord> out;
    for (int i = 0; i < n; ++i)
        out.push_back({"43000000" + std::to_string(10 + i % 80), "15/03/25", std::to_string(i),
                       description + " " + std::to_string(i), 1 + i % 2, i % 2 ? -12.5 : 12.5});
    return out;
}

class CryptTest : public ::testing::Test {
  protected:
    void SetUp() override { SetAccessKeyDelayUnit(std::chrono::milliseconds(5)); }
    void TearDown() override { SetAccessKeyDelayUnit(std::chrono::milliseconds(500)); }
    testing::Ledger l;
};

TEST_F(CryptTest, AProtectedCompanysFilesAndLogsHoldNoPlainText) {
    const std::string c = l.Company("S1", "Protegida", 2025, "", "llave");
    const std::string p = l.Company("P1", "Sin clave", 2025);
    l.Accounts(c, {{"4300000010", kSecret}});
    l.Entries(c, SomeEntries(300, kSecret));
    l.Entries(p, SomeEntries(3, kSecret));
    const std::string entries = l.EntriesFile(c);
    EXPECT_EQ(ReadAll(entries).find("Factura secreta"), std::string::npos);
    EXPECT_EQ(ReadAll(ChartFileOf(c)).find("Factura secreta"), std::string::npos);
    EXPECT_EQ(RawSqlite(entries), "file is not a database");
    // Unprotected companies stay plain SQLite.
    EXPECT_EQ(RawSqlite(l.EntriesFile(p)), "legible");
    EXPECT_NE(ReadAll(l.EntriesFile(p)).find("Factura secreta"), std::string::npos);

    // While a connection is open, committed rows wait in the WAL: encrypted as well.
    {
        Db db(entries, Db::Mode::ReadWrite);
        EXPECT_TRUE(db.encrypted());
        db.Exec("UPDATE entries SET descripcion = '" + kSecret + " en el WAL' WHERE id < 50");
        ASSERT_TRUE(fs::exists(entries + "-wal"));
        EXPECT_GT(fs::file_size(entries + "-wal"), 4096u);
        EXPECT_EQ(ReadAll(entries + "-wal").find("Factura secreta"), std::string::npos);
    }
    // The rollback journal (network folders) holds the old rows: encrypted too.
    {
        Db db(entries, Db::Mode::ReadWrite);
        db.Exec("PRAGMA journal_mode=DELETE");
        db.Exec("BEGIN IMMEDIATE");
        db.Exec("UPDATE entries SET descripcion = 'x' WHERE id < 200");
        ASSERT_TRUE(fs::exists(entries + "-journal"));
        EXPECT_EQ(ReadAll(entries + "-journal").find("Factura secreta"), std::string::npos);
        db.Exec("ROLLBACK");
    }
    std::vector<EntryRecord> read = l.Read(c);
    ASSERT_EQ(read.size(), 300u);
    EXPECT_EQ(read[0].descripcion, kSecret + " en el WAL");
    EXPECT_EQ(read[299].descripcion, kSecret + " 299");
}

// A process that has not opened the company with its key cannot open its data: the check does
// not depend on the company file, which anyone may edit.
TEST_F(CryptTest, EditedOrCopiedCompanyHeadersDoNotOpenTheData) {
    const std::string c = l.Company("S2", "Protegida", 2025, "", "llave");
    l.Entries(c, SomeEntries(20, kSecret));
    const std::string qvdata = std::string(QVDATA_EXE) + " export-entries ";
    auto exported = [&](const std::string& company, const std::string& key) {
        return testing::RunCommand(qvdata + company + " 2>&1", key + "\n").out;
    };
    EXPECT_NE(exported(c, "llave").find(kSecret), std::string::npos);

    // Byte 16 cleared: the company file says there is no key.
    const std::string header = ReadAll(c);
    {
        std::fstream f(c, std::ios::binary | std::ios::in | std::ios::out);
        f.seekp(16);
        f.put('\0');
    }
    EXPECT_FALSE(ReadCompanyHeader(c).hasKey);
    std::string out = exported(c, "");
    EXPECT_EQ(out.find(kSecret), std::string::npos);
    EXPECT_NE(out.find("está cifrado"), std::string::npos) << out;
    std::ofstream(c, std::ios::binary) << header;

    // The company file of another company with a known key, given this company's code, beside
    // the data.
    testing::Ledger other;
    const std::string mine = other.Company("S2", "Mía", 2025, "", "conocida");
    const std::string fake = l.File("FALSA.QVT");
    fs::copy_file(mine, fake);
    out = exported(fake, "conocida");
    EXPECT_EQ(out.find(kSecret), std::string::npos);
    EXPECT_NE(out.find("está cifrado"), std::string::npos) << out;
    const std::string csv = l.File("nuevos.csv");
    std::ofstream(csv) << "Cuenta;Descripcion;Importe\n4300000099;Intruso;1\n";
    EXPECT_NE(testing::RunCommand(
                  std::string(QVDATA_EXE) + " import-entries " + fake + " " + csv + " 2>/dev/null",
                  "conocida\n")
                  .status,
              0);
    // With the salt of the real company copied in, the other key still derives another key.
    {
        std::fstream f(fake, std::ios::binary | std::ios::in | std::ios::out);
        f.seekp(32);
        f.write(header.data() + 32, 16);
    }
    EXPECT_FALSE(CheckAccessKey(ReadCompanyHeader(fake), "conocida"));
    EXPECT_EQ(l.Read(c).size(), 20u);
}

TEST_F(CryptTest, ADamagedOrMovedBlockIsAnErrorNotData) {
    const std::string c = l.Company("S3", "Protegida", 2025, "", "llave");
    l.Entries(c, SomeEntries(2000, kSecret));
    const std::string entries = l.EntriesFile(c);
    const std::string original = ReadAll(entries);
    const std::size_t block = 24 + 4096 + 16;
    ASSERT_GT(original.size(), kEncryptedHeaderBytes + 8 * block);
    // One byte of the last block changed.
    // Every page read, as the integrity check reads them.
    auto readAll = [&] {
        return ErrorOf([&] {
            Db db(entries, Db::Mode::ReadWrite);
            Stmt check(db, "PRAGMA integrity_check");
            // The check reports unreadable pages among its findings; the VFS says why.
            if (check.Step() && check.Text(0) != "ok")
                throw HostError(check.Text(0) + " " + TakeCryptProblem());
        });
    };
    EXPECT_EQ(readAll(), "");
    std::string edited = original;
    edited[edited.size() - 100] ^= 1;
    std::ofstream(entries, std::ios::binary) << edited;
    std::string message = readAll();
    EXPECT_NE(message.find("no se puede descifrar"), std::string::npos) << message;
    // Two blocks swapped.
    std::string swapped = original;
    const std::size_t a = kEncryptedHeaderBytes + 2 * block, b = kEncryptedHeaderBytes + 5 * block;
    std::swap_ranges(swapped.begin() + static_cast<long>(a),
                     swapped.begin() + static_cast<long>(a + block),
                     swapped.begin() + static_cast<long>(b));
    std::ofstream(entries, std::ios::binary) << swapped;
    message = readAll();
    EXPECT_NE(message.find("no se puede descifrar"), std::string::npos) << message;
    std::ofstream(entries, std::ios::binary) << original;
    EXPECT_EQ(readAll(), "");
    EXPECT_EQ(l.Read(c).size(), 2000u);
}

// Killed at any moment while it writes, a protected company's data open whole afterwards with
// every transaction that was committed.
// Plain files too: their WAL writes each frame's header together with its page.
TEST_F(CryptTest, CommittedRowsSurviveAKillInBothJournalModes) {
    for (const char* key : {"llave", ""})
        for (const char* mode : {"WAL", "DELETE"}) {
            SCOPED_TRACE(std::string(key) + " " + mode);
            testing::Ledger ledger;
            const std::string c = ledger.Company("S4", "Protegida", 2025, "", key);
            const std::string entries = ledger.EntriesFile(c);
            int pipeFds[2];
            ASSERT_EQ(::pipe(pipeFds), 0);
            pid_t pid = ::fork();
            ASSERT_GE(pid, 0);
            if (pid == 0) {
                ::close(pipeFds[0]);
                Db db(entries, Db::Mode::ReadWrite);
                db.Exec(std::string("PRAGMA journal_mode=") + mode);
                for (int t = 0;; ++t) {
                    db.Exec("BEGIN IMMEDIATE");
                    for (int i = 0; i < 40; ++i)
                        db.Exec(
                            "INSERT INTO entries(cuenta, descripcion, debe_haber) VALUES ('43', '" +
                            std::string(200 + (t * 37 + i) % 600, 'x') + "', 1)");
                    db.Exec("COMMIT");
                    if (::write(pipeFds[1], &t, sizeof t) != sizeof t) ::_exit(1);
                }
            }
            ::close(pipeFds[1]);
            int committed = -1, t = 0;
            const auto start = std::chrono::steady_clock::now();
            while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(400) &&
                   ::read(pipeFds[0], &t, sizeof t) == sizeof t)
                committed = t;
            ::kill(pid, SIGKILL);
            while (::read(pipeFds[0], &t, sizeof t) == sizeof t)
                committed = t;
            ::close(pipeFds[0]);
            ::waitpid(pid, nullptr, 0);
            ASSERT_GE(committed, 0) << mode;
            Db db(entries, Db::Mode::ReadWrite);
            Stmt check(db, "PRAGMA integrity_check");
            ASSERT_TRUE(check.Step());
            EXPECT_EQ(check.Text(0), "ok") << mode;
            Stmt count(db, "SELECT count(*) FROM entries");
            ASSERT_TRUE(count.Step());
            // Every reported commit is there, and at most the one in progress after it.
            EXPECT_GE(count.Int(0), (committed + 1) * 40) << mode;
            EXPECT_LE(count.Int(0), (committed + 2) * 40) << mode;
            EXPECT_EQ(count.Int(0) % 40, 0) << mode;
        }
}

// Giving a key encrypts the data that were plain; removing it leaves plain SQLite files again,
// with the same rows and nothing of the change beside them.
TEST_F(CryptTest, GivingAndRemovingAKeyRewritesTheSameData) {
    const std::string c = l.Company("S8", "Abierta", 2025);
    l.Accounts(c, {{"4300000010", kSecret}});
    l.Entries(c, SomeEntries(400, kSecret));
    const std::string before = ExportEntriesCsv(c);
    const std::string entries = l.EntriesFile(c), chart = ChartFileOf(c);
    ChangeAccessKey(c, "", "puesta");
    EXPECT_EQ(RawSqlite(entries), "file is not a database");
    EXPECT_EQ(ReadAll(chart).find("Factura secreta"), std::string::npos);
    EXPECT_TRUE(EncryptedFileSalt(entries) == ReadCompanyHeader(c).salt);
    EXPECT_EQ(ExportEntriesCsv(c), before);
    ChangeAccessKey(c, "puesta", "");
    EXPECT_FALSE(ReadCompanyHeader(c).hasKey);
    EXPECT_FALSE(EncryptedFileSalt(entries).has_value());
    EXPECT_EQ(RawSqlite(entries), "legible");
    EXPECT_NE(ReadAll(chart).find("Factura secreta"), std::string::npos);
    EXPECT_EQ(ExportEntriesCsv(c), before);
    for (const auto& e : fs::directory_iterator(l.dir().path()))
        EXPECT_EQ(e.path().string().find(".nuevo"), std::string::npos) << e.path();
}

// The run journal beside a protected first company keeps its references: encrypted with its
// data, re-encrypted with them when the key changes, plain again when the key goes.
TEST_F(CryptTest, TheRunJournalOfAProtectedCompanyIsEncryptedWithItsData) {
    const std::string c = l.Company("S9", "Protegida", 2025, "", "llave");
    const std::string journal = RunJournal::PathFor(c);
    {
        RunJournal j(c, true);
        j.EndRun(j.BeginRun("save", kSecret));
    }
    EXPECT_EQ(RawSqlite(journal, "runs"), "file is not a database");
    EXPECT_EQ(ReadAll(journal).find("Factura secreta"), std::string::npos);
    ChangeAccessKey(c, "llave", "otra");
    EXPECT_TRUE(EncryptedFileSalt(journal) == ReadCompanyHeader(c).salt);
    ASSERT_EQ(RunJournal(c, false).Runs().size(), 1u);
    ChangeAccessKey(c, "otra", "");
    EXPECT_EQ(RawSqlite(journal, "runs"), "legible");
    const std::vector<RunInfo> runs = RunJournal(c, false).Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].arguments, kSecret);
    // An unprotected company's journal stays plain from the start.
    const std::string p = l.Company("P9", "Abierta", 2025);
    RunJournal(p, true).BeginRun("save", "x");
    EXPECT_EQ(RawSqlite(RunJournal::PathFor(p), "runs"), "legible");
}

// The state a change of key leaves when it is cut short, made by hand at each step; the next
// opening finishes it or undoes it, and the data are the same under one key or the other.
TEST_F(CryptTest, AChangeOfKeyCutShortIsFinishedOrUndone) {
    const std::string c = l.Company("S5", "Protegida", 2025, "", "vieja");
    l.Accounts(c, {{"4300000010", "Cliente"}});
    l.Entries(c, SomeEntries(500, kSecret));
    const std::string before = ExportEntriesCsv(c);
    const std::string entries = l.EntriesFile(c), chart = ChartFileOf(c);
    // The same company with the new key, in a folder of its own: its files are what a change
    // writes as "<file>.nuevo", its company file what the change writes last.
    testing::Ledger copy;
    const std::string c2 = copy.File("EMPS5.QVT");
    for (const std::string& f : {c, entries, chart})
        fs::copy_file(f, copy.File(fs::path(f).filename().string()));
    ChangeAccessKey(c2, "vieja", "nueva");
    const std::string newHeader = ReadAll(c2), oldHeader = ReadAll(c);
    const std::string newEntries = ReadAll(copy.File(fs::path(entries).filename().string()));
    const std::string newChart = ReadAll(copy.File(fs::path(chart).filename().string()));
    ForgetDerivedKeys();

    auto opensWith = [&](const std::string& key) {
        QvOLE70 s;
        try {
            s.OpenCompany(c, key);
        } catch (const HostError& e) {
            if (e.code() == kErrAccessKey) return false;
            throw;
        }
        return ExportEntriesCsv(c) == before;
    };
    // Cut while copying: a half-written new file beside the old ones; the old key holds.
    std::ofstream(entries + ".nuevo", std::ios::binary) << newEntries.substr(0, 9000);
    EXPECT_TRUE(opensWith("vieja"));
    EXPECT_FALSE(fs::exists(entries + ".nuevo"));
    // Cut after both copies, before the company file: the old key holds.
    std::ofstream(entries + ".nuevo", std::ios::binary) << newEntries;
    std::ofstream(chart + ".nuevo", std::ios::binary) << newChart;
    EXPECT_FALSE(opensWith("nueva"));
    EXPECT_TRUE(opensWith("vieja"));
    EXPECT_FALSE(fs::exists(chart + ".nuevo"));
    // Cut after the company file, before the renames: the change is finished.
    std::ofstream(entries + ".nuevo", std::ios::binary) << newEntries;
    std::ofstream(chart + ".nuevo", std::ios::binary) << newChart;
    std::ofstream(c, std::ios::binary) << newHeader;
    EXPECT_FALSE(opensWith("vieja"));
    EXPECT_TRUE(opensWith("nueva"));
    EXPECT_FALSE(fs::exists(entries + ".nuevo"));
    const Salt salt = ReadCompanyHeader(c).salt;
    EXPECT_TRUE(EncryptedFileSalt(entries) == salt);
    EXPECT_TRUE(EncryptedFileSalt(chart) == salt);
    EXPECT_TRUE(ReadAll(c) != oldHeader);
}

// The real thing: a change of key killed at several moments.
TEST_F(CryptTest, AChangeOfKeyKilledAnywhereLeavesOneKeyOrTheOther) {
    testing::Ledger base;
    const std::string c0 = base.Company("S6", "Protegida", 2025, "", "vieja");
    base.Entries(c0, SomeEntries(20000, kSecret));
    const std::string before = ExportEntriesCsv(c0);
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(base.dir().path()))
        files.push_back(e.path().filename().string());
    // How long a whole change takes, to spread the kills over it.
    auto run = [&](const std::string& folder, std::chrono::microseconds killAfter) {
        pid_t pid = ::fork();
        if (pid == 0) {
            try {
                ChangeAccessKey(folder + "/EMPS6.QVT", "vieja", "nueva");
            } catch (...) {
                ::_exit(1);
            }
            ::_exit(0);
        }
        if (killAfter.count() > 0) {
            std::this_thread::sleep_for(killAfter);
            ::kill(pid, SIGKILL);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        return status;
    };
    auto fresh = [&](int n) {
        const std::string folder = l.File("copia" + std::to_string(n));
        fs::create_directories(folder);
        for (const std::string& f : files)
            fs::copy_file(base.File(f), folder + "/" + f);
        return folder;
    };
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(run(fresh(0), std::chrono::microseconds(0)), 0);
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    int oldKey = 0, newKey = 0;
    for (int i = 1; i <= 8; ++i) {
        const std::string folder = fresh(i);
        // From half-way (the new key's derivation comes first) to a little after the end.
        run(folder, whole * (45 + 8 * i) / 100);
        const std::string company = folder + "/EMPS6.QVT";
        QvOLE70 s;
        bool opened = false;
        for (const char* key : {"vieja", "nueva"}) {
            try {
                s.OpenCompany(company, key);
            } catch (const HostError& e) {
                ASSERT_EQ(e.code(), kErrAccessKey) << e.description();
                continue;
            }
            opened = true;
            (std::string(key) == "vieja" ? oldKey : newKey)++;
            EXPECT_EQ(ExportEntriesCsv(company), before) << i << " " << key;
        }
        EXPECT_TRUE(opened) << i;
        for (const auto& e : fs::directory_iterator(folder))
            EXPECT_EQ(e.path().string().find(".nuevo"), std::string::npos) << e.path();
    }
    EXPECT_EQ(oldKey + newKey, 8);
}

TEST_F(CryptTest, ChangingTheKeyNeedsTheCompanyClosedEverywhere) {
    const std::string c = l.Company("S7", "Protegida", 2025, "", "llave");
    l.Entries(c, SomeEntries(10, kSecret));
    QvFileControl2 reader;
    reader.OpenFile(l.EntriesFile(c));
    reader.MoveFirst();
    ASSERT_FALSE(reader.IsEof());
    const std::string message = ErrorOf([&] { ChangeAccessKey(c, "llave", "otra"); });
    EXPECT_NE(message.find("está abierta en otro programa o puesto"), std::string::npos) << message;
    reader.CloseFile();
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "llave"));
    EXPECT_EQ(l.Read(c).size(), 10u);
    ChangeAccessKey(c, "llave", "otra");
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "otra"));
    EXPECT_EQ(l.Read(c).size(), 10u);
}

}  // namespace
}  // namespace pendara
