#pragma once
// Giving a company an access key, changing it and taking it away.

#include <string>

namespace pendara {

// Gives the company `newKey` ("" removes its key). `currentKey` must open it when it has a key
// (checked again here, with the host's delays: a wrong one is a HostError kErrAccessKey and
// changes nothing). A company of the older layout is accepted with its old key.
void ChangeAccessKey(const std::string& companyFile, const std::string& currentKey,
                     const std::string& newKey);

}  // namespace pendara
