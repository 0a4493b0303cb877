#pragma once
// The host's filter expressions: conditions "field operator value" joined by " and ", parsed
// once into conditions whose values are bound as SQL parameters.

#include <string>
#include <vector>

#include "host/store.h"

namespace pendara {

enum class FilterOp { Equal, GreaterEqual, LessEqual, Like };

struct FilterCondition {
    const FieldDef* field;
    FilterOp op;
    std::string value;  // trimmed
};

// Parses `expression` against the fields of `catalogue`; a blank expression gives no condition.
// A text that does not parse is a HostError naming the expression.
std::vector<FilterCondition> ParseFilter(const std::string& expression,
                                         const FileCatalogue& catalogue);

// The SQL condition of the filter ("1" when empty) with one "?" per value, and the binding of
// those values starting at parameter `first`; returns the next free parameter number.
std::string FilterSql(const std::vector<FilterCondition>& conditions);
int BindFilter(Stmt& st, const std::vector<FilterCondition>& conditions, int first);

}  // namespace pendara
