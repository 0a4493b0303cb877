#pragma once
// The account list of the active company: every posting account whose code begins with a mask,
// or only those that still have something to match.

#include <string>
#include <vector>

namespace pendara {

class Session;

enum class AccountListKind {
    Full,     // every posting account of the chart that matches
    Pending,  // those with a balance other than 0 and an entry neither referenced nor ticked
};

// The list's entries ("code name", both trimmed), by code. The pending list makes the active
// company the current one (its entries file is where new references are looked up).
std::vector<std::string> ListAccounts(Session& s, const std::string& mask, AccountListKind kind);

}  // namespace pendara
