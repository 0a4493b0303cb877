// The report as a PDF file: the pages of LayoutReport drawn with the base-14 Helvetica fonts in
// WinAnsi encoding, so accented Spanish texts print without embedding a font.

#include <hpdf.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>

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

void DrawPage(HPDF_Doc pdf, const PdfFonts& fonts, const ReportPageSize& size,
              const LaidPage& laid) {
    HPDF_Page page = HPDF_AddPage(pdf);
    HPDF_Page_SetWidth(page, static_cast<HPDF_REAL>(size.width));
    HPDF_Page_SetHeight(page, static_cast<HPDF_REAL>(size.height));
    for (const LaidRule& r : laid.rules) {
        HPDF_Page_SetLineWidth(page, static_cast<HPDF_REAL>(r.width));
        HPDF_Page_MoveTo(page, static_cast<HPDF_REAL>(r.x1),
                         static_cast<HPDF_REAL>(size.height - r.y1));
        HPDF_Page_LineTo(page, static_cast<HPDF_REAL>(r.x2),
                         static_cast<HPDF_REAL>(size.height - r.y2));
        HPDF_Page_Stroke(page);
    }
    HPDF_Page_BeginText(page);
    for (const LaidText& t : laid.texts) {
        HPDF_Page_SetFontAndSize(page, fonts.Get(t.style), static_cast<HPDF_REAL>(t.size));
        HPDF_Page_TextOut(page, static_cast<HPDF_REAL>(t.x),
                          static_cast<HPDF_REAL>(size.height - t.y), Utf8ToCp1252(t.text).c_str());
    }
    HPDF_Page_EndText(page);
}

}  // namespace

void WriteReportPdf(const ReportRequest& request, const std::string& path) {
    PdfError error;
    std::unique_ptr<_HPDF_Doc_Rec, PdfDocDeleter> doc(HPDF_New(OnPdfError, &error));
    if (!doc) throw std::runtime_error("no hay memoria para crear el PDF " + path);
    HPDF_Doc pdf = doc.get();
    HPDF_SetCompressionMode(pdf, HPDF_COMP_ALL);
    HPDF_SetInfoAttr(pdf, HPDF_INFO_TITLE, Utf8ToCp1252(request.title).c_str());
    HPDF_SetInfoAttr(pdf, HPDF_INFO_CREATOR, "Pendara");
    PdfFonts fonts(pdf);
    if (error.code != HPDF_OK) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "error 0x%04X", static_cast<unsigned>(error.code));
        throw std::runtime_error("no se pudo preparar el PDF " + path + " (" + buf + ")");
    }

    // Page by page as they are laid out: the layout is never held whole.
    ForEachReportPage(request, ReportPageSize{}, PdfTextWidth,
                      [&](const ReportLayout& layout, LaidPage&& laid) {
                          DrawPage(pdf, fonts, layout.size, laid);
                      });
    if (error.code == HPDF_OK) HPDF_SaveToFile(pdf, path.c_str());
    if (error.code != HPDF_OK) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "error 0x%04X/%u", static_cast<unsigned>(error.code),
                      static_cast<unsigned>(error.detail));
        throw std::runtime_error("no se pudo escribir el PDF " + path + " (" + buf + ")");
    }
}

}  // namespace pendara
