#include "reports/report.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <map>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/report_output.h"
#include "host/settings.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/report_handlers.h"

namespace pendara {
namespace {

const std::string kA = "4300000001";
const std::string kB = "4300000002";
const std::string kC = "4300000003";

std::string Line(const std::string& date, const std::string& entry, const std::string& desc,
                 const std::string& ref, double amount) {
    return date + "\t" + entry + "\t" + desc + "\t" + ref + "\t" + FormatAmount(amount) + "\r\n";
}

std::string Closing(double total, double balance) {
    return "\r\n\t\tTotal\t\t" + FormatAmount(total) + "\r\n\t\tSaldo según último balance\t\t" +
           FormatAmount(balance) + "\r\n\t\tDiferencia\t\t" + FormatAmount(total - balance) +
           "\r\n\r\n";
}

class ReportTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        SetClock([] { return CalendarDate{2026, 11, 23}; });
        prev = ledger.Company("P5", "Demo", 2025);
        active = ledger.Company("A6", "Demo", 2026, prev);
        for (const std::string& company : {prev, active})
            ledger.Accounts(company, {{"43", "Clientes", 1},
                                      {kA, "Cliente uno  ", 0},
                                      {kB, "Cliente dos", 0},
                                      {kC, "Cliente tres", 0},
                                      {"4000000001", "Proveedor", 0}});
        ledger.SetActive(active);
        LoadEmpresas(w);
    }
    void TearDown() override {
        SetClock({});
        SettingsTest::TearDown();
    }

    // Answers the report dialog: `answers` maps item positions to texts; the output choice
    // (item 12) goes to the label column as the dialog leaves it.
    void Answer(std::map<int, std::string> answers, bool accept = true, int destination = 0) {
        port.QueueParameters(
            [=, this](const std::string& caption, ParameterValues& v, const ParameterKinds& k) {
                this->caption = caption;
                shown = v;
                kinds = k;
                for (const auto& [item, text] : answers)
                    v[static_cast<std::size_t>(item - 1)][1] = text;
                v[11][0] = std::to_string(destination);
                return accept;
            });
    }
    // Runs the report to the screen and returns its text.
    std::string Report(std::map<int, std::string> answers) {
        Answer(std::move(answers));
        Informe_Click(w);
        EXPECT_EQ(port.reports.size(), 1u);
        if (port.reports.empty()) return "";
        std::string text = port.reports.back().first.text;
        port.reports.clear();
        return text;
    }
    std::string Setting(const std::string& key) {
        return HostOptions().Query("Punteo", key).value_or("<none>");
    }

    testing::Ledger ledger;
    std::string prev, active;
    ScriptedPort port;
    Pndra w{port};
    std::string caption;
    ParameterValues shown;
    ParameterKinds kinds;
};

TEST_F(ReportTest, DialogOffersTheTwelveItemsWithTheirDefaults) {
    w.CTA.setText(kA);
    SaveSetting("Nopunteados", "0", "Punteo");  // written capitalised, read as "nopunteados"
    SaveSetting("Nocuadrados", "abc", "Punteo");
    SaveSetting("Punteadosycuadrados", "1", "Punteo");
    Answer({}, false);
    Informe_Click(w);
    EXPECT_EQ(caption, "Informe de Pendara");
    const std::vector<std::array<std::string, 2>> values = {
        {"Desde Cuenta", kA},
        {"Hasta Cuenta", kA},
        {"Cuentas coincidentes con", "??????????"},
        {"Desde Fecha", "01/01/99"},
        {"Hasta Fecha", "31/12/26"},
        {"Apuntes no punteados", "0"},
        {"Apuntes punteados pero no cuadrados", "0"},
        {"Apuntes punteados y cuadrados", "1"},
        {"Incluir apuntes de Apertura", "0"},
        {"Solo cuentas con saldo mayor que €", ".01"},
        {"Incluir apuntes punteados no cuadrados mayores que €", "0"},
        {"Salida a", ""}};
    ASSERT_EQ(shown.size(), 12u);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(shown[i], values[i]) << "item " << i + 1;
    const ParameterKinds expected = {{10, 20}, {10, 20}, {10, 0}, {8, 5},  {8, 5},  {1, 30},
                                     {1, 30},  {0, 30},  {0, 30}, {12, 3}, {12, 3}, {0, 71}};
    EXPECT_EQ(kinds, expected);
}

TEST_F(ReportTest, CancellingStoresAndPrintsNothing) {
    SaveSetting("Nocuadrados", "1", "Punteo");
    Answer({{6, "0"}, {7, "0"}, {8, "1"}}, false);
    Informe_Click(w);
    EXPECT_TRUE(port.reports.empty());
    EXPECT_EQ(Setting("Nocuadrados"), "1");
    EXPECT_EQ(Setting("Nopunteados"), "<none>");
    EXPECT_TRUE(port.gauge.history.empty());
}

TEST_F(ReportTest, AcceptingStoresTheFourChecksAndPrintsWithTheHostArguments) {
    Answer({{1, kA}, {2, kA}, {6, "0"}, {7, "1"}, {8, "1"}, {9, "1"}}, true, kReportToPrinter);
    Informe_Click(w);
    EXPECT_EQ(Setting("nopunteados"), "0");
    EXPECT_EQ(Setting("Nocuadrados"), "1");
    EXPECT_EQ(Setting("Punteadosycuadrados"), "1");
    EXPECT_EQ(Setting("Incluirapertura"), "1");
    ASSERT_EQ(port.reports.size(), 1u);
    EXPECT_EQ(port.reports[0].second, ReportScreenTarget::Printer);
    const ReportRequest& r = port.reports[0].first;
    EXPECT_EQ(r.destination, kReportToPrinter);
    EXPECT_EQ(r.title, "Informe de punteo de extractos");
    EXPECT_EQ(r.date, "23/11/26");
    EXPECT_EQ(r.columns, "Fecha,Asiento,Descripción,Referencia,Importe");
    EXPECT_EQ(r.alignments, "5,0,0,0,3");
    EXPECT_EQ(r.companyName, "EMPA6");
}

TEST_F(ReportTest, UnmatchedEntriesTotalAgainstTheBalance) {
    ledger.Entries(active, {{kA, "15/01/26", "12", "Fra. 12", 1, 100.0},
                            {kA, "20/02/26", "31", "Cobro a cuenta", 2, -30.5},
                            {kB, "20/02/26", "32", "Otra cuenta", 1, 9.0}});
    std::string text = Report({{1, kA}, {2, kA}});
    EXPECT_EQ(text, "_" + kA + " - Cliente uno\r\n" + Line("15/01/26", "12", "Fra. 12", "", 100) +
                        Line("20/02/26", "31", "Cobro a cuenta", "", -30.5) + Closing(69.5, 69.5) +
                        "\r\n");
}

TEST_F(ReportTest, EarlierYearsAreListedAndTheDifferenceShowsThem) {
    ledger.Entries(prev, {{kA, "10/12/25", "90", "Fra. 90", 1, 40.0}});
    ledger.Entries(active, {{kA, "15/01/26", "12", "Fra. 12", 1, 100.0}});
    std::string text = Report({{1, kA}, {2, kA}});
    // The balance is the active company's; the open item of last year makes the difference.
    EXPECT_EQ(text, "_" + kA + " - Cliente uno\r\n" + Line("10/12/25", "90", "Fra. 90", "", 40) +
                        Line("15/01/26", "12", "Fra. 12", "", 100) + Closing(140, 100) + "\r\n");
}

TEST_F(ReportTest, MinimumBalanceKeepsAccountsAtOrBeyondIt) {
    ledger.Entries(active, {{kA, "15/01/26", "1", "Casi cero", 1, 0.004},
                            {kB, "15/01/26", "2", "Un céntimo", 2, -0.01},
                            {kC, "15/01/26", "3", "Cero", 1, 0.0}});
    std::string text = Report({{1, kA}, {2, kC}});
    // kA rounds to 0.00 and is left out; kB is kept; kC is within; each still gets its CR LF.
    EXPECT_EQ(text, "\r\n_" + kB + " - Cliente dos\r\n" +
                        Line("15/01/26", "2", "Un céntimo", "", -0.01) + Closing(-0.01, -0.01) +
                        "\r\n\r\n");
    std::string all = Report({{1, kA}, {2, kC}, {10, "0"}});
    EXPECT_NE(all.find("_" + kA), std::string::npos);
    EXPECT_NE(all.find("_" + kC), std::string::npos);
    // A non-numeric threshold counts as 0.
    EXPECT_EQ(Report({{1, kA}, {2, kC}, {10, "muchos"}}), all);
}

TEST_F(ReportTest, AnAccountWithoutMovementsContributesOnlyItsSeparator) {
    ledger.Entries(prev, {{kA, "10/12/25", "90", "Fra. 90", 1, 40.0}});
    EXPECT_EQ(Report({{1, kA}, {2, kA}, {10, "0"}}), "\r\n");
}

TEST_F(ReportTest, OpeningEntriesOnlyWhenAsked) {
    ledger.Entries(active, {{kA, "01/01/26", "1", "Apertura", 1, 50.0, "", "A"},
                            {kA, "15/01/26", "12", "Fra. 12", 1, 100.0, "", "9"}});
    std::string without = Report({{1, kA}, {2, kA}});
    EXPECT_EQ(without.find("Apertura"), std::string::npos);
    EXPECT_NE(without.find("Fra. 12"), std::string::npos);
    EXPECT_NE(without.find(Closing(100, 150)), std::string::npos);
    std::string with = Report({{1, kA}, {2, kA}, {9, "1"}});
    EXPECT_NE(with.find(Line("01/01/26", "1", "Apertura", "", 50)), std::string::npos);
    EXPECT_NE(with.find(Closing(150, 150)), std::string::npos);
}

TEST_F(ReportTest, MatchedGroupsByMarkWithAGapBeforeTheNextUnmatchedEntry) {
    ledger.Entries(active,
                   {{kA, "10/01/26", "1", "Fra. 1", 1, 100.0, "1", "", "", "", "RF-1"},
                    {kA, "11/01/26", "2", "Fra. 2", 1, 80.0, "2", "", "", "", "RF-2"},
                    {kA, "12/01/26", "3", "Cobro Fra. 1", 2, -100.0, "1", "", "", "", "RF-1"},
                    {kA, "13/01/26", "4", "Cobro Fra. 2", 2, -75.0, "2", "", "", "", "RF-2"},
                    {kA, "14/01/26", "5", "Suelto", 1, 7.0, "X", "", "", "", ""}});
    // Only unmatched: marks other than 1 and 2 count as unmatched.
    EXPECT_EQ(Report({{1, kA}, {2, kA}}), "_" + kA + " - Cliente uno\r\n" +
                                              Line("14/01/26", "5", "Suelto", "", 7) +
                                              Closing(7, 12) + "\r\n");

    const std::string rf1 = "\r\n*Referencia: RF-1\r\n" +
                            Line("10/01/26", "1", "Fra. 1", "RF-1", 100) +
                            Line("12/01/26", "3", "Cobro Fra. 1", "RF-1", -100) + "\t\tSaldo\t" +
                            FormatAmount(0) + "\r\n";
    const std::string rf2 = "\r\n*Referencia: RF-2\r\n" +
                            Line("11/01/26", "2", "Fra. 2", "RF-2", 80) +
                            Line("13/01/26", "4", "Cobro Fra. 2", "RF-2", -75) + "\t\tSaldo\t" +
                            FormatAmount(5) + "\r\n";
    EXPECT_EQ(Report({{1, kA}, {2, kA}, {7, "1"}, {8, "1"}}),
              "_" + kA + " - Cliente uno\r\n" + rf1 + rf2 + "\r\n" +
                  Line("14/01/26", "5", "Suelto", "", 7) + Closing(12, 12) + "\r\n");
    // The unbalanced group within its minimum is left out.
    EXPECT_EQ(Report({{1, kA}, {2, kA}, {7, "1"}, {8, "1"}, {11, "5"}}),
              "_" + kA + " - Cliente uno\r\n" + rf1 + "\r\n" +
                  Line("14/01/26", "5", "Suelto", "", 7) + Closing(7, 12) + "\r\n");
}

TEST_F(ReportTest, DateRangeIncludesBothEnds) {
    ledger.Entries(active, {{kA, "31/12/25", "1", "Antes", 1, 1.0},
                            {kA, "01/01/26", "2", "Primero", 1, 2.0},
                            {kA, "31/01/26", "3", "Ultimo", 1, 4.0},
                            {kA, "01/02/26", "4", "Despues", 1, 8.0}});
    std::string text = Report({{1, kA}, {2, kA}, {4, "01/01/26"}, {5, "31/01/26"}});
    EXPECT_EQ(text, "_" + kA + " - Cliente uno\r\n" + Line("01/01/26", "2", "Primero", "", 2) +
                        Line("31/01/26", "3", "Ultimo", "", 4) + Closing(6, 15) + "\r\n");
}

TEST_F(ReportTest, RangeAndMaskSelectPostingAccounts) {
    for (const std::string& a : {kA, kB, kC, std::string("4000000001")})
        ledger.Entries(active, {{a, "15/01/26", "1", "Apunte " + a, 1, 10.0}});
    auto accounts = [](const std::string& text) {
        std::vector<std::string> out;
        for (std::size_t p = text.find('_'); p != std::string::npos; p = text.find("\n_", p + 1))
            out.push_back(text.substr(text[p] == '_' ? p + 1 : p + 2, 10));
        return out;
    };
    EXPECT_EQ(accounts(Report({{1, kA}, {2, kB}})), (std::vector<std::string>{kA, kB}));
    // In the chart's own order (the supplier was added last), not sorted.
    EXPECT_EQ(accounts(Report({{1, "4000000000"}, {2, "4399999999"}})),
              (std::vector<std::string>{kA, kB, kC, "4000000001"}));
    EXPECT_EQ(accounts(Report({{1, "4000000000"}, {2, "4399999999"}, {3, "43000000?3"}})),
              (std::vector<std::string>{kC}));
    EXPECT_EQ(accounts(Report({{1, "4000000000"}, {2, "4399999999"}, {3, "43*"}})),
              (std::vector<std::string>{kA, kB, kC}));
}

TEST_F(ReportTest, GaugeAdvancesPerAccountAndEventsRun) {
    Report({{1, "4000000000"}, {2, "4399999999"}});
    EXPECT_EQ(port.gauge.history, (std::vector<std::string>{"25%", "50%", "75%", "100%"}));
    EXPECT_EQ(port.gauge.text, "");  // cleared at the end
    EXPECT_EQ(port.doEventsCalls, 4);
}

TEST_F(ReportTest, FileDestinationWritesTheReport) {
    ledger.Entries(active, {{kA, "15/01/26", "12", "Fra. 12", 1, 100.0}});
    const std::string file = ledger.File("informe.csv");
    port.QueueSaveFile(file);
    Answer({{1, kA}, {2, kA}}, true, kReportToCsv);
    Informe_Click(w);
    EXPECT_TRUE(port.reports.empty());
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_TRUE(port.AllAnswersUsed());
}

}  // namespace
}  // namespace pendara
