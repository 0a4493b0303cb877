#include "host/store.h"

#include <sqlite3.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/vfs.h>
#endif

#include "host/connection_settings.h"
#include "host/conversions.h"
#include "host/crypt_vfs.h"
#include "host/entry_indexes.h"
#include "host/errors.h"
#include "host/numbers.h"
#include "host/paths.h"
#include "host/utf8.h"

namespace pendara {

namespace {

// Long enough for another process to finish a save of one account.
constexpr int kBusyTimeoutMs = 30000;

const FieldDef* FindByName(const std::vector<FieldDef>& fields, std::string_view name) {
    for (const FieldDef& f : fields)
        if (EqualsNoCase(name, f.name) || (f.alias && EqualsNoCase(name, f.alias))) return &f;
    return nullptr;
}

void LikeFunction(sqlite3_context* ctx, int, sqlite3_value** argv) {
    const unsigned char* text = sqlite3_value_text(argv[0]);
    const unsigned char* pattern = sqlite3_value_text(argv[1]);
    if (!text || !pattern) {
        sqlite3_result_int(ctx, 0);
        return;
    }
    // By length: a text may hold a NUL byte (data written before such bytes were refused).
    const std::string_view t(reinterpret_cast<const char*>(text),
                             static_cast<std::size_t>(sqlite3_value_bytes(argv[0])));
    const std::string_view p(reinterpret_cast<const char*>(pattern),
                             static_cast<std::size_t>(sqlite3_value_bytes(argv[1])));
    sqlite3_result_int(ctx, LikeMatch(t, p) ? 1 : 0);
}

// Patterns match character by character: "?" and "*" step over whole characters, and a lone
// byte of the pattern does not match the first byte of a longer character.
std::size_t CharLength(std::string_view text, std::size_t at) {
    return DecodeUtf8(text, at).bytes;
}

bool SameCharacter(std::string_view a, std::size_t i, std::string_view b, std::size_t j) {
    const std::size_t n = CharLength(a, i);
    return n == CharLength(b, j) && a.substr(i, n) == b.substr(j, n);
}

// WAL keeps its index in shared memory, which processes on different machines do not share:
// on a network folder every file uses the rollback journal instead.
bool OnNetworkFolder(const std::string& path) {
#ifdef _WIN32
    if (path.rfind("\\\\", 0) == 0 || path.rfind("//", 0) == 0) return true;
    std::error_code ec;
    std::filesystem::path root = std::filesystem::absolute(path, ec).root_path();
    return !ec && GetDriveTypeW(root.wstring().c_str()) == DRIVE_REMOTE;
#else
    struct statfs fs {};
    std::string folder = FolderOf(path);
    if (::statfs(folder.empty() ? "." : folder.c_str(), &fs) != 0) return false;
    switch (static_cast<unsigned long>(fs.f_type)) {
        case 0x6969UL:      // NFS
        case 0x517BUL:      // SMB
        case 0xFF534D42UL:  // CIFS
        case 0xFE534D42UL:  // SMB2
        case 0x564C0000UL:  // NCP
        case 0x65735546UL:  // FUSE (sshfs and the like)
        case 0x01021997UL:  // 9P
            return true;
        default:
            return false;
    }
#endif
}

}  // namespace

const FieldDef* FileCatalogue::ByNumber(std::int32_t number) const {
    if (number == 0) return nullptr;
    for (const FieldDef& f : fields)
        if (f.number == number) return &f;
    return nullptr;
}

const FieldDef* FileCatalogue::ByName(std::string_view name) const {
    return FindByName(fields, name);
}

const FileCatalogue& EntriesCatalogue() {
    static const FileCatalogue c{
        FileKind::Entries,
        "entries",
        {
            {1, "Fecha", nullptr, "fecha", FieldType::Date},
            {2, "Campo2", nullptr, "campo2", FieldType::Text, 50},
            {3, "Asiento", nullptr, "asiento", FieldType::Text, 20},
            {4, "Descripcion", "Descripción", "descripcion", FieldType::Text, 255},
            {5, "DebeHaber", nullptr, "debe_haber", FieldType::Integer},
            {6, "Importe", nullptr, "importe", FieldType::Number},
            {7, "Marca", nullptr, "marca", FieldType::Text, 20},
            {8, "Tipo", nullptr, "tipo", FieldType::Text, 20},
            {14, "Campo14", nullptr, "campo14", FieldType::Text, 50},
            {22, "Campo22", nullptr, "campo22", FieldType::Text, 50},
            {23, "Referencia punteo", nullptr, "referencia", FieldType::Text, 255},
            {0, "Cuenta", nullptr, "cuenta", FieldType::Text, 20},
        }};
    return c;
}

const FileCatalogue& ChartCatalogue() {
    static const FileCatalogue c{FileKind::Chart,
                                 "accounts",
                                 {
                                     {1, "Cuenta", nullptr, "cuenta", FieldType::Text, 20},
                                     {2, "Descripcion", "Nombre", "nombre", FieldType::Text, 255},
                                     {0, "Nivel", nullptr, "nivel", FieldType::Integer},
                                 }};
    return c;
}

std::optional<std::int32_t> ParseDayFirstDate(std::string_view text) {
    std::string t = Trim(text);
    int parts[3] = {0, 0, 0};
    int digits[3] = {0, 0, 0};
    int k = 0;
    for (char c : t) {
        if (c == '/' || c == '-') {
            if (++k > 2) return std::nullopt;
        } else if (c >= '0' && c <= '9') {
            if (++digits[k] > 4) return std::nullopt;
            parts[k] = parts[k] * 10 + (c - '0');
        } else {
            return std::nullopt;
        }
    }
    if (k != 2 || digits[0] == 0 || digits[0] > 2 || digits[1] == 0 || digits[1] > 2)
        return std::nullopt;
    int year = parts[2];
    if (digits[2] == 2)
        year += year < 60 ? 2000 : 1900;
    else if (digits[2] != 4)
        return std::nullopt;
    int month = parts[1], day = parts[0];
    static const int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) return std::nullopt;
    bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == 2 && day == 29 && !leap) return std::nullopt;
    return year * 10000 + month * 100 + day;
}

std::string DayFirstText(std::int32_t d) {
    if (d <= 0) return "";
    // Written in place: every entry read goes through here.
    std::string out = "00/00/00";
    const std::int32_t parts[3] = {d % 100, (d / 100) % 100, (d / 10000) % 100};
    for (std::size_t i = 0; i < 3; ++i) {
        out[3 * i] = static_cast<char>('0' + parts[i] / 10);
        out[3 * i + 1] = static_cast<char>('0' + parts[i] % 10);
    }
    return out;
}

std::optional<double> ParsePlainNumber(std::string_view text) {
    std::string t = Trim(text);
    if (t.empty()) return std::nullopt;
    const std::size_t comma = t.find(',');
    if (comma == std::string::npos) return ReadDecimal(t, '.');
    // "1.234,56": the points before the comma group thousands; a sign only comes first.
    const std::size_t start = t[0] == '-' || t[0] == '+' ? 1 : 0;
    std::string plain = t.substr(0, start);
    for (std::size_t i = start; i < t.size(); ++i) {
        if (t[i] == '-' || t[i] == '+') return std::nullopt;
        if (t[i] != '.' || i > comma) plain += t[i];
    }
    return ReadDecimal(plain, ',');
}

std::string TextProblem(std::string_view value, std::size_t maxChars) {
    if (std::size_t nul = value.find('\0'); nul != std::string_view::npos)
        return "contiene un byte nulo (carácter " +
               std::to_string(Utf8Length(value.substr(0, nul)) + 1) + ")";
    if (std::size_t bad = FirstInvalidUtf8(value); bad != std::string_view::npos) {
        static const char kHex[] = "0123456789ABCDEF";
        const auto b = static_cast<unsigned char>(value[bad]);
        return std::string("no es texto UTF-8 (byte 0x") + kHex[b >> 4] + kHex[b & 15] +
               " en el carácter " + std::to_string(Utf8Length(value.substr(0, bad)) + 1) + ")";
    }
    if (maxChars != 0) {
        const std::size_t n = Utf8Length(value);
        if (n > maxChars)
            return "tiene " + std::to_string(n) + " caracteres y el máximo es " +
                   std::to_string(maxChars);
    }
    return "";
}

std::string AmountProblem(double value) {
    if (!std::isfinite(value) || std::fabs(value) > kMaxAmount)
        return "importe fuera del rango que se guarda (hasta ±9.007.199.254.740.992)";
    return "";
}

std::string DateProblem(std::int32_t d) {
    if (d == 0) return "";
    const int year = d / 10000;
    if (year < kFirstDateYear || year > kLastDateYear)
        return "año " + std::to_string(year) + " fuera de los años que se guardan (" +
               std::to_string(kFirstDateYear) + " a " + std::to_string(kLastDateYear) + ")";
    return "";
}

std::string DebeHaberProblem(std::int64_t value) {
    if (value == 1 || value == 2) return "";
    return "indicador debe/haber " + std::to_string(value) + " (1 debe, 2 haber)";
}

std::string FieldValueProblem(const FieldDef& f, std::string_view value) {
    switch (f.type) {
        case FieldType::Text:
            return TextProblem(value, f.maxChars);
        case FieldType::Integer:
        case FieldType::Number: {
            const bool debeHaber = std::string_view(f.column) == "debe_haber";
            if (Trim(value).empty()) return debeHaber ? DebeHaberProblem(0) : "";
            std::optional<double> n = ParsePlainNumber(value);
            if (!n) return "no es un número";
            if (f.type == FieldType::Number) return AmountProblem(*n);
            if (*n != std::floor(*n) || std::fabs(*n) > 2e9) return "no es un número entero";
            if (debeHaber) return DebeHaberProblem(static_cast<std::int64_t>(*n));
            if (std::string_view(f.column) == "nivel" && (*n < 0 || *n > 99))
                return "nivel fuera de 0 a 99";
            return "";
        }
        case FieldType::Date: {
            if (Trim(value).empty()) return "";
            std::optional<std::int32_t> d = ParseDayFirstDate(value);
            if (!d) return "no es una fecha dd/mm/aa";
            return DateProblem(*d);
        }
    }
    return "";
}

std::string QuotedValue(std::string_view value) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out = "\"";
    std::size_t chars = 0, i = 0;
    for (; i < value.size() && chars < 40; ++chars) {
        const Utf8Char c = DecodeUtf8(value, i);
        if (!c.valid || c.code < 0x20 || c.code == 0x7F) {
            const auto b = static_cast<unsigned char>(value[i]);
            out += std::string("\\x") + kHex[b >> 4] + kHex[b & 15];
        } else {
            out.append(value.substr(i, c.bytes));
        }
        i += c.bytes;
    }
    if (i < value.size()) out += "…";
    return out + "\"";
}

std::string ResolveFileName(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ec;
    if (path.empty() || fs::exists(path, ec)) return path;
    std::string folder = FolderOf(path);
    std::string name = FileNameOf(path);
    fs::path dir = folder.empty() ? fs::path(".") : fs::path(folder);
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::string candidate = it->path().filename().string();
        if (EqualsNoCase(candidate, name)) return folder + candidate;
    }
    return path;
}

bool LikeMatch(std::string_view text, std::string_view pattern) {
    // Iterative glob with one back-tracking point for the last "*".
    std::size_t t = 0, p = 0, starP = std::string_view::npos, starT = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starP = ++p;
            starT = t;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            t += CharLength(text, t);
        } else if (p < pattern.size() && SameCharacter(pattern, p, text, t)) {
            p += CharLength(pattern, p);
            t += CharLength(text, t);
        } else if (starP != std::string_view::npos) {
            p = starP;
            starT += CharLength(text, starT);
            t = starT;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size() && t == text.size();
}

// --- Db ------------------------------------------------------------------------------------------

Db::Db(const std::string& path, Mode mode) : path_(path) {
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    if (mode == Mode::Create) flags |= SQLITE_OPEN_CREATE;
    // Every file goes through the VFS that encrypts the data of protected companies.
    EnsureCryptVfs();
    TakeCryptProblem();
    if (sqlite3_open_v2(path.c_str(), &db_, flags, kCryptVfsName) != SQLITE_OK) {
        std::string msg = TakeCryptProblem();
        if (!msg.empty()) {
            sqlite3_close(db_);
            db_ = nullptr;
            throw HostError(msg);
        }
        msg = db_ ? sqlite3_errmsg(db_) : "sin memoria";
        sqlite3_close(db_);
        db_ = nullptr;
        throw HostError("No se puede abrir el fichero " + path + ": " + msg);
    }
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
    sqlite3_extended_result_codes(db_, 1);
    try {
        // WAL needs shared memory on a local disk; where it is refused the journal mode stays
        // the rollback journal, which is safe everywhere.
        bool wal = false;
        if (!OnNetworkFolder(path)) {
            try {
                Stmt st(*this, "PRAGMA journal_mode=WAL");
                wal = st.Step() && EqualsNoCase(st.Text(0), "wal");
            } catch (const HostError&) {
                // refused: the rollback journal below
            }
        }
        if (!wal) Exec("PRAGMA journal_mode=DELETE");
        Exec("PRAGMA synchronous=FULL");
        // Sorts and temporary tables of an encrypted file stay in memory.
        if (IsEncrypted(db_)) Exec("PRAGMA temp_store=MEMORY");
    } catch (...) {
        sqlite3_close(db_);
        db_ = nullptr;
        throw;
    }
    sqlite3_create_function(db_, "qv_like", 2, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                            LikeFunction, nullptr, nullptr);
}

Db::~Db() {
    prepared_.clear();
    if (db_) sqlite3_close_v2(db_);
}

Stmt& Db::Prepared(const std::string& sql) {
    std::unique_ptr<Stmt>& st = prepared_[sql];
    if (!st) st = std::make_unique<Stmt>(*this, sql);
    st->Reset();
    return *st;
}

void RestoreConnectionSettings(Db& db) {
    sqlite3_busy_timeout(db.handle(), kBusyTimeoutMs);
    db.Exec("PRAGMA synchronous=FULL");
    db.Exec("PRAGMA wal_autocheckpoint=1000");  // SQLite's own
}

// --- ConnectionReuse ---------------------------------------------------------------------------

struct DbHandle::Kept {
    std::unique_ptr<Db> db;
    int shared = 0;          // shared handles using it
    bool exclusive = false;  // an exclusive handle has it
};

namespace {

struct ReuseState {
    int depth = 0;
    std::map<std::string, std::shared_ptr<DbHandle::Kept>> kept;  // by path as given
};

// Inside a transaction, or with a statement stepped and not reset.
bool InUse(sqlite3* db) {
    if (!sqlite3_get_autocommit(db)) return true;
    for (sqlite3_stmt* st = sqlite3_next_stmt(db, nullptr); st; st = sqlite3_next_stmt(db, st))
        if (sqlite3_stmt_busy(st)) return true;
    return false;
}

ReuseState& Reuse() {
    static ReuseState state;
    return state;
}

}  // namespace

ConnectionReuse::ConnectionReuse() {
    ++Reuse().depth;
}

ConnectionReuse::~ConnectionReuse() {
    ReuseState& r = Reuse();
    if (--r.depth == 0) r.kept.clear();
}

bool ConnectionReuse::Active() {
    return Reuse().depth > 0;
}

DbHandle::DbHandle(const std::string& path, Use use) : use_(use) {
    ReuseState& r = Reuse();
    if (r.depth > 0) {
        std::shared_ptr<Kept>& k = r.kept[path];
        if (!k || !k->db) {
            auto fresh = std::make_shared<Kept>();
            fresh->db = std::make_unique<Db>(path, Db::Mode::ReadWrite);
            k = std::move(fresh);
        }
        // A kept connection inside a transaction (another handle's statement still running),
        // or one an exclusive handle has, is not shared: this use gets one of its own.
        const bool free =
            !k->exclusive && !InUse(k->db->handle()) && (use == Use::Shared || k->shared == 0);
        if (free) {
            if (use == Use::Shared)
                ++k->shared;
            else
                k->exclusive = true;
            kept_ = k;
            db_ = k->db.get();
            return;
        }
    }
    owned_ = std::make_unique<Db>(path, Db::Mode::ReadWrite);
    db_ = owned_.get();
}

DbHandle::~DbHandle() {
    if (!kept_) return;
    if (use_ == Use::Shared)
        --kept_->shared;
    else
        kept_->exclusive = false;
}

void Db::Fail(const std::string& what) const {
    // A block that does not decrypt is named by the VFS; SQLite says "disk I/O error".
    std::string why = TakeCryptProblem();
    if (why.empty()) why = sqlite3_errmsg(db_);
    throw HostError("Error en el fichero " + path_ + " (" + what + "): " + why);
}

bool Db::encrypted() const {
    return IsEncrypted(db_);
}

void Db::Exec(const std::string& sql) {
    char* err = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
        std::string msg = err ? err : "";
        sqlite3_free(err);
        throw HostError("Error en el fichero " + path_ + " (" + sql + "): " + msg);
    }
}

const FileCatalogue& Db::Catalogue() {
    Stmt& st = Prepared("SELECT name FROM sqlite_master WHERE type='table' AND name IN (?,?)");
    st.Bind(1, std::string_view(EntriesCatalogue().table));
    st.Bind(2, std::string_view(ChartCatalogue().table));
    const bool found = st.Step();
    const bool entries = found && st.Text(0) == EntriesCatalogue().table;
    st.Reset();
    if (!found) throw HostError("El fichero " + path_ + " no es un fichero de datos de Quorvex");
    return entries ? EntriesCatalogue() : ChartCatalogue();
}

// --- Stmt ----------------------------------------------------------------------------------------

Stmt::Stmt(const Db& db, const std::string& sql) : db_(&db) {
    if (sqlite3_prepare_v2(db.handle(), sql.c_str(), -1, &st_, nullptr) != SQLITE_OK) db.Fail(sql);
}

Stmt::~Stmt() {
    if (st_) sqlite3_finalize(st_);
}

Stmt::Stmt(Stmt&& o) noexcept : st_(o.st_), db_(o.db_) {
    o.st_ = nullptr;
}

Stmt& Stmt::operator=(Stmt&& o) noexcept {
    if (this != &o) {
        if (st_) sqlite3_finalize(st_);
        st_ = o.st_;
        db_ = o.db_;
        o.st_ = nullptr;
    }
    return *this;
}

void Stmt::Reset() {
    sqlite3_reset(st_);
    sqlite3_clear_bindings(st_);
}

// A value SQLite refuses to take (a text beyond its limits) is a failure of its own, not a
// missing value that a constraint would name later.
void Stmt::Check(int rc, int i) const {
    if (rc == SQLITE_OK) return;
    throw HostError("Error en el fichero " + db_->path() + " (valor " + std::to_string(i) + " de " +
                    (sqlite3_sql(st_) ? sqlite3_sql(st_) : "") + "): " + sqlite3_errstr(rc));
}

void Stmt::Bind(int i, std::string_view text) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        Check(SQLITE_TOOBIG, i);
    Check(sqlite3_bind_text(st_, i, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT),
          i);
}
void Stmt::Bind(int i, std::int64_t v) {
    Check(sqlite3_bind_int64(st_, i, v), i);
}
void Stmt::Bind(int i, double v) {
    Check(sqlite3_bind_double(st_, i, v), i);
}
void Stmt::BindNull(int i) {
    Check(sqlite3_bind_null(st_, i), i);
}

bool Stmt::Step() {
    int rc = sqlite3_step(st_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    std::string sql = sqlite3_sql(st_) ? sqlite3_sql(st_) : "";
    sqlite3_reset(st_);
    db_->Fail(sql);
}

void Stmt::Run() {
    Step();
    sqlite3_reset(st_);
}

std::int64_t Stmt::Int(int col) const {
    return sqlite3_column_int64(st_, col);
}
double Stmt::Real(int col) const {
    return sqlite3_column_double(st_, col);
}
std::string Stmt::Text(int col) const {
    const unsigned char* p = sqlite3_column_text(st_, col);
    if (!p) return "";
    return std::string(reinterpret_cast<const char*>(p),
                       static_cast<std::size_t>(sqlite3_column_bytes(st_, col)));
}
std::string_view Stmt::TextView(int col) const {
    const unsigned char* p = sqlite3_column_text(st_, col);
    if (!p) return {};
    return {reinterpret_cast<const char*>(p),
            static_cast<std::size_t>(sqlite3_column_bytes(st_, col))};
}
bool Stmt::IsNull(int col) const {
    return sqlite3_column_type(st_, col) == SQLITE_NULL;
}

namespace {
// Only the entries that carry a reference: a look-up by reference must say `referencia <> ''`
// for SQLite to use it.
constexpr const char* kReferenceIndexSql =
    "CREATE INDEX IF NOT EXISTS entries_referencia ON entries(referencia)"
    " WHERE referencia <> ''";
}  // namespace

const std::vector<const char*>& EntryIndexSql() {
    // By account in record order (the extract); by account and date, carrying what balances and
    // period figures add up so that they never touch the table; by reference (new numbers); and
    // by account over the entries without a reference of ours only, so that the pending list
    // finds an account's open entry without reading the referenced ones (they are most of a
    // reconciled ledger).
    static const std::vector<const char*> sql = {
        "CREATE INDEX IF NOT EXISTS entries_cuenta ON entries(cuenta)",
        "CREATE INDEX IF NOT EXISTS entries_cuenta_fecha"
        " ON entries(cuenta, fecha, tipo, debe_haber, importe)",
        kReferenceIndexSql,
        "CREATE INDEX IF NOT EXISTS entries_unreferenced ON entries(cuenta)"
        " WHERE referencia NOT LIKE '%rf-%'",
    };
    return sql;
}

bool UpgradeEntryIndexes(Db& db) {
    // Files made before the reference's index left out the empty reference index every entry
    // under it. Giving an entry its first reference then also rewrote a page of that long run
    // of empty keys, one far from the others for each entry of an account.
    std::string current;
    {
        Stmt st(
            db,
            "SELECT sql FROM sqlite_master WHERE type = 'index' AND name = 'entries_referencia'");
        if (!st.Step()) return false;
        current = st.Text(0);
    }
    if (current.find("WHERE") != std::string::npos) return false;
    db.Exec("DROP INDEX entries_referencia");
    db.Exec(kReferenceIndexSql);
    return true;
}

void CreateDataFile(const std::string& path, FileKind kind, const Salt* companySalt) {
    std::error_code ec;
    if (companySalt && !std::filesystem::exists(path, ec)) CreateEncryptedFile(path, *companySalt);
    Db db(path, Db::Mode::Create);
    // The pages are the blocks an encrypted file is sealed in.
    db.Exec("PRAGMA page_size=4096");
    db.Exec("BEGIN IMMEDIATE");
    if (kind == FileKind::Entries) {
        db.Exec(
            "CREATE TABLE IF NOT EXISTS entries("
            "id INTEGER PRIMARY KEY, cuenta TEXT NOT NULL DEFAULT '', fecha INTEGER NOT NULL "
            "DEFAULT 0,"
            " campo2 TEXT NOT NULL DEFAULT '', asiento TEXT NOT NULL DEFAULT '',"
            " descripcion TEXT NOT NULL DEFAULT '', debe_haber INTEGER NOT NULL DEFAULT 0,"
            " importe REAL NOT NULL DEFAULT 0, marca TEXT NOT NULL DEFAULT '',"
            " tipo TEXT NOT NULL DEFAULT '', campo14 TEXT NOT NULL DEFAULT '',"
            " campo22 TEXT NOT NULL DEFAULT '', referencia TEXT NOT NULL DEFAULT '')");
        for (const char* sql : EntryIndexSql())
            db.Exec(sql);
    } else {
        db.Exec(
            "CREATE TABLE IF NOT EXISTS accounts("
            "id INTEGER PRIMARY KEY, cuenta TEXT NOT NULL DEFAULT '',"
            " nombre TEXT NOT NULL DEFAULT '', nivel INTEGER NOT NULL DEFAULT 0)");
        db.Exec("CREATE INDEX IF NOT EXISTS accounts_cuenta ON accounts(cuenta)");
    }
    db.Exec("COMMIT");
}

}  // namespace pendara
