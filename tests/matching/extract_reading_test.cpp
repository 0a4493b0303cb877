// Reading an account's entries without copying each field: the views of the cursor, the compact
// date taken from them and the entries built from them give what the copying reads give, on
// records whose columns hold blanks, tabs, accents, values of another type or nothing at all.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <random>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/numbers.h"
#include "host/qv_file_control.h"
#include "host/store.h"
#include "matching/extract.h"
#include "matching/naive_extract.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAcc = "4300000001";
constexpr std::int32_t kFields[] = {1, 2, 3, 4, 5, 6, 7, 8, 14, 22, 23};

void Exec(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    char* error = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error);
    const std::string message = error ? error : "";
    sqlite3_free(error);
    sqlite3_close(db);
    ASSERT_EQ(rc, SQLITE_OK) << message;
}

// The entries table of a file made by a program that let columns be NULL, with what it held.
void AllowNulls(const std::string& file) {
    std::string sql =
        "BEGIN; CREATE TABLE loose(id INTEGER PRIMARY KEY, cuenta TEXT, fecha INTEGER,"
        " campo2 TEXT, asiento TEXT, descripcion TEXT, debe_haber INTEGER, importe REAL,"
        " marca TEXT, tipo TEXT, campo14 TEXT, campo22 TEXT, referencia TEXT);"
        " INSERT INTO loose(id, cuenta, fecha, campo2, asiento, descripcion, debe_haber, importe,"
        " marca, tipo, campo14, campo22, referencia) SELECT id, cuenta, fecha, campo2, asiento,"
        " descripcion, debe_haber, importe, marca, tipo, campo14, campo22, referencia"
        " FROM entries; DROP TABLE entries; ALTER TABLE loose RENAME TO entries;";
    for (const char* index : EntryIndexSql())
        sql += std::string(index) + ";";
    Exec(file, sql + " COMMIT;");
}

class ExtractReadingTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        testing::SettingsTest::SetUp();
        y = l.Company("E5", "Empresa", 2025);
        recs = l.Entries(
            y, {{kAcc, "15/01/25", " 7 ", "  Fra. ñandú 12  ", 1, 100.5, " 1", "3 ", " x14", "",
                 "RF-4 ", " f2"},
                {kAcc, "20/02/59", "8", "Cobro", 2, -100.5, "", "A", "", "", " 12  050304 "},
                {kAcc, "01/12/60", "", "", 2, 0.001, "", "", "", "", "", ""},
                {kAcc, "31/03/99", "9", "€ 5 ", 1, 1234567.25, "", "", "\tx", "", "r\t"}});
        file = l.EntriesFile(y);
    }
    // Every field of every record of the account: by view and by copy, while all the views of
    // a record are still held.
    void ExpectViewsEqualCopies() {
        QvFileControl2 c;
        c.OpenFile(file, "");
        c.SetFilter(std::string("cuenta =") + kAcc);
        c.MoveFirst();
        int records = 0;
        for (; !c.IsEof(); c.MoveNext(), ++records) {
            std::vector<std::string_view> views;
            for (std::int32_t f : kFields)
                views.push_back(c.GetFieldView(f));
            for (std::size_t i = 0; i < views.size(); ++i)
                EXPECT_EQ(views[i], c.GetField(kFields[i]))
                    << "record " << c.GetRecNo() << " field " << kFields[i];
        }
        EXPECT_EQ(records, 4);
    }
    // The extract read by views against the specified text of copied, trimmed fields.
    void ExpectExtractAsSpecified() {
        Extract x = GetExtracto(w.session, y, kAcc);
        std::int32_t count = 0, companies = 0;
        TextTable want = naive::GetExtracto(w.session, y, kAcc, count, companies);
        ASSERT_EQ(x.count(), count);
        for (std::int32_t r = 1; r <= count; ++r) {
            const Entry& e = x.rows[static_cast<std::size_t>(r)];
            // The work column 7, which no step reads, is not kept.
            const std::string got[] = {e.record,      e.field2,     e.date,        e.entry,
                                       e.description, e.debit.text, e.credit.text, "",
                                       e.mark,        e.entryClass, e.field14,     e.reference};
            for (std::size_t col = 0; col < std::size(got); ++col) {
                if (col == 7) continue;
                EXPECT_EQ(got[col], want(static_cast<std::size_t>(r), col))
                    << "row " << r << " column " << col;
            }
            EXPECT_EQ(e.debit, Amount::Of(e.debit.text));
            EXPECT_EQ(e.credit, Amount::Of(e.credit.text));
        }
    }

    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
    std::string y, file;
    std::vector<std::int32_t> recs;
};

TEST_F(ExtractReadingTest, ViewsOfBlanksTabsAccentsAndEmptyFields) {
    ExpectViewsEqualCopies();
    ExpectExtractAsSpecified();
    // Blanks at the ends go, blanks inside stay; a tab parts the line's fields once more.
    Extract x = GetExtracto(w.session, y, kAcc);
    ASSERT_EQ(x.count(), 4);
    EXPECT_EQ(x.rows[1].description, "Fra. ñandú 12");
    EXPECT_EQ(x.rows[1].entry, "7");
    EXPECT_EQ(x.rows[1].field2, "f2");
    EXPECT_EQ(x.rows[1].field14, "x14");
    EXPECT_EQ(x.rows[1].reference, "RF-4");
    EXPECT_EQ(x.rows[2].reference, "12  050304");
    EXPECT_EQ(x.rows[2].date, "F90220");
    EXPECT_EQ(x.rows[3].date, "601201");
    EXPECT_EQ(x.rows[4].field14, "");
    EXPECT_EQ(x.rows[4].reference, "x");
}

TEST_F(ExtractReadingTest, ColumnsHoldingNothingOrAValueOfAnotherType) {
    AllowNulls(file);
    Exec(file,
         "UPDATE entries SET descripcion = NULL, importe = NULL, fecha = NULL,"
         " debe_haber = NULL, referencia = NULL WHERE id = " +
             std::to_string(recs[0]) +
             "; UPDATE entries SET campo2 = 42, asiento = 7.5, importe = ' 12,5 ',"
             " fecha = 'x', debe_haber = '1 ' WHERE id = " +
             std::to_string(recs[1]) + ";");
    ExpectViewsEqualCopies();
    ExpectExtractAsSpecified();
}

TEST(CompactDate, EqualsDateTextOfEveryDayFirstForm) {
    std::string got;
    int letters = 0;
    for (int yy = 0; yy < 100; ++yy)
        for (int mm : {0, 1, 12, 99})
            for (int dd : {0, 1, 31}) {
                const std::string text =
                    IntegerText(dd, 2) + "/" + IntegerText(mm, 2) + "/" + IntegerText(yy, 2);
                CompactDate(text, got);
                EXPECT_EQ(got, DateText(text)) << text;
                letters += got[0] > '9';
            }
    EXPECT_EQ(letters, 60 * 12);  // years 00 to 59
    // Texts of other lengths, of characters beyond one byte, or not dates at all.
    for (const char* text : {"", "25", "1/2/25", "01/02/2025", "ñ1/02/25", "01/02/2ñ", "abcdefgh",
                             "  /  /  ", "01-02-25", "1/02/25x"}) {
        CompactDate(text, got);
        EXPECT_EQ(got, DateText(text)) << text;
    }
}

TEST(DayFirstText, WrittenAsTwoDigitsOfDayMonthAndYear) {
    std::mt19937 rng(3);
    for (int i = 0; i < 2000; ++i) {
        const auto d = static_cast<std::int32_t>(rng() % 40000000) - 1000;
        EXPECT_EQ(DayFirstText(d), d <= 0 ? std::string()
                                          : IntegerText(d % 100, 2) + "/" +
                                                IntegerText((d / 100) % 100, 2) + "/" +
                                                IntegerText((d / 10000) % 100, 2))
            << d;
    }
}

}  // namespace
}  // namespace pendara
