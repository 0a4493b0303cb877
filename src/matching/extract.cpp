#include "matching/extract.h"

#include <string_view>
#include <vector>

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "ui/pndra.h"
#include "ui/str_builder.h"

namespace pendara {

namespace {

constexpr std::size_t kExtractCols = 13;
constexpr std::size_t kCompanyCol = 12;

void Field(StrBuilder& out, const std::string& value, bool last = false) {
    out.Append(Trim(value));
    out.Append(last ? "\r\n" : "\t");
}

}  // namespace

std::string LeerDatosExtracto(Pndra& w, const std::string& cuenta, const std::string& empresa) {
    const std::string file = NormaliseCompanyName(empresa);
    const std::string code = CompanyCode(file);
    const std::string folder = w.Lib().GetCompanyDirs(file);
    QvFileControl2 cursor;
    cursor.OpenFile(folder + "extra" + code + ".qvd", "");
    cursor.MoveFirst();
    cursor.SetFilter("cuenta =" + cuenta);
    cursor.MoveFirst();
    StrBuilder out;
    while (!cursor.IsEof()) {
        out.Append(std::to_string(cursor.GetRecNo()));
        out.Append("\t");
        Field(out, cursor.GetField(2));
        Field(out, DateText(cursor.GetField(1)));
        Field(out, cursor.GetField(3));
        Field(out, cursor.GetField(4));
        bool debit = LeadingNumber(cursor.GetField(5)) == 1;
        std::string amount = cursor.GetField(6);
        Field(out, debit ? amount : "0");
        Field(out, debit ? "0" : amount);
        Field(out, "0");
        Field(out, cursor.GetField(7));
        Field(out, cursor.GetField(8));
        Field(out, cursor.GetField(14));
        Field(out, cursor.GetField(23), true);
        cursor.MoveNext();
    }
    cursor.CloseFile();
    return out.ToString();
}

TextTable GetExtracto(Pndra& w, const std::string& empresa, const std::string& cuenta,
                      std::int32_t& count) {
    count = 0;
    QvOLE70 server;
    const std::int32_t n = ++w.CompanyCount;
    const auto un = static_cast<std::size_t>(n);
    // Exactly 0..n, as a fresh load after the count was reset must not keep older companies.
    w.CompanyFiles.resize(un + 1);
    w.EntryFiles.resize(un + 1);
    const std::string file = NormaliseCompanyName(empresa);
    w.CompanyFiles[un] = file;

    bool ok = false;
    OpenEmp(w, server, file, ok);
    if (!ok) return TextTable(1, kExtractCols);
    w.EntryFiles[un] = FolderOf(file) + "Extra" + server.GetCompanyCode() + ".qvd";

    TextTable previous;
    std::int32_t prevCount = 0;
    const std::string prev = server.GetPreviousCompany();
    // A chain that comes back to a company already read (A, B, A...) ends there instead of
    // reading the same years again without end.
    bool visited = false;
    const std::string prevName = NormaliseCompanyName(prev);
    for (std::size_t k = 1; k < w.CompanyFiles.size() && !visited; ++k)
        visited = EqualsNoCase(w.CompanyFiles[k], prevName);
    if (prev != file && !prev.empty() && !visited)
        previous = GetExtracto(w, prev, cuenta, prevCount);

    const std::string text = LeerDatosExtracto(w, cuenta, file);
    std::vector<std::string_view> lines;
    std::string_view rest = text;
    for (;;) {
        std::size_t cr = rest.find('\r');
        lines.push_back(rest.substr(0, cr));
        if (cr == std::string_view::npos) break;
        rest.remove_prefix(cr + 1);
    }

    const std::size_t prevRows = previous.rows() > 0 ? previous.rows() : 1;
    TextTable result(prevRows + lines.size(), kExtractCols);
    for (std::size_t r = 1; r < previous.rows(); ++r)
        for (std::size_t c = 0; c < kExtractCols && c < previous.cols(); ++c)
            result(r, c) = std::move(previous(r, c));

    count = prevCount;
    const std::string company = std::to_string(n);
    std::vector<std::string_view> fields;
    for (std::string_view line : lines) {
        if (!line.empty() && line.front() == '\n') line.remove_prefix(1);
        fields.clear();
        for (;;) {
            std::size_t tab = line.find('\t');
            fields.push_back(line.substr(0, tab));
            if (tab == std::string_view::npos) break;
            line.remove_prefix(tab + 1);
        }
        if (fields.size() < 2) continue;
        const auto row = static_cast<std::size_t>(++count);
        for (std::size_t c = 0; c < fields.size() && c < kCompanyCol; ++c)
            result(row, c) = std::string(fields[c]);
        result(row, kCompanyCol) = company;
    }

    server.CloseCompany();
    return result;
}

}  // namespace pendara
