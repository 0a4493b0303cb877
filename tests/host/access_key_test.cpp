// Access keys: what the company file keeps of them, the waits after wrong keys (in this process
// and across processes), the older layout, and the key commands of qvdata.

#include <gtest/gtest.h>
#include <sodium.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>

#include "host/access_key.h"
#include "host/company_file.h"
#include "host/company_keys.h"
#include "host/errors.h"
#include "host/qv_ole70.h"
#include "support/host_error.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

using Clock = std::chrono::steady_clock;

std::string Bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), {});
}

void PutBytes(const std::string& path, std::size_t at, const std::string& bytes) {
    std::fstream f(path, std::ios::binary | std::ios::in | std::ios::out);
    f.seekp(static_cast<std::streamoff>(at));
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// Waits of a few milliseconds keep the tests short; the schedule is the same.
class AccessKeyTest : public ::testing::Test {
  protected:
    void SetUp() override { SetAccessKeyDelayUnit(std::chrono::milliseconds(40)); }
    void TearDown() override { SetAccessKeyDelayUnit(std::chrono::milliseconds(500)); }
    testing::Ledger l;
};

TEST_F(AccessKeyTest, TheFileKeepsASaltedArgon2idCheckOnly) {
    std::string a = l.Company("A1", "Uno", 2025, "", "secreto");
    std::string b = l.Company("B1", "Dos", 2025, "", "secreto");
    CompanyHeader ha = ReadCompanyHeader(a), hb = ReadCompanyHeader(b);
    EXPECT_EQ(ha.version, 2);
    EXPECT_EQ(ha.keyCost, DefaultKeyCost());
    EXPECT_NE(ha.salt, hb.salt);  // one salt per company: the same key gives different checks
    EXPECT_NE(ha.keyCheck, hb.keyCheck);
    // The check is Argon2id over the key and the salt, not a fast hash of them.
    KeyBytes blake;
    crypto_generichash(blake.data(), blake.size(),
                       reinterpret_cast<const unsigned char*>("secreto"), 7, ha.salt.data(),
                       ha.salt.size());
    EXPECT_NE(blake, ha.keyCheck);
    EXPECT_EQ(DeriveKeys("secreto", ha.salt, ha.keyCost).check, ha.keyCheck);
    EXPECT_TRUE(CheckAccessKey(ha, "secreto"));
    EXPECT_FALSE(CheckAccessKey(ha, "secreta"));
    EXPECT_EQ(Bytes(a).find("secreto"), std::string::npos);
}

TEST_F(AccessKeyTest, WrongKeysAreCountedInTheFileAndTheWaitGrows) {
    EXPECT_EQ(AccessKeyDelay(0).count(), 0);
    EXPECT_EQ(AccessKeyDelay(1).count(), 40);
    EXPECT_EQ(AccessKeyDelay(2).count(), 80);
    EXPECT_EQ(AccessKeyDelay(4).count(), 320);
    EXPECT_EQ(AccessKeyDelay(7).count(), 2400);  // the longest: sixty units
    EXPECT_EQ(AccessKeyDelay(200).count(), 2400);

    std::string c = l.Company("K1", "Con clave", 2025, "", "llave");
    ForgetDerivedKeys();
    for (std::uint32_t n = 1; n <= 3; ++n) {
        const auto start = Clock::now();
        EXPECT_FALSE(VerifyAccessKey(c, "mala"));
        // A wrong key waits its own delay before the answer.
        EXPECT_GE(Clock::now() - start, AccessKeyDelay(n));
        CompanyHeader h = ReadCompanyHeader(c);
        EXPECT_EQ(h.failedAttempts, n);
        EXPECT_GT(h.lastFailureMs, 0);
    }
    // An empty key is no guess: it is neither counted nor made to wait.
    EXPECT_FALSE(VerifyAccessKey(c, ""));
    EXPECT_EQ(ReadCompanyHeader(c).failedAttempts, 3u);
    EXPECT_TRUE(VerifyAccessKey(c, "llave"));
    EXPECT_EQ(ReadCompanyHeader(c).failedAttempts, 0u);
}

// A key that opened the company before in this process is answered at once, even while guesses
// elsewhere make others wait; it does not clear their count either.
TEST_F(AccessKeyTest, AKeyThatOpenedTheCompanyIsNotMadeToWait) {
    std::string c = l.Company("K5", "Con clave", 2025, "", "llave");
    SetAccessKeyDelayUnit(std::chrono::milliseconds(2000));
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        SetAccessKeyDelayUnit(std::chrono::milliseconds(0));
        ::_exit(VerifyAccessKey(c, "mala") ? 1 : 0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const auto start = Clock::now();
    EXPECT_TRUE(VerifyAccessKey(c, "llave"));
    EXPECT_LT(Clock::now() - start, AccessKeyDelay(1));
    EXPECT_EQ(ReadCompanyHeader(c).failedAttempts, 1u);
}

// Each guess in a new process still waits: the count lives in the company file.
TEST_F(AccessKeyTest, TheWaitHoldsAcrossProcesses) {
    std::string c = l.Company("K2", "Con clave", 2025, "", "llave");
    for (int i = 0; i < 3; ++i) {
        pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            // The child forgets the answer as soon as it has it: it does not sleep the delay.
            SetAccessKeyDelayUnit(std::chrono::milliseconds(0));
            ::_exit(VerifyAccessKey(c, "mala" + std::to_string(i)) ? 1 : 0);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(ReadCompanyHeader(c).failedAttempts, 3u);
    ForgetDerivedKeys();
    const auto start = Clock::now();
    EXPECT_TRUE(VerifyAccessKey(c, "llave"));
    EXPECT_GE(Clock::now() - start, AccessKeyDelay(3) - std::chrono::milliseconds(60));
}

TEST_F(AccessKeyTest, TheServerRefusesWithTheAccessKeyCode) {
    std::string c = l.Company("K3", "Con clave", 2025, "", "llave");
    QvOLE70 s;
    for (const char* key : {"", "mala"})
        EXPECT_EQ(testing::ErrorCodeOf([&] { s.OpenCompany(c, key); }), kErrAccessKey) << key;
    s.OpenCompany(c, "llave");
    EXPECT_TRUE(s.IsOpen());
}

// A company of the older layout (a keyed BLAKE2b hash): the server sends the user to the key
// commands, which accept the old key and write the new layout.
TEST_F(AccessKeyTest, OlderLayoutIsOpenedOnlyToGiveItANewKey) {
    std::string c = l.Company("V1", "Antigua", 2024);
    Salt salt = NewSalt();
    KeyBytes hash;
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>("vieja"), 5,
                       salt.data(), salt.size());
    PutBytes(c, 10, std::string("\x01\x00", 2));
    PutBytes(c, 16, std::string(16, '\x00').replace(0, 1, "\x01"));
    PutBytes(c, 32, std::string(salt.begin(), salt.end()));
    PutBytes(c, 48, std::string(hash.begin(), hash.end()));
    CompanyHeader h = ReadCompanyHeader(c);
    EXPECT_EQ(h.version, 1);
    EXPECT_TRUE(h.hasKey);
    QvOLE70 s;
    const auto old = [&] { s.OpenCompany(c, "vieja"); };
    EXPECT_EQ(testing::ErrorCodeOf(old), kErrHostGeneric);
    EXPECT_NE(testing::ErrorOf(old).find("qvdata change-key"), std::string::npos);
    EXPECT_THROW(ChangeAccessKey(c, "otra", "nueva"), HostError);
    EXPECT_EQ(ReadCompanyHeader(c).version, 1);
    ChangeAccessKey(c, "vieja", "nueva");
    h = ReadCompanyHeader(c);
    EXPECT_EQ(h.version, 2);
    EXPECT_EQ(h.name, "Antigua");
    s.OpenCompany(c, "nueva");
    EXPECT_TRUE(s.IsOpen());
}

TEST_F(AccessKeyTest, ChangeAndRemoveKeepTheRestOfTheHeader) {
    std::string c = l.Company("K4", "Con clave", 2025, "", "llave");
    SetCounter(c, 77);
    EXPECT_EQ(testing::ErrorCodeOf([&] { ChangeAccessKey(c, "mala", "nueva"); }), kErrAccessKey);
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "llave"));
    ChangeAccessKey(c, "llave", "nueva");
    CompanyHeader h = ReadCompanyHeader(c);
    EXPECT_TRUE(CheckAccessKey(h, "nueva"));
    EXPECT_FALSE(CheckAccessKey(h, "llave"));
    EXPECT_EQ(h.counter, 77);
    EXPECT_EQ(h.failedAttempts, 0u);  // the wrong key before is forgotten with the old key
    ChangeAccessKey(c, "nueva", "");
    h = ReadCompanyHeader(c);
    EXPECT_FALSE(h.hasKey);
    EXPECT_EQ(h.counter, 77);
    EXPECT_EQ(h.name, "Con clave");
}

// qvdata asks for the key of a protected company for every command that reads or writes it.
class QvdataKeyTest : public ::testing::Test {
  protected:
    testing::CommandResult Qvdata(const std::string& args, const std::string& input = "") {
        return testing::RunCommand(std::string(QVDATA_EXE) + " " + args + " 2>" + err, input);
    }
    std::string Errors() { return Bytes(err); }

    testing::Ledger l;
    std::string err = l.File("errores.txt");
};

TEST_F(QvdataKeyTest, EveryCommandOnAProtectedCompanyAsksForItsKey) {
    std::ofstream(l.File("plan.csv")) << "Cuenta;Descripcion\n4300000001;Cliente\n";
    std::ofstream(l.File("apuntes.csv")) << "Cuenta;Fecha;Importe\n4300000001;01/02/25;10\n";
    const std::string commands[] = {
        "counter @",
        "counter @ --set 9",
        "export-entries @",
        "import-chart @ " + l.File("plan.csv"),
        "import-entries @ " + l.File("apuntes.csv"),
    };
    // A company of its own for each command: the wrong keys of one do not slow the next.
    int n = 0;
    for (std::string command : commands) {
        const std::string c = l.Company("Q" + std::to_string(n++), "Protegida", 2025, "", "llave");
        command.replace(command.find('@'), 1, c);
        EXPECT_EQ(Qvdata(command).status, 1) << command;
        EXPECT_NE(Errors().find("No se ha dado la clave de acceso"), std::string::npos) << command;
        EXPECT_EQ(Qvdata(command, "mala\n").status, 1) << command;
        EXPECT_NE(Errors().find("Clave de acceso incorrecta"), std::string::npos) << command;
        EXPECT_EQ(ReadCounter(c), 0);
        EXPECT_TRUE(l.Read(c).empty());
        EXPECT_TRUE(ReadAccounts(c).empty());
    }
    const std::string c = l.Company("QQ", "Protegida", 2025, "", "llave");
    EXPECT_EQ(Qvdata("counter " + c + " --set 9", "mala\nllave\n").out, "9\n");
    EXPECT_NE(Errors().find("Clave de acceso incorrecta"), std::string::npos);
    EXPECT_EQ(Qvdata("import-entries " + c + " " + l.File("apuntes.csv"), "llave\n").status, 0);
    EXPECT_NE(Qvdata("export-entries " + c, "llave\n").out.find("4300000001;01/02/2025"),
              std::string::npos);
}

TEST_F(QvdataKeyTest, KeyFilesOnlyTheirOwnerCanRead) {
    std::string c = l.Company("Q2", "Protegida", 2025, "", "llave");
    const std::string keyFile = l.File("clave.txt");
    std::ofstream(keyFile) << "llave\n";
    ::chmod(keyFile.c_str(), 0644);
    EXPECT_EQ(Qvdata("counter " + c + " --key-file " + keyFile).status, 1);
    EXPECT_NE(Errors().find("chmod 600"), std::string::npos);
    ::chmod(keyFile.c_str(), 0600);
    EXPECT_EQ(Qvdata("counter " + c + " --key-file " + keyFile).out, "0\n");
    std::ofstream(keyFile) << "mala\n";
    EXPECT_EQ(Qvdata("counter " + c + " --key-file " + keyFile).status, 1);
}

TEST_F(QvdataKeyTest, SetChangeAndRemoveAKey) {
    std::string c = l.Company("Q3", "Sin clave", 2025);
    EXPECT_EQ(Qvdata("set-key " + c, "").status, 1);  // an empty key is refused
    EXPECT_FALSE(ReadCompanyHeader(c).hasKey);
    EXPECT_EQ(Qvdata("set-key " + c, "primera\n").status, 0);
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "primera"));
    EXPECT_EQ(Qvdata("set-key " + c, "otra\n").status, 1);  // it has one: change-key
    EXPECT_NE(Errors().find("change-key"), std::string::npos);

    EXPECT_EQ(Qvdata("change-key " + c, "mala\n").status, 1);
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "primera"));
    EXPECT_EQ(Qvdata("change-key " + c, "primera\nsegunda\n").status, 0);
    EXPECT_TRUE(CheckAccessKey(ReadCompanyHeader(c), "segunda"));

    EXPECT_EQ(Qvdata("remove-key " + c, "primera\n").status, 1);
    EXPECT_EQ(Qvdata("remove-key " + c, "segunda\n").status, 0);
    EXPECT_FALSE(ReadCompanyHeader(c).hasKey);
    EXPECT_EQ(Qvdata("counter " + c).out, "0\n");  // nothing asked any more
}

}  // namespace
}  // namespace pendara
