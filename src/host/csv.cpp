#include "host/csv.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "host/conversions.h"
#include "host/errors.h"
#include "host/store.h"
#include "host/utf8.h"

namespace pendara {

namespace {

[[noreturn]] void LineError(int line, const std::string& what) {
    throw HostError("línea " + std::to_string(line) + ": " + what);
}

[[noreturn]] void FieldError(int line, const std::string& column, const std::string& what) {
    throw HostError("línea " + std::to_string(line) + ", columna " + column + ": " + what);
}

// Invalid UTF-8 most often means a file saved in an 8-bit code page.
std::string TextHint(const std::string& problem) {
    if (problem.rfind("no es texto UTF-8", 0) == 0)
        return problem + "; un fichero en Latin-1 o Windows-1252 se importa con --encoding";
    return problem;
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
        if (!found) LineError(records[0].line, "columna desconocida " + QuotedValue(name));
        for (Col c : cols)
            if (c == found->col)
                LineError(records[0].line, "columna repetida " + QuotedValue(name));
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

void CsvReader::SetColumns(std::vector<std::string> names, std::vector<std::size_t> maxChars) {
    names_ = std::move(names);
    maxChars_ = std::move(maxChars);
}

void CsvReader::FieldTooLong(int line, std::size_t index) const {
    const std::size_t chars = index < maxChars_.size() ? maxChars_[index] : 0;
    std::string what =
        "pasa de " +
        std::to_string(chars ? std::min(4 * chars, kMaxCsvFieldBytes) : kMaxCsvFieldBytes) +
        " bytes";
    if (chars) what += "; el máximo es " + std::to_string(chars) + " caracteres";
    if (index < names_.size()) FieldError(line, names_[index], what);
    LineError(line, "el campo " + std::to_string(index + 1) + " " + what);
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
        const std::size_t index = rec.fields.size();
        const std::size_t chars = index < maxChars_.size() ? maxChars_[index] : 0;
        const std::size_t limit =
            chars ? std::min(4 * chars, kMaxCsvFieldBytes) : kMaxCsvFieldBytes;
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
                if (field.size() > limit) FieldTooLong(startLine, index);
            }
            if (i < text.size() && text[i] != sep && text[i] != '\r' && text[i] != '\n')
                LineError(line, "texto después de unas comillas de cierre");
        } else {
            std::size_t start = i;
            while (i < text.size() && text[i] != sep && text[i] != '\r' && text[i] != '\n') {
                if (text[i] == '"') LineError(line, "comillas dentro de un campo sin comillas");
                if (++i - start > limit) FieldTooLong(line, index);
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

// The store's field for a column of the entries file, and the column's name in messages.
const FieldDef& EntryField(Col col) {
    const FileCatalogue& cat = EntriesCatalogue();
    switch (col) {
        case Col::Cuenta:
            return *cat.ByName("Cuenta");
        case Col::Fecha:
            return *cat.ByName("Fecha");
        case Col::Campo2:
            return *cat.ByName("Campo2");
        case Col::Asiento:
            return *cat.ByName("Asiento");
        case Col::Descripcion:
            return *cat.ByName("Descripcion");
        case Col::DebeHaber:
            return *cat.ByName("DebeHaber");
        case Col::Importe:
            return *cat.ByName("Importe");
        case Col::Marca:
            return *cat.ByName("Marca");
        case Col::Tipo:
            return *cat.ByName("Tipo");
        case Col::Campo14:
            return *cat.ByName("Campo14");
        case Col::Campo22:
            return *cat.ByName("Campo22");
        case Col::Referencia:
            return *cat.ByName("Referencia punteo");
        default:
            break;
    }
    static const FieldDef registro{0, "Registro", nullptr, "id", FieldType::Text, 0};
    return registro;
}

EntryRecord EntryFromRecord(const CsvRecord& rec, const std::vector<Col>& cols) {
    CheckWidth(rec, cols.size());
    EntryRecord e;
    std::string debeHaber;
    bool hasDebeHaber = false;
    for (std::size_t k = 0; k < cols.size(); ++k) {
        const std::string& v = rec.fields[k];
        if (cols[k] == Col::Registro) continue;
        const FieldDef& f = EntryField(cols[k]);
        auto bad = [&](const std::string& what) { FieldError(rec.line, f.name, what); };
        if (f.type == FieldType::Text) {
            if (std::string p = TextProblem(v, f.maxChars); !p.empty())
                bad(QuotedValue(v) + " " + TextHint(p));
        }
        switch (cols[k]) {
            case Col::Cuenta:
                e.cuenta = Trim(v);
                break;
            case Col::Fecha: {
                if (Trim(v).empty()) break;
                std::optional<std::int32_t> d = ParseDayFirstDate(v);
                if (!d) bad("fecha incorrecta " + QuotedValue(v) + " (dd/mm/aa o dd/mm/aaaa)");
                if (std::string p = DateProblem(*d); !p.empty()) bad(QuotedValue(v) + ": " + p);
                e.fecha = Trim(v);
                break;
            }
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
                hasDebeHaber = !debeHaber.empty();
                break;
            case Col::Importe: {
                if (Trim(v).empty()) break;
                std::optional<double> n = ParsePlainNumber(v);
                if (!n) bad("importe incorrecto " + QuotedValue(v));
                if (std::string p = AmountProblem(*n); !p.empty()) bad(QuotedValue(v) + ": " + p);
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
    if (!hasDebeHaber) {
        e.debeHaber = e.importe < 0 ? 2 : 1;
    } else if (debeHaber == "1" || debeHaber == "2") {
        e.debeHaber = debeHaber[0] - '0';
    } else {
        FieldError(
            rec.line, "DebeHaber",
            "indicador debe/haber incorrecto " + QuotedValue(debeHaber) + " (1 debe, 2 haber)");
    }
    return e;
}

// The header's columns, read from the first record of `reader`; the reader then knows their
// names and limits.
std::vector<Col> EntryHeader(CsvReader& reader) {
    std::vector<CsvRecord> first(1);
    if (!reader.Next(first[0])) first.clear();
    std::vector<Col> cols = Header(first, kEntryColumns);
    std::vector<std::string> names;
    std::vector<std::size_t> limits;
    for (Col c : cols) {
        names.push_back(EntryField(c).name);
        limits.push_back(EntryField(c).maxChars);
    }
    reader.SetColumns(std::move(names), std::move(limits));
    return cols;
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

namespace {

// The accounts of a chart file, each with the line it came from.
std::vector<std::pair<int, ChartAccount>> ChartLines(const std::string& text) {
    CsvReader reader(text);
    std::vector<CsvRecord> first(1);
    if (!reader.Next(first[0])) first.clear();
    std::vector<Col> cols = Header(first, kChartColumns);
    const FileCatalogue& cat = ChartCatalogue();
    auto fieldOf = [&](Col c) -> const FieldDef& {
        return *cat.ByName(c == Col::Cuenta ? "Cuenta" : c == Col::Nombre ? "Nombre" : "Nivel");
    };
    std::vector<std::string> names;
    std::vector<std::size_t> limits;
    for (Col c : cols) {
        names.push_back(fieldOf(c).name);
        limits.push_back(fieldOf(c).maxChars);
    }
    reader.SetColumns(names, limits);
    std::vector<std::pair<int, ChartAccount>> out;
    std::map<std::string, int> seen;
    CsvRecord rec;
    while (reader.Next(rec)) {
        if (Blank(rec)) continue;
        CheckWidth(rec, cols.size());
        ChartAccount a;
        for (std::size_t k = 0; k < cols.size(); ++k) {
            const std::string& v = rec.fields[k];
            const FieldDef& f = fieldOf(cols[k]);
            if (f.type == FieldType::Text) {
                if (std::string p = TextProblem(v, f.maxChars); !p.empty())
                    FieldError(rec.line, f.name, QuotedValue(v) + " " + TextHint(p));
            }
            if (cols[k] == Col::Cuenta) a.cuenta = Trim(v);
            if (cols[k] == Col::Nombre) a.nombre = v;
            if (cols[k] == Col::Nivel && !Trim(v).empty()) {
                std::optional<double> n = ParsePlainNumber(v);
                if (!n || *n != std::floor(*n) || *n < 0 || *n > 99)
                    FieldError(rec.line, f.name,
                               "nivel incorrecto " + QuotedValue(v) + " (0 a 99)");
                a.nivel = static_cast<std::int32_t>(*n);
            }
        }
        if (a.cuenta.empty()) LineError(rec.line, "falta la cuenta");
        if (auto [it, added] = seen.emplace(a.cuenta, rec.line); !added)
            FieldError(rec.line, "Cuenta",
                       "la cuenta " + QuotedValue(a.cuenta) + " ya está en la línea " +
                           std::to_string(it->second));
        out.emplace_back(rec.line, std::move(a));
    }
    return out;
}

}  // namespace

std::vector<ChartAccount> ParseChartCsv(const std::string& text) {
    std::vector<ChartAccount> out;
    for (auto& [line, account] : ChartLines(text))
        out.push_back(std::move(account));
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
        EntryRecord e = EntryFromRecord(rec, cols);
        try {
            writer.Add(e);
        } catch (const HostError& err) {
            LineError(rec.line, err.description());
        }
        ++n;
    }
    writer.Commit();
    return n;
}

std::size_t ImportChartCsv(const std::string& companyFile, const std::string& text) {
    std::vector<std::pair<int, ChartAccount>> lines = ChartLines(text);
    std::set<std::string> existing;
    for (const ChartAccount& a : ReadAccounts(companyFile))
        existing.insert(a.cuenta);
    std::vector<ChartAccount> accounts;
    for (auto& [line, a] : lines) {
        if (existing.count(a.cuenta))
            FieldError(line, "Cuenta",
                       "la cuenta " + QuotedValue(a.cuenta) + " ya está en el plan de cuentas");
        accounts.push_back(std::move(a));
    }
    AddAccounts(companyFile, accounts);
    return accounts.size();
}

std::string CsvTextFromEncoding(std::string text, const std::string& encoding) {
    const std::string name = Upper(Trim(encoding));
    if (name == "UTF8" || name == "UTF-8") return text;
    if (name == "LATIN1" || name == "LATIN-1" || name == "ISO-8859-1") return Latin1ToUtf8(text);
    if (name == "CP1252" || name == "WINDOWS-1252") return Latin1ToUtf8(text, true);
    throw HostError("codificación desconocida " + QuotedValue(encoding) +
                    " (utf8, latin1 o cp1252)");
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
