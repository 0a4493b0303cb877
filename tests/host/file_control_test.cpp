#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include <set>

#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_file_control.h"
#include "host/store.h"
#include "support/host_error.h"
#include "support/ledger.h"

namespace pendara {
namespace {

class FileControlTest : public ::testing::Test {
  protected:
    void SetUp() override {
        company = ledger.Company("E1", "Empresa uno", 2025);
        ledger.Accounts(company, {{"43", "Clientes", 2},
                                  {"4300000001", "Cliente uno", 0},
                                  {"4300000138", "Clientes varios", 0},
                                  {"430000001", "Nueve cifras", 0},
                                  {"4399999999", "Ultimo cliente", 0},
                                  {"4400000000", "Deudores", 0},
                                  {"4000000001", "Proveedor", 0},
                                  {"3999999999", "Fuera", 0}});
        recs = ledger.Entries(
            company,
            {{"4300000138", "15/03/25", "10", "Fra. 1", 1, 121.5, "0", "", "", "", ""},
             {"4300000001", "01/01/25", "1", "Apertura", 1, 50, "0", "A"},
             {"4300000138", "02/02/25", "11", "Cobro Fra. 1", 2, -121.5, "1", "", "", "", "RF-42"},
             {"4300000138", "10/01/24", "12", "Otro", 1, 10.25},
             {"4000000001", "05/05/25", "13", "Compra", 2, -60}});
        chart = ledger.File("PlancE1.qvd");
        entries = ledger.EntriesFile(company);
    }

    // The record numbers a filter selects, in visiting order.
    std::vector<std::int32_t> Select(const std::string& file, const std::string& filter,
                                     const std::string& order = "") {
        QvFileControl2 c;
        c.OpenFile(file, "");
        c.MoveFirst();
        c.SetFilter(filter);
        if (!order.empty()) c.SetOrder(order);
        c.MoveFirst();
        std::vector<std::int32_t> out;
        for (; !c.IsEof(); c.MoveNext())
            out.push_back(c.GetRecNo());
        c.CloseFile();
        return out;
    }
    std::vector<std::string> Codes(const std::string& filter) {
        QvFileControl2 c;
        c.OpenFile(chart, "");
        c.SetFilter(filter);
        c.SetOrder("cuenta");
        c.MoveFirst();
        std::vector<std::string> out;
        for (; !c.IsEof(); c.MoveNext())
            out.push_back(c.GetField(1, 0));
        return out;
    }

    testing::Ledger ledger;
    std::string company, chart, entries;
    std::vector<std::int32_t> recs;
};

TEST_F(FileControlTest, AccountAndReferenceFilterFormsSelectTheSameRecords) {
    std::vector<std::int32_t> expected{recs[0], recs[2], recs[3]};
    EXPECT_EQ(Select(entries, "cuenta =4300000138"), expected);
    EXPECT_EQ(Select(entries, "Cuenta = 4300000138"), expected);
    EXPECT_EQ(Select(entries, "Cuenta =4300000138"), expected);
    EXPECT_EQ(Select(entries, "CUENTA   =   4300000138"), expected);
    // The account box keeps a blank after the code.
    EXPECT_EQ(Select(entries, "Cuenta = 4300000138 "), expected);
    EXPECT_TRUE(Select(entries, "Cuenta = 430000013").empty());
    EXPECT_EQ(Select(entries, ""),
              (std::vector<std::int32_t>{recs[0], recs[1], recs[2], recs[3], recs[4]}));
    // The reference filter is written without a blank after "=", and compares case and all.
    EXPECT_EQ(Select(entries, "Referencia punteo =RF-42"), std::vector<std::int32_t>{recs[2]});
    EXPECT_EQ(Select(entries, "referencia PUNTEO=RF-42"), std::vector<std::int32_t>{recs[2]});
    EXPECT_TRUE(Select(entries, "Referencia punteo =RF-4").empty());
    EXPECT_TRUE(Select(entries, "Referencia punteo =rf-42").empty());
}

TEST_F(FileControlTest, ChartFiltersOfTheAccountListAndReports) {
    EXPECT_EQ(Codes("Cuenta  like 43* and nivel =0"),
              (std::vector<std::string>{"4300000001", "430000001", "4300000138", "4399999999"}));
    EXPECT_EQ(Codes("Cuenta  LIKE 43* AND nivel =0"), Codes("Cuenta  like 43* and nivel =0"));
    EXPECT_EQ(Codes("Cuenta => 4000000000 and cuenta <= 4399999999 and nivel = 0"),
              (std::vector<std::string>{"4000000001", "4300000001", "430000001", "4300000138",
                                        "4399999999"}));
    EXPECT_EQ(Codes("Cuenta => 4000000000 and cuenta <= 4399999999 and cuenta like ?????????? "
                    "and nivel = 0"),
              (std::vector<std::string>{"4000000001", "4300000001", "4300000138", "4399999999"}));
    // Both bounds are inclusive, in text order.
    EXPECT_EQ(Codes("Cuenta => 4300000138 and cuenta <= 4399999999"),
              (std::vector<std::string>{"4300000138", "4399999999"}));
    EXPECT_EQ(Codes("cuenta like 43*8"), (std::vector<std::string>{"4300000138"}));
    EXPECT_EQ(Codes("cuenta like 4?"), (std::vector<std::string>{"43"}));
    EXPECT_EQ(Codes("nivel = 2"), (std::vector<std::string>{"43"}));
}

TEST_F(FileControlTest, LikeMatcher) {
    EXPECT_TRUE(LikeMatch("4300000138", "43*"));
    EXPECT_TRUE(LikeMatch("43", "43*"));
    EXPECT_FALSE(LikeMatch("4", "43*"));
    EXPECT_TRUE(LikeMatch("abcabc", "*abc"));
    EXPECT_TRUE(LikeMatch("aXbYc", "a*b*c"));
    EXPECT_FALSE(LikeMatch("aXbY", "a*b*c"));
    EXPECT_TRUE(LikeMatch("ñu", "??"));  // one character, two bytes
    EXPECT_TRUE(LikeMatch("€𝄞é", "???"));
    EXPECT_FALSE(LikeMatch("€𝄞é", "????"));
    EXPECT_TRUE(LikeMatch("a𝄞b", "a?b"));
    EXPECT_TRUE(LikeMatch("x€y€z", "*€z"));
    EXPECT_TRUE(LikeMatch("Año", "A?o"));
    // Bytes that are not UTF-8 are one character each, and never run past the end.
    EXPECT_TRUE(LikeMatch("\xF0\x9F", "??"));
    EXPECT_FALSE(LikeMatch("\xF0\x9F", "?"));
    EXPECT_TRUE(LikeMatch("\xE2\x82x", "*x"));
    EXPECT_FALSE(LikeMatch("ñ1", "\xC3*"));  // the first byte of "ñ" is not "ñ"
    EXPECT_TRUE(
        LikeMatch("\xC3"
                  "1",
                  "\xC3*"));
    EXPECT_TRUE(LikeMatch("ñ€1", "ñ€*"));
    EXPECT_FALSE(LikeMatch("a%b", "a_b"));
    EXPECT_TRUE(LikeMatch("a%b", "a%b"));
    EXPECT_TRUE(LikeMatch("", "*"));
}

TEST_F(FileControlTest, BadExpressionsNameTheExpression) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    for (const char* bad : {"Cuenta 4300000138", "Saldo = 3", "Cuenta > 4", "fecha = 32/01/25",
                            "Importe = abc", "Cuenta = 1 and ", "Importe like 4*"}) {
        const std::string message = testing::ErrorOf([&] { c.SetFilter(bad); });
        EXPECT_NE(message.find(std::string("\"") + bad + "\""), std::string::npos) << message;
    }
}

TEST_F(FileControlTest, FieldsComeBackAsTexts) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.GoToRecord(recs[0]);
    EXPECT_EQ(c.GetField(1, 0), "15/03/25");
    EXPECT_EQ(c.GetField(3, 0), "10");
    EXPECT_EQ(c.GetField(4, 0), "Fra. 1");
    EXPECT_EQ(c.GetField(5, 0), "1");
    EXPECT_EQ(c.GetField(6, 0), "121,5");
    EXPECT_EQ(c.GetFieldByName("importe"), "121,5");
    EXPECT_EQ(c.GetFieldByName("CUENTA"), "4300000138");
    c.GoToRecord(recs[2]);
    EXPECT_EQ(c.GetField(6, 0), "-121,5");
    EXPECT_EQ(c.GetField(23, 0), "RF-42");
    EXPECT_EQ(c.GetFieldByName("Referencia punteo"), "RF-42");
    EXPECT_EQ(c.GetField(7, 0), "1");
    EXPECT_THROW(c.GetField(9, 0), HostError);
    EXPECT_THROW(c.GoToRecord(999), HostError);
}

TEST_F(FileControlTest, OrdersAndDefaultOrder) {
    // Date order, not dd/mm/yy text order: 10/01/24 < 02/02/25 < 15/03/25.
    EXPECT_EQ(Select(entries, "Cuenta = 4300000138", "fecha"),
              (std::vector<std::int32_t>{recs[3], recs[2], recs[0]}));
    EXPECT_EQ(Select(entries, "", "cuenta"),
              (std::vector<std::int32_t>{recs[4], recs[1], recs[0], recs[2], recs[3]}));
    EXPECT_EQ(Select(entries, "fecha => 01/01/25 and fecha <= 28/02/25"),
              (std::vector<std::int32_t>{recs[1], recs[2]}));
    QvFileControl2 c;
    c.OpenFile(entries, "");
    EXPECT_THROW(c.SetOrder("saldo"), HostError);
}

// An amount is given in plain digits, however small or large, and read back as the same double;
// a walk in amount order steps on from it by its exact value.
TEST_F(FileControlTest, AmountsComeBackInPlainDigitsAndOrderByTheirExactValue) {
    const double third = 0.1 + 0.2;  // 0.30000000000000004, shown as 0,3
    auto r = ledger.Entries(company, {{"4300000002", "01/04/25", "20", "a", 1, 0.00001},
                                      {"4300000002", "01/04/25", "21", "b", 1, 1E15},
                                      {"4300000002", "01/04/25", "22", "c", 2, -1.5E-7},
                                      {"4300000002", "01/04/25", "23", "d", 1, third},
                                      {"4300000002", "01/04/25", "24", "e", 1, 0.3}});
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.SetFilter("Cuenta = 4300000002");
    c.SetOrder("importe");
    c.MoveFirst();
    std::vector<std::string> texts;
    std::vector<std::int32_t> order;
    for (int guard = 0; !c.IsEof() && guard < 10; c.MoveNext(), ++guard) {
        texts.push_back(c.GetField(6, 0));
        order.push_back(c.GetRecNo());
        // Resuming after a jump starts from the record's own amount, not from its text.
        c.GoToRecord(c.GetRecNo());
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"-0,00000015", "0,00001", "0,3", "0,3",
                                               "1000000000000000"}));
    EXPECT_EQ(order, (std::vector<std::int32_t>{r[2], r[0], r[4], r[3], r[1]}));
    c.GoToRecord(r[3]);
    EXPECT_EQ(ToDouble(c.GetField(6, 0)), 0.3);  // 15 significant digits, as ever
    c.GoToRecord(r[0]);
    EXPECT_EQ(ToDouble(c.GetField(6, 0)), 0.00001);
}

TEST_F(FileControlTest, SumsAndCounts) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.SetFilter("Cuenta = 4300000138");
    c.MoveFirst();
    EXPECT_DOUBLE_EQ(c.SumField("Importe"), 10.25);
    EXPECT_EQ(c.GetRecordCount(), 3);
    c.SetFilter("Cuenta = 4300000999");
    c.MoveFirst();
    EXPECT_TRUE(c.IsEof());
    EXPECT_EQ(c.SumField("Importe"), 0.0);
    EXPECT_EQ(c.GetRecordCount(), 0);
    EXPECT_THROW(c.SumField("Marca"), HostError);
}

TEST_F(FileControlTest, GoToRecordIgnoresTheFilterAndMoveNextGoesOn) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.SetFilter("Cuenta = 4300000138");
    c.MoveFirst();
    c.GoToRecord(recs[4]);  // another account
    EXPECT_EQ(c.GetField(4, 0), "Compra");
    c.GoToRecord(recs[0]);
    c.MoveNext();
    ASSERT_FALSE(c.IsEof());
    EXPECT_EQ(c.GetRecNo(), recs[2]);
}

TEST_F(FileControlTest, ChangesAreCommittedAtCloseFile) {
    {
        QvFileControl2 c;
        c.OpenFile(entries, "");
        c.MoveFirst();
        c.SetFilter("Cuenta = 4300000138");
        c.MoveFirst();
        int n = 0;
        while (!c.IsEof()) {
            c.Edit();
            c.PutFieldByName("Referencia punteo", "RF-7");
            c.PutFieldByName("marca", "2");
            c.Update();
            EXPECT_EQ(c.GetField(23, 0), "RF-7");
            c.MoveNext();
            ++n;
        }
        EXPECT_EQ(n, 3);
        c.GoToRecord(recs[1]);
        c.Edit();
        c.PutField(6, 0, "12,5");
        c.PutField(1, 0, "03/04/2025");
        c.Update();
        EXPECT_EQ(c.GetField(6, 0), "12,5");
        EXPECT_EQ(c.GetField(1, 0), "03/04/25");
        c.CloseFile();
    }
    std::vector<EntryRecord> all = ledger.Read(company);
    for (const EntryRecord& e : all)
        EXPECT_EQ(e.referencia == "RF-7", e.cuenta == "4300000138") << e.registro;
    EXPECT_EQ(all[1].importe, 12.5);
    EXPECT_EQ(all[1].fecha, "03/04/25");
}

TEST_F(FileControlTest, ChangingIndexedFieldsVisitsEachRecordOnce) {
    int round = 0;
    for (const char* order : {"", "fecha", "cuenta", "importe"}) {
        ++round;
        QvFileControl2 c;
        c.OpenFile(entries, "");
        c.SetFilter("Cuenta = 4300000138");
        if (*order) c.SetOrder(order);
        c.MoveFirst();
        std::vector<std::int32_t> seen;
        for (; !c.IsEof() && seen.size() < 10; c.MoveNext()) {
            seen.push_back(c.GetRecNo());
            c.Edit();
            // Each new amount is above every old one: in amount order the record moves ahead.
            c.PutField(6, 0, std::to_string(1000 * round + static_cast<int>(seen.size())));
            c.PutField(8, 0, "Z");
            c.Update();
        }
        c.CloseFile();
        std::sort(seen.begin(), seen.end());
        EXPECT_EQ(seen, (std::vector<std::int32_t>{recs[0], recs[2], recs[3]})) << order;
    }
}

TEST_F(FileControlTest, CursorDestroyedMidChangeLeavesTheFileAsBefore) {
    std::vector<EntryRecord> before = ledger.Read(company);
    {
        QvFileControl2 c;
        c.OpenFile(entries, "");
        c.SetFilter("Cuenta = 4300000138");
        c.MoveFirst();
        c.Edit();
        c.PutField(23, 0, "RF-9");
        c.Update();
        c.MoveNext();
        c.Edit();
        c.PutField(7, 0, "1");
        // destroyed without CloseFile
    }
    EXPECT_EQ(ledger.Read(company), before);
}

TEST_F(FileControlTest, BadValuesAreRefusedAndChangeNothing) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.GoToRecord(recs[0]);
    EXPECT_THROW(c.PutField(7, 0, "1"), HostError);  // no Edit
    c.Edit();
    c.PutField(6, 0, "doce");
    EXPECT_THROW(c.Update(), HostError);
    c.CloseFile();
    EXPECT_EQ(ledger.Read(company)[0].importe, 121.5);
}

TEST_F(FileControlTest, OpenFileFindsTheNameWithoutRegardToCase) {
    QvFileControl2 c;
    EXPECT_NO_THROW(c.OpenFile(ledger.File("ExtraE1.qvd"), ""));
    EXPECT_NO_THROW(c.OpenFile(ledger.File("EXTRAE1.QVD"), ""));
    EXPECT_THROW(c.OpenFile(ledger.File("extraE2.qvd"), ""), HostError);
}

// Counts of one filter after another with other values each give their own answer; a held read
// sees the file as it was when it began, and the next read after ReleaseRead sees it as it is.
TEST_F(FileControlTest, HeldReadCountsSeeOneMomentOfTheFile) {
    QvFileControl2 reader;
    reader.OpenFile(entries, "");
    reader.HoldRead();
    for (const auto& [ref, n] : {std::pair{"RF-42", 1}, {"RF-100", 0}, {"RF-42", 1}}) {
        reader.SetFilter(std::string("Referencia punteo =") + ref);
        reader.MoveFirst();
        EXPECT_EQ(reader.GetRecordCount(), n) << ref;
    }
    {
        QvFileControl2 writer;
        writer.OpenFile(entries, "");
        writer.SetFilter("Cuenta = 4300000138");
        writer.MoveFirst();
        writer.Edit();
        writer.PutField(23, 0, "RF-100");
        writer.Update();
        writer.CloseFile();
    }
    reader.SetFilter("Referencia punteo =RF-100");
    reader.MoveFirst();
    EXPECT_EQ(reader.GetRecordCount(), 0);  // still the moment the read began
    reader.SetFilter("Cuenta = 4300000138");
    reader.MoveFirst();
    ASSERT_FALSE(reader.IsEof());
    reader.ReleaseRead();
    EXPECT_THROW(reader.GetRecNo(), HostError);  // the read ended with the scan
    reader.SetFilter("Referencia punteo =RF-100");
    reader.MoveFirst();
    EXPECT_EQ(reader.GetRecordCount(), 1);
    EXPECT_FALSE(reader.IsEof());
    reader.CloseFile();
}

// An Edit under a held read ends the read and writes as any Edit does.
TEST_F(FileControlTest, EditAfterAHeldReadWrites) {
    QvFileControl2 c;
    c.OpenFile(entries, "");
    c.HoldRead();
    c.SetFilter("Cuenta = 4300000001");
    c.MoveFirst();
    ASSERT_FALSE(c.IsEof());
    c.Edit();
    c.PutField(23, 0, "RF-7");
    c.Update();
    c.CloseFile();
    EXPECT_EQ(ledger.Read(company)[1].referencia, "RF-7");
}

TEST_F(FileControlTest, ReaderAndWriterOnTheSameFileAtOnce) {
    // Saving keeps a write cursor open while NewReference reads the same entries file.
    QvFileControl2 writer;
    writer.OpenFile(entries, "");
    writer.SetFilter("Cuenta = 4300000138");
    writer.MoveFirst();
    writer.Edit();
    writer.PutField(23, 0, "RF-100");
    writer.Update();
    QvFileControl2 reader;
    reader.OpenFile(entries, "");
    reader.SetFilter("Referencia punteo =RF-42");
    reader.MoveFirst();
    EXPECT_EQ(reader.GetRecordCount(), 1);
    reader.CloseFile();
    writer.CloseFile();
    EXPECT_EQ(ledger.Read(company)[0].referencia, "RF-100");
}

// Runs `child` in a forked process; its return value is the exit status.
int InChildProcess(const std::function<int()>& child) {
    pid_t pid = ::fork();
    if (pid == 0) {
        int rc = 99;
        try {
            rc = child();
        } catch (...) {
        }
        ::_exit(rc);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(FileControlTest, ProcessKilledMidChangeLeavesTheFileAsBefore) {
    std::vector<EntryRecord> before = ledger.Read(company);
    int rc = InChildProcess([&] {
        QvFileControl2 c;
        c.OpenFile(entries, "");
        c.SetFilter("Cuenta = 4300000138");
        c.MoveFirst();
        c.Edit();
        c.PutField(23, 0, "RF-9");
        c.Update();
        ::_exit(7);  // no CloseFile, no destructor
        return 0;
    });
    EXPECT_EQ(rc, 7);
    EXPECT_EQ(ledger.Read(company), before);
}

TEST_F(FileControlTest, AnotherProcessReadsAndThenWritesWhileAChangeIsOpen) {
    QvFileControl2 writer;
    writer.OpenFile(entries, "");
    writer.GoToRecord(recs[0]);
    writer.Edit();
    writer.PutField(23, 0, "RF-500");
    writer.Update();
    // The other process still sees the committed data, without waiting.
    EXPECT_EQ(InChildProcess([&] {
                  QvFileControl2 c;
                  c.OpenFile(entries, "");
                  c.SetFilter("Referencia punteo =RF-500");
                  c.MoveFirst();
                  return c.GetRecordCount() == 0 && c.IsEof() ? 0 : 1;
              }),
              0);
    writer.CloseFile();
    EXPECT_EQ(InChildProcess([&] {
                  QvFileControl2 c;
                  c.OpenFile(entries, "");
                  c.GoToRecord(recs[1]);
                  if (c.GetField(23, 0) != "") return 1;
                  c.Edit();
                  c.PutFieldByName("Referencia punteo", "RF-501");
                  c.Update();
                  c.CloseFile();
                  return 0;
              }),
              0);
    std::vector<EntryRecord> all = ledger.Read(company);
    EXPECT_EQ(all[0].referencia, "RF-500");
    EXPECT_EQ(all[1].referencia, "RF-501");
}

TEST_F(FileControlTest, SecondWriterInTheSameProcessIsRefusedAtOnce) {
    QvFileControl2 first, second;
    first.OpenFile(entries, "");
    first.GoToRecord(recs[0]);
    first.Edit();
    second.OpenFile(ledger.File("EXTRAE1.qvd"), "");
    second.GoToRecord(recs[1]);
    EXPECT_NE(testing::ErrorOf([&] { second.Edit(); }).find("otro cursor"), std::string::npos);
    first.CloseFile();
    second.GoToRecord(recs[1]);
    second.Edit();
    second.PutField(7, 0, "1");
    second.Update();
    second.CloseFile();
    EXPECT_EQ(ledger.Read(company)[1].marca, "1");
}

TEST(StoreValues, DatesAndNumbers) {
    EXPECT_EQ(ParseDayFirstDate("15/03/25"), 20250315);
    EXPECT_EQ(ParseDayFirstDate("15/03/1999"), 19990315);
    EXPECT_EQ(ParseDayFirstDate("1/3/61"), 19610301);
    EXPECT_EQ(ParseDayFirstDate("29/02/24"), 20240229);
    EXPECT_FALSE(ParseDayFirstDate("29/02/25"));
    EXPECT_FALSE(ParseDayFirstDate("31/04/25"));
    EXPECT_FALSE(ParseDayFirstDate("15/13/25"));
    EXPECT_FALSE(ParseDayFirstDate("15/03/125"));
    EXPECT_FALSE(ParseDayFirstDate("15-03"));
    EXPECT_EQ(DayFirstText(20250315), "15/03/25");
    EXPECT_EQ(DayFirstText(0), "");
    EXPECT_EQ(ParsePlainNumber("-1234,56"), -1234.56);
    EXPECT_EQ(ParsePlainNumber("1234.56"), 1234.56);
    EXPECT_EQ(ParsePlainNumber("1.234,56"), 1234.56);
    EXPECT_EQ(ParsePlainNumber(" 7 "), 7.0);
    EXPECT_FALSE(ParsePlainNumber("1,2,3"));
    EXPECT_FALSE(ParsePlainNumber("12a"));
    EXPECT_FALSE(ParsePlainNumber("-"));
    // Grouping points stand before the comma only; the sign stands first only.
    EXPECT_EQ(ParsePlainNumber("+.5,3"), 5.3);
    EXPECT_FALSE(ParsePlainNumber(".-5,3"));
    EXPECT_FALSE(ParsePlainNumber("1,5.3"));
    EXPECT_FALSE(ParsePlainNumber("1.5.3"));
    EXPECT_FALSE(ParsePlainNumber("1E5"));
}

}  // namespace
}  // namespace pendara
