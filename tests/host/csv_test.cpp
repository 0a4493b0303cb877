#include "host/csv.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/demo.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_ole70.h"
#include "host/settings.h"
#include "support/host_error.h"
#include "support/ledger.h"

namespace pendara {
namespace {

using testing::ErrorOf;

TEST(Csv, QuotingAndLineNumbers) {
    std::vector<CsvRecord> r = ParseCsv("a;\"b;c\";\"d \"\"e\"\"\"\r\n\"x\ny\";;z\n");
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].fields, (std::vector<std::string>{"a", "b;c", "d \"e\""}));
    EXPECT_EQ(r[1].line, 2);
    EXPECT_EQ(r[1].fields, (std::vector<std::string>{"x\ny", "", "z"}));
    EXPECT_EQ(CsvField("a;b"), "\"a;b\"");
    EXPECT_EQ(CsvField("di \"no\""), "\"di \"\"no\"\"\"");
    EXPECT_EQ(CsvField("plain"), "plain");
    EXPECT_NE(ErrorOf([] { ParseCsv("a;\"b\n"); }).find("línea 1"), std::string::npos);
    EXPECT_NE(ErrorOf([] { ParseCsv("a\n\"b\"c\n"); }).find("línea 2"), std::string::npos);
}

TEST(Csv, EntriesColumnsInAnyOrderAndMissingOnesEmpty) {
    std::vector<EntryRecord> e = ParseEntriesCsv(
        "\xEF\xBB\xBFimporte;CUENTA;fecha;Descripción;referencia PUNTEO\n"
        "-12.5;4300000001;03/02/2025;Cobro;RF-1\n"
        "1.234,56;4300000002;3/2/25;Fra. 7;\n");
    ASSERT_EQ(e.size(), 2u);
    EXPECT_EQ(e[0].cuenta, "4300000001");
    EXPECT_EQ(e[0].importe, -12.5);
    EXPECT_EQ(e[0].debeHaber, 2);  // from the sign
    EXPECT_EQ(e[0].referencia, "RF-1");
    EXPECT_EQ(e[0].descripcion, "Cobro");
    EXPECT_EQ(e[0].marca, "");
    EXPECT_EQ(e[1].importe, 1234.56);
    EXPECT_EQ(e[1].debeHaber, 1);
}

TEST(Csv, BadLinesAreNamed) {
    const std::string head = "Cuenta;Fecha;Importe\n";
    EXPECT_EQ(ErrorOf([&] { ParseEntriesCsv(head + "43;01/01/25;1\n43;31/02/25;1\n"); }),
              "línea 3, columna Fecha: fecha incorrecta \"31/02/25\" (dd/mm/aa o dd/mm/aaaa)");
    EXPECT_EQ(ErrorOf([&] { ParseEntriesCsv(head + "43;01/01/25;1,2,3\n"); }),
              "línea 2, columna Importe: importe incorrecto \"1,2,3\"");
    EXPECT_EQ(ErrorOf([&] { ParseEntriesCsv(head + "43;01/01/25\n"); }),
              "línea 2: se esperaban 3 campos y hay 2");
    EXPECT_EQ(ErrorOf([&] { ParseEntriesCsv(head + ";01/01/25;1\n"); }),
              "línea 2: falta la cuenta");
    EXPECT_EQ(ErrorOf([] { ParseEntriesCsv("Cuenta;Saldo\n"); }),
              "línea 1: columna desconocida \"Saldo\"");
    EXPECT_EQ(ErrorOf([] { ParseEntriesCsv("Cuenta;cuenta\n"); }),
              "línea 1: columna repetida \"cuenta\"");
    EXPECT_EQ(ErrorOf([] { ParseChartCsv("Cuenta;Descripcion;Nivel\n43;Clientes;x\n"); }),
              "línea 2, columna Nivel: nivel incorrecto \"x\" (0 a 99)");
}

TEST(Csv, MalformedImportAddsNothing) {
    testing::Ledger l;
    std::string c = l.Company("M1", "Empresa", 2025);
    l.Entry(c, {"4300000001", "01/01/25", "1", "Previo", 1, 5});
    EXPECT_THROW(ImportEntriesCsv(c,
                                  "Cuenta;Fecha;Importe\n4300000001;02/01/25;7\n"
                                  "4300000001;99/01/25;8\n"),
                 HostError);
    EXPECT_EQ(l.Read(c).size(), 1u);
}

TEST(Csv, ExportImportExportGivesTheSameData) {
    testing::Ledger l;
    std::string a = l.Company("X1", "Origen", 2025);
    l.Entries(a, {{"4300000001", "01/01/25", "1", "Texto; con \"comillas\"", 1, 1234.56, "1", "A",
                   "c14", "c22", "RF-3", "c2"},
                  {"4300000002", "", "", "Línea\ncon salto", 2, -0.01},
                  {"4300000001", "31/12/1999", "9", "Viejo", 2, -1e9, "2", "C"}});
    std::string first = ExportEntriesCsv(a);
    std::string b = l.Company("X2", "Destino", 2025);
    EXPECT_EQ(ImportEntriesCsv(b, first), 3u);
    EXPECT_EQ(ExportEntriesCsv(b), first);
    std::vector<EntryRecord> ra = l.Read(a), rb = l.Read(b);
    EXPECT_EQ(ra, rb);
    EXPECT_EQ(
        ExportEntriesCsv(a, "4300000002"),
        "Registro;Cuenta;Fecha;Campo2;Asiento;Descripcion;DebeHaber;Importe;Marca;Tipo;"
        "Campo14;Campo22;Referencia punteo\r\n2;4300000002;;;;\"Línea\ncon salto\";2;-0,01;;;;"
        ";\r\n");
}

TEST(Csv, TinyAndHugeAmountsSurviveExportAndImport) {
    testing::Ledger l;
    std::string a = l.Company("X1", "Origen", 2025);
    l.Entries(a, {{"4300000001", "01/01/25", "1", "a", 1, 0.00001},
                  {"4300000001", "01/01/25", "2", "b", 1, 1E15},
                  {"4300000001", "01/01/25", "3", "c", 2, -1.5E-7},
                  {"4300000001", "01/01/25", "4", "d", 1, 9007199254740990.0}});
    std::string first = ExportEntriesCsv(a);
    for (const char* amount :
         {";0,00001;", ";1000000000000000;", ";-0,00000015;", ";9007199254740990;"})
        EXPECT_NE(first.find(amount), std::string::npos) << amount;
    std::string b = l.Company("X2", "Destino", 2025);
    EXPECT_EQ(ImportEntriesCsv(b, first), 4u);
    EXPECT_EQ(l.Read(b), l.Read(a));
}

TEST(Demo, SameSeedSameDataAndBalancedYears) {
    testing::TempDir d1, d2;
    DemoOptions o;
    o.folder = d1.str();
    o.entriesPerYear = 400;
    o.accounts = 8;
    DemoResult r1 = GenerateDemo(o);
    o.folder = d2.str();
    DemoResult r2 = GenerateDemo(o);
    ASSERT_EQ(r1.companies.size(), 3u);
    EXPECT_EQ(ReadEntries(r1.companies[2]), ReadEntries(r2.companies[2]));
    EXPECT_EQ(r1.keyCompany, r1.companies[1]);
    EXPECT_EQ(r1.key, "punteo");
    // Every year is a balanced ledger; the earlier years are closed (regularisation and closing
    // entries), the newest is the open year being worked in, so its accounts keep balances.
    for (std::size_t k = 0; k < r1.companies.size(); ++k) {
        const std::string& c = r1.companies[k];
        bool newest = k + 1 == r1.companies.size();
        std::vector<EntryRecord> all = ReadEntries(c);
        double sum = 0;
        bool opening = false, regularisation = false, closing = false, invoice = false;
        for (const EntryRecord& e : all) {
            sum += e.importe;
            opening |= e.tipo == "A";
            regularisation |= e.tipo == "R";
            closing |= e.tipo == "C";
            invoice |= e.descripcion.rfind("Fra. ", 0) == 0;
            EXPECT_EQ(e.debeHaber == 1, e.importe > 0);
        }
        EXPECT_NEAR(sum, 0, 1e-6);
        EXPECT_TRUE(opening && invoice);
        EXPECT_EQ(regularisation, !newest);
        EXPECT_EQ(closing, !newest);
    }
    // Customers of the open year still owe something.
    QvFileControl2 f;
    f.OpenFile(FolderOf(r1.companies[2]) + "extra" + CompanyCode(r1.companies[2]) + ".qvd");
    f.SetFilter("Cuenta like 430*");
    f.MoveFirst();
    EXPECT_NE(RoundTo(f.SumField("Importe"), 2), 0);
    f.CloseFile();
    // The chain links each year to the one before.
    QvOLE70 s;
    s.OpenCompany(r1.companies[2], "");
    EXPECT_EQ(s.GetPreviousCompany() + ".QVT", r1.companies[1]);
    o.seed = 2;
    testing::TempDir d3;
    o.folder = d3.str();
    EXPECT_NE(ReadEntries(GenerateDemo(o).companies[2]), ReadEntries(r1.companies[2]));
}

class QvdataTool : public testing::SettingsTest {};

// The command-line tool end to end: a malformed file imports nothing and exits non-zero.
TEST_F(QvdataTool, CreateImportExportCounter) {
    testing::TempDir d;
    auto run = [&](const std::string& args) {
        std::string cmd = std::string(QVDATA_EXE) + " " + args + " > " + d.file("out.txt") +
                          " 2> " + d.file("err.txt");
        int rc = std::system(cmd.c_str());
        return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    };
    auto read = [&](const std::string& name) {
        std::ifstream in(d.file(name));
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    };
    std::string qvt = d.file("EMP.QVT");
    ASSERT_EQ(run("create-company " + qvt + " --code E1 --name Prueba --year 2025"), 0);
    std::ofstream(d.file("bad.csv")) << "Cuenta;Fecha;Importe\n4300000001;01/01/25;5\n"
                                        "4300000001;01/13/25;5\n";
    EXPECT_NE(run("import-entries " + qvt + " " + d.file("bad.csv")), 0);
    EXPECT_NE(read("err.txt").find("línea 3"), std::string::npos) << read("err.txt");
    std::ofstream(d.file("good.csv")) << "Cuenta;Fecha;Importe;Descripcion\n"
                                         "4300000001;01/01/25;5,5;Fra. 1\n";
    ASSERT_EQ(run("import-entries " + qvt + " " + d.file("good.csv")), 0);
    ASSERT_EQ(run("export-entries " + qvt), 0);
    EXPECT_EQ(read("out.txt"), ExportEntriesCsv(qvt));
    EXPECT_EQ(ReadEntries(qvt).size(), 1u);
    ASSERT_EQ(run("counter " + qvt + " --set 41"), 0);
    EXPECT_EQ(read("out.txt"), "41\n");
    EXPECT_EQ(run("create-company " + qvt + " --code E1 --name Otra --year 2025"), 1);
    EXPECT_EQ(run("create-company " + d.file("X.QVT") + " --code E --year 2025"), 2);
    EXPECT_EQ(run("create-company " + d.file("OTRA.QVT") + " --code E1 --name X --year 2026"), 1);
    EXPECT_NE(read("err.txt").find("extraE1.qvd"), std::string::npos) << read("err.txt");
    std::ofstream(d.file("plan.csv")) << "Nivel;Cuenta;Descripcion\n2;43;Clientes\n"
                                         "0;4300000001;\"Cliente; uno\"\n";
    ASSERT_EQ(run("import-chart " + qvt + " " + d.file("plan.csv")), 0);
    std::vector<ChartAccount> chart = ReadAccounts(qvt);
    ASSERT_EQ(chart.size(), 2u);
    EXPECT_EQ(chart[1].nombre, "Cliente; uno");
    EXPECT_EQ(chart[0].nivel, 2);
    ASSERT_EQ(run("set-active " + d.file("emp.qvt")), 0);  // found without regard to case
    ResetSettingsBackends();
    EXPECT_EQ(GetRegValue("Active").text(), qvt);
    EXPECT_EQ(run("demo --help"), 0);
    EXPECT_NE(read("out.txt").find("--no-key"), std::string::npos);
}

}  // namespace
}  // namespace pendara
