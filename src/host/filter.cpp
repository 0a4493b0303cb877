#include "host/filter.h"

#include <algorithm>

#include "host/conversions.h"
#include "host/errors.h"

namespace pendara {

namespace {

[[noreturn]] void Bad(const std::string& expression, const std::string& why) {
    throw HostError("Expresión de filtro incorrecta \"" + expression + "\": " + why);
}

bool StartsWithNoCase(std::string_view s, std::size_t at, std::string_view word) {
    return s.size() - at >= word.size() && EqualsNoCase(s.substr(at, word.size()), word);
}

// Cuts at every " and " (the keyword without regard to case).
std::vector<std::string> SplitConditions(const std::string& e) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i + 5 <= e.size(); ++i) {
        if (StartsWithNoCase(e, i, " and ")) {
            parts.push_back(e.substr(start, i - start));
            start = i + 5;
            i += 4;
        }
    }
    parts.push_back(e.substr(start));
    return parts;
}

// The longest field name of the catalogue that starts the text.
const FieldDef* LeadingField(const std::string& text, const FileCatalogue& catalogue,
                             std::size_t& length) {
    const FieldDef* best = nullptr;
    length = 0;
    for (const FieldDef& f : catalogue.fields) {
        for (const char* name : {f.name, f.alias}) {
            if (!name) continue;
            std::size_t n = std::char_traits<char>::length(name);
            if (n > length && StartsWithNoCase(text, 0, name)) {
                best = &f;
                length = n;
            }
        }
    }
    return best;
}

void CheckValue(const std::string& expression, const FilterCondition& c) {
    if (c.op == FilterOp::Like) {
        if (c.field->type == FieldType::Date || c.field->type == FieldType::Number)
            Bad(expression, std::string("\"like\" no se aplica al campo ") + c.field->name);
        return;
    }
    switch (c.field->type) {
        case FieldType::Date:
            if (!c.value.empty() && !ParseDayFirstDate(c.value))
                Bad(expression, "\"" + c.value + "\" no es una fecha");
            break;
        case FieldType::Integer:
        case FieldType::Number:
            if (!ParsePlainNumber(c.value)) Bad(expression, "\"" + c.value + "\" no es un número");
            break;
        case FieldType::Text:
            break;
    }
}

// The literal start of a pattern and the first text above every text that starts with it.
bool PrefixRange(const std::string& pattern, std::string& low, std::string& high) {
    low = pattern.substr(0, pattern.find_first_of("*?"));
    high = low;
    while (!high.empty() && static_cast<unsigned char>(high.back()) == 0xFF)
        high.pop_back();
    if (high.empty()) return false;
    high.back() = static_cast<char>(static_cast<unsigned char>(high.back()) + 1);
    return true;
}

}  // namespace

std::vector<FilterCondition> ParseFilter(const std::string& expression,
                                         const FileCatalogue& catalogue) {
    std::vector<FilterCondition> out;
    if (Trim(expression).empty()) return out;
    for (const std::string& part : SplitConditions(expression)) {
        std::string text = TrimLeft(part);
        std::size_t n = 0;
        const FieldDef* field = LeadingField(text, catalogue, n);
        if (!field) Bad(expression, "campo desconocido en \"" + Trim(part) + "\"");
        std::size_t i = n;
        while (i < text.size() && text[i] == ' ')
            ++i;
        FilterOp op;
        if (text.compare(i, 2, "=>") == 0) {
            op = FilterOp::GreaterEqual;
            i += 2;
        } else if (text.compare(i, 2, "<=") == 0) {
            op = FilterOp::LessEqual;
            i += 2;
        } else if (text.compare(i, 1, "=") == 0) {
            op = FilterOp::Equal;
            i += 1;
        } else if (StartsWithNoCase(text, i, "like")) {
            op = FilterOp::Like;
            i += 4;
        } else {
            Bad(expression, "falta el operador en \"" + Trim(part) + "\"");
        }
        FilterCondition c{field, op, Trim(std::string_view(text).substr(i))};
        CheckValue(expression, c);
        out.push_back(std::move(c));
    }
    return out;
}

namespace {
// The reference's index leaves out the empty reference: a condition that excludes it anyway
// says so, for SQLite to use the index.
std::string NotEmpty(const std::string& col) {
    return " AND " + col + " <> ''";
}
}  // namespace

std::string FilterSql(const std::vector<FilterCondition>& conditions) {
    if (conditions.empty()) return "1";
    std::string sql;
    for (const FilterCondition& c : conditions) {
        if (!sql.empty()) sql += " AND ";
        std::string col = c.field->column;
        switch (c.op) {
            case FilterOp::Equal:
                sql += col + " = ?";
                if (!c.value.empty() && col == "referencia") sql += NotEmpty(col);
                break;
            case FilterOp::GreaterEqual:
                sql += col + " >= ?";
                break;
            case FilterOp::LessEqual:
                sql += col + " <= ?";
                break;
            case FilterOp::Like: {
                std::string low, high;
                if (c.field->type == FieldType::Text && PrefixRange(c.value, low, high))
                    sql += "(" + col + " >= ? AND " + col + " < ?" +
                           (!low.empty() && col == "referencia" ? NotEmpty(col) : "") + ") AND ";
                std::string text =
                    c.field->type == FieldType::Text ? col : "CAST(" + col + " AS TEXT)";
                sql += "qv_like(" + text + ", ?)";
                break;
            }
        }
    }
    return sql;
}

int BindFilter(Stmt& st, const std::vector<FilterCondition>& conditions, int i) {
    for (const FilterCondition& c : conditions) {
        if (c.op == FilterOp::Like) {
            std::string low, high;
            if (c.field->type == FieldType::Text && PrefixRange(c.value, low, high)) {
                st.Bind(i++, std::string_view(low));
                st.Bind(i++, std::string_view(high));
            }
            st.Bind(i++, std::string_view(c.value));
            continue;
        }
        switch (c.field->type) {
            case FieldType::Text:
                st.Bind(i++, std::string_view(c.value));
                break;
            case FieldType::Date:
                st.Bind(i++, static_cast<std::int64_t>(
                                 c.value.empty() ? 0 : *ParseDayFirstDate(c.value)));
                break;
            case FieldType::Integer:
            case FieldType::Number:
                st.Bind(i++, *ParsePlainNumber(c.value));
                break;
        }
    }
    return i;
}

}  // namespace pendara
