#include "host/report_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/utf8.h"

namespace pendara {

namespace {

std::vector<std::string> SplitOn(const std::string& s, char sep) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        std::size_t end = s.find(sep, start);
        parts.push_back(
            s.substr(start, end == std::string::npos ? std::string::npos : end - start));
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return parts;
}

ReportAlign AlignOf(const std::string& code) {
    switch (static_cast<int>(LeadingNumber(code))) {
        case 1:
            return ReportAlign::Right;
        case 2:
            return ReportAlign::Centre;
        case 3:
            return ReportAlign::Amount;
        case 5:
            return ReportAlign::Date;
        default:
            return ReportAlign::Left;
    }
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// A summary line has no first cell, a label and an amount as its last non-empty cell.
bool LooksLikeSummary(const std::vector<std::string>& cells) {
    if (cells.empty() || !cells[0].empty()) return false;
    int filled = 0;
    std::size_t lastFilled = 0;
    for (std::size_t i = 0; i < cells.size(); ++i)
        if (!cells[i].empty()) {
            ++filled;
            lastFilled = i;
        }
    return filled >= 2 && ReportAmount(cells[lastFilled]).has_value();
}

void WriteFile(const ReportRequest& request, std::int32_t destination, const std::string& path) {
    switch (destination) {
        case kReportToPdf:
            WriteReportPdf(request, path);
            break;
        case kReportToCsv:
            WriteReportCsv(request, path);
            break;
        case kReportToSpreadsheet:
            WriteReportXlsx(request, path);
            break;
        case kReportToCsvTable:
            WriteReportCsvTable(request, path);
            break;
        case kReportToSpreadsheetTable:
            WriteReportXlsxTable(request, path);
            break;
        default:
            WriteReportText(request, path);
            break;
    }
}

}  // namespace

std::string SystemReason(int error) {
    switch (error) {
        case ENOENT:
            return "la carpeta no existe";
        case ENOTDIR:
            return "una parte de la ruta no es una carpeta";
        case EACCES:
        case EPERM:
            return "no hay permiso para escribir ahí";
        case EISDIR:
            return "es una carpeta, no un archivo";
        case ENOSPC:
            return "no queda espacio en el disco";
        case EROFS:
            return "el disco es de solo lectura";
        case ENAMETOOLONG:
            return "el nombre es demasiado largo";
        case EFBIG:
            return "el archivo es demasiado grande";
        case ENOMEM:
            return "no hay memoria suficiente";
        default:
            return "error del sistema " + std::to_string(error);
    }
}

namespace {

// Where the report really goes: a symbolic link is written through to its target, so that the
// link stays a link.
std::filesystem::path FinalPath(const std::filesystem::path& path) {
    std::filesystem::path target = path;
    std::error_code ec;
    for (int hops = 0; hops < 40 && std::filesystem::is_symlink(target, ec); ++hops) {
        std::filesystem::path next = std::filesystem::read_symlink(target, ec);
        if (ec) break;
        target = next.is_absolute() ? next : target.parent_path() / next;
    }
    return target;
}

// Flushes the finished file to the disk, so that the rename never shows an empty report after a
// power cut.
void SyncFile(const std::string& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

bool IsReportFileDestination(std::int32_t d) {
    return d >= kReportToPdf && d <= kReportToSpreadsheetTable;
}

void WriteReportFile(const ReportRequest& request, std::int32_t destination,
                     const std::string& path) {
    const std::filesystem::path target = FinalPath(path);
    std::error_code ec;
    if (std::filesystem::is_directory(target, ec))
        throw std::runtime_error("no se puede escribir " + path + ": " + SystemReason(EISDIR));
    const std::filesystem::path folder =
        target.parent_path().empty() ? std::filesystem::path(".") : target.parent_path();
    if (!std::filesystem::is_directory(folder, ec))
        throw std::runtime_error(
            "no se puede escribir " + path + ": " +
            SystemReason(std::filesystem::exists(folder, ec) ? ENOTDIR : ENOENT));
    if (::access(folder.c_str(), W_OK) != 0)
        throw std::runtime_error("no se puede escribir " + path + ": " + SystemReason(errno));
    // The part file carries the format's ending (the writers add it when it is missing) and a
    // dot in front, out of sight; it never outlives a failed write.
    const std::string part =
        (folder / ("." + target.filename().string() + ".part" + ReportFileExtension(destination)))
            .string();
    // One left by a write that was killed goes first.
    std::filesystem::remove(part, ec);
    try {
        WriteFile(request, destination, part);
        SyncFile(part);
    } catch (const std::runtime_error& e) {
        std::filesystem::remove(part, ec);
        // The writers name the file they write; the user knows the one asked for.
        std::string message = e.what();
        for (std::size_t at = message.find(part); at != std::string::npos;
             at = message.find(part, at + path.size()))
            message.replace(at, part.size(), path);
        throw std::runtime_error(message);
    } catch (...) {
        std::filesystem::remove(part, ec);
        throw;
    }
    std::filesystem::rename(part, target, ec);
    if (ec) {
        std::filesystem::remove(part, ec);
        throw std::runtime_error("no se puede escribir " + path + ": " + SystemReason(ec.value()));
    }
}

const std::vector<std::string>& ReportDestinationNames() {
    static const std::vector<std::string> names = {
        "Pantalla",
        "Impresora",
        "Archivo PDF",
        "Archivo CSV",
        "Hoja de cálculo (.xlsx)",
        "Archivo de texto",
        "Tabla CSV (un apunte por fila)",
        "Tabla de hoja de cálculo (.xlsx, un apunte por fila)"};
    return names;
}

std::string ReportFileExtension(std::int32_t destination) {
    switch (destination) {
        case kReportToPdf:
            return ".pdf";
        case kReportToCsv:
        case kReportToCsvTable:
            return ".csv";
        case kReportToSpreadsheet:
        case kReportToSpreadsheetTable:
            return ".xlsx";
        case kReportToText:
            return ".txt";
        default:
            return "";
    }
}

std::string DatedReportFileName(const std::string& title, std::int32_t destination,
                                std::time_t day) {
    std::tm local{};
    localtime_r(&day, &local);
    char date[16];
    std::strftime(date, sizeof date, "%Y-%m-%d", &local);
    return title + " " + date + ReportFileExtension(destination);
}

std::string ReportFileFilter(std::int32_t destination) {
    switch (destination) {
        case kReportToPdf:
            return "PDF (*.pdf)";
        case kReportToCsv:
        case kReportToCsvTable:
            return "CSV (*.csv)";
        case kReportToSpreadsheet:
        case kReportToSpreadsheetTable:
            return "Hoja de cálculo (*.xlsx)";
        case kReportToText:
            return "Texto (*.txt)";
        default:
            return "";
    }
}

std::optional<double> ReportAmount(const std::string& text) {
    std::string t = Trim(text);
    std::size_t i = 0;
    if (i < t.size() && t[i] == '-') ++i;
    const std::size_t digitsStart = i;
    while (i < t.size() && (IsDigit(t[i]) || t[i] == '.'))
        ++i;
    if (i == digitsStart) return std::nullopt;
    // Groups of three after each thousands mark.
    std::string integer = t.substr(digitsStart, i - digitsStart);
    if (integer.front() == '.' || integer.back() == '.') return std::nullopt;
    auto groups = SplitOn(integer, '.');
    for (std::size_t g = 1; g < groups.size(); ++g)
        if (groups[g].size() != 3 || groups[0].size() > 3) return std::nullopt;
    if (i < t.size()) {
        if (t[i] != ',') return std::nullopt;
        ++i;
        const std::size_t decimals = i;
        while (i < t.size() && IsDigit(t[i]))
            ++i;
        if (i == decimals || i != t.size()) return std::nullopt;
    }
    return ToDouble(t);
}

ParsedReport ParseReportColumns(const ReportRequest& request) {
    ParsedReport report;
    report.columns = SplitOn(request.columns, ',');
    auto codes = SplitOn(request.alignments, ',');
    for (std::size_t c = 0; c < report.columns.size(); ++c)
        report.aligns.push_back(c < codes.size() ? AlignOf(codes[c]) : ReportAlign::Left);
    return report;
}

void ForEachReportLine(const ReportRequest& request, std::size_t ncols,
                       const std::function<void(const ReportLine&)>& visit) {
    const std::string& text = request.text;
    ReportLine line;
    for (std::size_t start = 0; start <= text.size();) {
        std::size_t end = text.find('\n', start);
        const bool last = end == std::string::npos;
        if (last) end = text.size();
        std::string_view raw(text.data() + start, end - start);
        start = end + 1;
        // The text's last line break ends the last line; it does not start another.
        if (last && (raw.empty() || raw == "\r")) break;
        if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
        line.heading.clear();
        line.cells.clear();
        if (Trim(raw).empty()) {
            line.kind = ReportLineKind::Blank;
        } else if (raw[0] == '_') {
            line.kind = ReportLineKind::Section;
            line.heading = Trim(raw.substr(1));
        } else if (raw[0] == '*') {
            line.kind = ReportLineKind::SubSection;
            line.heading = Trim(raw.substr(1));
        } else {
            line.cells.assign(ncols, "");
            std::size_t f = 0;
            for (std::size_t from = 0;; ++f) {
                const std::size_t tab = raw.find('\t', from);
                std::string cell = Trim(raw.substr(
                    from, tab == std::string_view::npos ? std::string_view::npos : tab - from));
                if (f < ncols) {
                    line.cells[f] = std::move(cell);
                } else if (!cell.empty() && ncols > 0) {
                    // More fields than columns: keep them readable in the last column.
                    std::string& lastCell = line.cells[ncols - 1];
                    lastCell += lastCell.empty() ? cell : " " + cell;
                }
                if (tab == std::string_view::npos) break;
                from = tab + 1;
            }
            line.kind =
                LooksLikeSummary(line.cells) ? ReportLineKind::Summary : ReportLineKind::Row;
        }
        visit(line);
        if (last) break;
    }
}

ParsedReport ParseReport(const ReportRequest& request) {
    ParsedReport report = ParseReportColumns(request);
    ForEachReportLine(request, report.columns.size(),
                      [&report](const ReportLine& line) { report.lines.push_back(line); });
    return report;
}

std::string CompanyHeading(const ReportRequest& request) {
    const std::string full = Trim(request.companyFullName);
    std::string line = full.empty() ? request.companyName : full;
    if (!full.empty() && !request.companyName.empty() && request.companyName != full)
        line += " (" + request.companyName + ")";
    if (!request.fiscalYear.empty())
        line += (line.empty() ? "Ejercicio " : " - Ejercicio ") + request.fiscalYear;
    return line;
}

std::vector<ReportCriterion> TotalsLines(const ReportTotals& totals) {
    return {{"Cuentas listadas", std::to_string(totals.accounts)},
            {"Total", FormatAmountPlain(totals.total)},
            {"Saldo según último balance", FormatAmountPlain(totals.balance)},
            {"Diferencia", FormatAmountPlain(totals.difference)}};
}

const std::vector<std::string>& ReportTableLeadColumns() {
    static const std::vector<std::string> columns = {"Cuenta", "Nombre de la cuenta", "Grupo"};
    return columns;
}

namespace {

// Follows the headings that place an entry row: the account of the last section, the group of
// the last sub-section until a summary line closes it.
class TableRowTracker {
  public:
    // The row a line gives, or nothing when it is not an entry row.
    const ReportTableRow* Take(const ReportLine& line) {
        switch (line.kind) {
            case ReportLineKind::Section: {
                // "code - title"
                const std::size_t dash = line.heading.find(" - ");
                row_.account = Trim(line.heading.substr(0, dash));
                row_.accountName =
                    dash == std::string::npos ? "" : Trim(line.heading.substr(dash + 3));
                row_.group.clear();
                return nullptr;
            }
            case ReportLineKind::SubSection: {
                // "Referencia: X"; the block's balance line closes it.
                const std::size_t colon = line.heading.find(':');
                row_.group = Trim(colon == std::string::npos ? line.heading
                                                             : line.heading.substr(colon + 1));
                return nullptr;
            }
            case ReportLineKind::Summary:
                row_.group.clear();
                return nullptr;
            case ReportLineKind::Row:
                row_.line = &line;
                return &row_;
            case ReportLineKind::Blank:
                return nullptr;
        }
        return nullptr;
    }

  private:
    ReportTableRow row_;
};

}  // namespace

std::vector<ReportTableRow> ReportTableRows(const ParsedReport& report) {
    std::vector<ReportTableRow> rows;
    TableRowTracker tracker;
    for (const ReportLine& line : report.lines)
        if (const ReportTableRow* row = tracker.Take(line)) rows.push_back(*row);
    return rows;
}

void ForEachReportTableRow(const ReportRequest& request, std::size_t ncols,
                           const std::function<void(const ReportTableRow&)>& visit) {
    TableRowTracker tracker;
    ForEachReportLine(request, ncols, [&](const ReportLine& line) {
        if (const ReportTableRow* row = tracker.Take(line)) visit(*row);
    });
}

bool IsNumericCell(const ParsedReport& report, const ReportLine& line, std::size_t column) {
    if (line.kind != ReportLineKind::Row && line.kind != ReportLineKind::Summary) return false;
    if (column >= line.cells.size() || line.cells[column].empty()) return false;
    if (!ReportAmount(line.cells[column])) return false;
    if (column < report.aligns.size() && report.aligns[column] == ReportAlign::Amount) return true;
    if (line.kind != ReportLineKind::Summary) return false;
    for (std::size_t c = column + 1; c < line.cells.size(); ++c)
        if (!line.cells[c].empty()) return false;
    return true;
}

std::string Utf8ToCp1252(const std::string& text) {
    static const std::pair<char32_t, unsigned char> kHigh[] = {
        {0x20AC, 0x80}, {0x201A, 0x82}, {0x0192, 0x83}, {0x201E, 0x84}, {0x2026, 0x85},
        {0x2020, 0x86}, {0x2021, 0x87}, {0x02C6, 0x88}, {0x2030, 0x89}, {0x0160, 0x8A},
        {0x2039, 0x8B}, {0x0152, 0x8C}, {0x017D, 0x8E}, {0x2018, 0x91}, {0x2019, 0x92},
        {0x201C, 0x93}, {0x201D, 0x94}, {0x2022, 0x95}, {0x2013, 0x96}, {0x2014, 0x97},
        {0x02DC, 0x98}, {0x2122, 0x99}, {0x0161, 0x9A}, {0x203A, 0x9B}, {0x0153, 0x9C},
        {0x017E, 0x9E}, {0x0178, 0x9F}};
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Char ch = DecodeUtf8(text, i);
        if (!ch.valid) {
            // Not UTF-8: a byte of an 8-bit text passes as it is.
            out += text[i++];
            continue;
        }
        i += ch.bytes;
        const char32_t cp = ch.code;
        if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
            out += static_cast<char>(cp);
            continue;
        }
        char mapped = '?';
        for (const auto& [u, c] : kHigh)
            if (u == cp) mapped = static_cast<char>(c);
        out += mapped;
    }
    return out;
}

ReportOutcome QvLibrary::PrintReport(std::int32_t& destination, const std::string& title,
                                     const std::string& text, const std::string& date,
                                     const std::string& columns, const std::string& alignments,
                                     const std::string&, const std::string& companyName,
                                     std::int32_t&, const std::string&) {
    ReportRequest request;
    request.destination = destination;
    request.title = title;
    request.text = text;
    request.date = date;
    request.columns = columns;
    request.alignments = alignments;
    request.companyName = companyName;
    return PrintReport(request);
}

ReportOutcome QvLibrary::PrintReport(const ReportRequest& request) {
    const std::int32_t destination = request.destination;
    const std::string& title = request.title;
    ReportOutcome outcome{destination, "", "", false};
    if (!IsReportFileDestination(destination)) {
        port_.ShowReport(request, destination == kReportToPrinter ? ReportScreenTarget::Printer
                                                                  : ReportScreenTarget::Preview);
        return outcome;
    }

    const std::string ext = ReportFileExtension(destination);
    std::string path =
        port_.AskSaveFile(title, DatedReportFileName(title, destination, std::time(nullptr)),
                          ReportFileFilter(destination));
    if (path.empty()) {
        outcome.cancelled = true;
        return outcome;
    }
    if (!EndsWithNoCase(path, ext)) path += ext;
    try {
        WriteReportFile(request, destination, path);
        outcome.file = path;
    } catch (const std::exception& e) {
        outcome.error = e.what();
        port_.MsgBox("No se pudo guardar el informe en " + path + ":\r\n" + e.what(),
                     kVbOKOnly + kVbExclamation, "");
    }
    return outcome;
}

}  // namespace pendara
