#pragma once
// The host library's report output (QvLibrary::PrintReport): a TAB-separated report text with a
// title, a date, column titles and a company name, rendered to the screen, the printer or a file.
//
// Destination codes (the "Salida a" choice of the report dialog, an item of kind 71 whose number
// the dialog leaves in the item's label column):
//   0 screen: a print preview from which the user may print or save (port.ShowReport, Preview)
//   1 printer (port.ShowReport, Printer)
//   2 PDF file
//   3 CSV file: ";" separated, UTF-8 with a byte order mark, amounts as numbers with a decimal
//     comma and no grouping (what a spreadsheet with Spanish settings reads as a number)
//   4 spreadsheet file (.xlsx): amounts and dates are numeric cells
//   5 plain text file: fixed-width columns with headings, amounts right-aligned
//   6 CSV table: one row per entry, each with its account, name and group, ready to filter
//   7 spreadsheet table (.xlsx): the same rows, with a second sheet for criteria and totals
// Any other code is shown on screen. Every form carries the heading (title, company and fiscal
// year, date), the selection criteria and the closing totals the request brings.
//
// Report text conventions the renderers understand:
//   - lines end with CR LF (a bare LF is accepted), fields are separated by TAB;
//   - a line starting with "_" is a section heading (one account): the rest of the line;
//   - a line starting with "*" is a sub-heading (one reference group): the rest of the line;
//   - an empty line is vertical space;
//   - any other line gives one cell per report column, in order; a line with fewer fields
//     whose label sits in the first columns and whose last field is an amount is a summary line
//     (balances, totals), drawn in bold.
// Alignment list: one number per column: 0 left, 1 right, 2 centred, 3 amount (right-aligned,
// numeric in CSV and spreadsheet files), 5 date (centred; a real date in spreadsheet files).
//
// The page layout is toolkit-neutral: LayoutReport turns a request into pages of positioned
// texts and rules, given the page size and a text measure. The PDF writer here and the Qt
// preview and printer draw the same pages.

#include <cstdint>
#include <ctime>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "host/desktop_port.h"

namespace pendara {

inline constexpr std::int32_t kReportToScreen = 0;
inline constexpr std::int32_t kReportToPrinter = 1;
inline constexpr std::int32_t kReportToPdf = 2;
inline constexpr std::int32_t kReportToCsv = 3;
inline constexpr std::int32_t kReportToSpreadsheet = 4;
inline constexpr std::int32_t kReportToText = 5;
inline constexpr std::int32_t kReportToCsvTable = 6;
inline constexpr std::int32_t kReportToSpreadsheetTable = 7;

bool IsReportFileDestination(std::int32_t destination);

// The names the output choice offers, indexed by destination code.
const std::vector<std::string>& ReportDestinationNames();
// The name a save dialog proposes for a report written on `day` (local time): the title and the
// date, "Informe de punteo de extractos 2026-11-23.pdf", so that reports of different days do
// not overwrite each other and sort by date.
std::string DatedReportFileName(const std::string& title, std::int32_t destination,
                                std::time_t day);
// File ending (".pdf", ".csv", ".xlsx", ".txt") of a file destination; "" for screen and printer.
std::string ReportFileExtension(std::int32_t destination);
// The file filter handed to the save dialog ("PDF (*.pdf)", ...).
std::string ReportFileFilter(std::int32_t destination);

// What one report output did: the file written ("" when none) or why it failed.
struct ReportOutcome {
    std::int32_t destination = 0;
    std::string file;
    std::string error;  // "" when it worked or the user cancelled the save dialog
    bool cancelled = false;
};

// --- The parsed report --------------------------------------------------------------------------

enum class ReportAlign { Left, Right, Centre, Amount, Date };

enum class ReportLineKind {
    Blank,       // an empty line
    Section,     // "_" line: heading of one account
    SubSection,  // "*" line: heading of one reference group
    Row,         // one cell per column
    Summary,     // a row that carries a total or balance
};

struct ReportLine {
    ReportLineKind kind = ReportLineKind::Blank;
    std::string heading;             // Section and SubSection: the text without its mark
    std::vector<std::string> cells;  // Row and Summary: trimmed fields, one per column
};

struct ParsedReport {
    std::vector<std::string> columns;
    std::vector<ReportAlign> aligns;  // one per column
    std::vector<ReportLine> lines;
};

ParsedReport ParseReport(const ReportRequest& request);
// The columns and alignments alone, and the lines one at a time (`ncols` cells a row), for
// writers that need not hold the whole parsed report.
ParsedReport ParseReportColumns(const ReportRequest& request);
void ForEachReportLine(const ReportRequest& request, std::size_t ncols,
                       const std::function<void(const ReportLine&)>& visit);

// The heading's company line: the full name (or the short one), the short name when it differs
// and the fiscal year: "Comercial Demo, S.L. (DEMO25) - Ejercicio 2025".
std::string CompanyHeading(const ReportRequest& request);
// The closing totals as label and amount lines, "Cuentas listadas" first.
inline constexpr const char* kTotalsHeading = "Totales del informe";
inline constexpr const char* kCriteriaHeading = "Criterios de selección";
std::vector<ReportCriterion> TotalsLines(const ReportTotals& totals);

// One entry of the report as a table row: the account and group it lies in, and its cells.
struct ReportTableRow {
    std::string account;
    std::string accountName;
    std::string group;  // the reference of the group block it belongs to; "" for an open entry
    const ReportLine* line = nullptr;
};
// The titles of the table's leading columns.
const std::vector<std::string>& ReportTableLeadColumns();
// Every entry row of the report in order (summary lines and headings are not rows).
std::vector<ReportTableRow> ReportTableRows(const ParsedReport& report);
// The same rows one at a time as the request's lines are parsed (`ncols` cells a row); a row's
// line lives only during the call.
void ForEachReportTableRow(const ReportRequest& request, std::size_t ncols,
                           const std::function<void(const ReportTableRow&)>& visit);

// Reads an amount as the report prints it (Spanish form, "1.234,56", blanks around); nullopt
// when the text is not one.
std::optional<double> ReportAmount(const std::string& text);
// True when a cell is written as a number in CSV and spreadsheet files.
bool IsNumericCell(const ParsedReport& report, const ReportLine& line, std::size_t column);

// --- Page layout --------------------------------------------------------------------------------

enum class ReportFontStyle { Regular, Bold, Italic };

// Sizes and positions are in points (1/72 inch); y grows downwards from the top of the page and
// a text's y is its baseline.
struct ReportPageSize {
    double width = 595.28;  // A4 portrait
    double height = 841.89;
    double margin = 36;
};

struct LaidText {
    double x = 0;
    double y = 0;
    std::string text;  // UTF-8
    ReportFontStyle style = ReportFontStyle::Regular;
    double size = 8;
    double width = 0;  // as measured by the layout: a painter with other fonts fits it to this
};

struct LaidRule {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    double width = 0.5;
};

struct LaidPage {
    std::vector<LaidText> texts;
    std::vector<LaidRule> rules;
};

struct ReportLayout {
    ReportPageSize size;
    std::vector<double> columnX;      // left edge of each column
    std::vector<double> columnWidth;  // width of each column
    std::vector<LaidPage> pages;
};

// Width in points of a UTF-8 text in the given style and size.
using ReportTextMeasure =
    std::function<double(const std::string& text, ReportFontStyle style, double size)>;

// Every page carries the heading (title, company, date), the column titles and its number
// ("Página n de m"). Texts too wide for their column are cut and end in "…".
ReportLayout LayoutReport(const ReportRequest& request, const ReportPageSize& size,
                          const ReportTextMeasure& measure);

// The same pages one at a time, each handed to `visit` with the layout's frame (page size and
// columns, no pages) as soon as it is laid out, numbered like LayoutReport's; the lines are laid
// out twice (a first time to count the pages) and a single page is held. Returns the count.
std::size_t ForEachReportPage(
    const ReportRequest& request, const ReportPageSize& size, const ReportTextMeasure& measure,
    const std::function<void(const ReportLayout& frame, LaidPage&& page)>& visit);

// A rough measure for callers without fonts: Helvetica-like average widths.
double ApproximateTextWidth(const std::string& text, ReportFontStyle style, double size);

// The widths of the PDF's fonts. The PDF, the preview and the printer all lay a report out with
// these and on ReportPageSize{} (PrintLayout), so that they break pages alike.
double PdfTextWidth(const std::string& text, ReportFontStyle style, double size);
ReportLayout PrintLayout(const ReportRequest& request);

// --- File writers (throw std::runtime_error naming the file when it cannot be written) ---------

// The file of a file destination (2 to 5), written beside `path` and renamed onto it, so that a
// failed write leaves an earlier file of that name whole.
void WriteReportFile(const ReportRequest& request, std::int32_t destination,
                     const std::string& path);

void WriteReportPdf(const ReportRequest& request, const std::string& path);
void WriteReportCsv(const ReportRequest& request, const std::string& path);
void WriteReportXlsx(const ReportRequest& request, const std::string& path);
void WriteReportText(const ReportRequest& request, const std::string& path);
void WriteReportCsvTable(const ReportRequest& request, const std::string& path);
void WriteReportXlsxTable(const ReportRequest& request, const std::string& path);

// The readable text of destination 5 (LF line ends).
std::string ReadableReportText(const ReportRequest& request);
void WriteReadableText(const ReportRequest& request, std::ostream& stream);

// Why a file could not be written, from the system's error number, as the report messages say it
// ("no queda espacio en el disco").
std::string SystemReason(int error);

// UTF-8 to Windows-1252 (the PDF's WinAnsi encoding); characters it lacks become "?".
std::string Utf8ToCp1252(const std::string& text);

}  // namespace pendara
