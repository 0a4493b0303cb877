#include "services/account_list.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/store.h"
#include "support/ledger.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

using testing::Ledger;

// A chart whose codes are not all of one length (one a digit short, one a digit long), with a
// group account, accounts settled, referenced or ticked, and one without movements.
class ListAccountsTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y25 = l.Company("E5", "Empresa", 2025);
        l.Accounts(y25, {{"430", "Clientes", 2},
                         {"4300000001", " Abierta  ", 0},
                         {"4300000002", "Saldada", 0},
                         {"4300000003", "Referenciada", 0},
                         {"4300000004", "Punteada", 0},
                         {"430000001", "Corta", 0},
                         {"43000000011", "Larga", 0},
                         {"4000000001", "Sin movimientos", 0},
                         {"5720000001", "Banco", 0}});
        l.Entries(y25, {{"4300000001", "01/01/25", "1", "a", 1, 100.0},
                        {"4300000002", "02/01/25", "2", "b", 1, 50.0},
                        {"4300000002", "03/01/25", "3", "c", 2, -50.0},
                        {"4300000003", "04/01/25", "4", "d", 1, 12.30, "", "", "", "", "RF-9"},
                        {"4300000004", "05/01/25", "5", "e", 1, 8.0, "1"},
                        {"430000001", "06/01/25", "6", "f", 2, -5.0},
                        {"43000000011", "07/01/25", "7", "g", 1, 7.0},
                        {"5720000001", "08/01/25", "8", "h", 1, 3.0},
                        {"430", "09/01/25", "9", "i", 1, 1.0}});
        s.ActiveCompanyFile = y25;
    }
    Ledger l;
    std::string y25;
    ScriptedPort port;
    Session s{port};
};

TEST_F(ListAccountsTest, MaskAndKindChooseThePostingAccountsInCodeOrder) {
    using enum AccountListKind;
    const std::string open = "4300000001 Abierta", settled = "4300000002 Saldada",
                      referenced = "4300000003 Referenciada", ticked = "4300000004 Punteada",
                      shorter = "430000001 Corta", longer = "43000000011 Larga",
                      none = "4000000001 Sin movimientos", bank = "5720000001 Banco";
    struct Case {
        const char* mask;
        AccountListKind kind;
        std::vector<std::string> expected;
    };
    // Codes sort as texts: a longer code follows its prefix, a shorter one follows the codes
    // that carry a 0 where it ends.
    const std::vector<Case> cases{
        {"", Full, {none, open, longer, settled, referenced, ticked, shorter, bank}},
        {"43", Full, {open, longer, settled, referenced, ticked, shorter}},
        {"4300000001", Full, {open, longer}},
        {"43000000010", Full, {}},
        {"430000001", Full, {shorter}},
        {"43?0000002", Full, {settled}},
        {"4?0", Full, {none, open, longer, settled, referenced, ticked, shorter}},
        {"*1", Full, {none, open, longer, shorter, bank}},
        {"?3*3", Full, {referenced}},
        {"6", Full, {}},
        {"", Pending, {open, longer, shorter, bank}},
        {"43", Pending, {open, longer, shorter}},
        {"4300000001", Pending, {open, longer}},
        {"*2", Pending, {bank}},
        {"4300000002", Pending, {}},
        {"6", Pending, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string("mask \"") + c.mask +
                     (c.kind == Full ? "\", full" : "\", pending"));
        s.CurrentCode.clear();
        EXPECT_EQ(ListAccounts(s, c.mask, c.kind), c.expected);
        // Only the pending list makes the company the current one.
        EXPECT_EQ(s.CurrentCode, c.kind == Pending ? "E5" : "");
    }
}

TEST_F(ListAccountsTest, AChartWithoutPostingAccountsListsNothing) {
    const std::string y26 = l.Company("E6", "Empresa", 2026);
    l.Accounts(y26, {{"43", "Clientes", 1}, {"430", "Clientes", 2}});
    l.Entries(y26, {{"430", "01/01/26", "1", "a", 1, 10.0}});
    s.ActiveCompanyFile = y26;
    for (const char* mask : {"", "43", "*"}) {
        SCOPED_TRACE(mask);
        EXPECT_TRUE(ListAccounts(s, mask, AccountListKind::Full).empty());
        EXPECT_TRUE(ListAccounts(s, mask, AccountListKind::Pending).empty());
    }
}

// The pending list as the chart reads it: a filter, a sum and a scan per account.
std::vector<std::string> PendingOneByOne(const std::string& company, const std::string& mask) {
    const std::string folder = FolderOf(company), code = CompanyCode(company);
    QvFileControl2 entries, chart;
    entries.OpenFile(EntriesFile(folder, code));
    chart.OpenFile(ChartFile(folder, code));
    chart.SetFilter("Cuenta  like " + mask + "* and nivel =0");
    chart.SetOrder("cuenta");
    chart.MoveFirst();
    std::vector<std::string> out;
    for (; !chart.IsEof(); chart.MoveNext()) {
        double balance = 0;
        bool open = false;
        AccountStatus(entries, chart.GetField(1), balance, open);
        if (balance != 0 && open)
            out.push_back(Trim(chart.GetField(1)) + " " + Trim(chart.GetField(2)));
    }
    return out;
}

// Many accounts whose amounts only cancel when added in one order, dated out of record order,
// with references and marks of every kind the open test tells apart: the one-pass list is the
// one built account by account, and so is every account's sum, to the last bit.
class PendingListTest : public testing::SettingsTest {};

TEST_F(PendingListTest, OnePassGivesWhatTheFilterPerAccountGives) {
    Ledger l;
    const std::string y = l.Company("E7", "Empresa", 2025);
    std::mt19937 random(7);
    const std::vector<std::string> references{"", "RF-1", "rf-2", "xRf-3", "ABC", " RF-4", "RF"};
    const std::vector<std::string> marks{"", "0", "1", " 0", "2", "abc", "0,0", "-0", "0.5"};
    const std::vector<double> amounts{0.1, 0.2, -0.3, 1e15, -1e15, 0.004, 12.3, -0.001, 5.0};
    std::vector<ChartAccount> chart;
    std::vector<EntryRecord> rows;
    for (int a = 0; a < 80; ++a) {
        const std::string code = std::to_string(4300000100 + a);
        chart.emplace_back(code, "Cuenta " + std::to_string(a));
        const int n = static_cast<int>(random() % 7);
        for (int i = 0; i < n; ++i) {
            const int day = 1 + static_cast<int>(random() % 28);
            const double amount = amounts[random() % amounts.size()];
            rows.push_back({code, (day < 10 ? "0" : "") + std::to_string(day) + "/03/25",
                            std::to_string(i), "x", amount < 0 ? 2 : 1, amount,
                            marks[random() % marks.size()], "", "", "",
                            references[random() % references.size()]});
        }
    }
    std::shuffle(rows.begin(), rows.end(), random);
    l.Accounts(y, chart);
    l.Entries(y, rows);

    ScriptedPort port;
    Session s{port};
    s.ActiveCompanyFile = y;
    const std::vector<std::string> listed = ListAccounts(s, "", AccountListKind::Pending);
    EXPECT_EQ(listed, PendingOneByOne(y, ""));
    EXPECT_EQ(ListAccounts(s, "43000001", AccountListKind::Pending),
              PendingOneByOne(y, "43000001"));
    EXPECT_GT(listed.size(), 5u);
    EXPECT_LT(listed.size(), chart.size() - 5);

    // With the index of unreferenced entries, and as a file made before it reads.
    const std::string file = EntriesFile(FolderOf(y), CompanyCode(y));
    QvFileControl2 entries;
    entries.OpenFile(file);
    const auto summaries = entries.AccountSummaries();
    entries.CloseFile();
    {
        Db db(file, Db::Mode::ReadWrite);
        Stmt has(db, "SELECT 1 FROM sqlite_master WHERE name = 'entries_unreferenced'");
        EXPECT_TRUE(has.Step());
        has = Stmt();
        db.Exec("DROP INDEX entries_unreferenced");
    }
    entries.OpenFile(file);
    const auto withoutIndex = entries.AccountSummaries();
    ASSERT_EQ(withoutIndex.size(), summaries.size());
    for (const auto& [code, summary] : summaries) {
        SCOPED_TRACE(code);
        ASSERT_EQ(withoutIndex.count(code), 1u);
        EXPECT_EQ(withoutIndex.at(code).open, summary.open);
        EXPECT_EQ(withoutIndex.at(code).sum, summary.sum);
    }
    for (const ChartAccount& account : chart) {
        SCOPED_TRACE(account.cuenta);
        double balance = 0;
        bool open = false;
        AccountStatus(entries, account.cuenta, balance, open);
        entries.SetFilter("Cuenta = " + account.cuenta);
        const double sum = entries.SumField("Importe");
        const auto it = summaries.find(account.cuenta);
        if (it == summaries.end()) {
            EXPECT_EQ(sum, 0.0);
            EXPECT_FALSE(open);
            continue;
        }
        EXPECT_EQ(it->second.sum, sum);
        EXPECT_EQ(it->second.open, open);
    }
}

}  // namespace
}  // namespace pendara
