// The headless commands over a small ledger: what they print and how they end.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "host/settings.h"
#include "support/ledger.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

using Output = testing::CommandResult;

// Runs pendara-cli with the test's QUORVEX_HOME (inherited), standard error discarded.
Output Cli(const std::string& args, const std::string& input = "") {
    return testing::RunCommand(std::string(PENDARA_CLI_EXE) + " " + args + " 2>/dev/null", input);
}

class CliTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"4300000001", "Pagado"}, {"4300000002", "Abierto"}});
        l.Entries(y24, {{"4300000001", "15/12/24", "1", "Fra. 12", 1, 100.0}});
        open = l.Entries(y25, {{"4300000001", "20/02/25", "2", "Cobro Fra. 12", 2, -100.0},
                               {"4300000002", "01/03/25", "3", "Fra. 13", 1, 40.0}})[1];
    }
    testing::Ledger l;
    std::string y24, y25;
    std::int32_t open = 0;
};

TEST_F(CliTest, WithoutActiveCompanyCommandsFailClearly) {
    EXPECT_EQ(Cli("active").status, 1);
    EXPECT_EQ(Cli("list").status, 1);
    EXPECT_EQ(Cli("save").status, 2);  // usage: the account is missing
}

TEST_F(CliTest, ListsSaveAndSaveAllPrintWhatTheUserNeeds) {
    l.SetActive(y25);
    EXPECT_EQ(Cli("list").out, "4300000001 Pagado\n4300000002 Abierto\n");
    EXPECT_EQ(Cli("list 4300000002 --pending").out, "4300000002 Abierto\n");

    Output saved = Cli("save 4300000002");
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out.rfind("1\t" + std::to_string(open) + "\t01/03/25\t3\tFra. 13\t13\t", 0), 0u)
        << saved.out;
    EXPECT_NE(saved.out.find("\nnewref\tRF-"), std::string::npos) << saved.out;
    EXPECT_EQ(Cli("save 4399999999").status, 1);
    EXPECT_EQ(Cli("run 4399999999").status, 1);
    Output run = Cli("run 4300000002");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("\tFra. 13\t"), std::string::npos) << run.out;

    // Declined without a terminal: nothing written.
    EXPECT_EQ(Cli("save-all").out, "4300000001 Pagado\n4300000002 Abierto\n");
    EXPECT_EQ(l.Read(y24)[0].referencia, "");
    Output all = Cli("save-all --yes");
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(l.Read(y24)[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(l.Read(y24)[0].referencia, l.Read(y25)[0].referencia);
}

// An account of the open company's chart whose only entry lies in the previous year has no
// movements in the open company: the run empties the grids, and save and run succeed with
// nothing open and nothing written.
TEST_F(CliTest, AnAccountWithEntriesOnlyInAnEarlierYearIsNoError) {
    l.Accounts(y25, {{"4300000138", "Clientes varios"}});
    l.Entries(y24, {{"4300000138", "10/12/24", "5", "Fra. 77", 1, 100.0}});
    l.SetActive(y25);
    for (const char* command : {"save 4300000138", "run 4300000138"}) {
        Output out = Cli(command);
        EXPECT_EQ(out.status, 0) << command;
        EXPECT_EQ(out.out.rfind("newref\tRF-", 0), 0u) << command << ": " << out.out;
    }
    EXPECT_EQ(l.Read(y24, "4300000138")[0].referencia, "");
}

// An earlier year with an access key: the key comes as a line of standard input; without it the
// command ends undone, with a failure a script sees, and writes nothing.
TEST_F(CliTest, ProtectedYearNeedsItsKeyFromStandardInput) {
    const std::string p24 = l.Company("P4", "Protegida", 2024, "", "clave");
    const std::string p25 = l.Company("P5", "Protegida", 2025, p24);
    l.Accounts(p25, {{"4300000009", "Cliente"}});
    l.Entries(p24, {{"4300000009", "10/10/24", "1", "Fra. 7", 1, 70.0}});
    l.Entries(p25, {{"4300000009", "10/01/25", "2", "Cobro Fra. 7", 2, -70.0}});
    l.SetActive(p25);

    Output refused = Cli("save-all --yes");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(l.Read(p24)[0].referencia, "");
    EXPECT_EQ(Cli("save-all --yes", "mala\n").status, 1);
    EXPECT_EQ(l.Read(p24)[0].referencia, "");

    Output done = Cli("save-all --yes", "clave\n");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(l.Read(p24)[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(l.Read(p24)[0].referencia, l.Read(p25)[0].referencia);
}

// Options never saved are shown empty and marked: a save then writes no mark.
TEST_F(CliTest, ConfigTellsUnsavedOptionsFromSavedOnes) {
    EXPECT_EQ(Cli("config").out,
              "Punteo0\t\tPunteo Correcto\t(sin guardar)\n"
              "Punteo1\t\tPunteo Incorrecto\t(sin guardar)\n"
              "Punteo2\t\tForzar Punteo cuando saldo sea 0\t(sin guardar)\n");
    EXPECT_EQ(Cli("config --punteo0 Xyz --punteo2 1").out,
              "Punteo0\tX\tPunteo Correcto\n"
              "Punteo1\t\tPunteo Incorrecto\t(sin guardar)\n"
              "Punteo2\t1\tForzar Punteo cuando saldo sea 0\n");
    EXPECT_EQ(Cli("config --punteo2 2").status, 2);
    EXPECT_EQ(Cli("config --punteo0 𝄞1 --punteo1 €x").out,
              "Punteo0\t𝄞\tPunteo Correcto\n"
              "Punteo1\t€\tPunteo Incorrecto\n"
              "Punteo2\t1\tForzar Punteo cuando saldo sea 0\n");
    // A byte that is not UTF-8 is a character of its own, without the bytes after it.
    EXPECT_NE(Cli("config --punteo0 \"$(printf '\\377\\200')\"").out.find("Punteo0\t\xFF\tPunteo"),
              std::string::npos);
}

// Ctrl-C during a group save: the account in progress is finished, the rest stay listed.
TEST_F(CliTest, InterruptStopsTheGroupSaveAfterTheAccountInProgress) {
    const std::string data = l.File("demo");
    ASSERT_EQ(
        std::system((std::string(QVDATA_EXE) + " demo " + data + " --no-key >/dev/null").c_str()),
        0);
    int toParent[2], errPipe[2];
    ASSERT_EQ(::pipe(toParent), 0);
    ASSERT_EQ(::pipe(errPipe), 0);
    pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(toParent[1], 1);
        ::dup2(errPipe[1], 2);
        ::close(toParent[0]);
        ::close(errPipe[0]);
        ::execl(PENDARA_CLI_EXE, PENDARA_CLI_EXE, "save-all", "--yes", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(toParent[1]);
    ::close(errPipe[1]);
    // The handler is in place once the run's question has been answered.
    std::string err;
    char c;
    while (err.find("--yes)") == std::string::npos && ::read(errPipe[0], &c, 1) == 1)
        err += c;
    ::kill(pid, SIGINT);
    std::string out;
    char buf[4096];
    ssize_t n;
    while ((n = ::read(toParent[0], buf, sizeof buf)) > 0)
        out.append(buf, static_cast<std::size_t>(n));
    while (::read(errPipe[0], &c, 1) == 1)
        err += c;
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_NE(err.find("Parada pedida"), std::string::npos) << err;
    EXPECT_NE(err.find("Proceso detenido tras "), std::string::npos) << err;
    EXPECT_NE(err.find(" de 48 cuentas\n"), std::string::npos) << err;
    std::istringstream lines(out);
    int listed = 0;
    for (std::string line; std::getline(lines, line);)
        ++listed;
    // The demo has 48 accounts; a full run leaves about 30, a run stopped at once nearly all.
    EXPECT_GE(listed, 45) << out;
}

}  // namespace
}  // namespace pendara
