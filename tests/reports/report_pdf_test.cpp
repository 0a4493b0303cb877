// The report's PDF file as a reader finds it: its structure, its text as a PDF reader extracts
// it, its pages, and what a failed write leaves behind.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "host/conversions.h"
#include "host/report_output.h"
#include "support/pdf_reader.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

std::string Entry(const std::string& date, const std::string& entry, const std::string& desc,
                  const std::string& ref, double amount) {
    return date + "\t" + entry + "\t" + desc + "\t" + ref + "\t" + FormatAmount(amount) + "\r\n";
}

std::string Closing(double total) {
    return "\r\n\t\tTotal\t\t" + FormatAmount(total) + "\r\n\t\tSaldo según último balance\t\t" +
           FormatAmount(total) + "\r\n\t\tDiferencia\t\t" + FormatAmount(0) + "\r\n\r\n\r\n";
}

// `accounts` accounts of `entries` open entries each, with accents in every line.
std::string Accounts(int accounts, int entries) {
    std::string text;
    for (int a = 0; a < accounts; ++a) {
        text +=
            "_43000000" + std::to_string(10 + a) + " - CLIENTE ÑANDÚ " + std::to_string(a) + "\r\n";
        for (int e = 1; e <= entries; ++e)
            text += Entry("15/01/25", std::to_string(e), "Fra. " + std::to_string(e) + " señor", "",
                          99.95 * e);
        text += Closing(99.95 * entries * (entries + 1) / 2);
    }
    return text;
}

ReportRequest Request(const std::string& title, const std::string& text) {
    return ReportRequest{kReportToPdf,
                         title,
                         text,
                         "23/11/26",
                         "Fecha,Asiento,Descripción,Referencia,Importe",
                         "5,0,0,0,3",
                         "EMPRESA DEMO"};
}

using testing::ReadAll;

bool HavePdfToText() {
    return std::system("command -v pdftotext >/dev/null 2>&1") == 0;
}

std::string PdfText(const std::string& path) {
    return testing::RunCommand("pdftotext -layout -enc UTF-8 '" + path + "' -").out;
}

std::set<std::string> Names(const testing::TempDir& dir) {
    std::set<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir.path()))
        names.insert(e.path().filename().string());
    return names;
}

// The characters a PDF string has to escape, and those WinAnsi has above ASCII, come back as
// they were written.
TEST(ReportPdf, EscapedAndAccentedTextsReadBackAsWritten) {
    testing::TempDir dir;
    const std::string text = "_4300000001 - CLIENTE (NORTE) \\ SUR\r\n" +
                             Entry("15/01/25", "1", "Pago (parcial) C:\\fra\\12", "RF-(1)", 10.5) +
                             Entry("16/01/25", "2", "Año nº 5: 100 € ¿sí?", "", -3) +
                             Entry("17/01/25", "3", "((()))\\\\", "", 1) + Closing(8.5);
    const std::string path = dir.file("r.pdf");
    WriteReportFile(Request("Informe (copia) \\ ñ", text), kReportToPdf, path);

    const testing::PdfFileView view = testing::PdfFileView::Read(path);
    ASSERT_TRUE(view.error.empty()) << view.error;
    EXPECT_NE(view.Object(view.TrailerRef("/Info")).find("/Title (Informe \\(copia\\) \\\\ \\361)"),
              std::string::npos);

    if (!HavePdfToText()) GTEST_SKIP() << "pdftotext is needed to read the text back";
    const std::string got = PdfText(path);
    for (const char* expected : {"Informe (copia) \\ ñ", "4300000001 - CLIENTE (NORTE) \\ SUR",
                                 "Pago (parcial) C:\\fra\\12", "RF-(1)", "Año nº 5: 100 € ¿sí?",
                                 "((()))\\\\", "Saldo según último balance", "Descripción"})
        EXPECT_NE(got.find(expected), std::string::npos) << expected << "\n" << got;
}

// Every page of the layout is in the file, in the page tree and as a page of text, and says
// which of how many it is.
TEST(ReportPdf, EveryPageIsThereAndNumberedOfTheTotal) {
    testing::TempDir dir;
    const ReportRequest request = Request("Informe de punteo de extractos", Accounts(9, 45));
    const std::size_t pages = PrintLayout(request).pages.size();
    ASSERT_GT(pages, 4u);
    const std::string path = dir.file("r.pdf");
    WriteReportFile(request, kReportToPdf, path);

    const testing::PdfFileView view = testing::PdfFileView::Read(path);
    ASSERT_TRUE(view.error.empty()) << view.error;
    EXPECT_EQ(view.PageCount(), pages);
    const std::string tree =
        view.Object(testing::RefAfter(view.Object(view.TrailerRef("/Root")), "/Pages"));
    EXPECT_EQ(testing::RefsIn(tree, "/Kids").size(), pages);

    if (!HavePdfToText()) GTEST_SKIP() << "pdftotext is needed to read the text back";
    const std::string got = PdfText(path);
    EXPECT_EQ(static_cast<std::size_t>(std::count(got.begin(), got.end(), '\f')), pages);
    const std::string total = std::to_string(pages);
    std::size_t from = 0;
    for (std::size_t p = 1; p <= pages; ++p) {
        // In page order: each number after the one before.
        const std::size_t at = got.find("Página " + std::to_string(p) + " de " + total, from);
        ASSERT_NE(at, std::string::npos) << p;
        from = at;
    }
    EXPECT_EQ(got.find("Página " + std::to_string(pages + 1) + " de "), std::string::npos);
    EXPECT_NE(got.find("CLIENTE ÑANDÚ 8"), std::string::npos);
}

// A write that fails keeps the earlier report of that name whole and leaves nothing else.
TEST(ReportPdf, AFailedWriteLeavesTheEarlierFileAndNoPartFile) {
    testing::TempDir dir;
    const std::string path = dir.file("informe.pdf");
    std::ofstream(path) << "old";
    const ReportRequest request = Request("Informe de punteo de extractos", Accounts(20, 40));

    // The part file cannot even be created: a folder with something in it stands there.
    const std::string blocker = dir.file(".informe.pdf.part.pdf");
    std::filesystem::create_directory(blocker);
    std::ofstream(blocker + "/x") << "x";
    try {
        WriteReportFile(request, kReportToPdf, path);
        FAIL() << "the write did not fail";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "no se puede crear el archivo " + path + ": es una carpeta, no un archivo");
    }
    EXPECT_EQ(ReadAll(path), "old");
    std::filesystem::remove_all(blocker);
    EXPECT_EQ(Names(dir), std::set<std::string>{"informe.pdf"});

    // The disk takes the first pages and refuses the rest (a file size limit stands in for a
    // full disk).
    constexpr rlim_t kRoom = 8192;
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    struct rlimit small = saved;
    small.rlim_cur = kRoom;
    void (*previous)(int) = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string error;
    try {
        WriteReportFile(request, kReportToPdf, path);
    } catch (const std::runtime_error& e) {
        error = e.what();
    }
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(error, "no se pudo escribir el PDF " + path + ": el archivo es demasiado grande");
    EXPECT_EQ(ReadAll(path), "old");
    EXPECT_EQ(Names(dir), std::set<std::string>{"informe.pdf"});

    // With room, the same report replaces the earlier one.
    WriteReportFile(request, kReportToPdf, path);
    EXPECT_GT(std::filesystem::file_size(path), kRoom);
    EXPECT_TRUE(testing::PdfFileView::Read(path).error.empty());
    EXPECT_EQ(Names(dir), std::set<std::string>{"informe.pdf"});
}

}  // namespace
}  // namespace pendara
