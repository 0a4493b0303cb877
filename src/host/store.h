#pragma once
// The SQLite store behind the host's data files: one database per data file, the catalogue of
// each kind of file's fields, and the small helpers (statements, dates, file names) the cursor,
// the company server and the tools share.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/access_key.h"

struct sqlite3;
struct sqlite3_stmt;

namespace pendara {

class Stmt;

enum class FieldType { Text, Integer, Number, Date };

struct FieldDef {
    std::int32_t number;  // 0: reachable by name only
    const char* name;     // the host's name, compared without regard to case
    const char* alias;    // a second accepted name (nullptr when none)
    const char* column;   // the SQLite column
    FieldType type;
    std::size_t maxChars = 0;  // the longest text the field holds, in characters
};

enum class FileKind { Entries, Chart };

struct FileCatalogue {
    FileKind kind;
    const char* table;
    std::vector<FieldDef> fields;

    const FieldDef* ByNumber(std::int32_t number) const;
    const FieldDef* ByName(std::string_view name) const;
};

// The fields of an entries file ("extra" & code & ".qvd") and of a chart of accounts
// ("Planc" & code & ".qvd"), written down once.
const FileCatalogue& EntriesCatalogue();
const FileCatalogue& ChartCatalogue();

// Dates are stored as the integer yyyymmdd so that they sort; 0 is no date.
// Accepts dd/mm/yy (years below 60 are 20yy) and dd/mm/yyyy; nullopt when it is not a date.
std::optional<std::int32_t> ParseDayFirstDate(std::string_view text);
std::string DayFirstText(std::int32_t yyyymmdd);  // dd/mm/yy, "" for 0

// A plain signed number with "," or "." as decimal mark ("1.234,56" groups with "."); nullopt
// when it is not one.
std::optional<double> ParsePlainNumber(std::string_view text);

// What the store keeps. Each function says what is wrong with a value ("" when nothing is), in
// words that follow the name of the field.
//
// Texts: UTF-8 without NUL bytes, at most `maxChars` characters (0: any length).
std::string TextProblem(std::string_view value, std::size_t maxChars);
// Amounts: finite, and no larger than 2^53, beyond which a double no longer holds every whole
// unit: sums there are not what the books say.
inline constexpr double kMaxAmount = 9007199254740992.0;
std::string AmountProblem(double value);
// Dates (yyyymmdd, 0 for none): the years the compact date of the program can hold, 1960-2059.
inline constexpr int kFirstDateYear = 1960, kLastDateYear = 2059;
std::string DateProblem(std::int32_t yyyymmdd);
// The debit/credit indicator: 1 debit, 2 credit.
std::string DebeHaberProblem(std::int64_t value);
// A value for `field`, given as the text a cursor or an import receives; "" when it may be kept.
std::string FieldValueProblem(const FieldDef& field, std::string_view value);
// A value quoted for a message: cut after 40 characters, bytes that are no text shown as \xNN.
std::string QuotedValue(std::string_view value);

// The path of an existing file whose name equals the last part of `path` without regard to case
// (the exact name first); `path` itself when there is none.
std::string ResolveFileName(const std::string& path);

// One open SQLite database with the settings every data file gets: WAL journal (rollback journal
// where WAL is not possible), synchronous=FULL, a busy timeout, and the "like" matcher.
class Db {
  public:
    enum class Mode { ReadWrite, Create };
    Db(const std::string& path, Mode mode);
    ~Db();
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;

    sqlite3* handle() const { return db_; }
    const std::string& path() const { return path_; }
    // Whether the file is one of a protected company, encrypted (crypt_vfs.h).
    bool encrypted() const;
    void Exec(const std::string& sql);
    // The catalogue of the file's kind, from the table it holds.
    const FileCatalogue& Catalogue();
    [[noreturn]] void Fail(const std::string& what) const;
    // A statement prepared once for the connection's life and reset as it is handed out: for
    // look-ups repeated on a connection that a ConnectionReuse keeps. One use at a time; reset it
    // when done, so that the connection is idle again.
    Stmt& Prepared(const std::string& sql);

  private:
    sqlite3* db_ = nullptr;
    std::string path_;
    std::map<std::string, std::unique_ptr<Stmt>> prepared_;
};

// Connections kept open while a ConnectionReuse lives: a group save reads the same entries and
// chart files for every account, and opening one (the file, its journal mode, its schema) cost
// more than the account's look-ups on it. Scopes nest; the outermost one keeps the connections
// and closes them when it ends. Only idle connections are kept, which hold no lock that another
// workstation could wait for. One thread.
class ConnectionReuse {
  public:
    ConnectionReuse();
    ~ConnectionReuse();
    ConnectionReuse(const ConnectionReuse&) = delete;
    ConnectionReuse& operator=(const ConnectionReuse&) = delete;
    // Whether a scope is in force.
    static bool Active();
};

// The connection to a data file for one use: the one a ConnectionReuse keeps for the file's
// path, or without one a connection of its own that closes with the handle. Shared handles of
// plain look-ups may use the kept connection together; an exclusive one (a cursor, which may
// hold a transaction of its own) gets it only while nobody else uses it, and keeps it to itself
// until it ends. Whoever does not get the kept connection gets one of its own.
class DbHandle {
  public:
    enum class Use { Shared, Exclusive };
    explicit DbHandle(const std::string& path, Use use = Use::Shared);
    ~DbHandle();
    DbHandle(const DbHandle&) = delete;
    DbHandle& operator=(const DbHandle&) = delete;

    Db& operator*() const { return *db_; }
    Db* operator->() const { return db_; }
    // Whether this is the connection a ConnectionReuse keeps.
    bool kept() const { return kept_ != nullptr; }

    struct Kept;

  private:
    std::unique_ptr<Db> owned_;
    std::shared_ptr<Kept> kept_;
    Use use_;
    Db* db_ = nullptr;
};

// A prepared statement, reset and rebound for each use.
class Stmt {
  public:
    Stmt() = default;
    Stmt(const Db& db, const std::string& sql);
    ~Stmt();
    Stmt(Stmt&& o) noexcept;
    Stmt& operator=(Stmt&& o) noexcept;
    Stmt(const Stmt&) = delete;
    Stmt& operator=(const Stmt&) = delete;

    sqlite3_stmt* get() const { return st_; }
    explicit operator bool() const { return st_ != nullptr; }
    void Reset();
    void Bind(int i, std::string_view text);
    void Bind(int i, std::int64_t v);
    void Bind(int i, double v);
    void BindNull(int i);
    bool Step();  // true while a row is there; HostError on failure
    void Run();   // steps a statement that gives no rows
    std::int64_t Int(int col) const;
    double Real(int col) const;
    std::string Text(int col) const;
    // The same text without a copy: valid until the statement steps, resets or finalizes.
    std::string_view TextView(int col) const;
    bool IsNull(int col) const;

  private:
    void Check(int rc, int i) const;

    sqlite3_stmt* st_ = nullptr;
    const Db* db_ = nullptr;
};

// The indexes of an entries file (statements that create them when missing).
const std::vector<const char*>& EntryIndexSql();

// Creates an empty data file of the given kind (tables and indexes); an existing file is kept.
// With the salt of a protected company (whose data key is registered, crypt_vfs.h) a new file
// is encrypted.
void CreateDataFile(const std::string& path, FileKind kind, const Salt* companySalt = nullptr);

// The "like" of filters: "*" any run of characters, "?" any one character (UTF-8), everything
// else literally and case-sensitively.
bool LikeMatch(std::string_view text, std::string_view pattern);

}  // namespace pendara
