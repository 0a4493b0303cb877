#include "companies/account_list.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/qv_file_control.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/account_list_handlers.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

using testing::Ledger;

class AccountListTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y25 = l.Company("E5", "Empresa", 2025);
        l.Accounts(y25, {{"4300000003", " Referenciada ", 0},
                         {"4300000001", "Abierta", 0},
                         {"4300000002", "Saldo cero", 0},
                         {"430", "Clientes", 2},
                         {"4300000004", "Casi cero", 0},
                         {"4300000005", "Minusculas", 0},
                         {"4300000006", "Marcada", 0},
                         {"5720000001", "Banco", 0}});
        l.Entries(y25, {{"4300000001", "01/01/25", "1", "a", 1, 100.0},
                        {"4300000002", "01/01/25", "2", "b", 1, 50.0},
                        {"4300000002", "02/01/25", "3", "c", 2, -50.0},
                        {"4300000003", "01/01/25", "4", "d", 1, 12.30, "", "", "", "", "RF-9"},
                        {"4300000004", "01/01/25", "5", "e", 1, 0.004},
                        {"4300000005", "01/01/25", "6", "f", 1, 8.0, "", "", "", "", "x rf-12"},
                        {"4300000006", "01/01/25", "7", "g", 1, 8.0, "1"},
                        {"5720000001", "01/01/25", "8", "h", 1, 3.0}});
        w.session.ActiveCompanyFile = y25;
    }
    std::vector<std::string> Entries() const {
        std::vector<std::string> out;
        for (const auto& item : w.List2.items())
            out.push_back(item.text);
        return out;
    }
    Ledger l;
    std::string y25;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(AccountListTest, PendingListKeepsOnlyNonZeroBalancesWithAnOpenEntry) {
    w.Text1.setText("43");
    w.PendingOnly = true;
    bool mode = true;
    Carga_cuentas(w, mode);
    EXPECT_FALSE(mode);
    EXPECT_FALSE(w.PendingOnly);
    EXPECT_EQ(Entries(), std::vector<std::string>{"4300000001 Abierta"});
    EXPECT_EQ(w.session.CurrentCode, "E5");
    EXPECT_FALSE(w.session.CurrentFolder.empty());
}

TEST_F(AccountListTest, FullListHasEveryPostingAccountInCodeOrderAndAlternates) {
    w.Text1.setText("");
    bool mode = false;
    Carga_cuentas(w, mode);
    EXPECT_TRUE(mode);
    EXPECT_EQ(Entries(), (std::vector<std::string>{"4300000001 Abierta", "4300000002 Saldo cero",
                                                   "4300000003 Referenciada",
                                                   "4300000004 Casi cero", "4300000005 Minusculas",
                                                   "4300000006 Marcada", "5720000001 Banco"}));
    EXPECT_TRUE(w.session.CurrentCode.empty());  // the full list does not touch the entries file
    Carga_cuentas(w, mode);
    EXPECT_FALSE(mode);
    EXPECT_EQ(Entries(), (std::vector<std::string>{"4300000001 Abierta", "5720000001 Banco"}));
    w.Text1.setText("6");
    Carga_cuentas(w, mode);
    EXPECT_TRUE(Entries().empty());
}

TEST_F(AccountListTest, AccountStatusRoundsAndLooksForUnreferencedUntickedEntries) {
    QvFileControl2 entries;
    entries.OpenFile(l.EntriesFile(y25), "");
    double balance = 1;
    bool open = false;
    AccountStatus(entries, "4300000004", balance, open);
    EXPECT_EQ(balance, 0);
    EXPECT_TRUE(open);
    AccountStatus(entries, "4300000003", balance, open);
    EXPECT_DOUBLE_EQ(balance, 12.30);
    EXPECT_FALSE(open);
    AccountStatus(entries, "4300000009", balance, open);
    EXPECT_EQ(balance, 0);
    EXPECT_FALSE(open);
    entries.CloseFile();
}

TEST_F(AccountListTest, EnterGivesPendingListInteractivelyAndFullListFromCommandLine) {
    w.Text1.setText("43");
    std::int32_t key = 13;
    Text1_KeyPress(w, key);
    EXPECT_EQ(Entries(), std::vector<std::string>{"4300000001 Abierta"});
    // Then the toolbar's "all accounts" alternates.
    bool mode = false;
    Carga_cuentas(w, mode);
    EXPECT_TRUE(mode);
    EXPECT_EQ(Entries().size(), 6u);

    w.CommandLine = "4300000002";
    key = 13;
    Text1_KeyPress(w, key);
    EXPECT_EQ(Entries().size(), 6u);
}

TEST_F(AccountListTest, StepsStopAtBothEndsAndLookUpFillsAccountBox) {
    int clicks = 0;
    w.List2.onClick = [&] { ++clicks; };
    w.List2.AddItem("1 a");
    w.List2.AddItem("2 b");
    BuscaSig_Click(w);
    EXPECT_EQ(w.List2.ListIndex(), 0);
    BuscaSig_Click(w);
    BuscaSig_Click(w);
    EXPECT_EQ(w.List2.ListIndex(), 1);
    Buscaanterior(w);
    Buscaanterior(w);
    EXPECT_EQ(w.List2.ListIndex(), 0);
    EXPECT_EQ(clicks, 3);

    port.QueueAccount("abc");
    w.CTA.setText("keep");
    BuscaCta_Click(w);
    EXPECT_EQ(w.CTA.text(), "keep");
    port.QueueAccount("4300000138");
    BuscaCta_Click(w);
    EXPECT_EQ(w.CTA.text(), "4300000138");
}

}  // namespace
}  // namespace pendara
