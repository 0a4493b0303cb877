#pragma once
// The extract as specified, for comparison: each company's entries written as one text of
// TAB-separated fields and CR LF line ends, split again at CR and at TAB into a table of texts
// (columns 0 to 12, row 0 empty).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/text_table.h"
#include "model/entry.h"

namespace pendara::naive {

inline std::string LeerDatosExtracto(Session& s, const std::string& cuenta,
                                     const std::string& empresa) {
    const std::string file = NormaliseCompanyName(empresa);
    QvFileControl2 cursor;
    cursor.OpenFile(s.Lib().GetCompanyDirs(file) + "extra" + CompanyCode(file) + ".qvd", "");
    cursor.MoveFirst();
    cursor.SetFilter("cuenta =" + cuenta);
    cursor.MoveFirst();
    std::string out;
    auto field = [&out](const std::string& v, bool last = false) {
        out += Trim(v);
        out += last ? "\r\n" : "\t";
    };
    while (!cursor.IsEof()) {
        out += std::to_string(cursor.GetRecNo()) + "\t";
        field(cursor.GetField(2));
        field(DateText(cursor.GetField(1)));
        field(cursor.GetField(3));
        field(cursor.GetField(4));
        const bool debit = LeadingNumber(cursor.GetField(5)) == 1;
        const std::string amount = cursor.GetField(6);
        field(debit ? amount : "0");
        field(debit ? "0" : amount);
        field("0");
        field(cursor.GetField(7));
        field(cursor.GetField(8));
        field(cursor.GetField(14));
        field(cursor.GetField(23), true);
        cursor.MoveNext();
    }
    cursor.CloseFile();
    return out;
}

// The table over the chain; `companies` counts the companies numbered.
inline TextTable GetExtracto(Session& s, const std::string& empresa, const std::string& cuenta,
                             std::int32_t& count, std::int32_t& companies) {
    count = 0;
    QvOLE70 server;
    const std::int32_t n = ++companies;
    const std::string file = NormaliseCompanyName(empresa);
    bool ok = false;
    OpenEmp(s, server, file, ok);
    TextTable previous;
    std::int32_t prevCount = 0;
    const std::string prev = server.GetPreviousCompany();
    if (prev != file && !prev.empty())
        previous = GetExtracto(s, prev, cuenta, prevCount, companies);

    const std::string text = LeerDatosExtracto(s, cuenta, file);
    std::vector<std::string_view> lines;
    std::string_view rest = text;
    for (;;) {
        std::size_t cr = rest.find('\r');
        lines.push_back(rest.substr(0, cr));
        if (cr == std::string_view::npos) break;
        rest.remove_prefix(cr + 1);
    }
    TextTable result((previous.rows() > 0 ? previous.rows() : 1) + lines.size(), 13);
    for (std::size_t r = 1; r < previous.rows(); ++r)
        for (std::size_t c = 0; c < 13; ++c)
            result(r, c) = previous(r, c);
    count = prevCount;
    for (std::string_view line : lines) {
        if (!line.empty() && line.front() == '\n') line.remove_prefix(1);
        std::vector<std::string_view> fields;
        for (;;) {
            std::size_t tab = line.find('\t');
            fields.push_back(line.substr(0, tab));
            if (tab == std::string_view::npos) break;
            line.remove_prefix(tab + 1);
        }
        if (fields.size() < 2) continue;
        const auto row = static_cast<std::size_t>(++count);
        for (std::size_t c = 0; c < fields.size() && c < 12; ++c)
            result(row, c) = std::string(fields[c]);
        result(row, 12) = std::to_string(n);
    }
    server.CloseCompany();
    return result;
}

}  // namespace pendara::naive
