#include "posting/maintenance.h"

#include <gtest/gtest.h>

#include "companies/catalogue.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

using testing::Ledger;

class MaintenanceTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"4300000138", "Clientes varios"}, {"4300000139", "Otro"}});
        l.Entries(y24, {{"4300000138", "01/01/24", "1", "a", 1, 10.0, "1", "", "", "12", "RF-1"},
                        {"5720000001", "01/01/24", "2", "b", 2, -10.0, "2", "", "", "", "x"}});
        l.Entries(y25, {{"4300000138", "01/01/25", "1", "a", 1, 10.0, "1", "", "", "rf-12", ""},
                        {"4300000138", "02/01/25", "2", "b", 1, 5.0, "1", "", "", "  ", "keep"},
                        {"4300000139", "02/01/25", "3", "c", 1, 5.0, "1", "", "", "77", "RF-3"}});
        l.SetActive(y25);
        LoadEmpresas(w);
        ASSERT_EQ(w.List1.ListCount(), 2);
    }
    Ledger l;
    std::string y24, y25;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(MaintenanceTest, Command1ClearsEveryEntryOfEveryCompanyAndLeavesTheLastAsCurrent) {
    Command1_Click(w);
    for (const std::string& company : {y24, y25}) {
        for (const EntryRecord& e : l.Read(company)) {
            EXPECT_EQ(e.referencia, "") << company << " " << e.registro;
            EXPECT_EQ(e.marca, "0") << company << " " << e.registro;
        }
    }
    EXPECT_EQ(w.session.CurrentCode, "E4");
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(MaintenanceTest, Command2CopiesFieldTwentyTwoAsSystemReferenceOnTheFixedAccount) {
    Command2_Click(w);
    auto e25 = l.Read(y25);
    EXPECT_EQ(e25[0].referencia, "rf-12");  // already holds rf- in some case
    EXPECT_EQ(e25[1].referencia, "keep");   // blank field 22: untouched
    EXPECT_EQ(e25[2].referencia, "RF-3");   // another account
    EXPECT_EQ(l.Read(y24)[0].referencia, "RF-12");
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "FIN");
    EXPECT_EQ(port.messages[0].style, kVbOKOnly);
}

TEST_F(MaintenanceTest, Command3ResetsMarksOfTheFixedAccountOnly) {
    Command3_Click(w);
    auto e25 = l.Read(y25);
    EXPECT_EQ(e25[0].marca, "0");
    EXPECT_EQ(e25[1].marca, "0");
    EXPECT_EQ(e25[2].marca, "1");
    EXPECT_EQ(l.Read(y24)[0].marca, "0");
    EXPECT_EQ(l.Read(y24)[1].marca, "2");
    EXPECT_EQ(e25[0].referencia, "");
}

TEST_F(MaintenanceTest, Command4FillsTheListOnlyForAShortCode) {
    w.List2.AddItem("x y");
    port.QueueAccount("4300000138");
    Command4_Click(w);
    EXPECT_EQ(w.List2.ListCount(), 0);
    EXPECT_EQ(w.Text1.text(), "4300000138");

    w.CTA.setText("");
    port.QueueAccount("");
    Command4_Click(w);  // nothing chosen: the empty mask lists every account
    EXPECT_EQ(w.List2.ListCount(), 2);
}

TEST_F(MaintenanceTest, Command4MeasuresTheCodeInCharacters) {
    l.Accounts(y25, {{"43ñ€", "Rara"}, {"43ñ€€€", "Otra"}, {"4𝄞", "Clave"}});
    w.CTA.setText("43ñ€");  // four characters in seven bytes: a group prefix
    port.QueueAccount("");
    Command4_Click(w);
    ASSERT_EQ(w.List2.ListCount(), 2);
    EXPECT_EQ(w.List2.List(0), "43ñ€ Rara");
    EXPECT_EQ(w.List2.List(1), "43ñ€€€ Otra");

    w.CTA.setText("4𝄞");
    port.QueueAccount("");
    Command4_Click(w);  // the list alternates: this fill is the pending one, and 4𝄞 has no entries
    EXPECT_EQ(w.List2.ListCount(), 0);
    EXPECT_EQ(w.session.CurrentCode, "E5");

    w.CTA.setText("43ñ€€€");  // six characters: an account, the list stays empty
    w.session.CurrentCode = "";
    port.QueueAccount("");
    Command4_Click(w);
    EXPECT_EQ(w.List2.ListCount(), 0);
    EXPECT_EQ(w.session.CurrentCode, "");
}

}  // namespace
}  // namespace pendara
