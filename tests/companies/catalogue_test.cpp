#include "companies/catalogue.h"

#include <gtest/gtest.h>

#include <chrono>

#include "host/company_file.h"
#include "host/errors.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

class CatalogueTest : public testing::SettingsTest {
  protected:
    std::vector<std::string> Names() const {
        std::vector<std::string> out;
        for (const auto& item : w.List1.items())
            out.push_back(item.text);
        return out;
    }

    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(CatalogueTest, ChainOfThreeYearsNewestFirst) {
    std::string y23 = l.Company("K3", "Empresa", 2023, "", "", "EMP2023.QVT");
    std::string y24 = l.Company("K4", "Empresa", 2024, y23, "", "EMP2024.QVT");
    std::string y25 = l.Company("K5", "Empresa", 2025, y24, "", "EMP2025.QVT");
    l.SetActive(y25);
    LoadEmpresas(w);
    EXPECT_EQ(w.session.ActiveCompanyFile, y25);
    EXPECT_EQ(Names(), (std::vector<std::string>{"EMP2025", "EMP2024", "EMP2023"}));
    EXPECT_EQ(w.session.ConsultedFiles.size(), 3u);
    EXPECT_EQ(w.List1.ItemData(2), 2);
    EXPECT_EQ(w.List1.ListIndex(), 0);
    EXPECT_EQ(w.session.FirstCompanyFile, l.File("EMP2023.QVT"));
    EXPECT_EQ(CompanyCode(w.session.ConsultedFiles[2]), "K3");
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(CatalogueTest, SharedKeyIsAskedOnceAndWrongKeyAgain) {
    SetAccessKeyDelayUnit(std::chrono::milliseconds(1));
    std::string y24 = l.Company("K4", "Empresa", 2024, "", "llave");
    std::string y25 = l.Company("K5", "Empresa", 2025, y24, "llave");
    l.SetActive(y25);
    port.QueueInput("mala");
    port.QueueInput("llave");
    LoadEmpresas(w);
    SetAccessKeyDelayUnit(std::chrono::milliseconds(500));
    EXPECT_EQ(port.prompts, (std::vector<std::string>{"Clave de acesso para " + y25,
                                                      "Clave de acesso para " + y25}));
    // The wrong key is named before the prompt comes again.
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Clave de acceso incorrecta");
    EXPECT_EQ(w.session.AccessKey, "llave");
    EXPECT_EQ(w.session.ConsultedFiles.size(), 2u);
    EXPECT_TRUE(port.AllAnswersUsed());
}

// The key kept from the newer year is tried on the older one without a word; the key typed for
// the older year is named wrong when refused.
TEST_F(CatalogueTest, AKeyKeptFromAnotherYearIsNoWrongKey) {
    SetAccessKeyDelayUnit(std::chrono::milliseconds(1));
    std::string y24 = l.Company("K4", "Empresa", 2024, "", "vieja");
    std::string y25 = l.Company("K5", "Empresa", 2025, y24, "nueva");
    l.SetActive(y25);
    for (const char* answer : {"nueva", "nuevo", "vieja"})
        port.QueueInput(answer);
    LoadEmpresas(w);
    SetAccessKeyDelayUnit(std::chrono::milliseconds(500));
    // The older year is asked by its link, as the newer year's file keeps it.
    const std::string link = y24.substr(0, y24.size() - 4);
    EXPECT_EQ(port.prompts, (std::vector<std::string>{"Clave de acesso para " + y25,
                                                      "Clave de acesso para " + link,
                                                      "Clave de acesso para " + link}));
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Clave de acceso incorrecta");
    EXPECT_EQ(w.session.AccessKey, "vieja");
    EXPECT_EQ(w.session.ConsultedFiles.size(), 2u);
}

TEST_F(CatalogueTest, EmptyKeyEndsTheProgramWithoutMessage) {
    std::string y25 = l.Company("K5", "Empresa", 2025, "", "llave");
    l.SetActive(y25);
    port.QueueInput("");
    EXPECT_THROW(LoadEmpresas(w), ProgramEnd);
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(CatalogueTest, NoActiveCompanyShowsTheHostsDescriptionAndEnds) {
    EXPECT_THROW(LoadEmpresas(w), ProgramEnd);
    EXPECT_EQ(Names(), std::vector<std::string>{""});
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].style, kVbOKOnly);
}

TEST_F(CatalogueTest, CompanyThatIsItsOwnPredecessor) {
    std::string path = l.File("EMPSS.QVT");
    l.Company("SS", "Circular", 2025, path);
    l.SetActive(path);
    LoadEmpresas(w);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "La empresa anterior no puede ser la misma que la actual");
    EXPECT_EQ(port.messages[0].style, kVbCritical);
    EXPECT_EQ(w.session.ConsultedFiles.size(), 1u);
    EXPECT_EQ(w.session.FirstCompanyFile, "");
}

TEST_F(CatalogueTest, ChainThatComesBackStopsWithAMessage) {
    std::string a = l.File("EMPAA.QVT"), b = l.File("EMPBB.QVT"), c = l.File("EMPCC.QVT");
    l.Company("AA", "A", 2025, b);
    l.Company("BB", "B", 2024, c);
    l.Company("CC", "C", 2023, a);
    l.SetActive(a);
    LoadEmpresas(w);
    EXPECT_EQ(w.session.ConsultedFiles.size(), 3u);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].style, kVbCritical);
    EXPECT_NE(port.messages[0].text.find("EMPAA"), std::string::npos);
}

TEST_F(CatalogueTest, ChainsLongerThanAHundredGrowTheCatalogue) {
    std::string prev;
    for (int i = 0; i < 104; ++i) {
        char code[3] = {static_cast<char>('A' + i / 26), static_cast<char>('A' + i % 26), 0};
        prev = l.Company(code, "Año", 1900 + i, prev);
    }
    l.SetActive(prev);
    LoadEmpresas(w);
    EXPECT_EQ(w.session.ConsultedFiles.size(), 104u);
    EXPECT_EQ(w.List1.ListCount(), 104);
    EXPECT_EQ(CompanyCode(w.session.ConsultedFiles[103]), "AA");
    EXPECT_EQ(w.session.FirstCompanyFile, w.session.ConsultedFiles[103] + ".QVT");
}

TEST_F(CatalogueTest, ClearAccountReferencesInEveryCompany) {
    std::string y24 = l.Company("K4", "Empresa", 2024);
    std::string y25 = l.Company("K5", "Empresa", 2025, y24);
    l.Entries(y24, {{"4300000138", "01/02/24", "1", "Fra. 1", 1, 10, "1", "", "", "", "RF-1"},
                    {"4300000139", "01/02/24", "2", "Fra. 2", 1, 10, "1", "", "", "", "RF-2"}});
    l.Entries(y25, {{"4300000138", "01/02/25", "3", "Cobro", 2, -10, "1", "", "", "", "RF-1"}});
    l.SetActive(y25);
    LoadEmpresas(w);
    ClearAccountReferences(w.session, "4300000138 CLIENTES VARIOS");
    for (const std::string& c : {y24, y25})
        for (const EntryRecord& e : l.Read(c)) {
            bool cleared = e.cuenta == "4300000138";
            EXPECT_EQ(e.referencia, cleared ? "" : "RF-2");
            EXPECT_EQ(e.marca, cleared ? "0" : "1");
        }
    EXPECT_EQ(w.session.CurrentCode, "K4");
}

class AccountLookupPort : public ScriptedPort {
  public:
    std::string SelectAccount(const std::string&, const std::vector<AccountChoice>& a) override {
        offered = a;
        return a.empty() ? "" : a.back().code;
    }
    std::vector<AccountChoice> offered;
};

TEST(HostLibraryDialogs, AccountLookupOffersPostingAccountsAndKeysAreFiltered) {
    testing::Ledger l;
    std::string c = l.Company("D1", "Empresa", 2025);
    l.Accounts(c, {{"43", "Clientes", 2}, {"4300000002", "Dos", 0}, {"4300000001", "Uno", 0}});
    AccountLookupPort port;
    QvLibrary lib(port);
    EXPECT_EQ(lib.SelectAccountDialog(c, l.dir().str() + "/", "D1", 1, 2, "", 1), "4300000002");
    ASSERT_EQ(port.offered.size(), 2u);
    EXPECT_EQ(port.offered[0].code, "4300000001");
    EXPECT_EQ(port.offered[0].name, "Uno");
    for (std::int32_t key : {48, 57, 8, 13, 27}) {
        std::int32_t k = key;
        lib.AccountKeyPress("43", 3, 8, k);
        EXPECT_EQ(k, key);
    }
    for (std::int32_t key : {97, 46, 32, 45}) {
        std::int32_t k = key;
        lib.AccountKeyPress("43", 3, 8, k);
        EXPECT_EQ(k, 0);
    }
}

}  // namespace
}  // namespace pendara
