#include "matching/extract.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "matching/references.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAcc = "4300000001";

class ExtractTest : public testing::SettingsTest {
  protected:
    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(ExtractTest, LinesCarryTrimmedFieldsAndDebitOrCreditColumn) {
    std::string y = l.Company("E5", "Empresa", 2025);
    auto recs = l.Entries(
        y, {{kAcc, "15/01/25", "7", " Fra. 12 ", 1, 100.5, "1", "3", "x14", "", "RF-4", "f2"},
            {kAcc, "20/02/25", "8", "Cobro", 2, -100.5},
            {"4300000002", "20/02/25", "9", "Otra", 1, 5}});
    std::string text = LeerDatosExtracto(w, kAcc, y);
    std::string r0 = std::to_string(recs[0]), r1 = std::to_string(recs[1]);
    EXPECT_EQ(text, r0 + "\tf2\t" + DateText("15/01/25") +
                        "\t7\tFra. 12\t100,5\t0\t0\t1\t3\tx14\tRF-4\r\n" + r1 + "\t\t" +
                        DateText("20/02/25") + "\t8\tCobro\t0\t-100,5\t0\t\t\t\t\r\n");
    EXPECT_EQ(LeerDatosExtracto(w, "4300000099", y), "");
}

TEST_F(ExtractTest, ChainPutsEarlierCompanyFirstAndNumbersCompanies) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Entries(y24, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    l.Entries(y25,
              {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}, {kAcc, "11/03/25", "3", "Pago", 2, -60}});
    std::int32_t count = -1;
    w.CompanyCount = 0;
    TextTable t = GetExtracto(w, y25, kAcc, count);
    ASSERT_EQ(count, 3);
    ASSERT_GE(t.rows(), 4u);
    EXPECT_EQ(t(1, 4), "Fra. 1");
    EXPECT_EQ(t(1, 12), "2");
    EXPECT_EQ(t(2, 4), "Fra. 2");
    EXPECT_EQ(t(3, 6), "-60");
    EXPECT_EQ(t(3, 12), "1");
    for (int r = 1; r <= 3; ++r)
        EXPECT_EQ(t(r, 7), "0");
    for (int c = 0; c < 13; ++c)
        EXPECT_EQ(t(0, c), "");
    EXPECT_EQ(w.CompanyCount, 2);
    EXPECT_EQ(w.CompanyFiles[1], y25);
    EXPECT_EQ(Upper(w.CompanyFiles[2]), Upper(y24));
    EXPECT_EQ(w.EntryFiles[1], FolderOf(y25) + "ExtraE5.qvd");
    EXPECT_EQ(w.EntryFiles[2], FolderOf(y24) + "ExtraE4.qvd");
}

TEST_F(ExtractTest, ChainThatComesBackReadsEachCompanyOnce) {
    std::string a = l.File("EMPAA.QVT"), b = l.File("EMPBB.QVT");
    l.Company("AA", "A", 2025, b);
    l.Company("BB", "B", 2024, a);
    l.Entries(a, {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}});
    l.Entries(b, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    std::int32_t count = -1;
    w.CompanyCount = 0;
    TextTable t = GetExtracto(w, a, kAcc, count);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(t(1, 4), "Fra. 1");
    EXPECT_EQ(t(2, 4), "Fra. 2");
    EXPECT_EQ(w.CompanyCount, 2);
}

TEST_F(ExtractTest, AccountOnlyInEarlierYearAndEmptyAccount) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Entries(y24, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    std::int32_t count = -1;
    TextTable t = GetExtracto(w, y25, kAcc, count);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(t(1, 12), "2");
    w.CompanyCount = 0;
    t = GetExtracto(w, y25, "4300000099", count);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(w.CompanyCount, 2);
    // A later load of the newer year alone leaves no trace of the earlier one.
    l.Entries(y25, {{kAcc, "10/03/25", "1", "x", 1, 1}});
    w.CompanyCount = 0;
    std::string lone = l.Company("E6", "Otra", 2026);
    l.Entries(lone, {{kAcc, "10/03/26", "1", "x", 1, 1}});
    t = GetExtracto(w, lone, kAcc, count);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(w.CompanyFiles.size(), 2u);
    EXPECT_EQ(w.EntryFiles.size(), 2u);
}

TEST_F(ExtractTest, NameWithoutEndingOrLowerCaseEndingIsTheSameCompany) {
    std::string y = l.Company("E5", "Empresa", 2025);
    l.Entries(y, {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}});
    std::string bare = y.substr(0, y.size() - 4);
    std::int32_t a = 0, b = 0, c = 0;
    GetExtracto(w, y, kAcc, a);
    TextTable t = GetExtracto(w, bare, kAcc, b);
    GetExtracto(w, bare + ".qvt", kAcc, c);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(c, 1);
    EXPECT_EQ(w.CompanyFiles[2], bare + ".Qvt");
    EXPECT_EQ(w.CompanyFiles[3], bare + ".qvt");
    EXPECT_EQ(t(1, 3), "2");
}

// ---- The reference counter ----------------------------------------------------------------------

class NewReferenceTest : public ExtractTest {
  protected:
    void SetUp() override {
        ExtractTest::SetUp();
        y = l.Company("E5", "Empresa", 2025);
        w.ActiveCompanyFile = y;
        w.FirstCompanyFile = y;
        SetCounter(y, 41);
    }
    std::string y;
};

TEST_F(NewReferenceTest, NextNumberAndCounterKept) {
    EXPECT_EQ(NewReference(w), "RF-42");
    EXPECT_EQ(ReadCounter(y), 42);
    EXPECT_EQ(w.CurrentFolder, FolderOf(y));
    EXPECT_EQ(w.CurrentCode, "E5");
    EXPECT_EQ(NewReference(w), "RF-43");
}

TEST_F(NewReferenceTest, NumbersInUseAreSkipped) {
    l.Entries(y, {{kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-42"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-44"}});
    EXPECT_EQ(NewReference(w), "RF-43");
    EXPECT_EQ(NewReference(w), "RF-45");
    EXPECT_EQ(ReadCounter(y), 45);
}

TEST_F(NewReferenceTest, BlockDrawGivesWhatSingleDrawsGive) {
    l.Entries(y, {{kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-42"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-44"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-47"}});
    EXPECT_EQ(NewReferences(w, 3), (std::vector<std::string>{"RF-43", "RF-45", "RF-46"}));
    EXPECT_EQ(ReadCounter(y), 46);
    EXPECT_EQ(NewReferences(w, 1), (std::vector<std::string>{"RF-48"}));
    EXPECT_EQ(ReadCounter(y), 48);
    w.FirstCompanyFile.clear();
    EXPECT_TRUE(NewReferences(w, 0).empty());  // nothing drawn, nothing asked
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(NewReferenceTest, ConcurrentDrawsNeverShareANumber) {
    // Each thread is a workstation of its own: its own window state, cursors and file locks.
    std::vector<std::string> got[2];
    auto draw = [&](int who) {
        ScriptedPort p;
        Pndra other(p);
        other.ActiveCompanyFile = y;
        other.FirstCompanyFile = y;
        for (int i = 0; i < 20; ++i) {
            got[who].push_back(NewReference(other));
            for (std::string& r : NewReferences(other, 3))
                got[who].push_back(std::move(r));
        }
    };
    std::thread a(draw, 0), b(draw, 1);
    a.join();
    b.join();
    std::set<std::string> all(got[0].begin(), got[0].end());
    all.insert(got[1].begin(), got[1].end());
    EXPECT_EQ(all.size(), 160u);
    EXPECT_EQ(ReadCounter(y), 41 + 160);
}

TEST_F(NewReferenceTest, MissingFirstCompanyEndsTheProgram) {
    w.FirstCompanyFile.clear();
    EXPECT_THROW(NewReference(w), ProgramEnd);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Empresa no existe");
    EXPECT_EQ(StyleIcon(port.messages[0].style), kVbCritical);
    EXPECT_EQ(ReadCounter(y), 41);
}

}  // namespace
}  // namespace pendara
