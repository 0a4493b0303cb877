#include "host/company_store.h"

#include <sqlite3.h>

#include <filesystem>
#include <set>

#include "host/company_file.h"
#include "host/conversions.h"
#include "host/crypt_vfs.h"
#include "host/entry_indexes.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/store.h"

namespace pendara {

namespace {

// Above this many new entries on an empty file the indexes are rebuilt once at the end, which
// is several times faster than keeping them up to date row by row.
constexpr std::size_t kBulkRows = 100000;

// The first thing wrong with an entry, as "campo X: ..." ("" when it may be stored).
std::string EntryProblem(const EntryRecord& e, std::int32_t* date) {
    const FileCatalogue& cat = EntriesCatalogue();
    auto text = [&](const char* name, const std::string& value) -> std::string {
        const FieldDef* f = cat.ByName(name);
        std::string p = TextProblem(value, f->maxChars);
        return p.empty() ? p
                         : std::string("campo ") + f->name + " " + QuotedValue(value) + ": " + p;
    };
    for (const auto& [name, value] :
         {std::pair<const char*, const std::string*>{"Cuenta", &e.cuenta},
          {"Campo2", &e.campo2},
          {"Asiento", &e.asiento},
          {"Descripcion", &e.descripcion},
          {"Marca", &e.marca},
          {"Tipo", &e.tipo},
          {"Campo14", &e.campo14},
          {"Campo22", &e.campo22},
          {"Referencia punteo", &e.referencia}})
        if (std::string p = text(name, *value); !p.empty()) return p;
    if (Trim(e.cuenta).empty()) return "falta la cuenta";
    *date = 0;
    if (!Trim(e.fecha).empty()) {
        std::optional<std::int32_t> d = ParseDayFirstDate(e.fecha);
        if (!d) return "fecha incorrecta " + QuotedValue(e.fecha);
        if (std::string p = DateProblem(*d); !p.empty())
            return "fecha " + QuotedValue(e.fecha) + ": " + p;
        *date = *d;
    }
    if (std::string p = DebeHaberProblem(e.debeHaber); !p.empty()) return p;
    if (std::string p = AmountProblem(e.importe); !p.empty()) return p;
    return "";
}

std::string ExistingDataFile(const std::string& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        throw HostError("No existe el fichero de datos " + path);
    return path;
}

}  // namespace

std::string EntriesFileOf(const std::string& companyFile, const std::string& code) {
    return ResolveFileName(FolderOf(companyFile) + "extra" + code + ".qvd");
}

std::string ChartFileOf(const std::string& companyFile, const std::string& code) {
    return ResolveFileName(FolderOf(companyFile) + "Planc" + code + ".qvd");
}

std::string EntriesFileOf(const std::string& companyFile) {
    std::string file = ExistingCompanyFile(companyFile);
    return EntriesFileOf(file, ReadCompanyCode(file));
}

std::string ChartFileOf(const std::string& companyFile) {
    std::string file = ExistingCompanyFile(companyFile);
    return ChartFileOf(file, ReadCompanyCode(file));
}

void CreateCompany(const std::string& companyFile, const CompanyDetails& details) {
    std::error_code ec;
    if (std::filesystem::exists(companyFile, ec))
        throw HostError("El fichero de empresa " + companyFile + " ya existe");
    CompanyHeader h;
    h.code = details.code;
    h.name = details.name;
    h.year = details.year;
    h.previous = PreviousLink(companyFile, details.previous);
    SetAccessKey(h, details.key);
    // The creator knows the key: the new data files are encrypted with it.
    if (h.hasKey) RegisterDataKey(h.salt, DeriveKeys(details.key, h.salt, h.keyCost).data);
    const Salt* salt = h.hasKey ? &h.salt : nullptr;
    std::string folder = FolderOf(companyFile);
    // Another company with the same code in this folder would share its data files.
    for (const std::string& data :
         {EntriesFileOf(companyFile, details.code), ChartFileOf(companyFile, details.code)})
        if (std::filesystem::exists(data, ec))
            throw HostError("Ya existe el fichero de datos " + data +
                            ": otra empresa de esta carpeta usa el código " + details.code);
    if (!folder.empty()) std::filesystem::create_directories(folder, ec);
    // The data files first: a company file is only there once its data files are.
    CreateDataFile(folder + "extra" + details.code + ".qvd", FileKind::Entries, salt);
    CreateDataFile(folder + "Planc" + details.code + ".qvd", FileKind::Chart, salt);
    CreateCompanyFile(companyFile, h);
}

void AddAccounts(const std::string& companyFile, const std::vector<ChartAccount>& accounts) {
    const FileCatalogue& cat = ChartCatalogue();
    std::set<std::string> added;
    for (const ChartAccount& a : accounts) {
        const std::string where = "Cuenta " + QuotedValue(a.cuenta) + " del plan de cuentas: ";
        for (const auto& [name, value] :
             {std::pair<const char*, const std::string*>{"Cuenta", &a.cuenta},
              {"Nombre", &a.nombre}})
            if (std::string p = TextProblem(*value, cat.ByName(name)->maxChars); !p.empty())
                throw HostError(where + "campo " + cat.ByName(name)->name + ": " + p);
        if (Trim(a.cuenta).empty()) throw HostError("Una cuenta del plan de cuentas está vacía");
        if (a.nivel < 0 || a.nivel > 99) throw HostError(where + "nivel fuera de 0 a 99");
        if (!added.insert(a.cuenta).second) throw HostError(where + "repetida");
    }
    Db db(ExistingDataFile(ChartFileOf(companyFile)), Db::Mode::ReadWrite);
    db.Exec("BEGIN IMMEDIATE");
    try {
        // A code twice in the chart would be listed, matched and saved twice.
        Stmt exists(db, "SELECT 1 FROM accounts WHERE cuenta = ? LIMIT 1");
        Stmt st(db, "INSERT INTO accounts(cuenta, nombre, nivel) VALUES (?, ?, ?)");
        for (const ChartAccount& a : accounts) {
            exists.Reset();
            exists.Bind(1, std::string_view(a.cuenta));
            if (exists.Step())
                throw HostError("La cuenta " + QuotedValue(a.cuenta) +
                                " ya está en el plan de cuentas");
            st.Reset();
            st.Bind(1, std::string_view(a.cuenta));
            st.Bind(2, std::string_view(a.nombre));
            st.Bind(3, static_cast<std::int64_t>(a.nivel));
            st.Run();
        }
        db.Exec("COMMIT");
    } catch (...) {
        db.Exec("ROLLBACK");
        throw;
    }
}

struct EntryWriter::Impl {
    Db db;
    Stmt insert;
    bool bulk = false;
    bool done = false;
    explicit Impl(const std::string& file) : db(file, Db::Mode::ReadWrite) {}
};

EntryWriter::EntryWriter(const std::string& companyFile, bool bulk)
    : impl_(std::make_unique<Impl>(ExistingDataFile(EntriesFileOf(companyFile)))) {
    Impl& m = *impl_;
    m.db.Exec("BEGIN IMMEDIATE");
    if (bulk) {
        Stmt any(m.db, "SELECT 1 FROM entries LIMIT 1");
        if (!any.Step()) {
            m.bulk = true;
            m.db.Exec("DROP INDEX IF EXISTS entries_cuenta");
            m.db.Exec("DROP INDEX IF EXISTS entries_cuenta_fecha");
            m.db.Exec("DROP INDEX IF EXISTS entries_referencia");
            m.db.Exec("DROP INDEX IF EXISTS entries_unreferenced");
        }
    }
    m.insert = Stmt(m.db,
                    "INSERT INTO entries(cuenta, fecha, campo2, asiento, descripcion, debe_haber,"
                    " importe, marca, tipo, campo14, campo22, referencia)"
                    " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
}

EntryWriter::~EntryWriter() {
    if (!impl_->done) {
        impl_->insert = Stmt();
        try {
            impl_->db.Exec("ROLLBACK");
        } catch (...) {
            // closing the connection rolls back what is left
        }
    }
}

std::int32_t EntryWriter::Add(const EntryRecord& e) {
    std::int32_t date = 0;
    if (std::string p = EntryProblem(e, &date); !p.empty())
        throw HostError("Apunte de la cuenta " + QuotedValue(e.cuenta) + ": " + p);
    Stmt& st = impl_->insert;
    st.Reset();
    st.Bind(1, std::string_view(e.cuenta));
    st.Bind(2, static_cast<std::int64_t>(date));
    st.Bind(3, std::string_view(e.campo2));
    st.Bind(4, std::string_view(e.asiento));
    st.Bind(5, std::string_view(e.descripcion));
    st.Bind(6, static_cast<std::int64_t>(e.debeHaber));
    st.Bind(7, e.importe);
    st.Bind(8, std::string_view(e.marca));
    st.Bind(9, std::string_view(e.tipo));
    st.Bind(10, std::string_view(e.campo14));
    st.Bind(11, std::string_view(e.campo22));
    st.Bind(12, std::string_view(e.referencia));
    st.Run();
    return static_cast<std::int32_t>(sqlite3_last_insert_rowid(impl_->db.handle()));
}

void EntryWriter::Commit() {
    Impl& m = *impl_;
    m.insert = Stmt();
    // Made again after a bulk load; a file made before one of them was added or changed gets it
    // here.
    UpgradeEntryIndexes(m.db);
    for (const char* sql : EntryIndexSql())
        m.db.Exec(sql);
    m.db.Exec("COMMIT");
    m.done = true;
}

void AddEntries(const std::string& companyFile, std::vector<EntryRecord>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::int32_t date = 0;
        if (std::string p = EntryProblem(entries[i], &date); !p.empty())
            throw HostError("Apunte " + std::to_string(i + 1) + ": " + p);
    }
    EntryWriter writer(companyFile, entries.size() >= kBulkRows);
    for (EntryRecord& e : entries)
        e.registro = writer.Add(e);
    writer.Commit();
}

std::vector<EntryRecord> ReadEntries(const std::string& companyFile, const std::string& account) {
    Db db(ExistingDataFile(EntriesFileOf(companyFile)), Db::Mode::ReadWrite);
    Stmt st(db, std::string("SELECT id, cuenta, fecha, campo2, asiento, descripcion, debe_haber,"
                            " importe, marca, tipo, campo14, campo22, referencia FROM entries") +
                    (account.empty() ? "" : " WHERE cuenta = ?") + " ORDER BY id");
    if (!account.empty()) st.Bind(1, std::string_view(account));
    std::vector<EntryRecord> out;
    while (st.Step()) {
        EntryRecord e;
        e.registro = static_cast<std::int32_t>(st.Int(0));
        e.cuenta = st.Text(1);
        e.fecha = DayFirstText(static_cast<std::int32_t>(st.Int(2)));
        e.campo2 = st.Text(3);
        e.asiento = st.Text(4);
        e.descripcion = st.Text(5);
        e.debeHaber = static_cast<std::int32_t>(st.Int(6));
        e.importe = st.Real(7);
        e.marca = st.Text(8);
        e.tipo = st.Text(9);
        e.campo14 = st.Text(10);
        e.campo22 = st.Text(11);
        e.referencia = st.Text(12);
        out.push_back(std::move(e));
    }
    return out;
}

std::vector<ChartAccount> ReadAccounts(const std::string& companyFile) {
    Db db(ExistingDataFile(ChartFileOf(companyFile)), Db::Mode::ReadWrite);
    Stmt st(db, "SELECT cuenta, nombre, nivel FROM accounts ORDER BY id");
    std::vector<ChartAccount> out;
    while (st.Step())
        out.push_back({st.Text(0), st.Text(1), static_cast<std::int32_t>(st.Int(2))});
    return out;
}

}  // namespace pendara
