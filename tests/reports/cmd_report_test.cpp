// pendara-cli report runs Informe_Click with the dialog answered by its options: its text must
// be the readable text of the report the window gives for the same answers.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/report_output.h"
#include "reports/report.h"
#include "support/ledger.h"
#include "support/run_command.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/report_handlers.h"

namespace pendara {
namespace {

using Outcome = testing::CommandResult;

Outcome Cli(const std::string& args, const std::string& input = "") {
    return testing::RunCommand(std::string(PENDARA_CLI_EXE) + " report " + args + " 2>/dev/null",
                               input);
}

std::string WithoutCr(const std::string& s) {
    std::string out;
    for (char c : s)
        if (c != '\r') out += c;
    return out;
}

class CmdReportTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        prev = ledger.Company("P5", "Demo", 2025, "", "clave");
        active = ledger.Company("A6", "Demo", 2026, prev);
        for (const std::string& c : {prev, active})
            ledger.Accounts(
                c, {{"4300000001", "Uno", 0}, {"4300000002", "Dos", 0}, {"4300000003", "Tres", 0}});
        ledger.Entries(prev, {{"4300000001", "10/12/25", "9", "Fra. 9", 1, 40.0}});
        ledger.Entries(
            active, {{"4300000001", "15/01/26", "1", "Fra. 1", 1, 100.0, "1", "", "", "", "RF-1"},
                     {"4300000001", "16/01/26", "2", "Cobro", 2, -100.0, "1", "", "", "", "RF-1"},
                     {"4300000001", "20/01/26", "6", "Fra. 6", 1, 25.0},
                     {"4300000002", "17/01/26", "3", "Fra. 3", 1, 0.004},
                     {"4300000003", "01/01/26", "4", "Apertura", 1, 5.0, "", "A"},
                     {"4300000003", "18/01/26", "5", "Fra. 5", 2, -7.0}});
        ledger.SetActive(active);
    }

    // The report text the window gives for the same dialog answers.
    std::string InProcess(std::map<int, std::string> answers) {
        ScriptedPort port;
        port.QueueInput("clave");
        Pndra w(port);
        LoadEmpresas(w);
        port.QueueParameters([&](const std::string&, ParameterValues& v, const ParameterKinds&) {
            for (const auto& [item, text] : answers)
                v[static_cast<std::size_t>(item - 1)][1] = text;
            v[11][0] = "0";
            return true;
        });
        Informe_Click(w);
        return port.reports.empty() ? "<none>" : ReadableReportText(port.reports[0].first);
    }

    testing::Ledger ledger;
    std::string prev, active;
};

TEST_F(CmdReportTest, TextIsTheWindowReportForTheSameAnswers) {
    Outcome o = Cli("--balanced --opening --no-unbalanced --open", "clave\n");
    ASSERT_EQ(o.status, 0);
    // Without an active account the range is the whole chart.
    const std::string expected =
        InProcess({{1, "4300000001"}, {2, "4300000003"}, {6, "1"}, {7, "0"}, {8, "1"}, {9, "1"}});
    EXPECT_EQ(o.out, WithoutCr(expected));
    EXPECT_NE(o.out.find("\n  Referencia: RF-1\n"), std::string::npos);
    EXPECT_NE(o.out.find("Apertura"), std::string::npos);
    EXPECT_EQ(o.out.find("\n4300000002"), std::string::npos);  // balance 0.004 is under 0.01
}

TEST_F(CmdReportTest, OptionsReachTheirItems) {
    Outcome o = Cli("--account 4300000002 --min-balance 0 --from-date 1/1/26 --to-date 31/01/2026",
                    "clave\n");
    ASSERT_EQ(o.status, 0);
    EXPECT_EQ(
        o.out,
        WithoutCr(InProcess(
            {{1, "4300000002"}, {2, "4300000002"}, {4, "01/01/26"}, {5, "31/01/26"}, {10, "0"}})));
    EXPECT_NE(o.out.find("\n4300000002 - Dos\n"), std::string::npos);
    Outcome masked = Cli("--mask 43000000?3 --min-balance 0,5", "clave\n");
    ASSERT_EQ(masked.status, 0);
    EXPECT_EQ(masked.out,
              WithoutCr(InProcess(
                  {{1, "4300000001"}, {2, "4300000003"}, {3, "43000000?3"}, {10, ".5"}})));
    EXPECT_NE(masked.out.find("\n4300000003 - Tres\n"), std::string::npos);
    EXPECT_EQ(masked.out.find("\n4300000001"), std::string::npos);
}

TEST_F(CmdReportTest, FilesAndBadInput) {
    const std::string csv = ledger.File("r.csv");
    EXPECT_EQ(Cli("--format csv -o " + csv, "clave\n").status, 0);
    std::ifstream in(csv);
    std::string first, line;
    std::getline(in, first);
    EXPECT_EQ(first,
              "\xEF\xBB\xBF"
              "Informe de punteo de extractos;;;;\r");
    // The criteria the command was given come before the column titles.
    bool criteria = false, header = false;
    while (!header && std::getline(in, line)) {
        criteria |= line.rfind("Cuentas coincidentes con;?????????? (todas)", 0) == 0;
        header = line == "Fecha;Asiento;Descripción;Referencia;Importe\r";
    }
    EXPECT_TRUE(criteria);
    EXPECT_TRUE(header);
    // The table forms, one entry a row.
    const std::string table = ledger.File("t.csv");
    EXPECT_EQ(Cli("--format csv-tabla -o " + table, "clave\n").status, 0);
    std::ifstream tin(table);
    bool tableHeader = false;
    while (!tableHeader && std::getline(tin, line))
        tableHeader =
            line ==
            "Cuenta;Nombre de la cuenta;Grupo;Fecha;Asiento;Descripción;Referencia;Importe\r";
    EXPECT_TRUE(tableHeader);
    EXPECT_EQ(Cli("--format xlsx-tabla -o " + ledger.File("t.xlsx"), "clave\n").status, 0);
    EXPECT_TRUE(std::filesystem::exists(ledger.File("t.xlsx")));

    EXPECT_EQ(Cli("--format pdf").status, 2);  // a file format needs -o
    EXPECT_EQ(Cli("--format doc -o x").status, 2);
    EXPECT_EQ(Cli("--from-date 31/02/26").status, 2);
    EXPECT_EQ(Cli("--min-balance diez").status, 2);
    EXPECT_EQ(Cli("--open --no-open").status, 2);
    // A file that cannot be written fails the command.
    EXPECT_EQ(Cli("--format pdf -o " + ledger.File("no/such/dir/r.pdf"), "clave\n").status, 1);
}

// Options that cannot select anything are refused with the reason, before anything is asked.
TEST_F(CmdReportTest, SelectionsThatMeanNothingAreRefusedWithTheirReason) {
    struct Case {
        const char* args;
        const char* says;
    } cases[] = {
        {"--min-balance -5", "--min-balance es un importe mínimo y no puede ser negativo"},
        {"--min-unbalanced -0,01", "--min-unbalanced es un importe mínimo"},
        {"--min-balance 1e400", "--min-balance espera un importe"},
        {"--min-balance 99999999999999", "fuera del rango de los importes"},
        {"--from-date 01/02/26 --to-date 31/01/26",
         "--to-date 31/01/26 es anterior a --from-date 01/02/26"},
        {"--from 4300000009 --to 4300000001", "--from 4300000009 es posterior a --to 4300000001"},
        {"--account 4399999999", "la cuenta 4399999999 no está en el plan de cuentas"},
    };
    for (const Case& c : cases) {
        Outcome o = testing::RunCommand(
            std::string(PENDARA_CLI_EXE) + " report " + c.args + " 2>&1", "clave\n");
        EXPECT_EQ(o.status, 2) << c.args;
        EXPECT_NE(o.out.find(c.says), std::string::npos) << c.args << ": " << o.out;
    }
    // The same dates the other way round are a selection.
    EXPECT_EQ(Cli("--from-date 31/01/26 --to-date 01/02/26", "clave\n").status, 0);
}

TEST_F(CmdReportTest, AnEmptySelectionSaysSinDatos) {
    Outcome o = testing::RunCommand(
        std::string(PENDARA_CLI_EXE) + " report --mask 9999999999 2>&1 >/dev/null", "clave\n");
    EXPECT_EQ(o.status, 0);
    EXPECT_NE(o.out.find("Sin datos"), std::string::npos) << o.out;
    Outcome some = testing::RunCommand(
        std::string(PENDARA_CLI_EXE) + " report --min-balance 0 2>&1 >/dev/null", "clave\n");
    EXPECT_EQ(some.out.find("Sin datos"), std::string::npos) << some.out;
}

}  // namespace
}  // namespace pendara
