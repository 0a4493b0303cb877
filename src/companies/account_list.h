#pragma once
// The account list: what its entries say (code, one blank, name) and the status of an account in
// one company's entries file, by which the pending list keeps it.

#include <string>

namespace pendara {

class QvFileControl2;

// The account as the list click cuts it from an entry: up to and including the first blank;
// empty when the entry has no blank.
std::string ListEntryAccount(const std::string& entry);
// The account code of an entry, or of a code given alone: the text before the first blank.
std::string AccountCode(const std::string& entryOrCode);

// An account's rounded balance in one entries file, and whether one of its entries is neither
// referenced ("RF-" anywhere, any case) nor ticked.
void AccountStatus(QvFileControl2& entries, const std::string& account, double& balance,
                   bool& open);

}  // namespace pendara
