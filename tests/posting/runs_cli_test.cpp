// The journal from the command line: the runs listing, undo, and a save that meets an entries
// file another process holds.

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "host/account_posting.h"
#include "host/settings.h"
#include "support/ledger.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

using Output = testing::CommandResult;
using Clock = std::chrono::steady_clock;

// Runs pendara-cli with the test's QUORVEX_HOME (inherited); errors go with the output.
Output Cli(const std::string& args) {
    return testing::RunCommand(std::string(PENDARA_CLI_EXE) + " " + args + " 2>&1");
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t end = text.find('\n', at);
        out.push_back(text.substr(at, end - at));
        at = end == std::string::npos ? text.size() : end + 1;
    }
    return out;
}

class RunsCliTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"4300000001", "Pagado"}, {"4300000002", "Abierto"}});
        paid = l.Entries(y24, {{"4300000001", "15/12/24", "1", "Fra. 12", 1, 100.0}})[0];
        l.Entries(y25, {{"4300000001", "20/02/25", "2", "Cobro Fra. 12", 2, -100.0},
                        {"4300000002", "01/03/25", "3", "Fra. 13", 1, 40.0}});
        l.SetActive(y25);
        before = {l.Read(y24), l.Read(y25)};
    }
    std::vector<std::vector<EntryRecord>> All() { return {l.Read(y24), l.Read(y25)}; }

    testing::Ledger l;
    std::string y24, y25;
    std::int32_t paid = 0;
    std::vector<std::vector<EntryRecord>> before;
};

TEST_F(RunsCliTest, RunsListsWhatEachRunWroteAndUndoPutsItBack) {
    EXPECT_EQ(Cli("runs").out, "No hay ejecuciones registradas.\n");
    ASSERT_EQ(Cli("save-all --yes").status, 0);
    const auto saved = All();

    std::vector<std::string> lines = Lines(Cli("runs").out);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Ejecución\tFecha\tUsuario\tPuesto\tOrden\tCuentas\tApuntes\tEstado");
    EXPECT_EQ(lines[1].rfind("1\t", 0), 0u) << lines[1];
    EXPECT_NE(lines[1].find("\tsave-all\t2\t3\tterminada"), std::string::npos) << lines[1];
    EXPECT_EQ(Cli("runs 1").out, "4300000002\t1\n4300000001\t2\n");
    const std::string detail = Cli("runs 1 --detail").out;
    EXPECT_NE(detail.find("\tEMPE4\t" + std::to_string(paid) + "\t\"\" \"\" -> \"RF-"),
              std::string::npos)
        << detail;

    Output undo = Cli("undo 1");
    EXPECT_EQ(undo.status, 0);
    EXPECT_EQ(undo.out,
              "Cuenta 4300000001: 2 apuntes restaurados\nCuenta 4300000002: 1 apunte "
              "restaurado\nDeshecho en la ejecución 2.\n");
    EXPECT_EQ(All(), before);
    EXPECT_EQ(Cli("undo 2").status, 0);
    EXPECT_EQ(All(), saved);

    // Changed since: that account is refused and named, the other undone.
    {
        PostingRun other("", "", "");
        other.Post({"4300000001",
                    {{l.EntriesFile(y24), "EMPE4"}},
                    {{0, paid, "RF-99", std::nullopt, std::nullopt}}});
    }
    Output refused = Cli("undo 1");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.out.find("Cuenta 4300000001: no se deshace, porque estos apuntes han "
                               "cambiado desde la ejecución 1:\n  EMPE4, registro " +
                               std::to_string(paid) +
                               ": la referencia es \"RF-99\" y se "
                               "esperaba \"RF-"),
              std::string::npos)
        << refused.out;
    EXPECT_EQ(l.Read(y24)[0].referencia, "RF-99");
    EXPECT_EQ(l.Read(y25)[1].referencia, "");

    EXPECT_EQ(Cli("undo 9").status, 1);
    EXPECT_EQ(Cli("undo 1 --account 4399999999").status, 1);
    EXPECT_EQ(Cli("undo uno").status, 2);
    EXPECT_EQ(Cli("runs 9").status, 1);
}

// Holds an entries file for writing from another process, for `seconds` or until killed; returns
// once it holds it.
pid_t HoldFile(const std::string& file, int seconds) {
    int ready[2];
    if (::pipe(ready) != 0) return -1;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(ready[0]);
        sqlite3* db = nullptr;
        sqlite3_open(file.c_str(), &db);
        while (sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK)
            ::usleep(10000);
        if (::write(ready[1], "x", 1) != 1) ::_exit(1);
        ::sleep(static_cast<unsigned>(seconds));
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        ::_exit(0);
    }
    ::close(ready[1]);
    char c = 0;
    if (::read(ready[0], &c, 1) != 1) ADD_FAILURE() << "the holder did not start";
    ::close(ready[0]);
    return pid;
}

TEST_F(RunsCliTest, ASaveWaitsForAHeldFileSaysSoAndGivesUpWithNothingWritten) {
    SaveSetting("EsperaFicheros", "3", "");
    // The later file in the save's order, so that the earlier one was taken and is let go.
    const std::string held = l.EntriesFile(y25);
    const pid_t holder = HoldFile(held, 40);
    const auto start = Clock::now();
    Output save = Cli("save 4300000001");
    const auto took = Clock::now() - start;
    ::kill(holder, SIGKILL);
    ::waitpid(holder, nullptr, 0);

    EXPECT_EQ(save.status, 1);
    EXPECT_NE(save.out.find("Esperando a que otro puesto libere " + held + "...\n"),
              std::string::npos)
        << save.out;
    EXPECT_NE(save.out.find("Otro puesto tiene ocupado el fichero " + held +
                            " desde hace 3 s: no se ha grabado la cuenta 4300000001"),
              std::string::npos)
        << save.out;
    EXPECT_GE(took, std::chrono::seconds(3));
    EXPECT_LT(took, std::chrono::seconds(30));
    EXPECT_EQ(All(), before);
}

TEST_F(RunsCliTest, ASaveWaitsForAHeldFileAndCompletesOnceItIsLetGo) {
    SaveSetting("EsperaFicheros", "20", "");
    const std::string held = l.EntriesFile(y25);
    const pid_t holder = HoldFile(held, 3);
    Output save = Cli("save 4300000001");
    ::waitpid(holder, nullptr, 0);
    EXPECT_EQ(save.status, 0) << save.out;
    EXPECT_NE(save.out.find("Esperando a que otro puesto libere " + held + "...\n"),
              std::string::npos)
        << save.out;
    EXPECT_EQ(l.Read(y24)[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(l.Read(y24)[0].referencia, l.Read(y25)[0].referencia);
}

}  // namespace
}  // namespace pendara
