#include "matching/extract.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "matching/naive_extract.h"
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

// The extract as the specified table: columns 0 to 12 of rows 0..count; the work column 7,
// which no step reads, is not kept.
TextTable Table(const Extract& x) {
    TextTable t(x.rows.size(), 13);
    for (std::size_t r = 1; r < x.rows.size(); ++r) {
        const Entry& e = x.rows[r];
        const std::string cols[] = {e.record,
                                    e.field2,
                                    e.date,
                                    e.entry,
                                    e.description,
                                    e.debit.text,
                                    e.credit.text,
                                    "",
                                    e.mark,
                                    e.entryClass,
                                    e.field14,
                                    e.reference,
                                    std::to_string(e.company)};
        for (std::size_t c = 0; c < 13; ++c)
            t(r, c) = cols[c];
    }
    return t;
}

TEST_F(ExtractTest, EntriesCarryTrimmedFieldsAndDebitOrCreditColumn) {
    std::string y = l.Company("E5", "Empresa", 2025);
    auto recs = l.Entries(
        y, {{kAcc, "15/01/25", "7", " Fra. 12 ", 1, 100.5, "1", "3", "x14", "", "RF-4", "f2"},
            {kAcc, "20/02/25", "8", "Cobro", 2, -100.5},
            {"4300000002", "20/02/25", "9", "Otra", 1, 5}});
    std::vector<Entry> rows;
    LeerDatosExtracto(w.session, kAcc, y, 3, rows);
    ASSERT_EQ(rows.size(), 2u);
    const Entry& e = rows[0];
    EXPECT_EQ(e.record, std::to_string(recs[0]));
    EXPECT_EQ(e.field2, "f2");
    EXPECT_EQ(e.date, DateText("15/01/25"));
    EXPECT_EQ(e.entry, "7");
    EXPECT_EQ(e.description, "Fra. 12");
    EXPECT_EQ(e.debit, Amount::Of("100,5"));
    EXPECT_EQ(e.debit.value, 100.5);
    EXPECT_EQ(e.debit.leading, 100.0);  // read from the start, "," stops it
    EXPECT_EQ(e.credit, Amount::Of("0"));
    EXPECT_EQ(e.mark, "1");
    EXPECT_EQ(e.entryClass, "3");
    EXPECT_EQ(e.field14, "x14");
    EXPECT_EQ(e.reference, "RF-4");
    EXPECT_EQ(e.company, 3);
    EXPECT_EQ(rows[1].record, std::to_string(recs[1]));
    EXPECT_EQ(rows[1].debit.text, "0");
    EXPECT_EQ(rows[1].credit, Amount::Of("-100,5"));
    EXPECT_EQ(rows[1].mark, "");
    rows.clear();
    LeerDatosExtracto(w.session, "4300000099", y, 1, rows);
    EXPECT_TRUE(rows.empty());
}

TEST_F(ExtractTest, ChainPutsEarlierCompanyFirstAndNumbersCompanies) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Entries(y24, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    l.Entries(y25,
              {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}, {kAcc, "11/03/25", "3", "Pago", 2, -60}});
    Extract x = GetExtracto(w.session, y25, kAcc);
    ASSERT_EQ(x.count(), 3);
    EXPECT_EQ(x.rows[1].description, "Fra. 1");
    EXPECT_EQ(x.rows[1].company, 2);
    EXPECT_EQ(x.rows[2].description, "Fra. 2");
    EXPECT_EQ(x.rows[3].credit.text, "-60");
    EXPECT_EQ(x.rows[3].company, 1);
    EXPECT_EQ(x.rows[0], Entry{});
    ASSERT_EQ(x.companyFiles.size(), 3u);
    EXPECT_EQ(x.companyFiles[1], y25);
    EXPECT_EQ(Upper(x.companyFiles[2]), Upper(y24));
    EXPECT_EQ(x.entryFiles[1], FolderOf(y25) + "extraE5.qvd");
    EXPECT_EQ(x.entryFiles[2], FolderOf(y24) + "extraE4.qvd");
}

TEST_F(ExtractTest, ChainThatComesBackReadsEachCompanyOnce) {
    std::string a = l.File("EMPAA.QVT"), b = l.File("EMPBB.QVT");
    l.Company("AA", "A", 2025, b);
    l.Company("BB", "B", 2024, a);
    l.Entries(a, {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}});
    l.Entries(b, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    Extract x = GetExtracto(w.session, a, kAcc);
    ASSERT_EQ(x.count(), 2);
    EXPECT_EQ(x.rows[1].description, "Fra. 1");
    EXPECT_EQ(x.rows[2].description, "Fra. 2");
    EXPECT_EQ(x.companyFiles.size(), 3u);
}

TEST_F(ExtractTest, AccountOnlyInEarlierYearAndEmptyAccount) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Entries(y24, {{kAcc, "10/03/24", "1", "Fra. 1", 1, 40}});
    Extract x = GetExtracto(w.session, y25, kAcc);
    ASSERT_EQ(x.count(), 1);
    EXPECT_EQ(x.rows[1].company, 2);
    x = GetExtracto(w.session, y25, "4300000099");
    EXPECT_EQ(x.count(), 0);
    EXPECT_EQ(x.companyFiles.size(), 3u);
}

TEST_F(ExtractTest, NameWithoutEndingOrLowerCaseEndingIsTheSameCompany) {
    std::string y = l.Company("E5", "Empresa", 2025);
    l.Entries(y, {{kAcc, "10/03/25", "2", "Fra. 2", 1, 60}});
    std::string bare = y.substr(0, y.size() - 4);
    EXPECT_EQ(GetExtracto(w.session, y, kAcc).count(), 1);
    Extract x = GetExtracto(w.session, bare, kAcc);
    EXPECT_EQ(x.count(), 1);
    EXPECT_EQ(x.companyFiles[1], bare + ".Qvt");
    EXPECT_EQ(x.rows[1].entry, "2");
    x = GetExtracto(w.session, bare + ".qvt", kAcc);
    EXPECT_EQ(x.count(), 1);
    EXPECT_EQ(x.companyFiles[1], bare + ".qvt");
}

TEST_F(ExtractTest, ATabOrCrInAHostFieldShiftsOrSplitsTheRowAsTheTextDoes) {
    std::string y24 = l.Company("E4", "Empresa", 2024);
    std::string y25 = l.Company("E5", "Empresa", 2025, y24);
    l.Entries(y24, {{kAcc, "10/03/24", "1", "Fra.\t1", 1, 40},  // shifts every later column
                    {kAcc, "11/03/24", "2", "Pago", 2, -40, "", "", "", "", "RF-3\r77 x\tz"},
                    {kAcc, "12/03/24", "3", "a\r\nb\rc", 1, 5, "1"},  // three pieces
                    {kAcc, "13/03/24", "4", "\tdelante", 2, -5, "", "", "", "", "", "\t"}});
    l.Entries(y25, {{kAcc, "10/03/25", "5", "lf\nsolo", 1, 60, "", "", "c\r"},
                    {kAcc, "11/03/25", "6", "Fra. 7", 2, -60, "", "", "", "", " \r "},
                    {kAcc, "12/03/25", "\r\r", "x", 1, 1}});
    Extract x = GetExtracto(w.session, y25, kAcc);
    std::int32_t count = 0, companies = 0;
    TextTable want = naive::GetExtracto(w.session, y25, kAcc, count, companies);
    ASSERT_EQ(x.count(), count);
    EXPECT_GT(count, 7);  // rows were split
    TextTable got = Table(x);
    for (std::int32_t r = 1; r <= count; ++r)
        for (std::size_t c = 0; c < 13; ++c) {
            if (c == 7) continue;
            EXPECT_EQ(got(r, c), want(r, c)) << "row " << r << " column " << c;
        }
    // A shifted row reads the texts its columns hold: the description's second half as the
    // debit, the debit as the credit, the work column's "0" as the mark.
    EXPECT_EQ(x.rows[1].description, "Fra.");
    EXPECT_EQ(x.rows[1].debit.text, "1");
    EXPECT_EQ(x.rows[1].credit.text, "40");
    EXPECT_EQ(x.rows[1].mark, "0");
    EXPECT_EQ(x.rows[1].reference, "");
    for (const Entry& e : x.rows) {
        EXPECT_EQ(e.debit, Amount::Of(e.debit.text));
        EXPECT_EQ(e.credit, Amount::Of(e.credit.text));
    }
}

TEST_F(ExtractTest, EntriesReadDirectlyEqualTheTextSplitAgain) {
    std::string y = l.Company("E5", "Empresa", 2025);
    std::vector<EntryRecord> many;
    static const char* texts[] = {"", " ", "Fra. 12", "  ñandú  ", "1.234,5", "A", "€", "x y"};
    for (int i = 0; i < 200; ++i) {
        auto t = [i](int k) { return std::string(texts[(i * 7 + k * 3) % 8]); };
        many.push_back({kAcc,
                        i % 9 ? "0" + std::to_string(1 + i % 9) + "/0" + std::to_string(1 + i % 9) +
                                    "/2" + std::to_string(i % 10)
                              : "",
                        t(1), t(2), i % 3 ? 1 : 2, (i % 11 - 5) * 12.345, t(3), t(4), t(5), t(6),
                        t(7), t(8)});
    }
    l.Entries(y, many);
    Extract x = GetExtracto(w.session, y, kAcc);
    std::int32_t count = 0, companies = 0;
    TextTable want = naive::GetExtracto(w.session, y, kAcc, count, companies);
    ASSERT_EQ(x.count(), 200);
    ASSERT_EQ(count, 200);
    TextTable got = Table(x);
    for (std::int32_t r = 1; r <= count; ++r)
        for (std::size_t c = 0; c < 13; ++c) {
            if (c == 7) continue;
            ASSERT_EQ(got(r, c), want(r, c)) << "row " << r << " column " << c;
        }
}

// ---- The reference counter ----------------------------------------------------------------------

class NewReferenceTest : public ExtractTest {
  protected:
    void SetUp() override {
        ExtractTest::SetUp();
        y = l.Company("E5", "Empresa", 2025);
        w.session.ActiveCompanyFile = y;
        w.session.FirstCompanyFile = y;
        SetCounter(y, 41);
    }
    std::string y;
};

TEST_F(NewReferenceTest, NextNumberAndCounterKept) {
    EXPECT_EQ(NewReference(w.session), "RF-42");
    EXPECT_EQ(ReadCounter(y), 42);
    EXPECT_EQ(w.session.CurrentFolder, FolderOf(y));
    EXPECT_EQ(w.session.CurrentCode, "E5");
    EXPECT_EQ(NewReference(w.session), "RF-43");
}

TEST_F(NewReferenceTest, NumbersInUseAreSkipped) {
    l.Entries(y, {{kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-42"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-44"}});
    EXPECT_EQ(NewReference(w.session), "RF-43");
    EXPECT_EQ(NewReference(w.session), "RF-45");
    EXPECT_EQ(ReadCounter(y), 45);
}

TEST_F(NewReferenceTest, BlockDrawGivesWhatSingleDrawsGive) {
    l.Entries(y, {{kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-42"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-44"},
                  {kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", "RF-47"}});
    EXPECT_EQ(NewReferences(w.session, 3), (std::vector<std::string>{"RF-43", "RF-45", "RF-46"}));
    EXPECT_EQ(ReadCounter(y), 46);
    EXPECT_EQ(NewReferences(w.session, 1), (std::vector<std::string>{"RF-48"}));
    EXPECT_EQ(ReadCounter(y), 48);
    w.session.FirstCompanyFile.clear();
    EXPECT_TRUE(NewReferences(w.session, 0).empty());  // nothing drawn, nothing asked
    EXPECT_TRUE(port.messages.empty());
}

TEST_F(NewReferenceTest, ConcurrentDrawsNeverShareANumber) {
    // Each thread is a workstation of its own: its own window state, cursors and file locks.
    std::vector<std::string> got[2];
    auto draw = [&](int who) {
        ScriptedPort p;
        Pndra other(p);
        other.session.ActiveCompanyFile = y;
        other.session.FirstCompanyFile = y;
        for (int i = 0; i < 20; ++i) {
            got[who].push_back(NewReference(other.session));
            for (std::string& r : NewReferences(other.session, 3))
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
    w.session.FirstCompanyFile.clear();
    EXPECT_THROW(NewReference(w.session), ProgramEnd);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_EQ(port.messages[0].text, "Empresa no existe");
    EXPECT_EQ(StyleIcon(port.messages[0].style), kVbCritical);
    EXPECT_EQ(ReadCounter(y), 41);
}

}  // namespace
}  // namespace pendara
