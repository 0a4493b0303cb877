// The enhanced mode from the command line: --mejorado for one run, the stored option for every
// run, and the notice of an account whose search reached its limit.

#include <gtest/gtest.h>

#include <sstream>

#include "host/company_file.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

using testing::CommandResult;

constexpr const char* kAcc = "4300000001";

CommandResult RunCli(const std::string& args) {
    return testing::RunCommand(std::string(PENDARA_CLI_EXE) + " " + args);
}

class CmdEnhancedTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y25 = l.Company("E5", "Empresa", 2025);
        l.Accounts(y25, {{kAcc, "Cliente uno", 0}});
        l.Entries(y25, {{kAcc, "10/01/25", "1", "Fra. 1033", 1, 3834.65},
                        {kAcc, "11/01/25", "2", "Fra. 1044", 1, 2518.99},
                        {kAcc, "25/01/25", "5", "Cobro Fra. 1033 1044", 2, -6353.64}});
        l.SetActive(y25);
        SetCounter(y25, 41);
    }
    // The reference column of every printed grid row.
    static std::vector<std::string> References(const std::string& out) {
        std::vector<std::string> refs;
        std::istringstream lines(out);
        std::string line;
        while (std::getline(lines, line)) {
            std::vector<std::string> fields;
            std::istringstream cells(line);
            std::string cell;
            while (std::getline(cells, cell, '\t'))
                fields.push_back(cell);
            if (fields.size() > 5 && (fields[0] == "1" || fields[0] == "2"))
                refs.push_back(fields[5]);
        }
        return refs;
    }

    testing::Ledger l;
    std::string y25;
};

TEST_F(CmdEnhancedTest, TheFlagTurnsItOnForOneRunAndTheOptionForEvery) {
    CommandResult plain = RunCli("match 4300000001");
    ASSERT_EQ(plain.status, 0) << plain.out;
    EXPECT_EQ(References(plain.out), (std::vector<std::string>{"1033", "1044", "1033 1044"}));

    CommandResult enhanced = RunCli("match 4300000001 --mejorado");
    ASSERT_EQ(enhanced.status, 0) << enhanced.out;
    EXPECT_EQ(References(enhanced.out), (std::vector<std::string>{"RF-42", "RF-42", "RF-42"}));

    CommandResult config = RunCli("config --mejorado 1");
    ASSERT_EQ(config.status, 0);
    EXPECT_NE(config.out.find("PunteoMejorado\t1\t"), std::string::npos) << config.out;
    EXPECT_EQ(RunCli("config --mejorado si").status, 2);
    EXPECT_EQ(RunCli("save-all --yes").status, 0);
    for (const EntryRecord& e : l.Read(y25))
        EXPECT_EQ(e.referencia, "RF-43") << e.descripcion;
}

TEST_F(CmdEnhancedTest, AnAccountThatReachesTheSearchLimitIsNamedOnStandardError) {
    std::vector<EntryRecord> many{{kAcc, "01/02/25", "9", "Cargo", 1, 2500.01}};
    for (int i = 0; i < 80; ++i)
        many.push_back({kAcc, "02/02/25", "10", "Abono", 2, -(450.0 + 2 * i)});
    l.Entries(y25, many);
    CommandResult errors = RunCli("match 4300000001 --mejorado 2>&1 >/dev/null");
    EXPECT_EQ(errors.status, 0);
    EXPECT_EQ(errors.out,
              "Punteo mejorado: la cuenta 4300000001 llegó al límite de búsqueda; pueden quedar "
              "partidas que se podrían puntear.\n");
    // Off, the search does not run and nothing is said.
    EXPECT_EQ(RunCli("match 4300000001 2>&1 >/dev/null").out, "");
}

}  // namespace
}  // namespace pendara
