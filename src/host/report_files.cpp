// The report as data files: CSV, spreadsheet (.xlsx) and plain text.

#include <xlsxwriter.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

#include "host/conversions.h"
#include "host/numbers.h"
#include "host/report_output.h"
#include "host/utf8.h"

namespace pendara {

namespace {

std::string CsvField(const std::string& s) {
    if (s.find_first_of(";\"\r\n") == std::string::npos) return s;
    std::string out = "\"";
    for (char c : s) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

// An amount as a Spanish spreadsheet reads a number: decimal comma, no grouping.
std::string CsvNumber(double v) {
    std::string s = FixedText(v, 2);
    std::replace(s.begin(), s.end(), '.', ',');
    return s == "-0,00" ? "0,00" : s;
}

// A dd/mm/yy date as a calendar date; years below 60 are this century, as compact dates are.
bool ParseDayFirst(const std::string& s, lxw_datetime& dt) {
    if (s.size() != 8 || s[2] != '/' || s[5] != '/') return false;
    for (std::size_t i : {0u, 1u, 3u, 4u, 6u, 7u})
        if (s[i] < '0' || s[i] > '9') return false;
    int day = (s[0] - '0') * 10 + (s[1] - '0');
    int month = (s[3] - '0') * 10 + (s[4] - '0');
    int yy = (s[6] - '0') * 10 + (s[7] - '0');
    if (month < 1 || month > 12 || day < 1 || day > 31) return false;
    dt = lxw_datetime{yy < 60 ? 2000 + yy : 1900 + yy, month, day, 0, 0, 0};
    return true;
}

// dd/mm/yy to dd/mm/yyyy by the same century rule; other texts as they are.
std::string FullYearDate(const std::string& s) {
    lxw_datetime dt{};
    if (!ParseDayFirst(s, dt)) return s;
    return s.substr(0, 6) + std::to_string(dt.year);
}

bool IsWholeNumber(const std::string& s) {
    if (s.empty() || s.size() > 15 || (s.size() > 1 && s[0] == '0')) return false;
    return std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Per column: true when every entry row holds a whole number there (entry numbers), so that
// the column is written as numbers; codes with leading zeros stay text, and so does a column
// that some rows leave empty (references).
// One pass over the request's lines; `report` holds the columns.
std::vector<bool> WholeNumberColumns(const ParsedReport& report, const ReportRequest& request) {
    const std::size_t n = report.columns.size();
    bool any = false;
    std::vector<bool> all(n, true);
    ForEachReportLine(request, n, [&](const ReportLine& line) {
        if (line.kind != ReportLineKind::Row) return;
        any = true;
        for (std::size_t c = 0; c < n; ++c)
            if (all[c] && !IsWholeNumber(line.cells[c])) all[c] = false;
    });
    std::vector<bool> whole(n, false);
    for (std::size_t c = 0; c < n; ++c)
        whole[c] = any && all[c] && report.aligns[c] != ReportAlign::Amount &&
                   report.aligns[c] != ReportAlign::Date;
    return whole;
}

// The heading lines every form opens with: title, company, date.
std::vector<std::string> HeadingLines(const ReportRequest& request) {
    std::vector<std::string> lines{request.title};
    const std::string company = CompanyHeading(request);
    if (!company.empty()) lines.push_back(company);
    if (!request.date.empty()) lines.push_back("Fecha: " + request.date);
    return lines;
}

std::size_t LastAmountColumn(const ParsedReport& report) {
    std::size_t column = report.columns.empty() ? 0 : report.columns.size() - 1;
    for (std::size_t c = 0; c < report.aligns.size(); ++c)
        if (report.aligns[c] == ReportAlign::Amount) column = c;
    return column;
}

std::ofstream OpenOut(const std::string& path) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error("no se puede crear el archivo " + path);
    return out;
}

void Close(std::ofstream& out, const std::string& path) {
    out.close();
    if (!out) throw std::runtime_error("no se pudo escribir el archivo " + path);
}

using CsvRow = std::function<void(const std::vector<std::string>&)>;

// Title, company, date and the criteria, each a row, then an empty row; `n` cells a row. A
// request without criteria (a grid's rows, a host caller) keeps the bare table.
void WriteCsvPreamble(const ReportRequest& request, std::size_t n, const CsvRow& row) {
    if (request.criteria.empty()) return;
    const std::size_t width = std::max<std::size_t>(n, 2);
    for (const std::string& line : HeadingLines(request)) {
        std::vector<std::string> cells(width);
        cells[0] = CsvField(line);
        row(cells);
    }
    row(std::vector<std::string>(width));
    std::vector<std::string> heading(width);
    heading[0] = CsvField(kCriteriaHeading);
    row(heading);
    for (const ReportCriterion& c : request.criteria) {
        std::vector<std::string> cells(width);
        cells[0] = CsvField(c.label);
        cells[1] = CsvField(c.value);
        row(cells);
    }
    row(std::vector<std::string>(width));
}

// The closing totals after an empty row: label first, amount in `amountColumn`.
void WriteCsvTotals(const ReportRequest& request, std::size_t n, std::size_t amountColumn,
                    const CsvRow& row) {
    if (!request.totals) return;
    const std::size_t width = std::max<std::size_t>(n, 2);
    amountColumn = std::min(std::max<std::size_t>(amountColumn, 1), width - 1);
    row(std::vector<std::string>(width));
    std::vector<std::string> heading(width);
    heading[0] = CsvField(kTotalsHeading);
    row(heading);
    const std::vector<ReportCriterion> lines = TotalsLines(*request.totals);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::vector<std::string> cells(width);
        cells[0] = CsvField(lines[i].label);
        // The count stays a whole number; the amounts as the other amounts.
        cells[amountColumn] = i == 0 ? lines[i].value : CsvNumber(*ReportAmount(lines[i].value));
        row(cells);
    }
}

}  // namespace

void WriteReportCsv(const ReportRequest& request, const std::string& path) {
    // Row by row as the lines come: the parsed report is never held whole.
    const ParsedReport report = ParseReportColumns(request);
    std::ofstream out = OpenOut(path);
    out << "\xEF\xBB\xBF";
    auto row = [&](const std::vector<std::string>& cells) {
        for (std::size_t c = 0; c < cells.size(); ++c)
            out << (c ? ";" : "") << cells[c];
        out << "\r\n";
    };
    const std::size_t n = report.columns.size();
    WriteCsvPreamble(request, n, row);
    std::vector<std::string> header;
    for (const auto& c : report.columns)
        header.push_back(CsvField(c));
    row(header);
    bool anySection = false;
    ForEachReportLine(request, n, [&](const ReportLine& line) {
        std::vector<std::string> cells(n);
        switch (line.kind) {
            case ReportLineKind::Blank:
                return;
            case ReportLineKind::Section:
                // An empty row between accounts; the heading stands in the first column.
                if (anySection) row(std::vector<std::string>(n));
                anySection = true;
                [[fallthrough]];
            case ReportLineKind::SubSection:
                if (n > 0) cells[0] = CsvField(line.heading);
                break;
            case ReportLineKind::Row:
            case ReportLineKind::Summary:
                for (std::size_t c = 0; c < n; ++c)
                    cells[c] = IsNumericCell(report, line, c)
                                   ? CsvNumber(*ReportAmount(line.cells[c]))
                                   : CsvField(line.cells[c]);
                break;
        }
        row(cells);
    });
    WriteCsvTotals(request, n, LastAmountColumn(report), row);
    Close(out, path);
}

void WriteReportXlsx(const ReportRequest& request, const std::string& path) {
    // Cell by cell as the lines come: the parsed report is never held whole.
    const ParsedReport report = ParseReportColumns(request);
    // The spreadsheet library prints its numbers (cells, widths) with printf: under the user's
    // settings a comma would land in the file's XML.
    const CNumericScope cNumbers;
    // Rows go to disc as they are written (they come in order), so that a long report is never
    // held in memory; the sheet's strings are then written in their cells, not in a shared table.
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* wb = workbook_new_opt(path.c_str(), &options);
    if (!wb) throw std::runtime_error("no se puede crear la hoja de cálculo " + path);
    lxw_worksheet* ws = workbook_add_worksheet(wb, "Informe");

    lxw_format* title = workbook_add_format(wb);
    format_set_bold(title);
    format_set_font_size(title, 14);
    lxw_format* bold = workbook_add_format(wb);
    format_set_bold(bold);
    lxw_format* header = workbook_add_format(wb);
    format_set_bold(header);
    format_set_bottom(header, LXW_BORDER_THIN);
    lxw_format* italic = workbook_add_format(wb);
    format_set_italic(italic);
    lxw_format* amount = workbook_add_format(wb);
    format_set_num_format(amount, "#,##0.00");
    lxw_format* amountBold = workbook_add_format(wb);
    format_set_num_format(amountBold, "#,##0.00");
    format_set_bold(amountBold);
    lxw_format* date = workbook_add_format(wb);
    format_set_num_format(date, "dd/mm/yy");
    format_set_align(date, LXW_ALIGN_CENTER);

    const std::size_t n = report.columns.size();
    std::vector<std::size_t> widths(n, 8);
    std::vector<lxw_worksheet*> sheets;
    lxw_row_t r = 0;
    // A report longer than a sheet's rows goes on in another sheet with the same heading.
    auto startSheet = [&] {
        std::string name = "Informe";
        if (!sheets.empty()) name += " (" + std::to_string(sheets.size() + 1) + ")";
        ws = sheets.empty() ? ws : workbook_add_worksheet(wb, name.c_str());
        sheets.push_back(ws);
        r = 0;
        const std::vector<std::string> heading = HeadingLines(request);
        for (std::size_t i = 0; i < heading.size(); ++i)
            worksheet_write_string(ws, r++, 0, heading[i].c_str(), i == 0 ? title : nullptr);
        if (sheets.size() == 1 && !request.criteria.empty()) {
            ++r;
            worksheet_write_string(ws, r++, 0, kCriteriaHeading, bold);
            for (const ReportCriterion& c : request.criteria) {
                worksheet_write_string(ws, r, 0, c.label.c_str(), nullptr);
                worksheet_write_string(ws, r++, 1, c.value.c_str(), nullptr);
            }
        }
        ++r;
        for (std::size_t c = 0; c < n; ++c) {
            worksheet_write_string(ws, r, static_cast<lxw_col_t>(c), report.columns[c].c_str(),
                                   header);
            widths[c] = std::max(widths[c], Utf8Length(report.columns[c]) + 2);
        }
        worksheet_freeze_panes(ws, r + 1, 0);
        ++r;
    };
    startSheet();

    ForEachReportLine(request, n, [&](const ReportLine& line) {
        if (r >= LXW_ROW_MAX) startSheet();
        switch (line.kind) {
            case ReportLineKind::Blank:
                ++r;
                return;
            case ReportLineKind::Section:
                worksheet_write_string(ws, r, 0, line.heading.c_str(), bold);
                break;
            case ReportLineKind::SubSection:
                worksheet_write_string(ws, r, 0, line.heading.c_str(), italic);
                break;
            case ReportLineKind::Row:
            case ReportLineKind::Summary: {
                const bool summary = line.kind == ReportLineKind::Summary;
                for (std::size_t c = 0; c < n; ++c) {
                    const std::string& cell = line.cells[c];
                    if (cell.empty()) continue;
                    const auto col = static_cast<lxw_col_t>(c);
                    lxw_datetime dt{};
                    if (IsNumericCell(report, line, c)) {
                        worksheet_write_number(ws, r, col, *ReportAmount(cell),
                                               summary ? amountBold : amount);
                    } else if (report.aligns[c] == ReportAlign::Date && ParseDayFirst(cell, dt)) {
                        worksheet_write_datetime(ws, r, col, &dt, date);
                    } else {
                        worksheet_write_string(ws, r, col, cell.c_str(), summary ? bold : nullptr);
                        widths[c] =
                            std::max(widths[c], std::min<std::size_t>(Utf8Length(cell) + 1, 60));
                    }
                }
                break;
            }
        }
        ++r;
    });
    if (request.totals) {
        const std::vector<ReportCriterion> lines = TotalsLines(*request.totals);
        if (r + lines.size() + 2 >= LXW_ROW_MAX) startSheet();
        ++r;
        worksheet_write_string(ws, r++, 0, kTotalsHeading, bold);
        const auto amountColumn = static_cast<lxw_col_t>(LastAmountColumn(report));
        for (std::size_t i = 0; i < lines.size(); ++i, ++r) {
            worksheet_write_string(ws, r, 0, lines[i].label.c_str(), bold);
            if (i == 0)
                worksheet_write_number(ws, r, amountColumn, request.totals->accounts, bold);
            else
                worksheet_write_number(ws, r, amountColumn, *ReportAmount(lines[i].value),
                                       amountBold);
        }
    }
    for (lxw_worksheet* sheet : sheets)
        for (std::size_t c = 0; c < n; ++c) {
            double w =
                report.aligns[c] == ReportAlign::Amount ? 16 : static_cast<double>(widths[c]);
            worksheet_set_column(sheet, static_cast<lxw_col_t>(c), static_cast<lxw_col_t>(c), w,
                                 nullptr);
        }
    lxw_error err = workbook_close(wb);
    if (err != LXW_NO_ERROR)
        throw std::runtime_error("no se pudo escribir la hoja de cálculo " + path + ": " +
                                 lxw_strerror(err));
}

namespace {

// A text cut to `width` characters, ending in "…" when anything was cut.
std::string FitChars(const std::string& s, std::size_t width) {
    if (Utf8Length(s) <= width) return s;
    if (width == 0) return "";
    return std::string(Utf8Left(s, width - 1)) + "\xE2\x80\xA6";
}

std::string PadRight(const std::string& s, std::size_t width) {
    const std::string t = FitChars(s, width);
    return t + std::string(width - Utf8Length(t), ' ');
}

std::string PadLeft(const std::string& s, std::size_t width) {
    const std::string t = FitChars(s, width);
    return std::string(width - Utf8Length(t), ' ') + t;
}

// Fixed-width columns for the text form: each as wide as its title and its entries, text
// columns at most kMaxTextColumn characters.
class TextColumns {
  public:
    static constexpr std::size_t kMaxTextColumn = 40;
    static constexpr std::size_t kGap = 2;

    // `report` holds the columns only: the widths come from one pass over the lines.
    TextColumns(const ParsedReport& report, const ReportRequest& request)
        : report_(report), amount_(LastAmountColumn(report)) {
        const std::size_t n = report.columns.size();
        width_.assign(n, 0);
        for (std::size_t c = 0; c < n; ++c)
            width_[c] = Utf8Length(report.columns[c]);
        std::vector<bool> anyRow(n, false);
        whole_.assign(n, true);
        ForEachReportLine(request, n, [&](const ReportLine& line) {
            if (line.kind == ReportLineKind::Row) {
                for (std::size_t c = 0; c < n; ++c) {
                    width_[c] = std::max(width_[c], Utf8Length(line.cells[c]));
                    anyRow[c] = true;
                    if (whole_[c] && !IsWholeNumber(line.cells[c])) whole_[c] = false;
                }
            } else if (line.kind == ReportLineKind::Summary && n > 0) {
                width_[amount_] = std::max(width_[amount_], Utf8Length(SummaryAmount(line)));
            }
        });
        // Entry numbers stand to the right like any number (see WholeNumberColumns).
        for (std::size_t c = 0; c < n; ++c)
            whole_[c] = whole_[c] && anyRow[c] && report.aligns[c] != ReportAlign::Amount &&
                        report.aligns[c] != ReportAlign::Date;
        if (request.totals)
            for (const ReportCriterion& t : TotalsLines(*request.totals))
                if (n > 0) width_[amount_] = std::max(width_[amount_], Utf8Length(t.value));
        for (std::size_t c = 0; c < n; ++c)
            if (report.aligns[c] == ReportAlign::Left)
                width_[c] = std::min(width_[c], kMaxTextColumn);
    }

    std::size_t Total() const {
        std::size_t total = 0;
        for (std::size_t c = 0; c < width_.size(); ++c)
            total += width_[c] + (c ? kGap : 0);
        return total;
    }

    std::string Header() const {
        std::string line;
        for (std::size_t c = 0; c < width_.size(); ++c)
            line += (c ? std::string(kGap, ' ') : "") + Cell(c, report_.columns[c], false);
        return TrimRight(line) + "\n" + Underline() + "\n";
    }

    std::string Row(const ReportLine& line) const {
        std::string text;
        for (std::size_t c = 0; c < width_.size(); ++c)
            text += (c ? std::string(kGap, ' ') : "") +
                    Cell(c, line.cells[c], IsNumericCell(report_, line, c));
        return TrimRight(text) + "\n";
    }

    // A label and an amount: the label ends where the amount column starts.
    std::string Labelled(const std::string& label, const std::string& amount) const {
        if (width_.empty()) return label + " " + amount + "\n";
        std::size_t before = 0;
        for (std::size_t c = 0; c < amount_; ++c)
            before += width_[c] + kGap;
        const std::string left = before >= kGap ? PadLeft(label, before - kGap) : label;
        return left + std::string(kGap, ' ') + PadLeft(amount, width_[amount_]) + "\n";
    }

    std::string Summary(const ReportLine& line) const {
        std::string label;
        const std::string amount = SummaryAmount(line);
        for (std::size_t c = 0; c < line.cells.size(); ++c)
            if (!line.cells[c].empty() && !(IsNumericCell(report_, line, c))) {
                if (!label.empty()) label += " ";
                label += line.cells[c];
            }
        return Labelled(label, amount);
    }

  private:
    std::string SummaryAmount(const ReportLine& line) const {
        for (std::size_t c = line.cells.size(); c-- > 0;)
            if (IsNumericCell(report_, line, c)) return line.cells[c];
        return "";
    }

    std::string Cell(std::size_t c, const std::string& text, bool numeric) const {
        const ReportAlign a = report_.aligns[c];
        if (numeric || whole_[c] || a == ReportAlign::Right || a == ReportAlign::Amount)
            return PadLeft(text, width_[c]);
        return PadRight(text, width_[c]);
    }

    std::string Underline() const {
        std::string line;
        for (std::size_t c = 0; c < width_.size(); ++c)
            line += (c ? std::string(kGap, ' ') : "") + std::string(width_[c], '-');
        return line;
    }

    const ParsedReport& report_;
    std::size_t amount_;
    std::vector<bool> whole_;  // entry numbers stand to the right like any number
    std::vector<std::size_t> width_;
};

}  // namespace

// Written line by line as it is made: a long report is never held twice.
void WriteReadableText(const ReportRequest& request, std::ostream& stream) {
    const ParsedReport report = ParseReportColumns(request);
    const TextColumns columns(report, request);
    const std::size_t width = std::max<std::size_t>(columns.Total(), 60);
    std::string out;
    // Title on the left, date on the right, company below, a double rule.
    const std::string date = request.date.empty() ? "" : "Fecha: " + request.date;
    const std::size_t titleRoom = width - Utf8Length(date) - (date.empty() ? 0 : 2);
    out += TrimRight(PadRight(request.title, titleRoom) + (date.empty() ? "" : "  " + date));
    out += "\n";
    const std::string company = CompanyHeading(request);
    if (!company.empty()) out += company + "\n";
    out += std::string(width, '=') + "\n";
    if (!request.criteria.empty()) {
        out += "\n" + std::string(kCriteriaHeading) + "\n";
        std::size_t labelWidth = 0;
        for (const ReportCriterion& c : request.criteria)
            labelWidth = std::max(labelWidth, Utf8Length(c.label) + 1);
        for (const ReportCriterion& c : request.criteria)
            out += "  " + PadRight(c.label + ":", labelWidth) + "  " + c.value + "\n";
    }
    bool blank = false;
    bool any = false;
    ForEachReportLine(request, report.columns.size(), [&](const ReportLine& line) {
        switch (line.kind) {
            case ReportLineKind::Blank:
                blank = true;
                return;
            case ReportLineKind::Section:
                out += "\n" + line.heading + "\n" + columns.Header();
                break;
            case ReportLineKind::SubSection:
                if (blank) out += "\n";
                out += "  " + line.heading + "\n";
                break;
            case ReportLineKind::Row:
                if (blank) out += "\n";
                out += columns.Row(line);
                break;
            case ReportLineKind::Summary:
                if (blank) out += "\n";
                out += columns.Summary(line);
                break;
        }
        blank = false;
        any = true;
        if (out.size() > 1 << 16) {
            stream << out;
            out.clear();
        }
    });
    if (!any) {
        out += "\nSin datos\n";
    } else if (request.totals) {
        out += "\n" + std::string(width, '=') + "\n" + kTotalsHeading + "\n";
        for (const ReportCriterion& t : TotalsLines(*request.totals))
            out += columns.Labelled(t.label, t.value);
    }
    stream << out;
}

std::string ReadableReportText(const ReportRequest& request) {
    std::ostringstream out;
    WriteReadableText(request, out);
    return out.str();
}

void WriteReportText(const ReportRequest& request, const std::string& path) {
    std::ofstream out = OpenOut(path);
    WriteReadableText(request, out);
    Close(out, path);
}

void WriteReportCsvTable(const ReportRequest& request, const std::string& path) {
    // Two passes over the lines (which columns hold entry numbers, then the rows): the parsed
    // report is never held whole.
    const ParsedReport report = ParseReportColumns(request);
    const std::vector<bool> whole = WholeNumberColumns(report, request);
    std::ofstream out = OpenOut(path);
    out << "\xEF\xBB\xBF";
    auto row = [&](const std::vector<std::string>& cells) {
        for (std::size_t c = 0; c < cells.size(); ++c)
            out << (c ? ";" : "") << cells[c];
        out << "\r\n";
    };
    const std::vector<std::string>& lead = ReportTableLeadColumns();
    const std::size_t n = lead.size() + report.columns.size();
    WriteCsvPreamble(request, n, row);
    std::vector<std::string> header;
    for (const std::string& c : lead)
        header.push_back(CsvField(c));
    for (const std::string& c : report.columns)
        header.push_back(CsvField(c));
    row(header);
    ForEachReportTableRow(request, report.columns.size(), [&](const ReportTableRow& r) {
        std::vector<std::string> cells{CsvField(r.account), CsvField(r.accountName),
                                       CsvField(r.group)};
        for (std::size_t c = 0; c < report.columns.size(); ++c) {
            const std::string& cell = r.line->cells[c];
            if (report.aligns[c] == ReportAlign::Date)
                cells.push_back(FullYearDate(cell));
            else if (IsNumericCell(report, *r.line, c))
                cells.push_back(CsvNumber(*ReportAmount(cell)));
            else if (whole[c])
                cells.push_back(cell);
            else
                cells.push_back(CsvField(cell));
        }
        row(cells);
    });
    WriteCsvTotals(request, n, lead.size() + LastAmountColumn(report), row);
    Close(out, path);
}

void WriteReportXlsxTable(const ReportRequest& request, const std::string& path) {
    const ParsedReport report = ParseReportColumns(request);
    const std::vector<bool> whole = WholeNumberColumns(report, request);
    const CNumericScope cNumbers;
    // Rows go to disc as they are written (they come in order), so that a long report is never
    // held in memory; the sheet's strings are then written in their cells, not in a shared table.
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* wb = workbook_new_opt(path.c_str(), &options);
    if (!wb) throw std::runtime_error("no se puede crear la hoja de cálculo " + path);

    lxw_format* header = workbook_add_format(wb);
    format_set_bold(header);
    format_set_bottom(header, LXW_BORDER_THIN);
    lxw_format* title = workbook_add_format(wb);
    format_set_bold(title);
    format_set_font_size(title, 14);
    lxw_format* bold = workbook_add_format(wb);
    format_set_bold(bold);
    lxw_format* amount = workbook_add_format(wb);
    format_set_num_format(amount, "#,##0.00");
    lxw_format* amountBold = workbook_add_format(wb);
    format_set_num_format(amountBold, "#,##0.00");
    format_set_bold(amountBold);
    lxw_format* date = workbook_add_format(wb);
    format_set_num_format(date, "dd/mm/yyyy");

    const std::vector<std::string>& lead = ReportTableLeadColumns();
    const std::size_t n = lead.size() + report.columns.size();
    std::vector<std::string> titles = lead;
    titles.insert(titles.end(), report.columns.begin(), report.columns.end());
    std::vector<std::size_t> widths(n, 8);
    for (std::size_t c = 0; c < n; ++c)
        widths[c] = std::max(widths[c], Utf8Length(titles[c]) + 3);

    // The table alone on its sheet, its titles on the first row, so that a filter takes it whole;
    // past a sheet's rows it goes on in another sheet with the same titles.
    std::vector<std::pair<lxw_worksheet*, lxw_row_t>> sheets;
    lxw_worksheet* ws = nullptr;
    lxw_row_t r = 0;
    auto startSheet = [&] {
        if (ws) sheets.back().second = r;
        std::string name = "Apuntes";
        if (!sheets.empty()) name += " (" + std::to_string(sheets.size() + 1) + ")";
        ws = workbook_add_worksheet(wb, name.c_str());
        sheets.emplace_back(ws, 0);
        for (std::size_t c = 0; c < n; ++c)
            worksheet_write_string(ws, 0, static_cast<lxw_col_t>(c), titles[c].c_str(), header);
        worksheet_freeze_panes(ws, 1, 0);
        r = 1;
    };
    startSheet();
    ForEachReportTableRow(request, report.columns.size(), [&](const ReportTableRow& row) {
        if (r >= LXW_ROW_MAX) startSheet();
        const std::string leadCells[] = {row.account, row.accountName, row.group};
        for (std::size_t c = 0; c < lead.size(); ++c) {
            if (leadCells[c].empty()) continue;
            worksheet_write_string(ws, r, static_cast<lxw_col_t>(c), leadCells[c].c_str(), nullptr);
            widths[c] =
                std::max(widths[c], std::min<std::size_t>(Utf8Length(leadCells[c]) + 1, 50));
        }
        for (std::size_t c = 0; c < report.columns.size(); ++c) {
            const std::string& cell = row.line->cells[c];
            if (cell.empty()) continue;
            const auto col = static_cast<lxw_col_t>(lead.size() + c);
            lxw_datetime dt{};
            if (IsNumericCell(report, *row.line, c)) {
                worksheet_write_number(ws, r, col, *ReportAmount(cell), amount);
            } else if (report.aligns[c] == ReportAlign::Date && ParseDayFirst(cell, dt)) {
                worksheet_write_datetime(ws, r, col, &dt, date);
            } else if (whole[c]) {
                worksheet_write_number(ws, r, col, ToDouble(cell), nullptr);
            } else {
                worksheet_write_string(ws, r, col, cell.c_str(), nullptr);
                widths[lead.size() + c] = std::max(widths[lead.size() + c],
                                                   std::min<std::size_t>(Utf8Length(cell) + 1, 60));
            }
        }
        ++r;
    });
    sheets.back().second = r;
    for (const auto& [sheet, end] : sheets) {
        worksheet_autofilter(sheet, 0, 0, end > 1 ? end - 1 : 0, static_cast<lxw_col_t>(n - 1));
        for (std::size_t c = 0; c < n; ++c) {
            const bool isAmount =
                c >= lead.size() && report.aligns[c - lead.size()] == ReportAlign::Amount;
            worksheet_set_column(sheet, static_cast<lxw_col_t>(c), static_cast<lxw_col_t>(c),
                                 isAmount ? 16 : static_cast<double>(widths[c]), nullptr);
        }
    }

    // Heading, criteria and totals on a sheet of their own.
    lxw_worksheet* summary = workbook_add_worksheet(wb, "Criterios y totales");
    lxw_row_t s = 0;
    const std::vector<std::string> heading = HeadingLines(request);
    for (std::size_t i = 0; i < heading.size(); ++i)
        worksheet_write_string(summary, s++, 0, heading[i].c_str(), i == 0 ? title : nullptr);
    if (!request.criteria.empty()) {
        ++s;
        worksheet_write_string(summary, s++, 0, kCriteriaHeading, bold);
        for (const ReportCriterion& c : request.criteria) {
            worksheet_write_string(summary, s, 0, c.label.c_str(), nullptr);
            worksheet_write_string(summary, s++, 1, c.value.c_str(), nullptr);
        }
    }
    if (request.totals) {
        ++s;
        worksheet_write_string(summary, s++, 0, kTotalsHeading, bold);
        const std::vector<ReportCriterion> lines = TotalsLines(*request.totals);
        for (std::size_t i = 0; i < lines.size(); ++i, ++s) {
            worksheet_write_string(summary, s, 0, lines[i].label.c_str(), nullptr);
            if (i == 0)
                worksheet_write_number(summary, s, 1, request.totals->accounts, nullptr);
            else
                worksheet_write_number(summary, s, 1, *ReportAmount(lines[i].value), amountBold);
        }
    }
    worksheet_set_column(summary, 0, 0, 30, nullptr);
    worksheet_set_column(summary, 1, 1, 40, nullptr);
    lxw_error err = workbook_close(wb);
    if (err != LXW_NO_ERROR)
        throw std::runtime_error("no se pudo escribir la hoja de cálculo " + path + ": " +
                                 lxw_strerror(err));
}

}  // namespace pendara
