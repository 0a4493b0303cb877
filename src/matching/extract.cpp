#include "matching/extract.h"

#include <algorithm>
#include <array>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/utf8.h"
#include "model/columns.h"

namespace pendara {

namespace {

using LineFields = std::array<std::string, ExtractCol::kLineFields>;

Entry EntryOf(LineFields&& f, std::int32_t company) {
    Entry e;
    e.record = std::move(f[ExtractCol::Record]);
    e.field2 = std::move(f[ExtractCol::Field2]);
    e.date = std::move(f[ExtractCol::Date]);
    e.entry = std::move(f[ExtractCol::Entry]);
    e.description = std::move(f[ExtractCol::Description]);
    e.debit = f[ExtractCol::Debit] == "0" ? Amount::Zero() : Amount::Of(f[ExtractCol::Debit]);
    e.credit = f[ExtractCol::Credit] == "0" ? Amount::Zero() : Amount::Of(f[ExtractCol::Credit]);
    e.mark = std::move(f[ExtractCol::Mark]);
    e.entryClass = std::move(f[ExtractCol::Class]);
    e.field14 = std::move(f[ExtractCol::Field14]);
    e.reference = std::move(f[ExtractCol::Reference]);
    e.company = company;
    return e;
}

bool BreaksTheLine(std::string_view field) {
    return field.find_first_of("\t\r") != std::string_view::npos;
}

// The later companies of a chain that the first read makes room for.
constexpr std::int32_t kRoomForLater = 3;

using LineViews = std::array<std::string_view, ExtractCol::kLineFields>;

// The entry of a line's fields, each text made once.
void AppendEntry(const LineViews& f, std::int32_t company, std::vector<Entry>& rows) {
    Entry& e = rows.emplace_back();
    e.record = f[ExtractCol::Record];
    e.field2 = f[ExtractCol::Field2];
    e.date = f[ExtractCol::Date];
    e.entry = f[ExtractCol::Entry];
    e.description = f[ExtractCol::Description];
    e.debit = f[ExtractCol::Debit] == "0" ? Amount::Zero()
                                          : Amount::Of(std::string(f[ExtractCol::Debit]));
    e.credit = f[ExtractCol::Credit] == "0" ? Amount::Zero()
                                            : Amount::Of(std::string(f[ExtractCol::Credit]));
    e.mark = f[ExtractCol::Mark];
    e.entryClass = f[ExtractCol::Class];
    e.field14 = f[ExtractCol::Field14];
    e.reference = f[ExtractCol::Reference];
    e.company = company;
}

}  // namespace

void CompactDate(std::string_view dayFirst, std::string& out) {
    // A day-first date of eight plain characters, as the host writes every stored date; any
    // other text goes through DateText, which counts characters.
    if (dayFirst.size() != 8 || !IsAscii(dayFirst)) {
        out = DateText(std::string(dayFirst));
        return;
    }
    out.assign(dayFirst.substr(6, 2));
    // Years below "60" write their first digit as a letter.
    if (out < "60") out[0] = static_cast<char>(out[0] + 17);
    out.append(dayFirst.substr(3, 2));
    out.append(dayFirst.substr(0, 2));
}

std::string ExtractLine(const std::vector<std::string>& fields) {
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        line += fields[i];
        line += i + 1 < fields.size() ? "\t" : "\r\n";
    }
    return line;
}

void AppendLineRows(std::string_view line, std::int32_t company, std::vector<Entry>& rows) {
    for (;;) {
        const std::size_t cr = line.find('\r');
        std::string_view piece = line.substr(0, cr);
        if (!piece.empty() && piece.front() == '\n') piece.remove_prefix(1);
        LineFields f;
        std::size_t n = 0;
        for (;;) {
            const std::size_t tab = piece.find('\t');
            if (n < f.size()) f[n] = std::string(piece.substr(0, tab));
            ++n;
            if (tab == std::string_view::npos) break;
            piece.remove_prefix(tab + 1);
        }
        if (n >= 2) rows.push_back(EntryOf(std::move(f), company));
        if (cr == std::string_view::npos) break;
        line.remove_prefix(cr + 1);
    }
}

void LeerDatosExtracto(Session& s, const std::string& cuenta, const std::string& empresa,
                       std::int32_t company, std::vector<Entry>& rows) {
    const std::string file = NormaliseCompanyName(empresa);
    const std::string code = CompanyCode(file);
    const std::string folder = s.Lib().GetCompanyDirs(file);
    QvFileControl2 cursor;
    cursor.OpenFile(EntriesFile(folder, code), "");
    cursor.MoveFirst();
    cursor.SetFilter("cuenta =" + cuenta);
    cursor.MoveFirst();
    // Room for the rows up front (a row with line breaks may add more): the first company read,
    // the earliest of the chain, makes room for its own rows and for as many in each of a few
    // later companies, which are read after it, so that the rows read seldom move. Counting
    // costs a pass over the account's index: the later companies grow the rows as they go.
    if (rows.size() <= 1) {
        const auto count = static_cast<std::size_t>(cursor.GetRecordCount());
        const auto later = static_cast<std::size_t>(std::clamp(company - 1, 0, kRoomForLater));
        rows.reserve(rows.size() + count * (1 + later));
    }
    std::string date;
    while (!cursor.IsEof()) {
        // The fields in the order the line is written: record number, then host fields 2, 1, 3,
        // 4, 5, 6, 7, 8, 14 and 23. The views stand until the cursor moves.
        const std::string record = std::to_string(cursor.GetRecNo());
        LineViews f;
        f[ExtractCol::Record] = record;
        f[ExtractCol::Field2] = TrimView(cursor.GetFieldView(2));
        CompactDate(cursor.GetFieldView(1), date);
        f[ExtractCol::Date] = TrimView(date);
        f[ExtractCol::Entry] = TrimView(cursor.GetFieldView(3));
        f[ExtractCol::Description] = TrimView(cursor.GetFieldView(4));
        const bool debit = LeadingNumber(cursor.GetFieldView(5)) == 1;
        const std::string_view amount = TrimView(cursor.GetFieldView(6));
        f[ExtractCol::Debit] = debit ? amount : "0";
        f[ExtractCol::Credit] = debit ? "0" : amount;
        f[ExtractCol::Work] = "0";
        f[ExtractCol::Mark] = TrimView(cursor.GetFieldView(7));
        f[ExtractCol::Class] = TrimView(cursor.GetFieldView(8));
        f[ExtractCol::Field14] = TrimView(cursor.GetFieldView(14));
        f[ExtractCol::Reference] = TrimView(cursor.GetFieldView(23));
        bool plain = true;
        for (std::string_view field : f)
            plain = plain && !BreaksTheLine(field);
        if (plain)
            AppendEntry(f, company, rows);
        else
            AppendLineRows(ExtractLine(std::vector<std::string>(f.begin(), f.end())), company,
                           rows);
        cursor.MoveNext();
    }
    cursor.CloseFile();
}

namespace {

void ReadCompany(Session& s, const std::string& empresa, const std::string& cuenta, Extract& x) {
    QvOLE70 server;
    const auto n = static_cast<std::int32_t>(x.companyFiles.size());
    const std::string file = NormaliseCompanyName(empresa);
    x.companyFiles.push_back(file);
    x.entryFiles.emplace_back();

    bool ok = false;
    OpenEmp(s, server, file, ok);
    if (!ok) return;
    x.entryFiles[static_cast<std::size_t>(n)] =
        EntriesFile(FolderOf(file), server.GetCompanyCode());

    const std::string prev = server.GetPreviousCompany();
    // A chain that comes back to a company already read (A, B, A...) ends there instead of
    // reading the same years again without end.
    bool visited = false;
    const std::string prevName = NormaliseCompanyName(prev);
    for (std::size_t k = 1; k < x.companyFiles.size() && !visited; ++k)
        visited = EqualsNoCase(x.companyFiles[k], prevName);
    if (prev != file && !prev.empty() && !visited) ReadCompany(s, prev, cuenta, x);

    LeerDatosExtracto(s, cuenta, file, n, x.rows);
    server.CloseCompany();
}

}  // namespace

Extract GetExtracto(Session& s, const std::string& empresa, const std::string& cuenta) {
    Extract x;
    ReadCompany(s, empresa, cuenta, x);
    return x;
}

}  // namespace pendara
