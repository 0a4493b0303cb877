#include "services/report.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "support/ledger.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

using testing::Ledger;

// A year of customers and a bank: one customer with a balanced group and an open invoice (and an
// invoice left open last year), one with an unbalanced group and a credit note, one a cent off
// zero, one at zero, the bank with its opening entry, and a supplier without movements.
class GenerateReportTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"43", "Clientes", 1},
                         {"4300000001", "Cliente uno", 0},
                         {"4300000002", "Cliente dos", 0},
                         {"4300000003", "Cliente tres", 0},
                         {"4300000004", "Cliente cuatro", 0},
                         {"4000000001", "Proveedor", 0},
                         {"5720000001", "Banco", 0}});
        l.Entries(y24, {{"4300000001", "15/12/24", "90", "Fra. 0", 1, 70.0}});
        l.Entries(y25,
                  {{"5720000001", "01/01/25", "1", "Apertura", 1, 50.0, "", "A"},
                   {"5720000001", "02/01/25", "2", "Ingreso", 1, 300.0},
                   {"4300000001", "15/01/25", "3", "Fra. 1", 1, 100.0, "1", "", "", "", "RF-1"},
                   {"4300000001", "20/01/25", "4", "Cobro 1", 2, -100.0, "1", "", "", "", "RF-1"},
                   {"4300000002", "10/02/25", "5", "Fra. 5", 1, 60.0, "2", "", "", "", "RF-2"},
                   {"4300000002", "12/02/25", "6", "Cobro 5", 2, -50.0, "2", "", "", "", "RF-2"},
                   {"4300000001", "01/03/25", "7", "Fra. 7", 1, 40.0},
                   {"4300000002", "01/04/25", "8", "Abono", 2, -5.0},
                   {"4300000003", "05/05/25", "9", "Fra. 9", 1, 10.0},
                   {"4300000003", "06/05/25", "10", "Cobro 9", 2, -9.99},
                   {"4300000004", "07/05/25", "11", "Fra. 11", 1, 25.0},
                   {"4300000004", "08/05/25", "12", "Cobro 11", 2, -25.0}});
        l.SetActive(y25);
        LoadCatalogue(s);
    }

    static ReportOptions Year() {
        ReportOptions o;
        o.fromAccount = "0";
        o.toAccount = "9999999999";
        o.fromDate = DateText("01/01/25");
        o.toDate = DateText("31/12/25");
        return o;
    }

    // Each account of the report on one line: left out ("-"), or its open lines ("o" amount),
    // its groups ("g" reference, entries, balance) and its total.
    static std::vector<std::string> Describe(const Report& r) {
        std::vector<std::string> out;
        for (const AccountReport& a : r.accounts) {
            std::string line = a.account;
            if (!a.listed) {
                out.push_back(line + " -");
                continue;
            }
            for (const ReportBodyItem& item : a.body) {
                if (const auto* g = std::get_if<ReportGroup>(&item))
                    line += " g" + g->reference + "x" + std::to_string(g->entries.size()) + ":" +
                            FormatAmountPlain(g->balance);
                else
                    line += " o" + FormatAmountPlain(std::get<ReportOpenEntry>(item).line.amount);
            }
            out.push_back(line + " = " + FormatAmountPlain(a.total));
        }
        return out;
    }

    Ledger l;
    std::string y24, y25;
    ScriptedPort port;
    Session s{port};
};

TEST_F(GenerateReportTest, ListsWhatTheOptionsAskForAccountByAccount) {
    struct Case {
        const char* what;
        void (*adjust)(ReportOptions&);
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases{
        {"open entries only, the default cent minimum",
         [](ReportOptions&) {},
         {"4300000001 o40,00 = 40,00", "4300000002 o-5,00 = -5,00",
          "4300000003 o10,00 o-9,99 = 0,01", "4300000004 -", "4000000001 -",
          "5720000001 o300,00 = 300,00"}},
        {"balanced groups only",
         [](ReportOptions& o) {
             o.showOpen = false;
             o.showBalanced = true;
         },
         {"4300000001 gRF-1x2:0,00 = 0,00", "4300000002 = 0,00", "4300000003 = 0,00",
          "4300000004 -", "4000000001 -", "5720000001 = 0,00"}},
        {"unbalanced groups only",
         [](ReportOptions& o) {
             o.showOpen = false;
             o.showUnbalanced = true;
         },
         {"4300000001 = 0,00", "4300000002 gRF-2x2:10,00 = 10,00", "4300000003 = 0,00",
          "4300000004 -", "4000000001 -", "5720000001 = 0,00"}},
        {"an unbalanced group just above its own minimum is listed",
         [](ReportOptions& o) {
             o.showOpen = false;
             o.showUnbalanced = true;
             o.minUnbalanced = 9.99;
         },
         {"4300000001 = 0,00", "4300000002 gRF-2x2:10,00 = 10,00", "4300000003 = 0,00",
          "4300000004 -", "4000000001 -", "5720000001 = 0,00"}},
        {"an unbalanced group equal to its own minimum is left out",
         [](ReportOptions& o) {
             o.showOpen = false;
             o.showUnbalanced = true;
             o.minUnbalanced = 10;
         },
         {"4300000001 = 0,00", "4300000002 = 0,00", "4300000003 = 0,00", "4300000004 -",
          "4000000001 -", "5720000001 = 0,00"}},
        {"everything, opening entries included",
         [](ReportOptions& o) { o.showBalanced = o.showUnbalanced = o.showOpening = true; },
         {"4300000001 gRF-1x2:0,00 o40,00 = 40,00", "4300000002 gRF-2x2:10,00 o-5,00 = 5,00",
          "4300000003 o10,00 o-9,99 = 0,01", "4300000004 -", "4000000001 -",
          "5720000001 o50,00 o300,00 = 350,00"}},
        {"a minimum above the cent left over drops that account",
         [](ReportOptions& o) { o.minBalance = 0.02; },
         {"4300000001 o40,00 = 40,00", "4300000002 o-5,00 = -5,00", "4300000003 -", "4300000004 -",
          "4000000001 -", "5720000001 o300,00 = 300,00"}},
        {"a balance equal to the minimum is listed, one cent more is not",
         [](ReportOptions& o) { o.minBalance = 5; },
         {"4300000001 o40,00 = 40,00", "4300000002 o-5,00 = -5,00", "4300000003 -", "4300000004 -",
          "4000000001 -", "5720000001 o300,00 = 300,00"}},
        {"a minimum just above a balance",
         [](ReportOptions& o) { o.minBalance = 5.01; },
         {"4300000001 o40,00 = 40,00", "4300000002 -", "4300000003 -", "4300000004 -",
          "4000000001 -", "5720000001 o300,00 = 300,00"}},
        {"no minimum lists a zero balance, never an account without movements",
         [](ReportOptions& o) { o.minBalance = 0; },
         {"4300000001 o40,00 = 40,00", "4300000002 o-5,00 = -5,00",
          "4300000003 o10,00 o-9,99 = 0,01", "4300000004 o25,00 o-25,00 = 0,00", "4000000001 -",
          "5720000001 o300,00 = 300,00"}},
        {"January and February only",
         [](ReportOptions& o) {
             o.toDate = DateText("28/02/25");
             o.showBalanced = o.showUnbalanced = true;
         },
         {"4300000001 gRF-1x2:0,00 = 0,00", "4300000002 gRF-2x2:10,00 = 10,00", "4300000003 = 0,00",
          "4300000004 -", "4000000001 -", "5720000001 o300,00 = 300,00"}},
        {"a group whose first entry lies before the range starts at its first entry inside it",
         [](ReportOptions& o) {
             o.fromDate = DateText("16/01/25");
             o.showBalanced = true;
         },
         {"4300000001 gRF-1x1:-100,00 o40,00 = -60,00", "4300000002 o-5,00 = -5,00",
          "4300000003 o10,00 o-9,99 = 0,01", "4300000004 -", "4000000001 -", "5720000001 = 0,00"}},
        {"last year's range shows last year's open invoice",
         [](ReportOptions& o) {
             o.fromDate = DateText("01/12/24");
             o.toDate = DateText("31/12/24");
         },
         {"4300000001 o70,00 = 70,00", "4300000002 = 0,00", "4300000003 = 0,00", "4300000004 -",
          "4000000001 -", "5720000001 = 0,00"}},
        {"a mask with one character free",
         [](ReportOptions& o) { o.mask = "43?0000002"; },
         {"4300000002 o-5,00 = -5,00"}},
        {"a mask with a run free",
         [](ReportOptions& o) { o.mask = "57*"; },
         {"5720000001 o300,00 = 300,00"}},
        {"an account range",
         [](ReportOptions& o) {
             o.fromAccount = "4300000002";
             o.toAccount = "4300000003";
         },
         {"4300000002 o-5,00 = -5,00", "4300000003 o10,00 o-9,99 = 0,01"}},
        {"a mask no account matches", [](ReportOptions& o) { o.mask = "6*"; }, {}},
        {"a range that ends before it starts",
         [](ReportOptions& o) {
             o.fromAccount = "5";
             o.toAccount = "4";
         },
         {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ReportOptions o = Year();
        c.adjust(o);
        int progressed = 0;
        const Report r = GenerateReport(s, o, {}, [&] { ++progressed; });
        EXPECT_EQ(Describe(r), c.expected);
        EXPECT_EQ(progressed, static_cast<int>(c.expected.size()));
        for (const AccountReport& a : r.accounts) {
            if (a.account == "5720000001" && a.listed) {
                EXPECT_EQ(a.balance, 350.0);
            }
            if (a.account == "4300000001" && a.listed) {
                EXPECT_EQ(a.title, "Cliente uno");
            }
        }
    }
}

TEST_F(GenerateReportTest, CarriesTheCompanysNameYearCriteriaAndGrandTotals) {
    ReportOptions o = Year();
    o.showUnbalanced = true;
    o.minUnbalanced = 2.5;
    const Report r = GenerateReport(s, o);
    EXPECT_EQ(r.companyFullName, "Empresa");
    EXPECT_EQ(r.fiscalYear, "2025");
    std::vector<std::string> criteria;
    for (const ReportCriterion& c : r.criteria)
        criteria.push_back(c.label + ": " + c.value);
    EXPECT_EQ(
        criteria,
        (std::vector<std::string>{
            "Cuentas: desde 0 hasta 9999999999", "Cuentas coincidentes con: ?????????? (todas)",
            "Fechas: del 01/01/25 al 31/12/25",
            "Apuntes: no punteados, punteados pero no cuadrados",
            "Apuntes de apertura: no incluidos", "Solo cuentas con saldo mayor que: 0,01 €",
            "Punteados no cuadrados mayores que: 2,50 €"}));
    // Only the accounts listed count: 4300000001 (40), 4300000002 (group 10 and -5),
    // 4300000003 (0,01) and the bank (300 without its opening entry).
    const ReportTotals t = GrandTotals(r);
    EXPECT_EQ(t.accounts, 4);
    EXPECT_NEAR(t.total, 40 + 5 + 0.01 + 300, 1e-9);
    double balance = 0;
    for (const AccountReport& a : r.accounts)
        if (a.listed) balance += a.balance;
    EXPECT_NEAR(t.balance, balance, 1e-9);
    EXPECT_NEAR(t.difference, t.total - t.balance, 1e-9);
    EXPECT_NEAR(t.difference, -50, 1e-9);  // the bank's opening entry, left out
    const ReportRequest request = RequestOf(r);
    EXPECT_EQ(request.fiscalYear, "2025");
    ASSERT_TRUE(request.totals);
    EXPECT_EQ(request.totals->accounts, 4);
    EXPECT_EQ(request.criteria.size(), 7u);
    // Without groups of mark 2 asked for, their minimum says nothing and is left out.
    EXPECT_EQ(ReportCriteria(Year()).size(), 6u);
    ReportOptions none = Year();
    none.showOpen = false;
    none.minBalance = 0;
    none.mask = "43????????";
    const std::vector<ReportCriterion> c = ReportCriteria(none);
    EXPECT_EQ(c[1].value, "43????????");
    EXPECT_EQ(c[3].value, "ninguno");
    EXPECT_EQ(c[5].value, "todas las cuentas");
}

// Made account by account, only the text kept: the same request as from the whole report,
// with the accounts handed over in chart order and the grand totals of those listed.
TEST_F(GenerateReportTest, AccountByAccountGivesTheWholeReportsRequest) {
    ReportOptions o = Year();
    o.showUnbalanced = true;
    o.showBalanced = true;
    o.destination = 5;
    const Report full = GenerateReport(s, o);
    const ReportRequest whole = RequestOf(full);
    std::vector<std::string> chartOrder;
    for (const AccountReport& a : full.accounts)
        chartOrder.push_back(a.account);

    ReportTextBuilder built;
    std::vector<std::string> order;
    int progressed = 0;
    const Report header = GenerateReportByAccount(
        s, o,
        [&](AccountReport&& a) {
            order.push_back(a.account);
            built.Add(a);
        },
        {}, [&] { ++progressed; });
    EXPECT_TRUE(header.accounts.empty());
    EXPECT_EQ(order, chartOrder);
    EXPECT_EQ(order.size(), 6u);
    EXPECT_EQ(progressed, 6);
    EXPECT_EQ(built.Totals().accounts, 4);
    const ReportRequest streamed = built.TakeRequest(header);
    EXPECT_EQ(streamed.text, whole.text);
    EXPECT_NE(streamed.text.find("_4300000002 - Cliente dos"), std::string::npos);
    EXPECT_EQ(streamed.destination, 5);
    EXPECT_EQ(streamed.title, whole.title);
    EXPECT_EQ(streamed.companyFullName, whole.companyFullName);
    EXPECT_EQ(streamed.criteria.size(), whole.criteria.size());
    ASSERT_TRUE(streamed.totals && whole.totals);
    EXPECT_EQ(streamed.totals->accounts, whole.totals->accounts);
    EXPECT_EQ(streamed.totals->total, whole.totals->total);
    EXPECT_EQ(streamed.totals->balance, whole.totals->balance);
    EXPECT_EQ(streamed.totals->difference, whole.totals->difference);
    // Taken, the builder starts again empty.
    EXPECT_EQ(built.Totals().accounts, 0);
    EXPECT_TRUE(built.TakeRequest(header).text.empty());
}

}  // namespace
}  // namespace pendara
