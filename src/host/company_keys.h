#pragma once
// Giving a company an access key, changing it and taking it away. The data files of a protected
// company are encrypted with a key that comes from its access key (crypt_vfs.h), so each change
// rewrites them, all or nothing (company_keys.cpp says how).

#include <string>

namespace pendara {

// Gives the company `newKey` ("" removes its key). `currentKey` must open it when it has a key
// (checked again here, with the host's delays: a wrong one is a HostError kErrAccessKey and
// changes nothing). A company of the older layout is accepted with its old key. No other
// connection may have the company's data open (HostError, nothing changed).
void ChangeAccessKey(const std::string& companyFile, const std::string& currentKey,
                     const std::string& newKey);

// Completes or undoes a change of key cut short (by a crash), before the company is used again;
// true when there was one. `code` is the company's code.
bool FinishKeyChange(const std::string& companyFile, const std::string& code);

}  // namespace pendara
