// The match command end to end: the program run as a user runs it, over a ledger on disk.

#include <gtest/gtest.h>

#include "host/company_file.h"
#include "host/conversions.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

using testing::CommandResult;

CommandResult RunCli(const std::string& args, const std::string& input, bool withErrors = false) {
    return testing::RunCommand(
        std::string(PENDARA_CLI_EXE) + " " + args + (withErrors ? " 2>&1" : " 2>/dev/null"), input);
}

class CmdMatchTest : public testing::SettingsTest {
  protected:
    testing::Ledger l;
};

TEST_F(CmdMatchTest, PrintsBothGridsAndStateAskingTheKeyOnce) {
    std::string y24 = l.Company("E4", "Empresa", 2024, "", "clave");
    std::string y25 = l.Company("E5", "Empresa", 2025, y24, "clave");
    l.Accounts(y25, {{"4300000001", "Cliente uno", 0}});
    auto r24 = l.Entries(y24, {{"4300000001", "10/01/24", "4", "Fra. 12", 1, 80}});
    auto r25 = l.Entries(y25, {{"4300000001", "20/01/25", "9", "Cobro", 2, -80}});
    l.SetActive(y25);
    SetCounter(y24, 6);
    CommandResult res = RunCli("match 4300000001 --show-state", "clave\n");
    ASSERT_EQ(res.status, 0) << res.out;
    std::string amount = FormatAmount(80), credit = FormatAmount(-80);
    EXPECT_EQ(res.out, "1\t" + std::to_string(r24[0]) + "\t10/01/24\t4\tFra. 12\tRF-7\t" + amount +
                           "\t2\t\n" + "2\t" + std::to_string(r25[0]) +
                           "\t20/01/25\t9\tCobro\tRF-7\t" + credit + "\t1\t\n" +
                           "SaldoCta\tSaldo Cuenta: -80,00\nTituloL\tCliente uno\nnewref\t\n");
    EXPECT_EQ(ReadCounter(y24), 7);
    EXPECT_EQ(l.Read(y25)[0].referencia, "");  // nothing saved
}

TEST_F(CmdMatchTest, MissingKeyOrAccountExitNonZero) {
    std::string y25 = l.Company("E5", "Empresa", 2025, "", "clave");
    l.SetActive(y25);
    EXPECT_NE(RunCli("match 4300000001", "").status, 0);  // no key typed
    CommandResult res = RunCli("match", "");
    EXPECT_EQ(res.status, 2);
    // A code in no chart and no entries: an error, not two empty grids.
    CommandResult unknown = RunCli("match 4399999999", "clave\n");
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(("\n" + unknown.out).find("\n1\t"), std::string::npos) << unknown.out;
}

// An account of the chart without movements in the open company gives one empty row per grid,
// whatever earlier years hold; only a code that no chart of the chain knows is refused.
TEST_F(CmdMatchTest, AccountWithoutMovementsInTheOpenYearPrintsEmptyGrids) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Accounts(y24, {{"4300000138", "Cliente viejo", 0}, {"4300000200", "Sólo antes", 0}});
    l.Accounts(y25, {{"4300000138", "Cliente viejo", 0}, {"4300000139", "Sin apuntes", 0}});
    l.Entries(y24, {{"4300000138", "10/01/24", "4", "Fra. 12", 1, 100}});
    l.SetActive(y25);
    SetCounter(y24, 6);
    const std::string empty = "\t\t\t\t\t\t\t\t\n";
    for (const char* account : {"4300000138", "4300000139", "4300000200"}) {
        CommandResult res = RunCli(std::string("match ") + account, "");
        EXPECT_EQ(res.status, 0) << account;
        EXPECT_EQ(res.out, "1" + empty + "2" + empty) << account;
    }
    CommandResult unknown = RunCli("match 4300000999", "", true);
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.out.find("4300000999"), std::string::npos) << unknown.out;
    EXPECT_EQ(ReadCounter(y24), 6);  // no run reached the amounts
    EXPECT_EQ(l.Read(y24)[0].referencia, "");
}

TEST_F(CmdMatchTest, HostFailureIsShownAndEndsWithError) {
    // No active company in the settings: the host refuses the empty company path.
    CommandResult res = RunCli("match 4300000001", "", true);
    EXPECT_EQ(res.status, 1);
    EXPECT_NE(res.out.find("Pendara: "), std::string::npos) << res.out;
    EXPECT_EQ(("\n" + res.out).find("\n1\t"), std::string::npos);  // no grid printed
}

}  // namespace
}  // namespace pendara
