#pragma once
// Writing and reading whole companies: creating a company with its empty data files, adding
// chart accounts and entries in one transaction, reading entries back. Used by qvdata, the demo
// generator and the tests.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pendara {

struct CompanyDetails {
    std::string code;  // two characters
    std::string name;
    std::int32_t year = 0;
    std::string previous;  // the previous year's company file, "" when none
    std::string key;       // access key, "" when none
};

struct ChartAccount {
    ChartAccount() = default;
    ChartAccount(std::string cuenta_, std::string nombre_, std::int32_t nivel_ = 0)
        : cuenta(std::move(cuenta_)), nombre(std::move(nombre_)), nivel(nivel_) {}
    std::string cuenta;
    std::string nombre;
    std::int32_t nivel = 0;  // 0: a posting account
};

// One ledger entry; the constructor takes the fields in the order a test writes them.
struct EntryRecord {
    EntryRecord() = default;
    EntryRecord(std::string cuenta_, std::string fecha_, std::string asiento_ = "",
                std::string descripcion_ = "", std::int32_t debeHaber_ = 1, double importe_ = 0,
                std::string marca_ = "", std::string tipo_ = "", std::string campo14_ = "",
                std::string campo22_ = "", std::string referencia_ = "", std::string campo2_ = "")
        : cuenta(std::move(cuenta_)),
          fecha(std::move(fecha_)),
          asiento(std::move(asiento_)),
          descripcion(std::move(descripcion_)),
          debeHaber(debeHaber_),
          importe(importe_),
          marca(std::move(marca_)),
          tipo(std::move(tipo_)),
          campo14(std::move(campo14_)),
          campo22(std::move(campo22_)),
          referencia(std::move(referencia_)),
          campo2(std::move(campo2_)) {}

    std::string cuenta;
    std::string fecha;  // dd/mm/yy or dd/mm/yyyy ("" no date); read back as dd/mm/yy
    std::string asiento;
    std::string descripcion;
    std::int32_t debeHaber = 1;  // 1 debit
    double importe = 0;          // credits negative
    std::string marca;
    std::string tipo;  // entry class
    std::string campo14;
    std::string campo22;
    std::string referencia;  // "Referencia punteo"
    std::string campo2;
    std::int32_t registro = 0;  // record number, set when added or read

    bool operator==(const EntryRecord&) const = default;
};

// The data files of a company: folder of the company file & "extra"/"Planc" & code & ".qvd"
// (an existing file found without regard to case).
std::string EntriesFileOf(const std::string& companyFile, const std::string& code);
std::string ChartFileOf(const std::string& companyFile, const std::string& code);
std::string EntriesFileOf(const std::string& companyFile);
std::string ChartFileOf(const std::string& companyFile);

// Creates the company file and its empty entries file and chart in the file's folder.
void CreateCompany(const std::string& companyFile, const CompanyDetails& details);

// Appends accounts to the chart, in one transaction.
void AddAccounts(const std::string& companyFile, const std::vector<ChartAccount>& accounts);
// Appends entries in one transaction, numbered in order after the existing records; sets each
// entry's `registro`. A bad date names the entry and adds nothing.
void AddEntries(const std::string& companyFile, std::vector<EntryRecord>& entries);

// Appends entries one by one inside one transaction (for large imports and generated data):
// nothing is stored unless Commit is called. On an empty file with `bulk`, the indexes are
// built once at Commit instead of row by row.
class EntryWriter {
  public:
    EntryWriter(const std::string& companyFile, bool bulk = false);
    ~EntryWriter();
    EntryWriter(const EntryWriter&) = delete;
    EntryWriter& operator=(const EntryWriter&) = delete;
    // Returns the new record number. A bad date is a HostError.
    std::int32_t Add(const EntryRecord& entry);
    void Commit();

    struct Impl;

  private:
    std::unique_ptr<Impl> impl_;
};

// The entries in record-number order, of one account or ("") of all.
std::vector<EntryRecord> ReadEntries(const std::string& companyFile,
                                     const std::string& account = "");
std::vector<ChartAccount> ReadAccounts(const std::string& companyFile);

}  // namespace pendara
