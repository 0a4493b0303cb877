#include "support/ledger.h"

#include <filesystem>

#include "host/settings.h"

namespace pendara::testing {

std::string Ledger::Company(const std::string& code, const std::string& name, int year,
                            const std::string& previous, const std::string& key,
                            const std::string& fileName, const std::string& subfolder) {
    std::filesystem::path folder = dir_.path();
    if (!subfolder.empty()) folder /= subfolder;
    std::string path = (folder / (fileName.empty() ? "EMP" + code + ".QVT" : fileName)).string();
    CreateCompany(path, CompanyDetails{code, name, year, previous, key});
    return path;
}

void Ledger::Accounts(const std::string& company, const std::vector<ChartAccount>& accounts) {
    AddAccounts(company, accounts);
}

std::vector<std::int32_t> Ledger::Entries(const std::string& company,
                                          std::vector<EntryRecord> entries) {
    AddEntries(company, entries);
    std::vector<std::int32_t> numbers;
    for (const EntryRecord& e : entries)
        numbers.push_back(e.registro);
    return numbers;
}

std::int32_t Ledger::Entry(const std::string& company, EntryRecord entry) {
    return Entries(company, {std::move(entry)}).front();
}

void Ledger::SetActive(const std::string& company) {
    std::string key = std::string(kRegistryRoot) + "Settings\\";
    Registry().OpenKey(key);
    Registry().Store(key, "Active", company);
}

std::vector<EntryRecord> Ledger::Read(const std::string& company, const std::string& account) {
    return ReadEntries(company, account);
}

std::string Ledger::EntriesFile(const std::string& company) const {
    return EntriesFileOf(company);
}

}  // namespace pendara::testing
