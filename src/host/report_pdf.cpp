// The report as a PDF file: the pages of LayoutReport drawn with the base-14 Helvetica fonts in
// WinAnsi encoding, so accented Spanish texts print without embedding a font. The PDF library
// serves only the fonts' widths; the file itself is written page by page (pdf_writer.h), so that
// a long report's pages are never all in memory.

#include <hpdf.h>

#include <memory>
#include <optional>

#include "host/pdf_writer.h"
#include "host/report_output.h"

namespace pendara {

namespace {

struct PdfError {
    HPDF_STATUS code = HPDF_OK;
    HPDF_STATUS detail = 0;
};

void OnPdfError(HPDF_STATUS code, HPDF_STATUS detail, void* user) {
    auto* e = static_cast<PdfError*>(user);
    if (e->code == HPDF_OK) {
        e->code = code;
        e->detail = detail;
    }
}

struct PdfDocDeleter {
    void operator()(_HPDF_Doc_Rec* doc) const { HPDF_Free(doc); }
};

class PdfFonts {
  public:
    explicit PdfFonts(HPDF_Doc doc)
        : regular_(HPDF_GetFont(doc, "Helvetica", "WinAnsiEncoding")),
          bold_(HPDF_GetFont(doc, "Helvetica-Bold", "WinAnsiEncoding")),
          italic_(HPDF_GetFont(doc, "Helvetica-Oblique", "WinAnsiEncoding")) {}

    HPDF_Font Get(ReportFontStyle s) const {
        return s == ReportFontStyle::Bold     ? bold_
               : s == ReportFontStyle::Italic ? italic_
                                              : regular_;
    }

    double Measure(const std::string& utf8, ReportFontStyle s, double size) const {
        std::string bytes = Utf8ToCp1252(utf8);
        HPDF_TextWidth tw =
            HPDF_Font_TextWidth(Get(s), reinterpret_cast<const HPDF_BYTE*>(bytes.data()),
                                static_cast<HPDF_UINT>(bytes.size()));
        return static_cast<double>(tw.width) * size / 1000.0;
    }

  private:
    HPDF_Font regular_, bold_, italic_;
};

// A document only for its fonts' widths, one per thread (the library is not shared between
// threads).
class MeasureDoc {
  public:
    MeasureDoc() : doc_(HPDF_New(OnPdfError, &error_)) {
        if (doc_) fonts_.emplace(doc_.get());
    }
    const PdfFonts* Fonts() const { return error_.code == HPDF_OK && fonts_ ? &*fonts_ : nullptr; }

  private:
    PdfError error_;
    std::unique_ptr<_HPDF_Doc_Rec, PdfDocDeleter> doc_;
    std::optional<PdfFonts> fonts_;
};

}  // namespace

double PdfTextWidth(const std::string& text, ReportFontStyle style, double size) {
    thread_local MeasureDoc doc;
    const PdfFonts* fonts = doc.Fonts();
    return fonts ? fonts->Measure(text, style, size) : ApproximateTextWidth(text, style, size);
}

ReportLayout PrintLayout(const ReportRequest& request) {
    return LayoutReport(request, ReportPageSize{}, PdfTextWidth);
}

namespace {

static_assert(static_cast<int>(ReportFontStyle::Regular) == 0 &&
              static_cast<int>(ReportFontStyle::Bold) == 1 &&
              static_cast<int>(ReportFontStyle::Italic) == 2);

// PDF space has y upwards from the bottom edge; the layout's y runs down from the top.
void DrawPage(PdfContent& content, const ReportPageSize& size, const LaidPage& laid) {
    for (const LaidRule& r : laid.rules) {
        content.LineWidth(r.width);
        content.Line(r.x1, size.height - r.y1, r.x2, size.height - r.y2);
    }
    content.BeginText();
    for (const LaidText& t : laid.texts) {
        content.Font(static_cast<int>(t.style), t.size);
        content.Text(t.x, size.height - t.y, Utf8ToCp1252(t.text));
    }
    content.EndText();
}

}  // namespace

void WriteReportPdf(const ReportRequest& request, const std::string& path) {
    PdfWriter pdf(path);
    // Added in the order of ReportFontStyle, whose value is then the font's index.
    pdf.AddFont("Helvetica");
    pdf.AddFont("Helvetica-Bold");
    pdf.AddFont("Helvetica-Oblique");
    PdfContent content;
    // Page by page as they are laid out: neither the layout nor the drawn pages are held whole.
    ForEachReportPage(request, ReportPageSize{}, PdfTextWidth,
                      [&](const ReportLayout& layout, LaidPage&& laid) {
                          content.Clear();
                          DrawPage(content, layout.size, laid);
                          pdf.AddPage(layout.size.width, layout.size.height, content);
                      });
    pdf.Finish(Utf8ToCp1252(request.title), "Pendara");
}

}  // namespace pendara
