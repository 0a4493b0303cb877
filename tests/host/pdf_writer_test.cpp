#include "host/pdf_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/numbers.h"
#include "support/pdf_reader.h"
#include "support/spanish_locale.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

using testing::PdfFileView;

TEST(PdfNumbers, FiveDecimalsWithoutTrailingZerosOrExponent) {
    EXPECT_EQ(PdfDecimal(59528000), "595.28");
    EXPECT_EQ(PdfDecimal(3600000), "36");
    EXPECT_EQ(PdfDecimal(-50000), "-0.5");
    EXPECT_EQ(PdfDecimal(0), "0");
    EXPECT_EQ(PdfDecimal(1), "0.00001");
    EXPECT_EQ(PdfDecimal(-1), "-0.00001");
    EXPECT_EQ(PdfDecimal(1000), "0.01");
    EXPECT_EQ(PdfDecimal(101000), "1.01");
    EXPECT_EQ(PdfDecimal(-12345678901234), "-123456789.01234");

    // Single precision, as readers keep positions: 559.28 is 559.280029...
    EXPECT_EQ(PdfNumber(559.28), "559.28003");
    EXPECT_EQ(PdfNumber(841.89), "841.89001");
    EXPECT_EQ(PdfNumber(0.3), "0.3");
    EXPECT_EQ(PdfNumber(36), "36");
    EXPECT_EQ(PdfNumber(-0.000004), "0");  // never "-0"
    EXPECT_EQ(PdfNumber(1e6), "1000000");
    EXPECT_EQ(PdfNumber(std::numeric_limits<double>::quiet_NaN()), "0");

    // The user's regional settings write "," in printf; a PDF needs ".".
    testing::SpanishLocale spanish;
    EXPECT_EQ(PdfNumber(12.5), "12.5");
}

TEST(PdfNumbers, StringsEscapeDelimitersAndEveryNonAsciiByte) {
    EXPECT_EQ(PdfString("Pago (parcial)"), "(Pago \\(parcial\\))");
    EXPECT_EQ(PdfString("C:\\tmp"), "(C:\\\\tmp)");
    EXPECT_EQ(PdfString("a)b("), "(a\\)b\\()");
    EXPECT_EQ(PdfString(""), "()");
    // WinAnsi bytes: n with tilde, the euro sign, the ellipsis; a tab and a delete.
    EXPECT_EQ(PdfString("A\xF1o \x80\x85"), "(A\\361o \\200\\205)");
    EXPECT_EQ(PdfString(std::string("\t\x7F\0", 3)), "(\\011\\177\\000)");
}

// The operators, line by line.
std::vector<std::string> Lines(const std::string& ops) {
    std::vector<std::string> lines;
    std::istringstream in(ops);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

TEST(PdfContent, StateIsWrittenOnlyWhenItChanges) {
    PdfContent c;
    c.LineWidth(0.5);
    c.Line(36, 800, 559.28, 800);
    c.LineWidth(0.5);
    c.Line(36, 700.25, 559.28, 700.25);
    c.LineWidth(1);
    c.Line(0, 0, 1, 1);
    c.BeginText();
    c.Font(0, 8);
    c.Text(36, 780, "a");
    c.Font(0, 8);
    c.Text(36, 770, "b");
    c.Font(1, 8);
    c.Text(40, 770, "c");
    c.Font(1, 9);
    c.EndText();
    EXPECT_EQ(Lines(c.Operators()),
              (std::vector<std::string>{"0.5 w", "36 800 m 559.28003 800 l S",
                                        "36 700.25 m 559.28003 700.25 l S", "1 w", "0 0 m 1 1 l S",
                                        "BT", "/F1 8 Tf", "36 780 Td (a) Tj", "0 -10 Td (b) Tj",
                                        "/F2 8 Tf", "4 0 Td (c) Tj", "/F2 9 Tf", "ET"}));

    // A new page starts from nothing: width and font are set again.
    c.Clear();
    EXPECT_TRUE(c.Operators().empty());
    c.LineWidth(1);
    c.BeginText();
    c.Font(1, 9);
    c.EndText();
    EXPECT_EQ(Lines(c.Operators()), (std::vector<std::string>{"1 w", "BT", "/F2 9 Tf", "ET"}));
}

// Td moves relative to the text before it; summed up as a reader sums them, the moves must land
// every text where it was asked, however many texts a page has and wherever the text objects
// begin: no drift beyond a hundredth of a point.
TEST(PdfContent, RelativeMovesAddUpToEveryPosition) {
    PdfContent c;
    std::vector<std::pair<double, double>> wanted;
    for (int block = 0; block < 3; ++block) {
        c.BeginText();
        for (int i = 0; i < 1200; ++i) {
            const double x = 36 + (i % 5) * 103.37 + block * 0.0007;
            const double y = 841.89 - 50 - (i % 400) * 1.9 - block / 3.0;
            c.Text(x, y, "x");
            wanted.emplace_back(x, y);
        }
        c.EndText();
    }
    std::size_t n = 0;
    double x = 0, y = 0;
    for (const std::string& line : Lines(c.Operators())) {
        if (line == "BT") x = y = 0;
        const std::size_t td = line.find(" Td ");
        if (td == std::string::npos) continue;
        const std::size_t blank = line.find(' ');
        x += ReadDecimal(line.substr(0, blank)).value_or(1e9);
        y += ReadDecimal(line.substr(blank + 1, td - blank - 1)).value_or(1e9);
        ASSERT_LT(n, wanted.size());
        EXPECT_NEAR(x, wanted[n].first, 0.01) << line;
        EXPECT_NEAR(y, wanted[n].second, 0.01) << line;
        ++n;
    }
    EXPECT_EQ(n, wanted.size());
}

// A document of several pages read back through its cross-reference table alone, as a viewer
// reads it.
TEST(PdfWriter, EveryObjectIsWhereTheCrossReferenceSays) {
    testing::TempDir dir;
    const std::string path = dir.file("doc.pdf");
    std::vector<std::string> operators;
    {
        PdfWriter pdf(path);
        EXPECT_EQ(pdf.AddFont("Helvetica"), 0);
        EXPECT_EQ(pdf.AddFont("Helvetica-Bold"), 1);
        PdfContent c;
        for (int p = 0; p < 23; ++p) {
            c.Clear();
            c.LineWidth(0.5);
            c.Line(36, 800, 559, 800);
            c.BeginText();
            c.Font(p % 2, 8);
            for (int i = 0; i < p * 7; ++i)
                c.Text(36 + i % 3, 780 - i,
                       "p\xE1gina " + std::to_string(p) + " (" + std::to_string(i) + ")");
            c.EndText();
            operators.push_back(c.Operators());
            pdf.AddPage(595.28, 841.89, c);
        }
        EXPECT_EQ(pdf.PageCount(), 23u);
        pdf.Finish("Informe (a\\b) \xF1", "Pendara");
    }

    const PdfFileView view = PdfFileView::Read(path);
    ASSERT_TRUE(view.error.empty()) << view.error;
    EXPECT_EQ(view.bytes.substr(0, 9), "%PDF-1.4\n");
    EXPECT_EQ(view.bytes.substr(view.bytes.size() - 6), "%%EOF\n");

    const std::string catalog = view.Object(view.TrailerRef("/Root"));
    EXPECT_NE(catalog.find("/Type /Catalog"), std::string::npos) << catalog;
    const int tree = testing::RefAfter(catalog, "/Pages");
    const std::string pages = view.Object(tree);
    EXPECT_NE(pages.find("/Count 23"), std::string::npos) << pages;

    const std::vector<int> kids = testing::RefsIn(pages, "/Kids");
    ASSERT_EQ(kids.size(), 23u);
    for (std::size_t p = 0; p < kids.size(); ++p) {
        const std::string page = view.Object(kids[p]);
        EXPECT_NE(page.find("/Type /Page "), std::string::npos) << page;
        EXPECT_EQ(testing::RefAfter(page, "/Parent"), tree);
        EXPECT_NE(page.find("/MediaBox [0 0 595.28003 841.89001]"), std::string::npos) << page;
        // Every font reached from every page is a standard font in WinAnsi encoding.
        const int f1 = testing::RefAfter(page, "/F1"), f2 = testing::RefAfter(page, "/F2");
        EXPECT_NE(view.Object(f1).find("/BaseFont /Helvetica "), std::string::npos);
        EXPECT_NE(view.Object(f2).find("/BaseFont /Helvetica-Bold "), std::string::npos);
        EXPECT_NE(view.Object(f2).find("/Encoding /WinAnsiEncoding"), std::string::npos);
        // The stream's declared length is its length, and it inflates to the page's operators.
        EXPECT_EQ(view.Stream(testing::RefAfter(page, "/Contents")), operators[p]) << p;
    }

    const std::string info = view.Object(view.TrailerRef("/Info"));
    EXPECT_NE(info.find("/Title (Informe \\(a\\\\b\\) \\361)"), std::string::npos) << info;
    EXPECT_NE(info.find("/Creator (Pendara)"), std::string::npos) << info;
}

TEST(PdfWriter, FailuresNameTheFileAndTheReason) {
    testing::TempDir dir;
    const std::string missing = dir.file("no/such/folder/x.pdf");
    try {
        PdfWriter pdf(missing);
        FAIL() << "a file in a missing folder was created";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "no se puede crear el archivo " + missing + ": la carpeta no existe");
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("no")));

    // A full disk: the writes go into the buffer and fail when it goes out, at the latest when
    // the document is finished.
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    try {
        PdfWriter pdf("/dev/full");
        pdf.AddFont("Helvetica");
        PdfContent c;
        c.BeginText();
        c.Font(0, 8);
        c.Text(1, 1, "x");
        c.EndText();
        pdf.AddPage(100, 100, c);
        pdf.Finish("t", "Pendara");
        FAIL() << "writing to a full disk did not fail";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()),
                  "no se pudo escribir el PDF /dev/full: no queda espacio en el disco");
    }
}

}  // namespace
}  // namespace pendara
