// The report as data files: CSV, spreadsheet (.xlsx) and plain text.

#include <xlsxwriter.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#ifndef _WIN32
#include <locale.h>
#endif

#include "host/conversions.h"
#include "host/report_output.h"
#include "host/utf8.h"

namespace pendara {

namespace {

// The spreadsheet library writes numbers with printf: while it works, this thread's numbers
// follow the C locale, whatever locale the window's toolkit set for the user.
class CNumbersForThisThread {
  public:
#ifdef _WIN32
    CNumbersForThisThread() : perThread_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE)) {
        if (const char* current = std::setlocale(LC_NUMERIC, nullptr)) saved_ = current;
        std::setlocale(LC_NUMERIC, "C");
    }
    ~CNumbersForThisThread() {
        std::setlocale(LC_NUMERIC, saved_.c_str());
        _configthreadlocale(perThread_);
    }

  private:
    int perThread_;
    std::string saved_;
#else
    CNumbersForThisThread()
        : c_(newlocale(LC_NUMERIC_MASK, "C", duplocale(LC_GLOBAL_LOCALE))),
          previous_(c_ ? uselocale(c_) : nullptr) {}
    ~CNumbersForThisThread() {
        if (!c_) return;
        uselocale(previous_);
        freelocale(c_);
    }

  private:
    locale_t c_;
    locale_t previous_;
#endif
    CNumbersForThisThread(const CNumbersForThisThread&) = delete;
    CNumbersForThisThread& operator=(const CNumbersForThisThread&) = delete;
};

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
    std::string s = WritePlainNumber(v, 'f', 2);
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

std::ofstream OpenOut(const std::string& path) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error("no se puede crear el archivo " + path);
    return out;
}

void Close(std::ofstream& out, const std::string& path) {
    out.close();
    if (!out) throw std::runtime_error("no se pudo escribir el archivo " + path);
}

}  // namespace

void WriteReportCsv(const ReportRequest& request, const std::string& path) {
    const ParsedReport report = ParseReport(request);
    std::ofstream out = OpenOut(path);
    out << "\xEF\xBB\xBF";
    auto row = [&](const std::vector<std::string>& cells) {
        for (std::size_t c = 0; c < cells.size(); ++c)
            out << (c ? ";" : "") << cells[c];
        out << "\r\n";
    };
    std::vector<std::string> header;
    for (const auto& c : report.columns)
        header.push_back(CsvField(c));
    row(header);
    const std::size_t n = report.columns.size();
    bool anySection = false;
    for (const ReportLine& line : report.lines) {
        std::vector<std::string> cells(n);
        switch (line.kind) {
            case ReportLineKind::Blank:
                continue;
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
    }
    Close(out, path);
}

void WriteReportXlsx(const ReportRequest& request, const std::string& path) {
    const CNumbersForThisThread cNumbers;
    const ParsedReport report = ParseReport(request);
    lxw_workbook* wb = workbook_new(path.c_str());
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
        worksheet_write_string(ws, r++, 0, request.title.c_str(), title);
        if (!request.companyName.empty())
            worksheet_write_string(ws, r++, 0, request.companyName.c_str(), nullptr);
        if (!request.date.empty())
            worksheet_write_string(ws, r++, 0, ("Fecha: " + request.date).c_str(), nullptr);
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

    for (const ReportLine& line : report.lines) {
        if (r >= LXW_ROW_MAX) startSheet();
        switch (line.kind) {
            case ReportLineKind::Blank:
                ++r;
                continue;
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

void WriteReportText(const ReportRequest& request, const std::string& path) {
    std::ofstream out = OpenOut(path);
    const std::string& t = request.text;
    std::string lf;
    lf.reserve(t.size());
    for (std::size_t i = 0; i < t.size(); ++i)
        if (!(t[i] == '\r' && i + 1 < t.size() && t[i + 1] == '\n')) lf += t[i];
    out << lf;
    Close(out, path);
}

}  // namespace pendara
