// No bad value reaches the books: every value the store would not keep is refused where it comes
// in (an import line and column, an entry, a cursor's field), and nothing is written.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <string>
#include <vector>

#include "host/csv.h"
#include "host/errors.h"
#include "host/qv_file_control.h"
#include "host/store.h"
#include "host/utf8.h"
#include "support/host_error.h"
#include "support/ledger.h"
#include "support/run_command.h"

namespace pendara {
namespace {

using testing::ErrorOf;

struct BadInput {
    const char* what;
    std::string line;      // one data line under kEntriesHead or kChartHead
    std::string expected;  // the start of the message
    std::string alsoSays;  // a further piece of it ("" when none)
};

const std::string kEntriesHead = "Cuenta;Fecha;Asiento;Descripcion;DebeHaber;Importe\n";
const std::string kChartHead = "Cuenta;Descripcion;Nivel\n";

std::string Repeat(const std::string& piece, std::size_t n) {
    std::string out;
    for (std::size_t i = 0; i < n; ++i)
        out += piece;
    return out;
}

// Each bad line comes after one good line, so its number is 3; the good line is not imported
// either.
TEST(ImportValidation, EveryBadEntryIsNamedByLineAndColumnAndNothingIsImported) {
    const std::string good = "4300000001;01/01/25;1;Bien;1;10\n";
    const std::vector<BadInput> cases = {
        {"400 digits", "4300000001;01/01/25;2;x;1;1" + std::string(400, '0'),
         "línea 3, columna Importe: \"1000", "fuera del rango"},
        {"beyond the range", "4300000001;01/01/25;2;x;1;9007199254740994",
         "línea 3, columna Importe:", "hasta ±9.007.199.254.740.992"},
        {"infinity as text", "4300000001;01/01/25;2;x;1;INF",
         "línea 3, columna Importe: importe incorrecto \"INF\"", ""},
        {"year 0", "4300000001;01/01/0000;2;x;1;1",
         "línea 3, columna Fecha: \"01/01/0000\": año 0 fuera", "1960 a 2059"},
        {"year 59 AD", "4300000001;01/01/0059;2;x;1;1", "línea 3, columna Fecha:", "año 59"},
        {"before 1960", "4300000001;31/12/1959;2;x;1;1", "línea 3, columna Fecha:", "año 1959"},
        {"after 2059", "4300000001;01/01/2060;2;x;1;1", "línea 3, columna Fecha:", "año 2060"},
        {"NUL in a description", std::string("4300000001;01/01/25;2;a\0b;1;1", 29),
         "línea 3, columna Descripcion: \"a\\x00b\" contiene un byte nulo", ""},
        {"Latin-1 description", "4300000001;01/01/25;2;Cami\xF3n;1;1",
         "línea 3, columna Descripcion: \"Cami\\xF3n\" no es texto UTF-8 (byte 0xF3", "--encoding"},
        {"Latin-1 account", "43\xD1\x31;01/01/25;2;x;1;1",
         "línea 3, columna Cuenta:", "no es texto UTF-8"},
        {"DebeHaber 7", "4300000001;01/01/25;2;x;7;1",
         "línea 3, columna DebeHaber: indicador debe/haber incorrecto \"7\"", "1 debe, 2 haber"},
        {"DebeHaber 0", "4300000001;01/01/25;2;x;0;1", "línea 3, columna DebeHaber:", ""},
        {"DebeHaber 1.5", "4300000001;01/01/25;2;x;1,5;1", "línea 3, columna DebeHaber:", ""},
        {"100,000-character account", std::string(100000, '4') + ";01/01/25;2;x;1;1",
         "línea 3, columna Cuenta: pasa de 80 bytes; el máximo es 20 caracteres", ""},
        {"21-character account", std::string(21, '4') + ";01/01/25;2;x;1;1",
         "línea 3, columna Cuenta:", "tiene 21 caracteres y el máximo es 20"},
        {"256-character description", "4300000001;01/01/25;2;" + Repeat("ñ", 256) + ";1;1",
         "línea 3, columna Descripcion:", "tiene 256 caracteres y el máximo es 255"},
        {"a field of 200 KB", "4300000001;01/01/25;2;\"" + std::string(200000, 'x') + "\";1;1",
         "línea 3, columna Descripcion: pasa de 1020 bytes; el máximo es 255 caracteres", ""},
    };
    testing::Ledger l;
    const std::string c = l.Company("V1", "Validación", 2025);
    for (const BadInput& bad : cases) {
        const std::string message =
            ErrorOf([&] { ImportEntriesCsv(c, kEntriesHead + good + bad.line + "\n"); });
        EXPECT_EQ(message.rfind(bad.expected, 0), 0u) << bad.what << ": " << message;
        EXPECT_NE(message.find(bad.alsoSays), std::string::npos) << bad.what << ": " << message;
        // The message quotes at most a few dozen characters of what it refuses.
        EXPECT_LT(message.size(), 300u) << bad.what;
        EXPECT_EQ(FirstInvalidUtf8(message), std::string::npos) << bad.what;
    }
    EXPECT_TRUE(l.Read(c).empty());
}

TEST(ImportValidation, TheLimitsThemselvesAreKept) {
    testing::Ledger l;
    const std::string c = l.Company("V2", "Límites", 2025);
    const std::string text = kEntriesHead + std::string(20, '4') + ";01/01/1960;" +
                             std::string(20, '9') + ";" + Repeat("€", 255) +
                             ";2;-9007199254740990\n" +
                             "4300000001;31/12/2059;1;x;1;9007199254740990\n";
    EXPECT_EQ(ImportEntriesCsv(c, text), 2u);
    std::vector<EntryRecord> read = l.Read(c);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].importe, -9007199254740990.0);
    EXPECT_EQ(read[0].fecha, "01/01/60");
    EXPECT_EQ(Utf8Length(read[0].descripcion), 255u);
    EXPECT_EQ(read[1].fecha, "31/12/59");
    // What was exported comes back in.
    const std::string d = l.Company("V3", "Copia", 2025);
    EXPECT_EQ(ImportEntriesCsv(d, ExportEntriesCsv(c)), 2u);
    EXPECT_EQ(l.Read(d), read);
}

TEST(ImportValidation, ChartAccountsOnceEachAndClean) {
    testing::Ledger l;
    const std::string c = l.Company("V4", "Plan", 2025);
    l.Accounts(c, {{"4300000001", "Ya estaba"}});
    const std::vector<BadInput> cases = {
        {"twice in the file", "4300000002;Uno;0\n4300000002;Otra vez;0",
         "línea 3, columna Cuenta: la cuenta \"4300000002\" ya está en la línea 2", ""},
        {"already in the chart", "4300000002;Uno;0\n4300000001;Otra vez;0",
         "línea 3, columna Cuenta: la cuenta \"4300000001\" ya está en el plan de cuentas", ""},
        {"NUL in a name", std::string("4300000003;a\0b;0", 16),
         "línea 2, columna Descripcion:", "byte nulo"},
        {"Latin-1 name", "4300000003;Cami\xF3n;0",
         "línea 2, columna Descripcion:", "no es texto UTF-8"},
        {"level 100", "4300000003;x;100", "línea 2, columna Nivel: nivel incorrecto \"100\"", ""},
        {"long account", std::string(30, '4') + ";x;0",
         "línea 2, columna Cuenta:", "el máximo es 20"},
    };
    for (const BadInput& bad : cases) {
        const std::string message =
            ErrorOf([&] { ImportChartCsv(c, kChartHead + bad.line + "\n"); });
        EXPECT_EQ(message.rfind(bad.expected, 0), 0u) << bad.what << ": " << message;
        EXPECT_NE(message.find(bad.alsoSays), std::string::npos) << bad.what << ": " << message;
    }
    EXPECT_EQ(ReadAccounts(c).size(), 1u);
    // The store refuses the same for any caller.
    EXPECT_THROW(AddAccounts(c, {{"4300000001", "Repetida"}}), HostError);
    EXPECT_THROW(AddAccounts(c, {{"4300000005", "a"}, {"4300000005", "b"}}), HostError);
    EXPECT_EQ(ReadAccounts(c).size(), 1u);
}

TEST(ImportValidation, HeadersAndHugeFieldsGiveShortMessages) {
    const std::string huge(10 << 20, 'H');
    std::string message = ErrorOf([&] { ParseEntriesCsv(huge + "\n"); });
    EXPECT_EQ(message, "línea 1: el campo 1 pasa de 65536 bytes");
    message = ErrorOf([&] { ParseEntriesCsv("Cuenta;" + std::string(60000, 'Z') + "\n"); });
    EXPECT_EQ(message.rfind("línea 1: columna desconocida \"ZZZZ", 0), 0u) << message;
    EXPECT_LT(message.size(), 200u);
}

// A failure of the store itself comes with the line it happened on and its own words.
TEST(ImportValidation, StoreErrorsNameTheirLine) {
    testing::Ledger l;
    const std::string c = l.Company("V5", "Disparador", 2025);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(l.EntriesFile(c).c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE TRIGGER no666 BEFORE INSERT ON entries WHEN NEW.cuenta = "
                           "'4300000666' BEGIN SELECT RAISE(ABORT, 'rechazado por la prueba'); END",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    const std::string message = ErrorOf([&] {
        ImportEntriesCsv(
            c, kEntriesHead + "4300000001;01/01/25;1;x;1;1\n" + "4300000666;01/01/25;2;x;1;1\n");
    });
    EXPECT_EQ(message.rfind("línea 3: ", 0), 0u) << message;
    EXPECT_NE(message.find("rechazado por la prueba"), std::string::npos) << message;
    EXPECT_TRUE(l.Read(c).empty());
}

// The same values are refused when they come through a cursor or straight to the store.
TEST(ImportValidation, CursorsAndTheStoreRefuseTheSameValues) {
    testing::Ledger l;
    const std::string c = l.Company("V6", "Cursor", 2025);
    l.Entry(c, {"4300000001", "01/01/25", "1", "x", 1, 1});
    QvFileControl2 f;
    f.OpenFile(l.EntriesFile(c));
    f.MoveFirst();
    f.Edit();
    for (const auto& [field, value] : std::vector<std::pair<std::string, std::string>>{
             {"Referencia punteo", std::string("a\0b", 3)},
             {"Referencia punteo", "\xFF"},
             {"Marca", std::string(21, 'm')},
             {"Importe", "1" + std::string(20, '0')},
             {"Fecha", "01/01/1959"},
             {"DebeHaber", "3"}}) {
        f.PutFieldByName(field, value);
        const std::string message = ErrorOf([&] { f.Update(); });
        EXPECT_NE(message.find("incorrecto para el campo"), std::string::npos) << field << message;
        f.Edit();
    }
    f.CloseFile();
    const EntryRecord kept = l.Read(c)[0];
    EXPECT_EQ(kept.referencia, "");
    EXPECT_EQ(kept.marca, "");
    EXPECT_EQ(kept.importe, 1);
    EXPECT_EQ(kept.fecha, "01/01/25");
    EXPECT_EQ(kept.debeHaber, 1);
    for (const EntryRecord& bad :
         {EntryRecord{"4300000001", "01/01/25", "1", "x", 1, 1e300 * 1e300},
          EntryRecord{"4300000001", "01/01/0059", "1", "x", 1, 1},
          EntryRecord{"4300000001", "01/01/25", "1", "x", 7, 1},
          EntryRecord{std::string(100000, '4'), "01/01/25", "1", "x", 1, 1}}) {
        std::vector<EntryRecord> one{bad};
        EXPECT_THROW(AddEntries(c, one), HostError);
    }
    EXPECT_EQ(l.Read(c).size(), 1u);
}

TEST(ImportValidation, LatinOneFilesAreConvertedWhenSaidSo) {
    EXPECT_EQ(CsvTextFromEncoding("Cami\xF3n \x80", "latin1"), "Camión \xC2\x80");
    EXPECT_EQ(CsvTextFromEncoding("Cami\xF3n \x80", "cp1252"), "Camión €");
    EXPECT_EQ(CsvTextFromEncoding("Camión", "UTF-8"), "Camión");
    EXPECT_THROW(CsvTextFromEncoding("x", "ebcdic"), HostError);

    testing::Ledger l;
    const std::string c = l.Company("V7", "Latin", 2025);
    const std::string csv = l.File("latin.csv");
    std::ofstream(csv, std::ios::binary) << "Cuenta;Descripcion;Importe\n4300000001;Cami\xF3n;1\n";
    const std::string qvdata = std::string(QVDATA_EXE) + " import-entries " + c + " " + csv;
    EXPECT_EQ(testing::RunCommand(qvdata + " 2>/dev/null").status, 1);
    EXPECT_TRUE(l.Read(c).empty());
    EXPECT_EQ(testing::RunCommand(qvdata + " --encoding latin1").out, "1 apuntes importados\n");
    EXPECT_EQ(l.Read(c)[0].descripcion, "Camión");
}

}  // namespace
}  // namespace pendara
