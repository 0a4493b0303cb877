// A seeded, time-bounded fuzz run of what reads outside text: the CSV readers and the filter
// parser. Inputs are made from valid examples by random edits and fed to every reader; whatever a
// reader accepts must keep the promises the rest of the program relies on:
//   - a CSV record written back with CsvField reads back the same;
//   - entries and accounts an import accepts are values the store keeps (no NUL byte, UTF-8,
//     within their lengths, dates 1960-2059, amounts within range, DebeHaber 1 or 2, accounts
//     once each);
//   - a filter that parses runs as SQL, and its "like" selects exactly the rows LikeMatch selects;
//   - converted 8-bit texts and quoted values in messages are UTF-8, quotes short.
// CI runs it under AddressSanitizer and UndefinedBehaviorSanitizer:
//   fuzz_readers --seed N --seconds S
// On a fault it names the seed, the iteration and the input (in hex) and ends with status 1.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/csv.h"
#include "host/errors.h"
#include "host/filter.h"
#include "host/store.h"
#include "host/utf8.h"

namespace pendara {
namespace {

const std::vector<std::string> kCsvExamples = {
    "Cuenta;Fecha;Asiento;Descripcion;DebeHaber;Importe;Marca;Tipo;Referencia punteo\n"
    "4300000001;10/01/2004;1;Venta de mostrador;1;100.00;;;\n"
    "4300000001;15/01/2004;2;\"Cobro; en \"\"efectivo\"\"\";2;-100,00;1;A;RF-1\r\n",
    "\xEF\xBB\xBFimporte;CUENTA;fecha;Descripción\n-12.5;4300000001;03/02/25;Cobro Fra. 12\n"
    "1.234,56;4300000002;3/2/1999;Año € ñ 𝄞\n",
    "Registro;Cuenta;Fecha;Campo2;Asiento;Descripcion;DebeHaber;Importe;Marca;Tipo;Campo14;"
    "Campo22;Referencia punteo\r\n1;4300000001;01/01/2025;c2;7;\"Línea\ncon salto\";2;-0,01;2;"
    "C;x;y;RF-99\r\n",
    "Cuenta;Descripcion;Nivel\n43;Clientes;1\n4300000001;Cliente uno;0\n4300000002;Otro;\n",
    "Cuenta;Nombre\n\"4000000001\";\"Proveedor \"\"grande\"\"\"\n",
};

const std::vector<std::string> kFilterExamples = {
    "cuenta =4300000138",
    "Cuenta = 4300000138",
    "Cuenta  like 43* and nivel =0",
    "Cuenta => 4000000000 and cuenta <= 4399999999 and nivel = 0",
    "Cuenta => 4000000000 and cuenta <= 4399999999 and cuenta like ?????????? and nivel = 0",
    "Referencia punteo =RF-42",
    "fecha => 01/01/24 and fecha <= 31/12/24",
    "Importe <= -10,5 and Descripcion like *Fra.?1*",
    "descripción like *ñ?€* and marca = 1",
};

// Pieces that tend to break readers: separators, quotes, line ends, NUL, bytes that are no
// UTF-8, cut sequences, keywords of the filter grammar; "|" between them (none holds one).
const std::vector<std::string> kPieces = [] {
    static const char kAll[] =
        ";|\"|\"\"|\n|\r|\r\n|\0|\xFF|\xC3|\xE2\x82|ñ|€|𝄞| and | AND |like|=>|<=|=|*|?|"
        "01/01/0059|31/12/2059|29/02/25|1e400|-0|9007199254740994|nivel|Cuenta|"
        "Referencia punteo|,|.|-|+| |\xEF\xBB\xBF";
    std::vector<std::string> pieces(1);
    for (std::size_t i = 0; i + 1 < sizeof kAll; ++i)
        if (kAll[i] == '|')
            pieces.emplace_back();
        else
            pieces.back().push_back(kAll[i]);
    return pieces;
}();

struct Fault {
    std::string what;
};

[[noreturn]] void Fail(const std::string& what) {
    throw Fault{what};
}

std::string Hex(const std::string& s) {
    static const char kHex[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : s) {
        out += kHex[c >> 4];
        out += kHex[c & 15];
    }
    return out;
}

class Mutator {
  public:
    explicit Mutator(std::uint64_t seed) : rng_(seed) {}

    std::size_t Below(std::size_t n) { return n == 0 ? 0 : rng_() % n; }

    std::string Make(const std::vector<std::string>& examples) {
        std::string s = examples[Below(examples.size())];
        const std::size_t edits = 1 + Below(8);
        for (std::size_t k = 0; k < edits; ++k)
            Edit(s, examples);
        return s;
    }

  private:
    void Edit(std::string& s, const std::vector<std::string>& examples) {
        const std::size_t at = Below(s.size() + 1);
        switch (Below(8)) {
            case 0:  // one random byte
                s.insert(at, 1, static_cast<char>(Below(256)));
                break;
            case 1:  // a piece that breaks things
                s.insert(at, kPieces[Below(kPieces.size())]);
                break;
            case 2:  // a cut
                if (!s.empty()) s.erase(at < s.size() ? at : s.size() - 1, 1 + Below(16));
                break;
            case 3:  // a flipped bit
                if (!s.empty()) s[Below(s.size())] ^= static_cast<char>(1 << Below(8));
                break;
            case 4: {  // a run repeated, sometimes long enough for the field limits
                const std::size_t len = 1 + Below(8);
                const std::string run = s.substr(at, len);
                const std::size_t times = Below(10) == 0 ? 20000 + Below(60000) : 1 + Below(40);
                std::string runs;
                runs.reserve(run.size() * times);
                for (std::size_t t = 0; t < times && !run.empty(); ++t)
                    runs += run;
                s.insert(at, runs);
                break;
            }
            case 5: {  // a splice of another example
                const std::string& other = examples[Below(examples.size())];
                const std::size_t from = Below(other.size());
                s.insert(at, other.substr(from, Below(other.size() - from + 1)));
                break;
            }
            case 6:  // a digit changed
                for (std::size_t i = at; i < s.size(); ++i)
                    if (s[i] >= '0' && s[i] <= '9') {
                        s[i] = static_cast<char>('0' + Below(10));
                        break;
                    }
                break;
            default:  // a line swapped for another's
                if (std::size_t nl = s.find('\n', at); nl != std::string::npos)
                    s.insert(nl + 1, examples[Below(examples.size())].substr(0, 60) + "\n");
                break;
        }
    }

    std::mt19937_64 rng_;
};

// --- CSV -------------------------------------------------------------------------------------

void CheckRoundTrip(const std::string& text) {
    std::vector<CsvRecord> records;
    try {
        records = ParseCsv(text);
    } catch (const HostError&) {
        return;
    }
    // A first field that starts with a byte order mark loses it by design.
    if (!records.empty() && !records[0].fields.empty() &&
        records[0].fields[0].rfind("\xEF\xBB\xBF", 0) == 0)
        return;
    std::string again;
    for (const CsvRecord& r : records) {
        for (std::size_t i = 0; i < r.fields.size(); ++i)
            again += (i ? ";" : "") + CsvField(r.fields[i]);
        again += "\n";
    }
    std::vector<CsvRecord> back = ParseCsv(again);
    if (back.size() != records.size()) Fail("CsvField: otro número de registros");
    for (std::size_t i = 0; i < back.size(); ++i)
        if (back[i].fields != records[i].fields)
            Fail("CsvField: otro registro " + std::to_string(i));
}

void CheckText(const FileCatalogue& cat, const char* name, const std::string& value) {
    const std::string problem = TextProblem(value, cat.ByName(name)->maxChars);
    if (!problem.empty()) Fail(std::string("aceptado en ") + name + ": " + problem);
}

void CheckEntries(const std::string& text) {
    std::vector<EntryRecord> entries;
    try {
        entries = ParseEntriesCsv(text);
    } catch (const HostError&) {
        return;
    }
    const FileCatalogue& cat = EntriesCatalogue();
    for (const EntryRecord& e : entries) {
        CheckText(cat, "Cuenta", e.cuenta);
        CheckText(cat, "Campo2", e.campo2);
        CheckText(cat, "Asiento", e.asiento);
        CheckText(cat, "Descripcion", e.descripcion);
        CheckText(cat, "Marca", e.marca);
        CheckText(cat, "Tipo", e.tipo);
        CheckText(cat, "Campo14", e.campo14);
        CheckText(cat, "Campo22", e.campo22);
        CheckText(cat, "Referencia punteo", e.referencia);
        if (Trim(e.cuenta).empty()) Fail("aceptado sin cuenta");
        if (!AmountProblem(e.importe).empty()) Fail("aceptado un importe fuera de rango");
        if (!DebeHaberProblem(e.debeHaber).empty()) Fail("aceptado un DebeHaber incorrecto");
        if (!Trim(e.fecha).empty()) {
            std::optional<std::int32_t> d = ParseDayFirstDate(e.fecha);
            if (!d || !DateProblem(*d).empty()) Fail("aceptada una fecha que no se guarda");
        }
    }
}

void CheckChart(const std::string& text) {
    std::vector<ChartAccount> accounts;
    try {
        accounts = ParseChartCsv(text);
    } catch (const HostError&) {
        return;
    }
    std::set<std::string> seen;
    for (const ChartAccount& a : accounts) {
        CheckText(ChartCatalogue(), "Cuenta", a.cuenta);
        CheckText(ChartCatalogue(), "Nombre", a.nombre);
        if (a.cuenta.empty() || a.nivel < 0 || a.nivel > 99) Fail("aceptada una cuenta incorrecta");
        if (!seen.insert(a.cuenta).second) Fail("aceptada una cuenta repetida");
    }
}

void CheckConversions(const std::string& text) {
    for (const char* encoding : {"latin1", "cp1252"})
        if (FirstInvalidUtf8(CsvTextFromEncoding(text, encoding)) != std::string::npos)
            Fail(std::string("conversión ") + encoding + " que no es UTF-8");
    const std::string quoted = QuotedValue(text);
    if (FirstInvalidUtf8(quoted) != std::string::npos) Fail("QuotedValue no es UTF-8");
    if (quoted.find('\0') != std::string::npos || Utf8Length(quoted) > 4 * 40 + 3)
        Fail("QuotedValue demasiado largo o con NUL");
}

// --- Filters ---------------------------------------------------------------------------------

// A data file of each kind with rows whose texts come from the same pieces as the inputs.
struct Files {
    std::filesystem::path folder;
    std::unique_ptr<Db> entries, chart;
    std::vector<std::string> descriptions;  // of the entries, one per row
};

Files MakeFiles(Mutator& m) {
    Files f;
    f.folder = std::filesystem::temp_directory_path() /
               ("fuzz-readers-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directories(f.folder);
    CreateDataFile((f.folder / "extraFZ.qvd").string(), FileKind::Entries);
    CreateDataFile((f.folder / "PlancFZ.qvd").string(), FileKind::Chart);
    f.entries = std::make_unique<Db>((f.folder / "extraFZ.qvd").string(), Db::Mode::ReadWrite);
    f.chart = std::make_unique<Db>((f.folder / "PlancFZ.qvd").string(), Db::Mode::ReadWrite);
    Stmt add(*f.entries,
             "INSERT INTO entries(cuenta, descripcion, importe, fecha) VALUES (?,?,?,?)");
    for (int i = 0; i < 60; ++i) {
        std::string d;
        for (std::size_t k = m.Below(6); k > 0; --k)
            d += kPieces[m.Below(kPieces.size())];
        f.descriptions.push_back(d);
        add.Reset();
        add.Bind(1, std::string_view(i % 2 ? "4300000138" : "4000000001"));
        add.Bind(2, std::string_view(d));
        add.Bind(3, static_cast<double>(i) - 30.5);
        add.Bind(4, static_cast<std::int64_t>(20240101 + i));
        add.Run();
    }
    return f;
}

std::int64_t Count(Db& db, const FileCatalogue& cat, const std::vector<FilterCondition>& c) {
    Stmt st(db, std::string("SELECT COUNT(*) FROM ") + cat.table + " WHERE " + FilterSql(c));
    BindFilter(st, c, 1);
    st.Step();
    return st.Int(0);
}

void CheckFilter(Files& f, const std::string& expression) {
    for (const FileCatalogue* cat : {&EntriesCatalogue(), &ChartCatalogue()}) {
        std::vector<FilterCondition> conditions;
        try {
            conditions = ParseFilter(expression, *cat);
        } catch (const HostError&) {
            continue;
        }
        try {
            Count(cat == &EntriesCatalogue() ? *f.entries : *f.chart, *cat, conditions);
        } catch (const HostError& e) {
            Fail("un filtro aceptado no se ejecuta: " + e.description());
        }
    }
    // The "like" of the description, through SQL (a range on its literal start, then the
    // matcher) against the matcher alone.
    const std::string pattern = expression.substr(0, 40);
    std::vector<FilterCondition> like;
    try {
        like = ParseFilter("Descripcion like " + pattern, EntriesCatalogue());
    } catch (const HostError&) {
        return;
    }
    if (like.size() != 1) return;
    std::int64_t expected = 0;
    for (const std::string& d : f.descriptions)
        expected += LikeMatch(d, like[0].value) ? 1 : 0;
    if (Count(*f.entries, EntriesCatalogue(), like) != expected)
        Fail("\"like\" en SQL no selecciona lo mismo que LikeMatch: " + Hex(like[0].value));
}

int Run(std::uint64_t seed, unsigned long seconds) {
    Mutator m(seed);
    Files files = MakeFiles(m);
    const auto start = std::chrono::steady_clock::now();
    const auto limit = std::chrono::seconds(seconds);
    std::uint64_t n = 0;
    int status = 0;
    for (; std::chrono::steady_clock::now() - start < limit; ++n) {
        const bool filter = m.Below(3) == 0;
        const std::string input = m.Make(filter ? kFilterExamples : kCsvExamples);
        try {
            if (filter) {
                CheckFilter(files, input);
            } else {
                CheckRoundTrip(input);
                CheckEntries(input);
                CheckChart(input);
                CheckConversions(input);
            }
        } catch (const Fault& fault) {
            std::fprintf(stderr, "fuzz_readers: semilla %llu, entrada %llu: %s\nentrada: %s\n",
                         static_cast<unsigned long long>(seed), static_cast<unsigned long long>(n),
                         fault.what.c_str(), Hex(input).c_str());
            status = 1;
            break;
        }
    }
    files.entries.reset();
    files.chart.reset();
    std::error_code ec;
    std::filesystem::remove_all(files.folder, ec);
    std::printf("fuzz_readers: semilla %llu, %llu entradas en %lu s%s\n",
                static_cast<unsigned long long>(seed), static_cast<unsigned long long>(n), seconds,
                status ? ", con un fallo" : ", sin fallos");
    return status;
}

}  // namespace
}  // namespace pendara

int main(int argc, char** argv) {
    std::uint64_t seed = 1;
    unsigned long seconds = 10;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--seed")
            seed = std::strtoull(argv[i + 1], nullptr, 10);
        else if (option == "--seconds")
            seconds = std::strtoul(argv[i + 1], nullptr, 10);
        else {
            std::fprintf(stderr, "uso: fuzz_readers [--seed N] [--seconds S]\n");
            return 2;
        }
    }
    return pendara::Run(seed, seconds);
}
