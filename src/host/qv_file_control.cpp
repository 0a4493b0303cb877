#include "host/qv_file_control.h"

#include <cmath>
#include <filesystem>
#include <mutex>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

#include <sqlite3.h>

#include "host/conversions.h"
#include "host/errors.h"
#include "host/filter.h"
#include "host/store.h"

namespace pendara {

namespace {

// The files this process is changing through a cursor. A second cursor of the same process that
// starts changing one of them would wait on its own first cursor until the busy timeout: it is
// refused at once instead.
std::mutex writersMutex;
std::set<std::string> writers;

std::string FileIdentity(const std::string& path) {
    std::error_code ec;
    std::filesystem::path p = std::filesystem::weakly_canonical(path, ec);
    return ec ? path : p.string();
}

void ClaimForWriting(const std::string& path) {
    std::lock_guard<std::mutex> lock(writersMutex);
    if (!writers.insert(FileIdentity(path)).second)
        throw HostError("El fichero " + path +
                        " ya se está modificando con otro cursor abierto de este programa");
}

void ReleaseForWriting(const std::string& path) {
    std::lock_guard<std::mutex> lock(writersMutex);
    writers.erase(FileIdentity(path));
}

// Where a record stands in the order the scan walks, as its column holds it: a number goes back
// into the query as the same double, where its text would keep only 15 digits.
struct OrderKey {
    std::string text;
    double number = 0;
    std::int64_t integer = 0;
};

}  // namespace

// The cursor steps one SQL statement over the selection, ordered by the order key and then the
// record number, so that it can always be re-established just after (or at) a known record:
// that is how the first Edit moves the scan into the write transaction, and how MoveNext goes
// on after GoToRecord.
struct QvFileControl2::Impl {
    // The file's connection: inside a ConnectionReuse the one kept for the run when no other
    // use has it (a group save opens the same entries file for every account), else its own.
    std::unique_ptr<DbHandle> connection;
    Db* db = nullptr;
    const FileCatalogue* cat = nullptr;
    std::string columns;  // "id, c1, c2, ..." in catalogue order
    std::vector<FilterCondition> filter;
    const FieldDef* order = nullptr;  // nullptr: record-number order

    Stmt scan;
    Stmt single;          // the record reached by GoToRecord
    Stmt* cur = nullptr;  // the statement positioned on the current record
    bool eof = true;
    bool startPending = false;
    bool restartOnMove = false;
    // Once a change touches the filter or the order, a record may come round again: from then on
    // the scan remembers what it has visited and passes over it.
    bool trackVisited = false;
    std::unordered_set<std::int64_t> visited;
    std::vector<std::pair<const FieldDef*, std::string>> stored;   // updated values of cur
    std::vector<std::pair<const FieldDef*, std::string>> pending;  // edits before Update
    bool editing = false;
    bool inTransaction = false;
    bool holdingRead = false;  // a read transaction of HoldRead is open
    std::string updateSql;
    Stmt update;
    // The last count asked for, kept prepared: a run of look-ups that count one value after
    // another prepares it once.
    std::string countSql;
    Stmt count;
    // By catalogue position: the texts GetFieldView made of fields not kept as text.
    mutable std::vector<std::string> shown;

    void RequireOpen() const {
        if (!db) throw HostError("El cursor no tiene ningún fichero abierto");
    }
    // MoveFirst only marks the scan to start: callers often call it before setting the filter
    // and the order, and the last MoveFirst is the one that counts.
    void Ensure() {
        if (!startPending) return;
        startPending = false;
        trackVisited = false;
        visited.clear();
        StartScan();
    }
    void RequireRecord() {
        RequireOpen();
        Ensure();
        if (!cur || eof) throw HostError("No hay registro actual en " + db->path());
    }
    int ColumnOf(const FieldDef* f) const { return 1 + static_cast<int>(f - cat->fields.data()); }

    const FieldDef& FieldByNumber(std::int32_t number) const {
        RequireOpen();
        const FieldDef* f = cat->ByNumber(number);
        if (!f)
            throw HostError("El campo " + std::to_string(number) + " no existe en " + db->path());
        return *f;
    }
    const FieldDef& FieldByName(const std::string& name) const {
        RequireOpen();
        const FieldDef* f = cat->ByName(Trim(name));
        if (!f) throw HostError("El campo \"" + name + "\" no existe en " + db->path());
        return *f;
    }

    std::string OrderSql() const {
        return order ? std::string(order->column) + ", id" : std::string("id");
    }

    // Starts the scan of the selection; with `fromId`, at (inclusive) or after that record.
    void StartScan(std::optional<std::int64_t> fromId = std::nullopt, bool inclusive = true,
                   const OrderKey& fromKey = {}) {
        std::string sql =
            "SELECT " + columns + " FROM " + cat->table + " WHERE " + FilterSql(filter);
        const char* cmp = inclusive ? ">=" : ">";
        if (fromId) {
            if (order)
                sql += std::string(" AND (") + order->column + ", id) " + cmp + " (?, ?)";
            else
                sql += std::string(" AND id ") + cmp + " ?";
        }
        sql += " ORDER BY " + OrderSql();
        scan = Stmt(*db, sql);
        int next = BindFilter(scan, filter, 1);
        if (fromId) {
            if (order) {
                if (order->type == FieldType::Text)
                    scan.Bind(next++, std::string_view(fromKey.text));
                else if (order->type == FieldType::Number)
                    scan.Bind(next++, fromKey.number);
                else
                    scan.Bind(next++, fromKey.integer);
            }
            scan.Bind(next, *fromId);
        }
        cur = &scan;
        Advance();
    }

    // True when changing `f` may move the current record inside an index the scan walks: then
    // the next MoveNext re-establishes the scan after this record instead of stepping on.
    bool MayMoveInScan(const FieldDef* f) const {
        if (f == order) return true;
        for (const FilterCondition& c : filter)
            if (c.field == f) return true;
        static const std::string_view kIndexed[] = {"cuenta", "fecha", "tipo", "debe_haber",
                                                    "importe"};
        for (std::string_view col : kIndexed)
            if (col == f->column) return true;
        return false;
    }

    void Advance() {
        restartOnMove = false;
        stored.clear();
        pending.clear();
        editing = false;
        eof = !cur->Step();
        if (!trackVisited || cur != &scan) return;
        while (!eof && visited.count(cur->Int(0)))
            eof = !cur->Step();
        if (!eof) visited.insert(cur->Int(0));
    }

    // The order key of the current record, as the raw column text.
    OrderKey CurrentKey() const {
        OrderKey key;
        if (!order) return key;
        const int col = ColumnOf(order);
        if (order->type == FieldType::Text)
            key.text = cur->Text(col);
        else if (order->type == FieldType::Number)
            key.number = cur->Real(col);
        else
            key.integer = cur->Int(col);
        return key;
    }

    void BeginWrite() {
        if (inTransaction) return;
        std::int64_t id = cur->Int(0);
        OrderKey key = CurrentKey();
        bool wasSingle = cur == &single;
        scan = Stmt();
        single.Reset();
        cur = nullptr;
        eof = true;
        EndRead();
        ClaimForWriting(db->path());
        try {
            db->Exec("BEGIN IMMEDIATE");
        } catch (...) {
            ReleaseForWriting(db->path());
            throw;
        }
        inTransaction = true;
        if (wasSingle) {
            single.Bind(1, id);
            cur = &single;
            eof = !single.Step();
        } else {
            StartScan(id, true, key);
        }
        if (eof || cur->Int(0) != id)
            throw HostError("El registro " + std::to_string(id) + " de " + db->path() +
                            " ha cambiado o ya no existe");
    }

    std::string ValueOf(const FieldDef& f) const {
        for (const auto& [field, value] : stored)
            if (field == &f) return value;
        int col = ColumnOf(&f);
        switch (f.type) {
            case FieldType::Text:
                return cur->Text(col);
            case FieldType::Integer:
                return std::to_string(cur->Int(col));
            case FieldType::Number:
                return ValueText(cur->Real(col));
            case FieldType::Date:
                return DayFirstText(static_cast<std::int32_t>(cur->Int(col)));
        }
        return "";
    }

    std::string_view ViewOf(const FieldDef& f) const {
        for (const auto& [field, value] : stored)
            if (field == &f) return value;
        if (f.type == FieldType::Text) return cur->TextView(ColumnOf(&f));
        const auto at = static_cast<std::size_t>(&f - cat->fields.data());
        if (shown.size() <= at) shown.resize(cat->fields.size());
        return shown[at] = ValueOf(f);
    }

    // The value as it will be read back, checked against the field's type.
    void BindValue(Stmt& st, int i, const FieldDef& f, const std::string& value) const {
        if (std::string problem = FieldValueProblem(f, value); !problem.empty())
            throw HostError("Valor " + QuotedValue(value) + " incorrecto para el campo " + f.name +
                            " (" + problem + ") en " + db->path());
        switch (f.type) {
            case FieldType::Text:
                st.Bind(i, std::string_view(value));
                return;
            case FieldType::Integer:
            case FieldType::Number: {
                if (Trim(value).empty()) {
                    st.Bind(i, std::int64_t{0});
                    return;
                }
                std::optional<double> n = ParsePlainNumber(value);
                if (f.type == FieldType::Integer)
                    st.Bind(i, static_cast<std::int64_t>(std::llround(*n)));
                else
                    st.Bind(i, *n);
                return;
            }
            case FieldType::Date: {
                if (Trim(value).empty()) {
                    st.Bind(i, std::int64_t{0});
                    return;
                }
                st.Bind(i, static_cast<std::int64_t>(*ParseDayFirstDate(value)));
                return;
            }
        }
    }

    void Put(const FieldDef& f, const std::string& value) {
        if (!editing) throw HostError("PutField sin Edit en " + db->path());
        for (auto& p : pending)
            if (p.first == &f) {
                p.second = value;
                return;
            }
        pending.emplace_back(&f, value);
    }

    void Close(bool commit) {
        scan = Stmt();
        single = Stmt();
        update = Stmt();
        updateSql.clear();
        count = Stmt();
        countSql.clear();
        cur = nullptr;
        eof = true;
        startPending = false;
        editing = false;
        pending.clear();
        stored.clear();
        filter.clear();
        order = nullptr;
        if (db) EndRead();
        if (db && inTransaction) {
            inTransaction = false;
            ReleaseForWriting(db->path());
            if (commit) {
                try {
                    db->Exec("COMMIT");
                } catch (...) {
                    RollbackQuietly();
                    Release();
                    throw;
                }
            } else {
                RollbackQuietly();
            }
        }
        Release();
    }

    void Release() {
        db = nullptr;
        connection.reset();
    }

    void EndRead() {
        if (!holdingRead) return;
        holdingRead = false;
        // Only read: its end changes nothing in the file.
        RollbackQuietly();
    }

    void RollbackQuietly() {
        try {
            db->Exec("ROLLBACK");
        } catch (...) {
            // closing the connection rolls back what is left
        }
    }
};

QvFileControl2::QvFileControl2() : impl_(std::make_unique<Impl>()) {}

QvFileControl2::~QvFileControl2() {
    impl_->Close(false);
}

void QvFileControl2::OpenFile(const std::string& path, const std::string& password,
                              std::int32_t& status) {
    OpenFile(path, password);
    status = 0;
}

void QvFileControl2::OpenFile(const std::string& path, const std::string&) {
    Impl& m = *impl_;
    if (m.db) CloseFile();
    std::string file = ResolveFileName(path);
    std::error_code ec;
    if (file.empty() || !std::filesystem::is_regular_file(file, ec))
        throw HostError("No existe el fichero de datos " + path);
    auto connection = std::make_unique<DbHandle>(file, DbHandle::Use::Exclusive);
    Db* db = &**connection;
    m.cat = &db->Catalogue();
    m.columns = "id";
    for (const FieldDef& f : m.cat->fields)
        m.columns += std::string(", ") + f.column;
    m.single = Stmt(*db, "SELECT " + m.columns + " FROM " + m.cat->table + " WHERE id = ?");
    m.connection = std::move(connection);
    m.db = db;
}

void QvFileControl2::SetFilter(const std::string& expression) {
    impl_->RequireOpen();
    impl_->filter = ParseFilter(expression, *impl_->cat);
}

void QvFileControl2::SetOrder(const std::string& fieldName) {
    impl_->order = &impl_->FieldByName(fieldName);
}

void QvFileControl2::MoveFirst() {
    Impl& m = *impl_;
    m.RequireOpen();
    m.scan = Stmt();
    m.single.Reset();
    m.cur = nullptr;
    m.eof = false;
    m.stored.clear();
    m.pending.clear();
    m.editing = false;
    m.startPending = true;
}

bool QvFileControl2::IsEof() const {
    if (impl_->db) impl_->Ensure();
    return impl_->eof;
}

void QvFileControl2::MoveNext() {
    Impl& m = *impl_;
    m.RequireRecord();
    if (m.cur == &m.single) {
        std::int64_t id = m.cur->Int(0);
        OrderKey key = m.CurrentKey();
        m.single.Reset();
        m.StartScan(id, false, key);
        return;
    }
    if (m.restartOnMove) {
        // The statement still stands on the record as it was read, so its key is the old one.
        std::int64_t id = m.cur->Int(0);
        OrderKey key = m.CurrentKey();
        m.StartScan(id, false, key);
        return;
    }
    m.Advance();
}

std::int32_t QvFileControl2::GetRecNo() const {
    impl_->RequireRecord();
    return static_cast<std::int32_t>(impl_->cur->Int(0));
}

void QvFileControl2::GoToRecord(std::int32_t recordNumber) {
    Impl& m = *impl_;
    m.RequireOpen();
    m.scan = Stmt();
    m.startPending = false;
    m.single.Reset();
    m.single.Bind(1, static_cast<std::int64_t>(recordNumber));
    m.cur = &m.single;
    m.Advance();
    if (m.eof)
        throw HostError("El registro " + std::to_string(recordNumber) + " no existe en " +
                        m.db->path());
}

std::string QvFileControl2::GetField(std::int32_t number, std::int32_t) const {
    const FieldDef& f = impl_->FieldByNumber(number);
    impl_->RequireRecord();
    return impl_->ValueOf(f);
}

std::string_view QvFileControl2::GetFieldView(std::int32_t number, std::int32_t) const {
    const FieldDef& f = impl_->FieldByNumber(number);
    impl_->RequireRecord();
    return impl_->ViewOf(f);
}

std::string QvFileControl2::GetFieldByName(const std::string& name) const {
    const FieldDef& f = impl_->FieldByName(name);
    impl_->RequireRecord();
    return impl_->ValueOf(f);
}

double QvFileControl2::SumField(const std::string& name) {
    Impl& m = *impl_;
    const FieldDef& f = m.FieldByName(name);
    if (f.type != FieldType::Number && f.type != FieldType::Integer)
        throw HostError(std::string("El campo ") + f.name + " no es numérico en " + m.db->path());
    Stmt st(*m.db, std::string("SELECT TOTAL(") + f.column + ") FROM " + m.cat->table + " WHERE " +
                       FilterSql(m.filter));
    BindFilter(st, m.filter, 1);
    st.Step();
    return st.Real(0);
}

namespace {

// qv_unticked(marca): whether the mark reads as the number 0 (an empty mark does).
void UntickedFunction(sqlite3_context* ctx, int, sqlite3_value** argv) {
    const unsigned char* text = sqlite3_value_text(argv[0]);
    const int n = sqlite3_value_bytes(argv[0]);
    const std::string mark =
        text ? std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(n))
             : std::string();
    sqlite3_result_int(ctx, LeadingNumber(mark) == 0 ? 1 : 0);
}

}  // namespace

std::unordered_map<std::string, QvFileControl2::AccountSummary> QvFileControl2::AccountSummaries() {
    Impl& m = *impl_;
    m.RequireOpen();
    if (m.cat->kind != FileKind::Entries)
        throw HostError("El fichero " + m.db->path() + " no es un fichero de apuntes");
    sqlite3_create_function(m.db->handle(), "qv_unticked", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                            nullptr, UntickedFunction, nullptr, nullptr);
    // LIKE compares letters without regard to case, as the pending list wants. The sums walk the
    // index that a filter on one account sums through, so that every account's entries are added
    // in the order SumField adds them and the totals agree to the last bit. The open entry is
    // looked for among the unreferenced entries alone where the file has their index (files
    // made before it was added have not; the same test then reads every entry of the account).
    bool partial = false;
    {
        Stmt has(*m.db,
                 "SELECT 1 FROM sqlite_master WHERE type = 'index'"
                 " AND name = 'entries_unreferenced'");
        partial = has.Step();
    }
    Stmt st(*m.db, std::string("SELECT t.cuenta, t.total, EXISTS(SELECT 1 FROM entries AS e"
                               " INDEXED BY ") +
                       (partial ? "entries_unreferenced" : "entries_cuenta") +
                       " WHERE e.cuenta = t.cuenta AND e.referencia NOT LIKE '%rf-%'"
                       " AND qv_unticked(e.marca))"
                       " FROM (SELECT cuenta, TOTAL(importe) AS total"
                       " FROM entries INDEXED BY entries_cuenta_fecha GROUP BY cuenta) AS t");
    std::unordered_map<std::string, AccountSummary> out;
    while (st.Step())
        out[st.Text(0)] = {st.Real(1), st.Int(2) != 0};
    return out;
}

std::int32_t QvFileControl2::GetRecordCount() {
    Impl& m = *impl_;
    m.RequireOpen();
    std::string sql =
        std::string("SELECT COUNT(*) FROM ") + m.cat->table + " WHERE " + FilterSql(m.filter);
    if (sql != m.countSql || !m.count) {
        m.count = Stmt(*m.db, sql);
        m.countSql = std::move(sql);
    }
    m.count.Reset();
    BindFilter(m.count, m.filter, 1);
    const bool row = m.count.Step();
    const auto n = row ? static_cast<std::int32_t>(m.count.Int(0)) : 0;
    // Reset ends the statement's read of the file, as finishing it did.
    m.count.Reset();
    return n;
}

void QvFileControl2::HoldRead() {
    Impl& m = *impl_;
    m.RequireOpen();
    if (m.inTransaction || m.holdingRead) return;
    m.db->Exec("BEGIN");
    m.holdingRead = true;
}

void QvFileControl2::ReleaseRead() {
    Impl& m = *impl_;
    if (!m.db || !m.holdingRead) return;
    // The read ends with the statements that read: the cursor stands on no record until the
    // next MoveFirst or GoToRecord.
    if (m.cur) m.cur->Reset();
    m.cur = nullptr;
    m.eof = true;
    m.EndRead();
}

void QvFileControl2::Edit() {
    Impl& m = *impl_;
    m.RequireRecord();
    m.BeginWrite();
    m.pending.clear();
    m.editing = true;
}

void QvFileControl2::PutField(std::int32_t number, std::int32_t, const std::string& value) {
    impl_->Put(impl_->FieldByNumber(number), value);
}

void QvFileControl2::PutFieldByName(const std::string& name, const std::string& value) {
    impl_->Put(impl_->FieldByName(name), value);
}

void QvFileControl2::Update() {
    Impl& m = *impl_;
    m.RequireRecord();
    if (!m.editing) throw HostError("Update sin Edit en " + m.db->path());
    if (!m.pending.empty()) {
        std::string sql = std::string("UPDATE ") + m.cat->table + " SET ";
        for (std::size_t i = 0; i < m.pending.size(); ++i)
            sql += std::string(i ? ", " : "") + m.pending[i].first->column + " = ?";
        sql += " WHERE id = ?";
        if (sql != m.updateSql) {
            m.update = Stmt(*m.db, sql);
            m.updateSql = sql;
        }
        m.update.Reset();
        int i = 1;
        for (const auto& [field, value] : m.pending)
            m.BindValue(m.update, i++, *field, value);
        m.update.Bind(i, m.cur->Int(0));
        m.update.Run();
        for (const auto& p : m.pending) {
            if (m.cur != &m.scan || !m.MayMoveInScan(p.first)) continue;
            m.restartOnMove = true;
            bool selects = p.first == m.order;
            for (const FilterCondition& c : m.filter)
                selects |= c.field == p.first;
            if (selects && !m.trackVisited) {
                m.trackVisited = true;
                m.visited.insert(m.cur->Int(0));
            }
        }
        // What the record now holds, read back as GetField gives it.
        for (auto& [field, value] : m.pending) {
            std::string shown = value;
            if (field->type == FieldType::Number)
                shown = ValueText(Trim(value).empty() ? 0.0 : *ParsePlainNumber(value));
            else if (field->type == FieldType::Integer)
                shown = std::to_string(
                    Trim(value).empty() ? 0 : std::llround(*ParsePlainNumber(value)));
            else if (field->type == FieldType::Date)
                shown = DayFirstText(Trim(value).empty() ? 0 : *ParseDayFirstDate(value));
            bool replaced = false;
            for (auto& s : m.stored)
                if (s.first == field) {
                    s.second = shown;
                    replaced = true;
                }
            if (!replaced) m.stored.emplace_back(field, shown);
        }
    }
    m.pending.clear();
    m.editing = false;
}

void QvFileControl2::CloseFile() {
    impl_->Close(true);
}

bool QvFileControl2::IsOpen() const {
    return impl_->db != nullptr;
}

}  // namespace pendara
