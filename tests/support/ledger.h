#pragma once
// Small ledgers for tests, built through the real store in a temporary folder: a chain of
// companies (one per fiscal year), their charts of accounts and entries, the active company in
// the registry, and the entries read back.
//
//   testing::Ledger l;
//   std::string y24 = l.Company("E4", "Empresa", 2024);
//   std::string y25 = l.Company("E5", "Empresa", 2025, y24, "clave");
//   l.Accounts(y25, {{"4300000001", "Cliente uno", 0}});
//   l.Entries(y25, {{"4300000001", "15/01/25", "1", "Fra. 12", 1, 100.0},
//                   {"4300000001", "20/02/25", "7", "Cobro Fra. 12", 2, -100.0}});
//   l.SetActive(y25);  // use in a testing::SettingsTest, which gives a private QUORVEX_HOME

#include <string>
#include <vector>

#include "host/company_store.h"
#include "support/temp_dir.h"

namespace pendara::testing {

class Ledger {
  public:
    Ledger() = default;

    const TempDir& dir() const { return dir_; }
    // The path of a file in the ledger's folder.
    std::string File(const std::string& name) const { return dir_.file(name); }

    // Creates company file `name` (default "EMP" + code + ".QVT") in the ledger's folder, or in
    // its sub-folder `subfolder` when given, with empty data files; returns its path.
    std::string Company(const std::string& code, const std::string& name, int year,
                        const std::string& previous = "", const std::string& key = "",
                        const std::string& fileName = "", const std::string& subfolder = "");

    void Accounts(const std::string& company, const std::vector<ChartAccount>& accounts);
    // Adds the entries in one transaction; returns their record numbers.
    std::vector<std::int32_t> Entries(const std::string& company, std::vector<EntryRecord> entries);
    // One entry; returns its record number.
    std::int32_t Entry(const std::string& company, EntryRecord entry);

    // Writes the registry value "Active".
    void SetActive(const std::string& company);

    std::vector<EntryRecord> Read(const std::string& company, const std::string& account = "");
    // The entries file of a company.
    std::string EntriesFile(const std::string& company) const;

  private:
    TempDir dir_;
};

}  // namespace pendara::testing
