#pragma once
// A PDF file written as it is made: every object goes to the disk as soon as it is complete and
// only its byte offset stays in memory, so that a report of tens of thousands of pages is never
// held whole. It knows the little the reports need: the standard Type 1 fonts in WinAnsi
// encoding (nothing embedded), pages with one deflated content stream each, the document's
// title and creator.
//
// Numbers are written without the C library, so that the file is the same under any locale;
// positions are single-precision values to five decimals, as readers keep them, so that a
// reader lays the texts out exactly as it did the files of the PDF library used before.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace pendara {

// `units` / 100000 in plain decimal notation, without trailing zeros: 59528000 -> "595.28",
// 3600000 -> "36", -50000 -> "-0.5".
std::string PdfDecimal(std::int64_t units);
// A length or coordinate in single precision, to five decimals, as PdfDecimal writes it:
// 559.28 -> "559.28003".
std::string PdfNumber(double value);
// A literal string of 8-bit bytes: "(" ... ")" with "\", "(" and ")" escaped and every byte
// outside printable ASCII written as a three-digit octal escape, so the file stays ASCII.
std::string PdfString(std::string_view bytes);

// The drawing operators of one page, in the PDF's own space: points, y upwards from the bottom
// edge. Line width and font are written only when they change; a text is placed relative to the
// one before, from where the reader's sums of the moves left it.
class PdfContent {
  public:
    void LineWidth(double width);
    void Line(double x1, double y1, double x2, double y2);
    void BeginText();
    // `font` is the index AddFont returned.
    void Font(int font, double size);
    // `bytes` in WinAnsi encoding; x, y the start of its baseline.
    void Text(double x, double y, std::string_view bytes);
    void EndText();

    const std::string& Operators() const { return ops_; }
    void Clear();

  private:
    std::string ops_;
    std::int64_t lineWidth_ = -1;
    int font_ = -1;
    std::int64_t fontSize_ = -1;
    float textX_ = 0, textY_ = 0;  // where the last Td left the line matrix
};

class PdfWriter {
  public:
    // Creates (or empties) the file and writes the header; throws std::runtime_error naming
    // `path` when it cannot.
    explicit PdfWriter(const std::string& path);
    ~PdfWriter();
    PdfWriter(const PdfWriter&) = delete;
    PdfWriter& operator=(const PdfWriter&) = delete;

    // One of the fourteen standard fonts ("Helvetica", "Helvetica-Bold", ...) in WinAnsi
    // encoding; every page can use every font added before it. Returns its index for
    // PdfContent::Font.
    int AddFont(std::string_view baseName);
    // Deflates the page's operators and writes them with the page.
    void AddPage(double width, double height, const PdfContent& content);
    std::size_t PageCount() const { return pages_.size(); }
    // The page tree, catalogue, document information, cross-reference table and trailer; then
    // the file is closed. `title` in WinAnsi encoding. Throws std::runtime_error naming the file
    // when any write failed (a full disk shows at the latest when the file is closed).
    void Finish(std::string_view title, std::string_view creator);

  private:
    int NewObject();
    void BeginObject(int number);
    void WriteObject(int number, std::string_view body);
    void Write(std::string_view bytes);
    [[noreturn]] void Fail(int error);

    struct FileCloser {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };

    std::string path_;
    std::unique_ptr<std::FILE, FileCloser> file_;
    std::uint64_t written_ = 0;
    std::vector<std::uint64_t> offsets_;  // per object number - 1
    std::vector<int> fonts_;              // object numbers
    std::vector<int> pages_;              // object numbers
    int catalog_ = 0;
    int pageTree_ = 0;
    std::string resources_;                // the font dictionary every page shares
    std::vector<unsigned char> deflated_;  // reused from page to page
};

}  // namespace pendara
