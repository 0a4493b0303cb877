#include "host/company_file.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>
#include <stdexcept>
#include <thread>

#include "host/errors.h"
#include "host/notices.h"
#include "host/qv_ole70.h"
#include "host/settings.h"
#include "support/host_error.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

TEST(CompanyFile, HeaderRoundTripAndCodeInTheFirstTwoBytes) {
    testing::Ledger l;
    std::string prev = l.Company("P4", "Anterior", 2024);
    std::string path = l.Company("C5", "Compañía de prueba", 2025, prev, "secreto");
    CompanyHeader h = ReadCompanyHeader(path);
    EXPECT_EQ(h.code, "C5");
    EXPECT_EQ(h.name, "Compañía de prueba");
    EXPECT_EQ(h.year, 2025);
    EXPECT_EQ(h.counter, 0);
    EXPECT_EQ(h.previous, "EMPP4");  // relative, without its ending
    EXPECT_TRUE(h.hasKey);
    EXPECT_TRUE(CheckAccessKey(h, "secreto"));
    EXPECT_FALSE(CheckAccessKey(h, "Secreto"));
    EXPECT_FALSE(CheckAccessKey(h, ""));
    std::ifstream in(path, std::ios::binary);
    char first[2];
    in.read(first, 2);
    EXPECT_EQ(std::string(first, 2), "C5");
    EXPECT_EQ(ReadCompanyCode(path), "C5");
    // The key itself is nowhere in the file.
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(bytes.find("secreto"), std::string::npos);
}

TEST(CompanyFile, CounterIncrementsAndStopsAtTheLargestValue) {
    testing::Ledger l;
    std::string path = l.Company("C1", "Uno", 2025);
    SetCounter(path, 41);
    EXPECT_EQ(IncrementCounter(path), 42);
    EXPECT_EQ(ReadCounter(path), 42);
    SetCounter(path, std::numeric_limits<std::int32_t>::max());
    EXPECT_THROW(IncrementCounter(path), HostError);
    EXPECT_EQ(ReadCounter(path), std::numeric_limits<std::int32_t>::max());
    // The name is found whatever the case of its ending.
    std::string lower = path.substr(0, path.size() - 4);
    EXPECT_EQ(ReadCounter(lower + ".qvt"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(ReadCounter(lower), std::numeric_limits<std::int32_t>::max());
}

TEST(CompanyFile, MissingShortOrDamagedFilesAreHostErrors) {
    testing::Ledger l;
    EXPECT_THROW(ReadCompanyHeader(l.File("NADA.QVT")), HostError);
    EXPECT_THROW(IncrementCounter(l.File("NADA.QVT")), HostError);
    std::ofstream(l.File("CORTA.QVT")) << "AB";
    EXPECT_THROW(ReadCompanyHeader(l.File("CORTA.QVT")), HostError);
    EXPECT_THROW(IncrementCounter(l.File("CORTA.QVT")), HostError);
    std::ofstream(l.File("MALA.QVT")) << std::string(2000, 'x');
    EXPECT_NE(testing::ErrorOf([&] { IncrementCounter(l.File("MALA.QVT")); }).find("MALA.QVT"),
              std::string::npos);
}

TEST(CompanyFile, ProcessesIncrementingAtOnceGetEveryNumberOnce) {
    testing::Ledger l;
    std::string path = l.Company("CC", "Concurrente", 2025);
    constexpr int kProcesses = 6, kEach = 150;
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            ::close(fds[0]);
            int rc = 0;
            for (int i = 0; i < kEach; ++i) {
                try {
                    std::int32_t n = IncrementCounter(path);
                    if (::write(fds[1], &n, sizeof n) != sizeof n) rc = 2;
                } catch (...) {
                    rc = 1;
                }
            }
            ::_exit(rc);
        }
        children.push_back(pid);
    }
    ::close(fds[1]);
    std::multiset<std::int32_t> got;
    std::int32_t n;
    while (::read(fds[0], &n, sizeof n) == sizeof n)
        got.insert(n);
    ::close(fds[0]);
    for (pid_t pid : children) {
        int status = 0;
        ::waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    ASSERT_EQ(got.size(), static_cast<std::size_t>(kProcesses * kEach));
    std::int32_t expected = 1;
    for (std::int32_t v : got)
        EXPECT_EQ(v, expected++);
    EXPECT_EQ(ReadCounter(path), kProcesses * kEach);
}

// Another workstation holding the header record for some time, in a child process.
class HeldHeader {
  public:
    explicit HeldHeader(const std::string& path) {
        if (::pipe(ready_) != 0 || ::pipe(release_) != 0) throw std::runtime_error("pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            CompanyHeaderLock lock(path);
            char c = 1;
            if (::write(ready_[1], &c, 1) != 1) ::_exit(1);
            if (::read(release_[0], &c, 1) != 1) ::_exit(1);
            ::_exit(0);
        }
        char c;
        if (::read(ready_[0], &c, 1) != 1) throw std::runtime_error("lock");
    }
    void Release() {
        if (released_) return;
        released_ = true;
        char c = 1;
        if (::write(release_[1], &c, 1) != 1) return;
        int status = 0;
        ::waitpid(pid_, &status, 0);
    }
    ~HeldHeader() {
        Release();
        for (int fd : {ready_[0], ready_[1], release_[0], release_[1]})
            ::close(fd);
    }

  private:
    int ready_[2]{}, release_[2]{};
    pid_t pid_ = -1;
    bool released_ = false;
};

class CounterWaitTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        SetNoticeHandler([this](const std::string& text) { told.push_back(text); });
    }
    void TearDown() override {
        SetNoticeHandler(nullptr);
        SetCompanyLockWait(std::nullopt);
        SettingsTest::TearDown();
    }
    std::vector<std::string> told;
    testing::Ledger l;
};

TEST_F(CounterWaitTest, TheCounterSaysItWaitsAndGivesUpAtTheLimit) {
    const std::string path = l.Company("CW", "Espera", 2025);
    SetCounter(path, 5);
    HeldHeader held(path);
    WaitPolicy wait;
    wait.noticeAfter = std::chrono::milliseconds(50);
    wait.limit = std::chrono::milliseconds(300);
    SetCompanyLockWait(wait);
    const std::string message = testing::ErrorOf([&] { IncrementCounter(path); });
    EXPECT_NE(message.find("Otro puesto tiene ocupado el fichero de empresa"), std::string::npos);
    EXPECT_NE(message.find(kWaitSetting), std::string::npos);
    EXPECT_EQ(told, std::vector<std::string>{"Esperando a que otro puesto libere " + path + "..."});
    // A caller that hears of the wait itself, and gives it up: nothing drawn, no notice.
    std::vector<std::string> heard;
    wait.limit = std::chrono::seconds(20);
    wait.onWait = [&heard](const std::string& file, std::chrono::milliseconds waited) {
        heard.push_back(file);
        return waited < std::chrono::milliseconds(150);
    };
    EXPECT_NE(
        testing::ErrorOf([&] { AddToCounter(path, 10, wait); }).find("Se ha dejado de esperar"),
        std::string::npos);
    ASSERT_GE(heard.size(), 2u);
    EXPECT_EQ(heard.front(), path);
    EXPECT_EQ(told.size(), 1u);
    // Released while it waits: the increment goes on (from 5: the block given up drew nothing).
    wait.onWait = nullptr;
    SetCompanyLockWait(wait);
    std::thread later([&held] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        held.Release();
    });
    EXPECT_EQ(IncrementCounter(path), 6);
    later.join();
    EXPECT_EQ(told.size(), 2u);
    EXPECT_EQ(ReadCounter(path), 6);
}

// A save that cannot take numbers from the counter in time ends before it writes anything.
TEST_F(CounterWaitTest, ASaveThatGivesUpWritesNothing) {
    const std::string path = l.Company("CS", "Guardar", 2025);
    l.Accounts(path, {{"4300000001", "Cliente"}});
    l.Entries(path, {{"4300000001", "01/02/25", "1", "Fra. 1", 1, 100},
                     {"4300000001", "01/03/25", "2", "Cobro", 2, -100}});
    l.SetActive(path);
    SaveSetting(kWaitSetting, "2,5", "");
    HeldHeader held(path);
    const testing::CommandResult r = testing::RunCommand(
        std::string(PENDARA_CLI_EXE) + " save 4300000001 2>" + l.File("errores.txt"));
    held.Release();
    EXPECT_NE(r.status, 0);
    std::ifstream in(l.File("errores.txt"));
    const std::string errors((std::istreambuf_iterator<char>(in)), {});
    EXPECT_NE(errors.find("Esperando a que otro puesto libere"), std::string::npos) << errors;
    EXPECT_NE(
        errors.find("Otro puesto tiene ocupado el fichero de empresa " + path + " desde hace 3 s"),
        std::string::npos)
        << errors;
    for (const EntryRecord& e : l.Read(path)) {
        EXPECT_EQ(e.referencia, "");
        EXPECT_EQ(e.marca, "");
    }
    EXPECT_EQ(ReadCounter(path), 0);
}

TEST(CompanyServer, OpensChecksTheKeyAndFollowsTheChain) {
    testing::Ledger l;
    std::string y24 = l.Company("A4", "Empresa", 2024, "", "", "EMP2024.QVT", "y2024");
    std::string y25 = l.Company("A5", "Empresa", 2025, y24, "clave", "EMP2025.QVT", "y2025");
    QvOLE70 s;
    EXPECT_EQ(testing::ErrorCodeOf([&] { s.OpenCompany(y25, ""); }), kErrAccessKey);
    EXPECT_EQ(testing::ErrorCodeOf([&] { s.OpenCompany(y25, "otra"); }), kErrAccessKey);
    const auto missing = [&] { s.OpenCompany(l.File("NOEXISTE.QVT"), ""); };
    EXPECT_EQ(testing::ErrorCodeOf(missing), kErrHostGeneric);
    EXPECT_NE(testing::ErrorOf(missing).find("NOEXISTE"), std::string::npos);
    s.OpenCompany(y25, "clave");
    EXPECT_EQ(s.GetCompanyCode(), "A5");
    EXPECT_EQ(s.GetCompanyFile(), y25);
    // Stored relative ("../y2024/EMP2024"), resolved against this company's folder.
    std::string prev = s.GetPreviousCompany();
    EXPECT_EQ(prev, l.File("y2025/../y2024/EMP2024"));
    s.SelectExercise();
    EXPECT_EQ(s.GetExercise().substr(0, 2), "25");
    s.CloseCompany();
    s.OpenCompany(prev, "");
    EXPECT_EQ(s.GetCompanyCode(), "A4");
    EXPECT_EQ(s.GetPreviousCompany(), "");
}

TEST(CompanyServer, PeriodFiguresAndTitle) {
    testing::Ledger l;
    std::string c = l.Company("F1", "Empresa", 2025);
    l.Accounts(c, {{"4300000001", "Cliente uno", 0}});
    l.Entries(c, {{"4300000001", "01/01/25", "1", "Apertura", 1, 100, "", "A"},
                  {"4300000001", "15/01/25", "2", "Fra. 1", 1, 50},
                  {"4300000001", "20/01/25", "3", "Cobro", 2, -30},
                  {"4300000001", "03/03/25", "4", "Abono", 2, -5.5},
                  {"4300000001", "31/12/25", "5", "Regularización", 2, -4, "", "R"},
                  {"4300000001", "31/12/25", "6", "Cierre", 2, -110.5, "", "C"},
                  {"4300000002", "15/01/25", "7", "Otra", 1, 999}});
    QvOLE70 s;
    s.OpenCompany(c, "");
    s.SelectAccount("4300000001", "", "");
    EXPECT_EQ(s.HasBalances() != 0, true);
    EXPECT_EQ(s.GetPeriodDebit(1, 0), 100);
    EXPECT_EQ(s.GetPeriodDebit(1, 1), 50);
    EXPECT_EQ(s.GetPeriodCredit(1, 1), -30);
    EXPECT_EQ(s.GetPeriodCredit(1, 3), -5.5);
    EXPECT_EQ(s.GetPeriodCredit(1, 13), -4);
    EXPECT_EQ(s.GetPeriodCredit(1, 14), -110.5);
    double balance = 0;
    for (int p = 0; p <= 14; ++p)
        balance += s.GetPeriodDebit(1, p) + s.GetPeriodCredit(1, p);
    EXPECT_DOUBLE_EQ(balance, 0);
    EXPECT_EQ(s.GetAccountInfo(1).Title(), "Cliente uno");
    s.SelectAccount("4300000009");
    EXPECT_EQ(s.HasBalances(), 0);
    EXPECT_EQ(s.GetAccountInfo(1).Title(), "");
}

}  // namespace
}  // namespace pendara
