#include "host/csv.h"

#include <cmath>
#include <map>

#include "host/conversions.h"
#include "host/errors.h"
#include "host/store.h"

namespace pendara {

namespace {

[[noreturn]] void LineError(int line, const std::string& what) {
    throw HostError("línea " + std::to_string(line) + ": " + what);
}

enum class Col {
    Registro,
    Cuenta,
    Fecha,
    Campo2,
    Asiento,
    Descripcion,
    DebeHaber,
    Importe,
    Marca,
    Tipo,
    Campo14,
    Campo22,
    Referencia,
    Nombre,
    Nivel
};

struct ColName {
    const char* name;
    Col col;
};

const ColName kEntryColumns[] = {
    {"Registro", Col::Registro},
    {"Cuenta", Col::Cuenta},
    {"Fecha", Col::Fecha},
    {"Campo2", Col::Campo2},
    {"Asiento", Col::Asiento},
    {"Descripcion", Col::Descripcion},
    {"Descripción", Col::Descripcion},
    {"DebeHaber", Col::DebeHaber},
    {"Importe", Col::Importe},
    {"Marca", Col::Marca},
    {"Tipo", Col::Tipo},
    {"Campo14", Col::Campo14},
    {"Campo22", Col::Campo22},
    {"Referencia punteo", Col::Referencia},
};
const ColName kChartColumns[] = {
    {"Cuenta", Col::Cuenta}, {"Descripcion", Col::Nombre}, {"Descripción", Col::Nombre},
    {"Nombre", Col::Nombre}, {"Nivel", Col::Nivel},
};

// The header's columns, by position; the records after it.
template <std::size_t N>
std::vector<Col> Header(const std::vector<CsvRecord>& records, const ColName (&known)[N]) {
    if (records.empty()) LineError(1, "falta la línea de cabecera con los nombres de las columnas");
    std::vector<Col> cols;
    for (const std::string& raw : records[0].fields) {
        std::string name = Trim(raw);
        const ColName* found = nullptr;
        for (const ColName& k : known)
            if (EqualsNoCase(name, k.name)) found = &k;
        if (!found) LineError(records[0].line, "columna desconocida \"" + name + "\"");
        for (Col c : cols)
            if (c == found->col) LineError(records[0].line, "columna repetida \"" + name + "\"");
        cols.push_back(found->col);
    }
    return cols;
}

bool Blank(const CsvRecord& r) {
    return r.fields.size() == 1 && Trim(r.fields[0]).empty();
}

void CheckWidth(const CsvRecord& r, std::size_t n) {
    if (r.fields.size() != n)
        LineError(r.line, "se esperaban " + std::to_string(n) + " campos y hay " +
                              std::to_string(r.fields.size()));
}

}  // namespace

CsvReader::CsvReader(std::string_view text, char separator) : text_(text), sep_(separator) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") text_.remove_prefix(3);
}

bool CsvReader::Next(CsvRecord& rec) {
    std::string_view text = text_;
    const char sep = sep_;
    std::size_t& i = pos_;
    int& line = line_;
    if (i >= text.size()) return false;
    rec.line = line;
    rec.fields.clear();
    std::string field;
    for (;;) {
        field.clear();
        if (i < text.size() && text[i] == '"') {
            int startLine = line;
            ++i;
            for (;;) {
                if (i >= text.size()) LineError(startLine, "comillas sin cerrar");
                char c = text[i++];
                if (c == '"') {
                    if (i < text.size() && text[i] == '"') {
                        field += '"';
                        ++i;
                    } else {
                        break;
                    }
                } else {
                    if (c == '\n') ++line;
                    field += c;
                }
            }
            if (i < text.size() && text[i] != sep && text[i] != '\r' && text[i] != '\n')
                LineError(line, "texto después de unas comillas de cierre");
        } else {
            std::size_t start = i;
            while (i < text.size() && text[i] != sep && text[i] != '\r' && text[i] != '\n') {
                if (text[i] == '"') LineError(line, "comillas dentro de un campo sin comillas");
                ++i;
            }
            field.assign(text.substr(start, i - start));
        }
        rec.fields.push_back(field);
        if (i < text.size() && text[i] == sep) {
            ++i;
            continue;
        }
        if (i < text.size() && text[i] == '\r') ++i;
        if (i < text.size() && text[i] == '\n') ++i;
        ++line;
        return true;
    }
}

std::vector<CsvRecord> ParseCsv(const std::string& input, char sep) {
    CsvReader reader(input, sep);
    std::vector<CsvRecord> out;
    CsvRecord rec;
    while (reader.Next(rec))
        out.push_back(rec);
    return out;
}

std::string CsvField(const std::string& value, char sep) {
    if (value.find_first_of(std::string("\"\r\n") + sep) == std::string::npos) return value;
    std::string out = "\"";
    for (char c : value) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

namespace {

EntryRecord EntryFromRecord(const CsvRecord& rec, const std::vector<Col>& cols) {
    CheckWidth(rec, cols.size());
    EntryRecord e;
    std::string debeHaber;
    for (std::size_t k = 0; k < cols.size(); ++k) {
        const std::string& v = rec.fields[k];
        switch (cols[k]) {
            case Col::Cuenta:
                e.cuenta = Trim(v);
                break;
            case Col::Fecha:
                if (!Trim(v).empty() && !ParseDayFirstDate(v))
                    LineError(rec.line, "fecha incorrecta \"" + v + "\" (dd/mm/aa o dd/mm/aaaa)");
                e.fecha = Trim(v);
                break;
            case Col::Campo2:
                e.campo2 = v;
                break;
            case Col::Asiento:
                e.asiento = v;
                break;
            case Col::Descripcion:
                e.descripcion = v;
                break;
            case Col::DebeHaber:
                debeHaber = Trim(v);
                break;
            case Col::Importe: {
                if (Trim(v).empty()) break;
                std::optional<double> n = ParsePlainNumber(v);
                if (!n) LineError(rec.line, "importe incorrecto \"" + v + "\"");
                e.importe = *n;
                break;
            }
            case Col::Marca:
                e.marca = v;
                break;
            case Col::Tipo:
                e.tipo = v;
                break;
            case Col::Campo14:
                e.campo14 = v;
                break;
            case Col::Campo22:
                e.campo22 = v;
                break;
            case Col::Referencia:
                e.referencia = v;
                break;
            default:
                break;
        }
    }
    if (e.cuenta.empty()) LineError(rec.line, "falta la cuenta");
    if (debeHaber.empty()) {
        e.debeHaber = e.importe < 0 ? 2 : 1;
    } else {
        std::optional<double> n = ParsePlainNumber(debeHaber);
        if (!n || *n != std::floor(*n) || std::fabs(*n) > 1e9)
            LineError(rec.line, "indicador debe/haber incorrecto \"" + debeHaber + "\"");
        e.debeHaber = static_cast<std::int32_t>(*n);
    }
    return e;
}

// The header's columns, read from the first record of `reader`.
std::vector<Col> EntryHeader(CsvReader& reader) {
    std::vector<CsvRecord> first(1);
    if (!reader.Next(first[0])) first.clear();
    return Header(first, kEntryColumns);
}

}  // namespace

std::vector<EntryRecord> ParseEntriesCsv(const std::string& text) {
    CsvReader reader(text);
    std::vector<Col> cols = EntryHeader(reader);
    std::vector<EntryRecord> out;
    CsvRecord rec;
    while (reader.Next(rec))
        if (!Blank(rec)) out.push_back(EntryFromRecord(rec, cols));
    return out;
}

std::vector<ChartAccount> ParseChartCsv(const std::string& text) {
    std::vector<CsvRecord> records = ParseCsv(text);
    std::vector<Col> cols = Header(records, kChartColumns);
    std::vector<ChartAccount> out;
    for (std::size_t r = 1; r < records.size(); ++r) {
        const CsvRecord& rec = records[r];
        if (Blank(rec)) continue;
        CheckWidth(rec, cols.size());
        ChartAccount a;
        for (std::size_t k = 0; k < cols.size(); ++k) {
            const std::string& v = rec.fields[k];
            if (cols[k] == Col::Cuenta) a.cuenta = Trim(v);
            if (cols[k] == Col::Nombre) a.nombre = v;
            if (cols[k] == Col::Nivel && !Trim(v).empty()) {
                std::optional<double> n = ParsePlainNumber(v);
                if (!n || *n != std::floor(*n) || *n < 0 || *n > 99)
                    LineError(rec.line, "nivel incorrecto \"" + v + "\"");
                a.nivel = static_cast<std::int32_t>(*n);
            }
        }
        if (a.cuenta.empty()) LineError(rec.line, "falta la cuenta");
        out.push_back(std::move(a));
    }
    return out;
}

std::size_t ImportEntriesCsv(const std::string& companyFile, const std::string& text) {
    CsvReader reader(text);
    std::vector<Col> cols = EntryHeader(reader);
    // Large files go straight from the text into the store; the writer's transaction is rolled
    // back when a line fails, so nothing is imported.
    EntryWriter writer(companyFile, text.size() > (std::size_t{8} << 20));
    std::size_t n = 0;
    CsvRecord rec;
    while (reader.Next(rec)) {
        if (Blank(rec)) continue;
        writer.Add(EntryFromRecord(rec, cols));
        ++n;
    }
    writer.Commit();
    return n;
}

std::size_t ImportChartCsv(const std::string& companyFile, const std::string& text) {
    std::vector<ChartAccount> accounts = ParseChartCsv(text);
    AddAccounts(companyFile, accounts);
    return accounts.size();
}

std::string ExportEntriesCsv(const std::string& companyFile, const std::string& account) {
    Db db(EntriesFileOf(companyFile), Db::Mode::ReadWrite);
    Stmt st(db, std::string("SELECT id, cuenta, fecha, campo2, asiento, descripcion, debe_haber,"
                            " importe, marca, tipo, campo14, campo22, referencia FROM entries") +
                    (account.empty() ? "" : " WHERE cuenta = ?") + " ORDER BY id");
    if (!account.empty()) st.Bind(1, std::string_view(account));
    std::string out =
        "Registro;Cuenta;Fecha;Campo2;Asiento;Descripcion;DebeHaber;Importe;Marca;Tipo;Campo14;"
        "Campo22;Referencia punteo\r\n";
    while (st.Step()) {
        std::int64_t d = st.Int(2);
        char date[16] = "";
        if (d > 0)
            std::snprintf(date, sizeof date, "%02d/%02d/%04d", static_cast<int>(d % 100),
                          static_cast<int>(d / 100 % 100), static_cast<int>(d / 10000));
        out += std::to_string(st.Int(0)) + ";" + CsvField(st.Text(1)) + ";" + date + ";" +
               CsvField(st.Text(3)) + ";" + CsvField(st.Text(4)) + ";" + CsvField(st.Text(5)) +
               ";" + std::to_string(st.Int(6)) + ";" + ValueText(st.Real(7)) + ";" +
               CsvField(st.Text(8)) + ";" + CsvField(st.Text(9)) + ";" + CsvField(st.Text(10)) +
               ";" + CsvField(st.Text(11)) + ";" + CsvField(st.Text(12)) + "\r\n";
    }
    return out;
}

}  // namespace pendara
