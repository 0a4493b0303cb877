#include "host/report_output.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/utf8.h"
#include "support/run_command.h"
#include "support/scripted_port.h"
#include "support/spanish_locale.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

const char* kColumns = "Fecha,Asiento,Descripción,Referencia,Importe";

std::string Entry(const std::string& date, const std::string& entry, const std::string& desc,
                  const std::string& ref, double amount) {
    return date + "\t" + entry + "\t" + desc + "\t" + ref + "\t" + FormatAmount(amount) + "\r\n";
}

std::string AccountText(const std::string& code, const std::string& title, int entries) {
    std::string t = "_" + code + " - " + title + "\r\n";
    double total = 0;
    for (int i = 1; i <= entries; ++i) {
        double amount = i % 3 == 0 ? -1234.5 * i : 99.95 * i;
        total += amount;
        t += Entry("15/01/25", std::to_string(i), "Fra. " + std::to_string(i) + " cliente señor",
                   "", amount);
    }
    t += "\r\n*Referencia: RF-12\r\n" + Entry("01/02/25", "40", "Cobro", "RF-12", 50) +
         Entry("02/02/25", "41", "Abono", "RF-12", -50) + "\t\tSaldo\t" + FormatAmount(0) + "\r\n";
    t += "\r\n\t\tTotal\t\t" + FormatAmount(total) + "\r\n";
    t += "\t\tSaldo según último balance\t\t" + FormatAmount(total) + "\r\n";
    t += "\t\tDiferencia\t\t" + FormatAmount(0) + "\r\n\r\n\r\n";
    return t;
}

ReportRequest Request(const std::string& text, std::int32_t destination = 0) {
    return ReportRequest{
        destination,   "Informe de punteo de extractos", text, "23/11/26", kColumns, "5,0,0,0,3",
        "EMPRESA DEMO"};
}

// A request as the program hands it: full heading, criteria and closing totals.
ReportRequest FullRequest(const std::string& text, std::int32_t destination = 0) {
    ReportRequest r = Request(text, destination);
    r.companyFullName = "Comercial Demo, S.L.";
    r.fiscalYear = "2025";
    r.criteria = {{"Cuentas", "desde 4300000001 hasta 4309999999"},
                  {"Fechas", "del 01/01/25 al 31/12/25"},
                  {"Apuntes de apertura", "no incluidos"}};
    r.totals = ReportTotals{2, -1234.5, 1000, -2234.5};
    return r;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) {
        if (!l.empty() && l.back() == '\r') l.pop_back();
        lines.push_back(l);
    }
    return lines;
}

std::size_t IndexOf(const std::vector<std::string>& lines, const std::string& prefix) {
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (lines[i].rfind(prefix, 0) == 0) return i;
    return lines.size();
}

using testing::ReadAll;

// Runs a shell command and returns its standard output ("" when it fails).
std::string Capture(const std::string& command) {
    return testing::RunCommand(command).out;
}

bool Have(const std::string& tool) {
    return std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) == 0;
}

// One part of a workbook, as text.
std::string Unzipped(const std::string& path,
                     const std::string& part = "xl/worksheets/sheet1.xml") {
    return Capture("unzip -p '" + path + "' " + part);
}

TEST(ReportAmount, ReadsPrintedAmountsOnly) {
    EXPECT_EQ(ReportAmount(FormatAmount(1234567.891)), 1234567.89);
    EXPECT_EQ(ReportAmount("  -0,50"), -0.5);
    EXPECT_EQ(ReportAmount("12"), 12);
    EXPECT_EQ(ReportAmount("1.234"), 1234);
    EXPECT_FALSE(ReportAmount("1.23"));
    EXPECT_FALSE(ReportAmount("1,2,3"));
    EXPECT_FALSE(ReportAmount("Fra. 12"));
    EXPECT_FALSE(ReportAmount("RF-12"));
    EXPECT_FALSE(ReportAmount(""));
    EXPECT_FALSE(ReportAmount("-"));
    EXPECT_FALSE(ReportAmount("12,"));
}

TEST(ParseReport, RecognisesHeadingsRowsAndSummaries) {
    ParsedReport p = ParseReport(Request(AccountText("4300000001", "CLIENTE", 1)));
    ASSERT_EQ(p.columns.size(), 5u);
    EXPECT_EQ(p.columns[2], "Descripción");
    EXPECT_EQ(p.aligns,
              (std::vector<ReportAlign>{ReportAlign::Date, ReportAlign::Left, ReportAlign::Left,
                                        ReportAlign::Left, ReportAlign::Amount}));
    std::vector<ReportLineKind> kinds;
    for (const auto& l : p.lines)
        kinds.push_back(l.kind);
    using K = ReportLineKind;
    EXPECT_EQ(kinds, (std::vector<K>{K::Section, K::Row, K::Blank, K::SubSection, K::Row, K::Row,
                                     K::Summary, K::Blank, K::Summary, K::Summary, K::Summary,
                                     K::Blank, K::Blank}));
    EXPECT_EQ(p.lines[0].heading, "4300000001 - CLIENTE");
    EXPECT_EQ(p.lines[3].heading, "Referencia: RF-12");
    EXPECT_EQ(p.lines[1].cells[4], "99,95");
    EXPECT_TRUE(IsNumericCell(p, p.lines[1], 4));
    EXPECT_FALSE(IsNumericCell(p, p.lines[1], 1));  // the entry number is text
    // The group balance stands under the reference column and is still a number.
    EXPECT_EQ(p.lines[6].cells[3], "0,00");
    EXPECT_TRUE(IsNumericCell(p, p.lines[6], 3));
    EXPECT_EQ(p.lines[9].cells[2], "Saldo según último balance");
    EXPECT_TRUE(IsNumericCell(p, p.lines[9], 4));
}

TEST(ParseReport, ExtraFieldsJoinTheLastColumnAndBareLineFeedsWork) {
    ReportRequest r = Request("a\tb\tc\td\te\tf\n\nx\n");
    ParsedReport p = ParseReport(r);
    ASSERT_EQ(p.lines.size(), 3u);
    EXPECT_EQ(p.lines[0].cells[4], "e f");
    EXPECT_EQ(p.lines[1].kind, ReportLineKind::Blank);
    EXPECT_EQ(p.lines[2].cells[0], "x");
}

TEST(Cp1252, AccentsAndEuroBecomeSingleBytes) {
    EXPECT_EQ(Utf8ToCp1252("Descripción"), "Descripci\xF3n");
    EXPECT_EQ(Utf8ToCp1252("€ … Ñ"), "\x80 \x85 \xD1");
    EXPECT_EQ(Utf8ToCp1252("日"), "?");
    EXPECT_EQ(Utf8ToCp1252("caf\xE9"), "caf\xE9");  // already 8-bit passes through
    EXPECT_EQ(Utf8ToCp1252("𝄞ñ"), "?\xF1");         // one character, one place
    EXPECT_EQ(Utf8ToCp1252("a\xC0\x80"
                           "b"),
              "a\xC0\x80"
              "b");  // no overlong NUL cuts the text
    EXPECT_EQ(Utf8ToCp1252("\xE2\x82"), "\xE2\x82");
}

TEST(ApproximateTextWidth, EveryCharacterTakesOnePlace) {
    auto width = [](const std::string& t) {
        return ApproximateTextWidth(t, ReportFontStyle::Regular, 10);
    };
    EXPECT_DOUBLE_EQ(width("ñ€𝄞"), width("xyz"));
    EXPECT_DOUBLE_EQ(width("Descripción"), width("Descripcixn"));
    EXPECT_DOUBLE_EQ(width("\xC3"
                           "x"),
                     width("zx"));
    EXPECT_DOUBLE_EQ(width("\xF0\x9D\x84"), width("abc"));
}

class LayoutTest : public ::testing::Test {
  protected:
    ReportLayout Lay(const std::string& text) {
        return LayoutReport(Request(text), ReportPageSize{}, ApproximateTextWidth);
    }
    static std::vector<const LaidText*> Find(const LaidPage& p, const std::string& t) {
        std::vector<const LaidText*> out;
        for (const auto& x : p.texts)
            if (x.text == t) out.push_back(&x);
        return out;
    }
};

TEST_F(LayoutTest, EveryPageRepeatsHeadingColumnTitlesAndNumbersItself) {
    std::string text;
    for (int a = 0; a < 6; ++a)
        text +=
            AccountText("43000000" + std::to_string(10 + a), "CLIENTE " + std::to_string(a), 30);
    ReportLayout l = Lay(text);
    ASSERT_GE(l.pages.size(), 3u);
    const std::string of = " de " + std::to_string(l.pages.size());
    for (std::size_t i = 0; i < l.pages.size(); ++i) {
        const LaidPage& p = l.pages[i];
        EXPECT_EQ(Find(p, "Informe de punteo de extractos").size(), 1u) << "page " << i + 1;
        EXPECT_EQ(Find(p, "EMPRESA DEMO").size(), 1u);
        EXPECT_EQ(Find(p, "Fecha: 23/11/26").size(), 1u);
        EXPECT_EQ(Find(p, "Importe").size(), 1u);
        EXPECT_EQ(Find(p, "Descripción").size(), 1u);
        EXPECT_EQ(Find(p, "Página " + std::to_string(i + 1) + of).size(), 1u);
        for (const LaidText& t : p.texts) {
            EXPECT_GE(t.x, l.size.margin - 0.01) << t.text;
            EXPECT_LE(t.x + ApproximateTextWidth(t.text, t.style, t.size),
                      l.size.width - l.size.margin + 0.01)
                << t.text;
            EXPECT_LE(t.y, l.size.height - l.size.margin / 2) << t.text;
        }
    }
    // A page that starts inside an account says which account continues.
    bool continued = false;
    for (std::size_t i = 1; i < l.pages.size(); ++i)
        for (const LaidText& t : l.pages[i].texts)
            continued |= t.text.find("(continuación)") != std::string::npos;
    EXPECT_TRUE(continued);
}

TEST_F(LayoutTest, AmountsAreRightAlignedAndLongTextIsCut) {
    std::string text = "_4300000001 - CLIENTE\r\n" +
                       Entry("15/01/25", "1", std::string(300, 'W'), "RF-1", 1234.5) +
                       Entry("16/01/25", "2", "Corta", "RF-2", -7);
    ReportLayout l = Lay(text);
    ASSERT_EQ(l.pages.size(), 1u);
    const double right = l.columnX[4] + l.columnWidth[4];
    for (const char* amount : {"1.234,50", "-7,00"}) {
        auto found = Find(l.pages[0], amount);
        ASSERT_EQ(found.size(), 1u) << amount;
        EXPECT_NEAR(found[0]->x + ApproximateTextWidth(amount, found[0]->style, found[0]->size),
                    right, 0.01);
    }
    bool cut = false;
    for (const LaidText& t : l.pages[0].texts)
        if (t.text.rfind("WWW", 0) == 0) {
            cut = true;
            EXPECT_EQ(t.text.substr(t.text.size() - 3), "\xE2\x80\xA6");
            EXPECT_LE(ApproximateTextWidth(t.text, t.style, t.size), l.columnWidth[2] + 0.01);
        }
    EXPECT_TRUE(cut);
    // Columns do not overlap.
    for (std::size_t c = 1; c < l.columnX.size(); ++c)
        EXPECT_GE(l.columnX[c], l.columnX[c - 1] + l.columnWidth[c - 1]);
}

TEST_F(LayoutTest, ACutKeepsWholeCharacters) {
    std::string longText;
    for (int i = 0; i < 100; ++i)
        longText += "ñ€𝄞";
    ReportLayout l =
        Lay("_4300000001 - CLIENTE\r\n" + Entry("15/01/25", "1", longText, "RF-1", 12) +
            Entry("15/01/25", "2", "x\xE2\x82" + longText, "RF-1", -12));
    int cuts = 0;
    for (const LaidText& t : l.pages.at(0).texts) {
        if (!t.text.ends_with("\xE2\x80\xA6") || t.text.size() < 10) continue;
        ++cuts;
        const std::string kept = t.text.substr(0, t.text.size() - 3);
        const std::string whole = kept[0] == 'x' ? "x\xE2\x82" + longText : longText;
        EXPECT_TRUE(whole.starts_with(kept));
        EXPECT_TRUE(IsUtf8Boundary(whole, kept.size())) << kept;
    }
    EXPECT_EQ(cuts, 2);
}

TEST_F(LayoutTest, AnEmptyReportIsOnePageWithItsHeading) {
    ReportLayout l = Lay("");
    ASSERT_EQ(l.pages.size(), 1u);
    EXPECT_EQ(Find(l.pages[0], "Página 1 de 1").size(), 1u);
    EXPECT_EQ(Find(l.pages[0], "Sin datos").size(), 1u);
    // A report with rows does not carry the notice.
    ReportLayout full = Lay(AccountText("4300000001", "CLIENTE", 3));
    EXPECT_TRUE(Find(full.pages[0], "Sin datos").empty());
}

class PrintReportTest : public ::testing::Test {
  protected:
    void Print(std::int32_t destination, const std::string& text) {
        std::int32_t one = 1;
        lib.PrintReport(destination, "Informe de punteo de extractos", text, "23/11/26", kColumns,
                        "5,0,0,0,3", "", "EMPRESA DEMO", one, "");
    }
    ScriptedPort port;
    QvLibrary lib{port};
    testing::TempDir dir;
    std::string sample = AccountText("4300000001", "CLIENTE; \"UNO\"", 3);
};

TEST_F(PrintReportTest, ScreenAndPrinterGoToThePort) {
    Print(kReportToScreen, sample);
    Print(kReportToPrinter, sample);
    Print(42, sample);
    ASSERT_EQ(port.reports.size(), 3u);
    EXPECT_EQ(port.reports[0].second, ReportScreenTarget::Preview);
    EXPECT_EQ(port.reports[1].second, ReportScreenTarget::Printer);
    EXPECT_EQ(port.reports[2].second, ReportScreenTarget::Preview);
    const ReportRequest& r = port.reports[0].first;
    EXPECT_EQ(r.title, "Informe de punteo de extractos");
    EXPECT_EQ(r.text, sample);
    EXPECT_EQ(r.date, "23/11/26");
    EXPECT_EQ(r.columns, kColumns);
    EXPECT_EQ(r.alignments, "5,0,0,0,3");
    EXPECT_EQ(r.companyName, "EMPRESA DEMO");
}

TEST_F(PrintReportTest, FileDestinationsAskForAPathAndAddTheEnding) {
    port.QueueSaveFile(dir.file("informe"));
    Print(kReportToText, sample);
    ASSERT_TRUE(std::filesystem::exists(dir.file("informe.txt")));
    std::string lf = ReadAll(dir.file("informe.txt"));
    EXPECT_EQ(lf.find('\r'), std::string::npos);
    // The readable form: the account's heading without its mark, and no TABs.
    EXPECT_NE(lf.find("\n4300000001 - CLIENTE"), std::string::npos) << lf;
    EXPECT_EQ(lf.find("_4300000001"), std::string::npos);
    EXPECT_EQ(lf.find('\t'), std::string::npos);

    port.QueueSaveFile("");  // cancelled: nothing written, nothing said
    const std::time_t before = std::time(nullptr);
    Print(kReportToPdf, sample);
    // The proposed name carries the day, so reports of other days are not overwritten.
    ASSERT_EQ(port.suggestedFileNames.size(), 2u);
    const std::string proposed = port.suggestedFileNames[1];
    EXPECT_TRUE(
        proposed == DatedReportFileName("Informe de punteo de extractos", kReportToPdf, before) ||
        proposed ==
            DatedReportFileName("Informe de punteo de extractos", kReportToPdf, std::time(nullptr)))
        << proposed;
    EXPECT_EQ(port.suggestedFileNames[0].substr(port.suggestedFileNames[0].size() - 4), ".txt");
    EXPECT_FALSE(std::filesystem::exists(dir.file("Informe de punteo de extractos.pdf")));
    EXPECT_TRUE(port.messages.empty());
    EXPECT_TRUE(port.AllAnswersUsed());
}

TEST(ReportFileName, TitleAndTheLocalDayWithTheFormatsEnding) {
    std::tm day{};
    day.tm_year = 2026 - 1900;
    day.tm_mon = 0;
    day.tm_mday = 5;
    day.tm_hour = 12;
    day.tm_isdst = -1;
    const std::time_t noon = std::mktime(&day);
    EXPECT_EQ(DatedReportFileName("Informe de punteo de extractos", kReportToPdf, noon),
              "Informe de punteo de extractos 2026-01-05.pdf");
    EXPECT_EQ(DatedReportFileName("Informe", kReportToSpreadsheet, noon),
              "Informe 2026-01-05.xlsx");
    EXPECT_EQ(DatedReportFileName("Informe", kReportToCsv, noon), "Informe 2026-01-05.csv");
}

TEST_F(PrintReportTest, AnUnwritablePathIsReportedAndLeavesNothing) {
    const std::string bad = dir.file("no/such/folder/x.pdf");
    port.QueueSaveFile(bad);
    Print(kReportToPdf, sample);
    ASSERT_EQ(port.messages.size(), 1u);
    EXPECT_NE(port.messages[0].text.find(bad), std::string::npos);

    // A failed write keeps an earlier file of the same name whole.
    const std::string earlier = dir.file("keep.xlsx");
    std::ofstream(earlier) << "old";
    // A folder with something in it where the part file goes: it cannot be created.
    std::filesystem::create_directory(dir.file(".keep.xlsx.part.xlsx"));
    std::ofstream(dir.file(".keep.xlsx.part.xlsx/x")) << "x";
    port.QueueSaveFile(earlier);
    Print(kReportToSpreadsheet, sample);
    EXPECT_EQ(port.messages.size(), 2u);
    EXPECT_EQ(ReadAll(earlier), "old");
}

TEST_F(PrintReportTest, PathsAreResolvedAndRefusedInSpanishWithTheReason) {
    ReportRequest request{kReportToText, "Informe",   sample,        "23/11/26",
                          kColumns,      "5,0,0,0,3", "EMPRESA DEMO"};
    // Where the caller names the file no ending is added.
    WriteReportFile(request, kReportToCsv, dir.file("a"));
    EXPECT_TRUE(std::filesystem::exists(dir.file("a")));
    // A part file that a killed write left is replaced, and none stays.
    std::ofstream(dir.file(".viejo.txt.part.txt")) << "a medias";
    WriteReportFile(request, kReportToText, dir.file("viejo.txt"));
    EXPECT_FALSE(std::filesystem::exists(dir.file(".viejo.txt.part.txt")));
    EXPECT_NE(ReadAll(dir.file("viejo.txt")).find("4300000001"), std::string::npos);

    // Written through a symbolic link to its target: the link stays a link.
    std::filesystem::create_directory(dir.file("informes"));
    std::filesystem::create_symlink("informes/real.txt", dir.file("enlace.txt"));
    WriteReportFile(request, kReportToText, dir.file("enlace.txt"));
    EXPECT_TRUE(std::filesystem::is_symlink(dir.file("enlace.txt")));
    EXPECT_NE(ReadAll(dir.file("informes/real.txt")).find("4300000001"), std::string::npos);

    auto reason = [&](const std::string& path) {
        try {
            WriteReportFile(request, kReportToText, path);
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
        return std::string("(escrito)");
    };
    EXPECT_EQ(reason(dir.file("no/such/r.txt")),
              "no se puede escribir " + dir.file("no/such/r.txt") + ": la carpeta no existe");
    EXPECT_EQ(reason(dir.file("informes")),
              "no se puede escribir " + dir.file("informes") + ": es una carpeta, no un archivo");
    std::ofstream(dir.file("fichero")) << "x";
    EXPECT_EQ(reason(dir.file("fichero/r.txt")), "no se puede escribir " +
                                                     dir.file("fichero/r.txt") +
                                                     ": una parte de la ruta no es una carpeta");
    // Nothing but the reports themselves is left in the folders.
    std::vector<std::string> left;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir.path()))
        if (e.path().string().find(".part") != std::string::npos) left.push_back(e.path());
    EXPECT_TRUE(left.empty()) << left.front();
}

TEST_F(PrintReportTest, CsvHasTheReportColumnsAndNumericAmounts) {
    port.QueueSaveFile(dir.file("r.csv"));
    Print(kReportToCsv, sample);
    std::string csv = ReadAll(dir.file("r.csv"));
    ASSERT_EQ(csv.substr(0, 3), "\xEF\xBB\xBF");
    const std::vector<std::string> lines = Lines(csv.substr(3));
    // Without criteria (the host's own arguments) the table stands alone.
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines[0], "Fecha;Asiento;Descripción;Referencia;Importe");
    EXPECT_EQ(lines[1], "\"4300000001 - CLIENTE; \"\"UNO\"\"\";;;;");
    EXPECT_EQ(lines[2], "15/01/25;1;Fra. 1 cliente señor;;99,95");
    EXPECT_EQ(lines[4], "15/01/25;3;Fra. 3 cliente señor;;-3703,50");
    EXPECT_EQ(lines[5], "Referencia: RF-12;;;;");
    EXPECT_EQ(lines[8], ";;Saldo;0,00;");
    EXPECT_EQ(lines[9], ";;Total;;-3403,65");
}

TEST_F(PrintReportTest, SpreadsheetHasNumericAmountAndDateCells) {
    if (!Have("unzip")) GTEST_SKIP() << "unzip is needed to read the workbook";
    port.QueueSaveFile(dir.file("r.xlsx"));
    Print(kReportToSpreadsheet, sample);
    ASSERT_TRUE(port.messages.empty());
    std::string sheet = Unzipped(dir.file("r.xlsx"));
    // Amounts are numbers (no t="..."), dates are serial numbers with a date format; texts are
    // written in their cells (rows go to disc as they come).
    EXPECT_NE(sheet.find("<v>99.95</v>"), std::string::npos) << sheet;
    EXPECT_NE(sheet.find("<v>-3703.5</v>"), std::string::npos);
    EXPECT_NE(sheet.find("<v>45672</v>"), std::string::npos);  // 15/01/2025
    EXPECT_NE(sheet.find("t=\"inlineStr\"><is><t>Descripción</t>"), std::string::npos);
    EXPECT_NE(sheet.find("<t>Saldo según último balance</t>"), std::string::npos);
    EXPECT_EQ(sheet.find("t=\"s\""), std::string::npos);
}

TEST_F(PrintReportTest, SpreadsheetColumnsAreAsWideAsTheirCharacters) {
    if (!Have("unzip")) GTEST_SKIP() << "unzip is needed to read the workbook";
    auto descriptionWidth = [&](const std::string& description) {
        const std::string file = dir.file("w" + std::to_string(description.size()) + ".xlsx");
        port.QueueSaveFile(file);
        Print(kReportToSpreadsheet,
              "_4300000001 - C\r\n" + Entry("15/01/25", "1", description, "", 5));
        std::string sheet = Unzipped(file);
        std::size_t col = sheet.find("<col min=\"3\" max=\"3\"");
        if (col == std::string::npos) return std::string("?");
        std::size_t w = sheet.find("width=\"", col);
        return sheet.substr(w, sheet.find('"', w + 7) - w);
    };
    std::string accented, ascii;
    for (int i = 0; i < 14; ++i) {
        accented += i % 2 ? "€𝄞" : "ñé";
        ascii += "ab";
    }
    EXPECT_EQ(descriptionWidth(accented), descriptionWidth(ascii));
    EXPECT_NE(descriptionWidth(ascii + ascii), descriptionWidth(ascii));
}

// The users run the window under Spanish settings, where the C library writes "," in numbers:
// every file comes out as it does without them.
TEST_F(PrintReportTest, FilesAreTheSameUnderTheUsersSpanishSettings) {
    const std::string text = sample + AccountText("4300000002", "CLIENTE DOS", 30);
    auto write = [&](std::int32_t destination, const std::string& path) {
        port.QueueSaveFile(path);
        Print(destination, text);
        EXPECT_TRUE(port.messages.empty()) << path;
    };
    const std::pair<std::int32_t, const char*> kinds[] = {{kReportToCsv, "csv"},
                                                          {kReportToText, "txt"},
                                                          {kReportToPdf, "pdf"},
                                                          {kReportToSpreadsheet, "xlsx"}};
    for (const auto& [destination, ending] : kinds)
        write(destination, dir.file(std::string("plain.") + ending));
    {
        testing::SpanishLocale spanish;
        ASSERT_TRUE(spanish.active()) << testing::kSpanishLocale << " is missing here";
        for (const auto& [destination, ending] : kinds)
            write(destination, dir.file(std::string("spanish.") + ending));
    }
    // Where two files part, with a little of each (whole files are too long to print).
    auto same = [](const std::string& a, const std::string& b) -> ::testing::AssertionResult {
        if (a == b) return ::testing::AssertionSuccess();
        std::size_t i = 0;
        while (i < a.size() && i < b.size() && a[i] == b[i])
            ++i;
        const std::size_t from = i < 30 ? 0 : i - 30;
        return ::testing::AssertionFailure() << "byte " << i << ": \"" << a.substr(from, 60)
                                             << "\" / \"" << b.substr(from, 60) << "\"";
    };
    for (const char* ending : {"csv", "txt", "pdf"})
        EXPECT_TRUE(same(ReadAll(dir.file(std::string("spanish.") + ending)),
                         ReadAll(dir.file(std::string("plain.") + ending))))
            << ending;
    if (!Have("unzip")) GTEST_SKIP() << "unzip is needed to read the workbook";
    for (const char* part : {"xl/worksheets/sheet1.xml", "xl/styles.xml"}) {
        EXPECT_TRUE(
            same(Unzipped(dir.file("spanish.xlsx"), part), Unzipped(dir.file("plain.xlsx"), part)))
            << part;
    }
}

TEST(CompanyHeading, FullNameShortNameAndYearAsFarAsKnown) {
    ReportRequest r = Request("");
    EXPECT_EQ(CompanyHeading(r), "EMPRESA DEMO");
    r.fiscalYear = "2025";
    EXPECT_EQ(CompanyHeading(r), "EMPRESA DEMO - Ejercicio 2025");
    r.companyFullName = "  Comercial Demo, S.L. ";
    EXPECT_EQ(CompanyHeading(r), "Comercial Demo, S.L. (EMPRESA DEMO) - Ejercicio 2025");
    r.companyName = "Comercial Demo, S.L.";
    r.fiscalYear.clear();
    EXPECT_EQ(CompanyHeading(r), "Comercial Demo, S.L.");
    r.companyName.clear();
    r.companyFullName.clear();
    r.fiscalYear = "2024";
    EXPECT_EQ(CompanyHeading(r), "Ejercicio 2024");
}

TEST(ReportTableRows, EveryEntryKnowsItsAccountAndGroup) {
    const ParsedReport p = ParseReport(Request(AccountText("4300000001", "CLIENTE - UNO", 2) +
                                               AccountText("4300000002", "OTRO", 1)));
    const std::vector<ReportTableRow> rows = ReportTableRows(p);
    // Two open entries and two grouped ones, then one and two: summaries are not rows.
    ASSERT_EQ(rows.size(), 7u);
    EXPECT_EQ(rows[0].account, "4300000001");
    EXPECT_EQ(rows[0].accountName, "CLIENTE - UNO");  // only the first dash parts code and name
    EXPECT_EQ(rows[0].group, "");
    EXPECT_EQ(rows[2].group, "RF-12");
    EXPECT_EQ(rows[3].group, "RF-12");
    EXPECT_EQ(rows[3].line->cells[2], "Abono");
    EXPECT_EQ(rows[4].account, "4300000002");
    EXPECT_EQ(rows[4].accountName, "OTRO");
    EXPECT_EQ(rows[4].group, "");  // a new account leaves the group behind
    // An open entry after a group's balance line is not in the group.
    const ParsedReport after = ParseReport(
        Request("_1 - A\r\n\r\n*Referencia: X\r\n" + Entry("01/01/25", "1", "a", "X", 5) +
                "\t\tSaldo\t5,00\r\n\r\n" + Entry("02/01/25", "2", "b", "", 3)));
    const std::vector<ReportTableRow> two = ReportTableRows(after);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0].group, "X");
    EXPECT_EQ(two[1].group, "");
    // Row by row as the text is parsed, the same rows.
    const ReportRequest request = Request(AccountText("4300000001", "CLIENTE - UNO", 2) +
                                          AccountText("4300000002", "OTRO", 1));
    std::vector<std::string> streamed;
    ForEachReportTableRow(request, 5, [&](const ReportTableRow& r) {
        streamed.push_back(r.account + "|" + r.accountName + "|" + r.group + "|" +
                           r.line->cells[1] + "|" + r.line->cells[4]);
    });
    std::vector<std::string> held;
    for (const ReportTableRow& r : rows)
        held.push_back(r.account + "|" + r.accountName + "|" + r.group + "|" + r.line->cells[1] +
                       "|" + r.line->cells[4]);
    EXPECT_EQ(streamed, held);
}

TEST(ReadableText, ColumnsHeadingsCriteriaAndTotalsWithoutMarkers) {
    const std::string text = ReadableReportText(FullRequest(
        AccountText("4300000001", "CLIENTE ÑANDÚ", 12) + AccountText("4300000002", "OTRO", 2)));
    EXPECT_EQ(text.find('\t'), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
    const std::vector<std::string> lines = Lines(text);
    for (const std::string& l : lines) {
        EXPECT_FALSE(!l.empty() && (l[0] == '_' || l[0] == '*')) << l;
        EXPECT_TRUE(l.empty() || l.back() != ' ') << "trailing blanks: " << l;
    }
    EXPECT_EQ(lines[0].rfind("Informe de punteo de extractos", 0), 0u);
    EXPECT_EQ(lines[0].substr(lines[0].size() - 15), "Fecha: 23/11/26");
    EXPECT_EQ(lines[1], "Comercial Demo, S.L. (EMPRESA DEMO) - Ejercicio 2025");
    const std::size_t criteria = IndexOf(lines, "Criterios de selección");
    ASSERT_LT(criteria, lines.size());
    EXPECT_EQ(lines[criteria + 1], "  Cuentas:              desde 4300000001 hasta 4309999999");
    EXPECT_EQ(lines[criteria + 3], "  Apuntes de apertura:  no incluidos");
    // Every line that carries an amount ends it in the same place: the amount column's edge.
    const std::size_t header = IndexOf(lines, "Fecha ");
    ASSERT_LT(header, lines.size());
    const std::size_t edge = Utf8Length(lines[header]);
    EXPECT_EQ(lines[header].substr(lines[header].size() - 7), "Importe");
    std::size_t amounts = 0;
    for (std::size_t i = header; i < lines.size(); ++i)
        if (const std::string& l = lines[i]; ReportAmount(l.substr(l.rfind(' ') + 1)) &&
                                             l.find("Cuentas listadas") == std::string::npos) {
            EXPECT_EQ(Utf8Length(l), edge) << l;
            ++amounts;
        }
    EXPECT_GT(amounts, 20u);
    EXPECT_NE(text.find("\n15/01/25       12  Fra. 12 cliente señor"), std::string::npos) << text;
    EXPECT_NE(text.find("\n4300000002 - OTRO\nFecha"), std::string::npos);
    EXPECT_NE(text.find("\n  Referencia: RF-12\n"), std::string::npos);
    // The closing block: the count, then the three sums, each amount at the column's edge.
    const std::size_t totals = IndexOf(lines, "Totales del informe");
    ASSERT_EQ(totals + 5, lines.size());
    EXPECT_EQ(lines[totals + 1].substr(lines[totals + 1].size() - 2), " 2");
    EXPECT_EQ(Utf8Length(lines[totals + 2]), edge);
    EXPECT_EQ(lines[totals + 2].substr(lines[totals + 2].size() - 9), "-1.234,50");
    EXPECT_NE(lines[totals + 3].find("Saldo según último balance"), std::string::npos);
    EXPECT_EQ(lines[totals + 4].substr(lines[totals + 4].size() - 9), "-2.234,50");
}

TEST(ReadableText, LongDescriptionsAreCutAndAnEmptyReportSaysSo) {
    const std::string text = ReadableReportText(
        FullRequest("_1 - A\r\n" + Entry("01/01/25", "1", std::string(80, 'x') + "ñ", "", 5)));
    EXPECT_NE(text.find(std::string(39, 'x') + "\xE2\x80\xA6  "), std::string::npos) << text;
    EXPECT_EQ(text.find(std::string(41, 'x')), std::string::npos);
    const std::string empty = ReadableReportText(FullRequest(""));
    EXPECT_NE(empty.find("\nSin datos\n"), std::string::npos);
    EXPECT_EQ(empty.find("Totales del informe"), std::string::npos);
    EXPECT_NE(empty.find("Criterios de selección"), std::string::npos);
}

TEST_F(LayoutTest, CriteriaOnTheFirstPageAndTotalsAtTheEnd) {
    std::string text;
    for (int a = 0; a < 4; ++a)
        text += AccountText("43000000" + std::to_string(10 + a), "CLIENTE", 30);
    const ReportLayout l = LayoutReport(FullRequest(text), ReportPageSize{}, ApproximateTextWidth);
    ASSERT_GE(l.pages.size(), 2u);
    EXPECT_EQ(Find(l.pages[0], "Criterios de selección").size(), 1u);
    EXPECT_EQ(Find(l.pages[0], "desde 4300000001 hasta 4309999999").size(), 1u);
    EXPECT_TRUE(Find(l.pages[1], "Criterios de selección").empty());
    for (const LaidPage& p : l.pages)
        EXPECT_EQ(Find(p, "Comercial Demo, S.L. (EMPRESA DEMO) - Ejercicio 2025").size(), 1u);
    const LaidPage& last = l.pages.back();
    ASSERT_EQ(Find(last, "Totales del informe").size(), 1u);
    const auto difference = Find(last, "-2.234,50");
    ASSERT_EQ(difference.size(), 1u);
    EXPECT_GT(difference[0]->y, Find(last, "Totales del informe")[0]->y);
    EXPECT_NEAR(difference[0]->x + difference[0]->width, l.columnX[4] + l.columnWidth[4], 0.01);
    for (const LaidPage& p : l.pages)
        for (const LaidText& t : p.texts)
            EXPECT_DOUBLE_EQ(t.width, ApproximateTextWidth(t.text, t.style, t.size)) << t.text;
}

// However the lines fall, an account's three closing lines share a page.
TEST_F(LayoutTest, AnAccountsClosingLinesStayTogether) {
    std::size_t split = 0;
    for (int entries = 40; entries < 110; ++entries) {
        const ReportLayout l = Lay(AccountText("4300000001", "CLIENTE", entries));
        for (std::size_t p = 0; p < l.pages.size(); ++p) {
            const bool total = !Find(l.pages[p], "Total").empty();
            const bool balance = !Find(l.pages[p], "Saldo según último balance").empty();
            const bool difference = !Find(l.pages[p], "Diferencia").empty();
            EXPECT_EQ(total, difference) << entries << " entries, page " << p + 1;
            EXPECT_EQ(balance, difference) << entries << " entries, page " << p + 1;
            // A page that opens with the closing lines still shows whose they are.
            if (difference && p > 0 && Find(l.pages[p], "15/01/25").empty()) {
                ++split;
                bool continued = false;
                for (const LaidText& t : l.pages[p].texts)
                    continued |= t.text.find("(continuación)") != std::string::npos;
                EXPECT_TRUE(continued) << entries;
            }
        }
    }
    // Some lengths did push the closing lines over, or the test proved nothing.
    EXPECT_GT(split, 0u);
}

// Page by page, each page numbered as it is made, the pages are those of the whole layout:
// lengths around a page's end move an account's closing lines and the totals to the next page.
TEST_F(LayoutTest, PageByPageGivesTheWholeLayoutsPages) {
    for (int entries : {20, 47, 48, 49, 50, 61}) {
        SCOPED_TRACE(std::to_string(entries) + " entries");
        std::string text;
        for (int a = 0; a < 5; ++a)
            text += AccountText("43000000" + std::to_string(10 + a), "CLIENTE", entries + a);
        const ReportRequest request = FullRequest(text);
        const ReportLayout whole = LayoutReport(request, ReportPageSize{}, ApproximateTextWidth);
        std::size_t seen = 0;
        const std::size_t count = ForEachReportPage(
            request, ReportPageSize{}, ApproximateTextWidth,
            [&](const ReportLayout& frame, LaidPage&& page) {
                EXPECT_TRUE(frame.pages.empty());
                EXPECT_EQ(frame.columnX, whole.columnX);
                EXPECT_EQ(frame.columnWidth, whole.columnWidth);
                ASSERT_LT(seen, whole.pages.size());
                const LaidPage& expected = whole.pages[seen++];
                ASSERT_EQ(page.texts.size(), expected.texts.size()) << "page " << seen;
                for (std::size_t i = 0; i < page.texts.size(); ++i) {
                    const LaidText& a = page.texts[i];
                    const LaidText& b = expected.texts[i];
                    EXPECT_EQ(a.text, b.text) << "page " << seen;
                    EXPECT_EQ(a.x, b.x) << a.text;
                    EXPECT_EQ(a.y, b.y) << a.text;
                    EXPECT_EQ(a.style, b.style) << a.text;
                }
                ASSERT_EQ(page.rules.size(), expected.rules.size()) << "page " << seen;
                for (std::size_t i = 0; i < page.rules.size(); ++i)
                    EXPECT_EQ(page.rules[i].y1, expected.rules[i].y1) << "page " << seen;
                EXPECT_EQ(Find(page, "Página " + std::to_string(seen) + " de " +
                                         std::to_string(whole.pages.size()))
                              .size(),
                          1u);
            });
        EXPECT_EQ(count, whole.pages.size());
        EXPECT_EQ(seen, whole.pages.size());
        EXPECT_GE(count, 3u);
    }
    // Nothing to list: one page that says so.
    std::vector<std::string> texts;
    EXPECT_EQ(ForEachReportPage(FullRequest(""), ReportPageSize{}, ApproximateTextWidth,
                                [&](const ReportLayout&, LaidPage&& page) {
                                    for (const LaidText& t : page.texts)
                                        texts.push_back(t.text);
                                }),
              1u);
    EXPECT_NE(std::find(texts.begin(), texts.end(), "Sin datos"), texts.end());
    EXPECT_NE(std::find(texts.begin(), texts.end(), "Página 1 de 1"), texts.end());
}

TEST_F(PrintReportTest, CsvTableHasOneFilterableRowPerEntry) {
    const std::string path = dir.file("t.csv");
    WriteReportFile(FullRequest(sample + AccountText("4300000002", "OTRO", 1), kReportToCsvTable),
                    kReportToCsvTable, path);
    const std::vector<std::string> lines = Lines(ReadAll(path).substr(3));
    const std::size_t header = IndexOf(lines, "Cuenta;");
    ASSERT_LT(header, lines.size());
    EXPECT_EQ(lines[header],
              "Cuenta;Nombre de la cuenta;Grupo;Fecha;Asiento;Descripción;Referencia;Importe");
    // Heading and criteria come first, an empty row before the table.
    EXPECT_EQ(lines[0], "Informe de punteo de extractos;;;;;;;");
    EXPECT_LT(IndexOf(lines, "Cuentas;desde 4300000001 hasta 4309999999"), header);
    EXPECT_EQ(lines[header - 1], ";;;;;;;");
    EXPECT_EQ(lines[header + 1],
              "4300000001;\"CLIENTE; \"\"UNO\"\"\";;15/01/2025;1;Fra. 1 cliente señor;;99,95");
    EXPECT_EQ(lines[header + 3],
              "4300000001;\"CLIENTE; \"\"UNO\"\"\";;15/01/2025;3;Fra. 3 cliente señor;;-3703,50");
    EXPECT_EQ(lines[header + 4],
              "4300000001;\"CLIENTE; \"\"UNO\"\"\";RF-12;01/02/2025;40;Cobro;RF-12;50,00");
    EXPECT_EQ(lines[header + 6], "4300000002;OTRO;;15/01/2025;1;Fra. 1 cliente señor;;99,95");
    // Every table row has all its cells; an empty row ends the table, the totals follow.
    std::size_t r = header + 1;
    for (; r < lines.size() && lines[r] != ";;;;;;;"; ++r)
        EXPECT_EQ(std::count(lines[r].begin(), lines[r].end(), ';') -
                      (lines[r].find("\"\"UNO") != std::string::npos ? 1 : 0),
                  7)
            << lines[r];
    EXPECT_EQ(r, header + 9);
    EXPECT_EQ(lines[r + 1], "Totales del informe;;;;;;;");
    EXPECT_EQ(lines[r + 2], "Cuentas listadas;;;;;;;2");
    EXPECT_EQ(lines[r + 3], "Total;;;;;;;-1234,50");
}

TEST_F(PrintReportTest, SpreadsheetTableHasRealDatesNumbersAndASheetOfCriteria) {
    if (!Have("unzip")) GTEST_SKIP() << "unzip is needed to read the workbook";
    const std::string path = dir.file("t.xlsx");
    WriteReportFile(FullRequest(sample, kReportToSpreadsheetTable), kReportToSpreadsheetTable,
                    path);
    const std::string sheet = Unzipped(path);
    const std::string second = Unzipped(path, "xl/worksheets/sheet2.xml");
    const std::string book = Unzipped(path, "xl/workbook.xml");
    EXPECT_NE(book.find("name=\"Apuntes\""), std::string::npos) << book;
    EXPECT_NE(book.find("name=\"Criterios y totales\""), std::string::npos);
    // The titles on row 1 and a filter over the table: titles, five entries.
    EXPECT_NE(sheet.find("<autoFilter ref=\"A1:H6\""), std::string::npos) << sheet;
    // Row 2: the account as text, the date as a serial number, the entry number and the amount
    // as numbers.
    const std::size_t row2 = sheet.find("<row r=\"2\"");
    ASSERT_NE(row2, std::string::npos);
    const std::string second_row = sheet.substr(row2, sheet.find("</row>", row2) - row2);
    EXPECT_NE(second_row.find("<c r=\"A2\""), std::string::npos);
    EXPECT_NE(second_row.find("t=\"inlineStr\"><is><t>4300000001</t>"), std::string::npos);
    EXPECT_NE(second_row.find("<c r=\"D2\" s=\""), std::string::npos);
    EXPECT_NE(second_row.find("<v>45672</v>"), std::string::npos) << second_row;  // 15/01/2025
    const std::size_t e2 = second_row.find("<c r=\"E2\"");
    ASSERT_NE(e2, std::string::npos);
    EXPECT_EQ(second_row.substr(e2, second_row.find("</c>", e2) - e2).find("t=\""),
              std::string::npos);
    EXPECT_NE(second_row.find("<v>99.95</v>"), std::string::npos);
    EXPECT_NE(sheet.find("<t>RF-12</t>"), std::string::npos);
    EXPECT_NE(second.find("<t>Criterios de selección</t>"), std::string::npos);
    EXPECT_NE(second.find("<v>-1234.5</v>"), std::string::npos) << second;
    EXPECT_NE(second.find("<v>2</v>"), std::string::npos);
}

TEST_F(PrintReportTest, TheRequestsHeadingAndTotalsReachEveryFile) {
    const std::string text = sample;
    const std::pair<std::int32_t, const char*> kinds[] = {
        {kReportToCsv, "csv"}, {kReportToText, "txt"}, {kReportToPdf, "pdf"}};
    for (const auto& [destination, ending] : kinds) {
        const std::string path = dir.file(std::string("h.") + ending);
        port.QueueSaveFile(path);
        const ReportOutcome outcome = lib.PrintReport(FullRequest(text, destination));
        ASSERT_EQ(outcome.file, path);
        std::string got = ReadAll(path);
        if (destination == kReportToPdf) {
            if (!Have("pdftotext")) continue;
            got = Capture("pdftotext -layout '" + path + "' -");
        }
        EXPECT_NE(got.find("Comercial Demo, S.L. (EMPRESA DEMO) - Ejercicio 2025"),
                  std::string::npos)
            << ending;
        EXPECT_NE(got.find("Criterios de selección"), std::string::npos) << ending;
        EXPECT_NE(got.find("del 01/01/25 al 31/12/25"), std::string::npos) << ending;
        EXPECT_NE(got.find("Totales del informe"), std::string::npos) << ending;
        EXPECT_NE(got.find("Cuentas listadas"), std::string::npos) << ending;
    }
}

}  // namespace
}  // namespace pendara
