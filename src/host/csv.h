#pragma once
// Entries and charts of accounts as CSV (UTF-8, ";" between fields, RFC 4180 quoting, a header
// line naming the columns in any order). Imports are all-or-nothing: the first bad line is a
// HostError "línea N: ..." and nothing is added.

#include <string>
#include <string_view>
#include <vector>

#include "host/company_store.h"

namespace pendara {

// The records of a CSV text; each record remembers the line it starts on.
struct CsvRecord {
    int line = 0;
    std::vector<std::string> fields;
};
std::vector<CsvRecord> ParseCsv(const std::string& text, char separator = ';');
// The records one by one; a malformed record is a HostError naming its line. No field is read
// past kMaxCsvFieldBytes, nor past four bytes a character of its column's limit once the columns
// are known: a field of a gigabyte is refused where it starts, not copied.
inline constexpr std::size_t kMaxCsvFieldBytes = 65536;
class CsvReader {
  public:
    explicit CsvReader(std::string_view text, char separator = ';');
    bool Next(CsvRecord& record);
    // The columns' names for messages and their limits in characters (0: none), by position.
    void SetColumns(std::vector<std::string> names, std::vector<std::size_t> maxChars);

  private:
    [[noreturn]] void FieldTooLong(int line, std::size_t index) const;

    std::string_view text_;
    char sep_;
    std::size_t pos_ = 0;
    int line_ = 1;
    std::vector<std::string> names_;
    std::vector<std::size_t> maxChars_;
};
// One field, quoted when it holds the separator, a quote or a line break.
std::string CsvField(const std::string& value, char separator = ';');

// Parses entries (columns Cuenta, Fecha, Campo2, Asiento, Descripcion, DebeHaber, Importe,
// Marca, Tipo, Campo14, Campo22, Referencia punteo; "Registro" is ignored; missing columns are
// empty; an empty DebeHaber follows the amount's sign).
std::vector<EntryRecord> ParseEntriesCsv(const std::string& text);
// Parses chart accounts (columns Cuenta, Descripcion, Nivel).
std::vector<ChartAccount> ParseChartCsv(const std::string& text);

// Imports into the company in one transaction; returns how many records were added. Every
// value is checked as the store keeps it (store.h), and the first one it would not keep is a
// HostError "línea N, columna X: ..." (a failure of the store itself: "línea N: ...").
std::size_t ImportEntriesCsv(const std::string& companyFile, const std::string& text);
std::size_t ImportChartCsv(const std::string& companyFile, const std::string& text);

// The text of a CSV file in the encoding it names: "utf8" (as it is), "latin1" (ISO-8859-1) or
// "cp1252" (Windows-1252). HostError for another name.
std::string CsvTextFromEncoding(std::string text, const std::string& encoding);

// Entries in record-number order ("Registro" first, dates dd/mm/yyyy, amounts with a decimal
// comma), of one account or ("") of all.
std::string ExportEntriesCsv(const std::string& companyFile, const std::string& account = "");

}  // namespace pendara
