#include "host/company_keys.h"

#include "host/company_file.h"
#include "host/errors.h"

namespace pendara {

void ChangeAccessKey(const std::string& companyFile, const std::string& currentKey,
                     const std::string& newKey) {
    const std::string file = ExistingCompanyFile(companyFile);
    if (!VerifyAccessKey(file, currentKey))
        throw HostError(kErrAccessKey, "Clave de acceso incorrecta para " + file);
    // The derivation takes a while: it is done before the header is locked.
    CompanyHeader fresh;
    SetAccessKey(fresh, newKey);
    CompanyHeaderLock lock(file);
    CompanyHeader h = lock.Read();
    h.version = fresh.version;
    h.hasKey = fresh.hasKey;
    h.keyCost = fresh.keyCost;
    h.salt = fresh.salt;
    h.keyCheck = fresh.keyCheck;
    h.failedAttempts = 0;
    h.lastFailureMs = 0;
    lock.Write(h);
}

}  // namespace pendara
