#include "host/pdf_writer.h"

#include <zlib.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "host/numbers.h"
#include "host/report_output.h"

namespace pendara {

std::string PdfDecimal(std::int64_t units) {
    const bool negative = units < 0;
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(units) : static_cast<std::uint64_t>(units);
    char buf[40];
    char* p = buf;
    if (negative) *p++ = '-';
    p = std::to_chars(p, buf + sizeof buf, magnitude / 100000).ptr;
    unsigned fraction = static_cast<unsigned>(magnitude % 100000);
    if (fraction != 0) {
        *p++ = '.';
        for (unsigned unit = 10000; unit > 0 && fraction > 0; unit /= 10) {
            *p++ = static_cast<char>('0' + fraction / unit);
            fraction %= unit;
        }
    }
    return std::string(buf, p);
}

namespace {

// Positions are kept in single precision, as PDF readers and printers keep them; a number is its
// single-precision value to five decimals.
std::int64_t Units(float value) {
    return std::isfinite(value) ? std::llround(static_cast<double>(value) * 100000.0) : 0;
}

}  // namespace

std::string PdfNumber(double value) {
    return PdfDecimal(Units(static_cast<float>(value)));
}

std::string PdfString(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + 2);
    out += '(';
    for (char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '\\' || c == '(' || c == ')') {
            out += '\\';
            out += ch;
        } else if (c < 0x20 || c >= 0x7F) {
            out += '\\';
            out += static_cast<char>('0' + (c >> 6));
            out += static_cast<char>('0' + ((c >> 3) & 7));
            out += static_cast<char>('0' + (c & 7));
        } else {
            out += ch;
        }
    }
    out += ')';
    return out;
}

// --- Page content -------------------------------------------------------------------------------

void PdfContent::LineWidth(double width) {
    const std::int64_t w = Units(static_cast<float>(width));
    if (w == lineWidth_) return;
    lineWidth_ = w;
    ops_ += PdfDecimal(w);
    ops_ += " w\n";
}

void PdfContent::Line(double x1, double y1, double x2, double y2) {
    ops_ += PdfNumber(x1);
    ops_ += ' ';
    ops_ += PdfNumber(y1);
    ops_ += " m ";
    ops_ += PdfNumber(x2);
    ops_ += ' ';
    ops_ += PdfNumber(y2);
    ops_ += " l S\n";
}

void PdfContent::BeginText() {
    ops_ += "BT\n";
    // Each text object starts from the identity matrix; the font is part of the graphics state
    // and stays.
    textX_ = textY_ = 0;
}

void PdfContent::Font(int font, double size) {
    const std::int64_t s = Units(static_cast<float>(size));
    if (font == font_ && s == fontSize_) return;
    font_ = font;
    fontSize_ = s;
    ops_ += "/F";
    ops_ += std::to_string(font + 1);
    ops_ += ' ';
    ops_ += PdfDecimal(s);
    ops_ += " Tf\n";
}

void PdfContent::Text(double x, double y, std::string_view bytes) {
    // Each move is from where the last one left the line matrix, computed as a reader adds it up.
    const float dx = static_cast<float>(x) - textX_, dy = static_cast<float>(y) - textY_;
    ops_ += PdfDecimal(Units(dx));
    ops_ += ' ';
    ops_ += PdfDecimal(Units(dy));
    ops_ += " Td ";
    ops_ += PdfString(bytes);
    ops_ += " Tj\n";
    textX_ += dx;
    textY_ += dy;
}

void PdfContent::EndText() {
    ops_ += "ET\n";
}

void PdfContent::Clear() {
    ops_.clear();
    lineWidth_ = -1;
    font_ = -1;
    fontSize_ = -1;
    textX_ = textY_ = 0;
}

// --- The file -----------------------------------------------------------------------------------

PdfWriter::PdfWriter(const std::string& path) : path_(path) {
    errno = 0;
    file_.reset(std::fopen(path.c_str(), "wb"));
    if (!file_)
        throw std::runtime_error("no se puede crear el archivo " + path + ": " +
                                 SystemReason(errno != 0 ? errno : EIO));
    std::setvbuf(file_.get(), nullptr, _IOFBF, 1 << 16);
    // The second line's bytes above 127 tell transfer programs that the file is binary.
    Write("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
    catalog_ = NewObject();
    pageTree_ = NewObject();
}

PdfWriter::~PdfWriter() = default;

int PdfWriter::NewObject() {
    offsets_.push_back(0);
    return static_cast<int>(offsets_.size());
}

void PdfWriter::BeginObject(int number) {
    offsets_[static_cast<std::size_t>(number) - 1] = written_;
    Write(std::to_string(number));
    Write(" 0 obj\n");
}

void PdfWriter::WriteObject(int number, std::string_view body) {
    BeginObject(number);
    Write(body);
    Write("\nendobj\n");
}

void PdfWriter::Write(std::string_view bytes) {
    if (!file_) Fail(EBADF);
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size())
        Fail(errno != 0 ? errno : EIO);
    written_ += bytes.size();
}

void PdfWriter::Fail(int error) {
    file_.reset();
    throw std::runtime_error("no se pudo escribir el PDF " + path_ + ": " + SystemReason(error));
}

int PdfWriter::AddFont(std::string_view baseName) {
    const int number = NewObject();
    WriteObject(number, "<< /Type /Font /Subtype /Type1 /BaseFont /" + std::string(baseName) +
                            " /Encoding /WinAnsiEncoding >>");
    fonts_.push_back(number);
    resources_ = "<< /Font <<";
    for (std::size_t i = 0; i < fonts_.size(); ++i)
        resources_ += " /F" + std::to_string(i + 1) + " " + std::to_string(fonts_[i]) + " 0 R";
    resources_ += " >> /ProcSet [/PDF /Text] >>";
    return static_cast<int>(fonts_.size()) - 1;
}

void PdfWriter::AddPage(double width, double height, const PdfContent& content) {
    const std::string& ops = content.Operators();
    uLongf size = compressBound(static_cast<uLong>(ops.size()));
    deflated_.resize(size);
    if (compress2(deflated_.data(), &size, reinterpret_cast<const Bytef*>(ops.data()),
                  static_cast<uLong>(ops.size()), Z_DEFAULT_COMPRESSION) != Z_OK)
        Fail(ENOMEM);

    const int contents = NewObject();
    BeginObject(contents);
    Write("<< /Length " + std::to_string(size) + " /Filter /FlateDecode >>\nstream\n");
    Write(std::string_view(reinterpret_cast<const char*>(deflated_.data()), size));
    Write("\nendstream\nendobj\n");

    const int page = NewObject();
    WriteObject(page, "<< /Type /Page /Parent " + std::to_string(pageTree_) +
                          " 0 R /MediaBox [0 0 " + PdfNumber(width) + " " + PdfNumber(height) +
                          "] /Resources " + resources_ + " /Contents " + std::to_string(contents) +
                          " 0 R >>");
    pages_.push_back(page);
}

void PdfWriter::Finish(std::string_view title, std::string_view creator) {
    // The page list is the one thing that grows with the document: written in pieces.
    BeginObject(pageTree_);
    Write("<< /Type /Pages /Kids [");
    std::string kids;
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        kids += (i % 10 == 0) ? "\n" : " ";
        kids += std::to_string(pages_[i]);
        kids += " 0 R";
        if (kids.size() > 4096) {
            Write(kids);
            kids.clear();
        }
    }
    Write(kids);
    Write("\n] /Count " + std::to_string(pages_.size()) + " >>\nendobj\n");

    WriteObject(catalog_, "<< /Type /Catalog /Pages " + std::to_string(pageTree_) + " 0 R >>");
    const int info = NewObject();
    WriteObject(info, "<< /Title " + PdfString(title) + " /Creator " + PdfString(creator) + " >>");

    // Cross-reference lines are exactly 20 bytes: offset, generation, kind, CR LF.
    const std::uint64_t xref = written_;
    Write("xref\n0 " + std::to_string(offsets_.size() + 1) + "\n0000000000 65535 f\r\n");
    std::string lines;
    for (std::uint64_t offset : offsets_) {
        lines += IntegerText(static_cast<long long>(offset), 10);
        lines += " 00000 n\r\n";
        if (lines.size() > 4096) {
            Write(lines);
            lines.clear();
        }
    }
    Write(lines);
    Write("trailer\n<< /Size " + std::to_string(offsets_.size() + 1) + " /Root " +
          std::to_string(catalog_) + " 0 R /Info " + std::to_string(info) + " 0 R >>\nstartxref\n" +
          std::to_string(xref) + "\n%%EOF\n");

    // A full disk may show only when the buffer goes out.
    errno = 0;
    if (std::fflush(file_.get()) != 0 || std::ferror(file_.get())) Fail(errno != 0 ? errno : EIO);
    errno = 0;
    if (std::fclose(file_.release()) != 0) Fail(errno != 0 ? errno : EIO);
}

}  // namespace pendara
