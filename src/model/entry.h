#pragma once
// One ledger entry of an account as the extract holds it, and the extract itself: the entries of
// the account over the chain of companies, earliest company first, with the company files and
// entries files they were read from.

#include <cstdint>
#include <string>
#include <vector>

#include "model/amount.h"

namespace pendara {

struct Entry {
    // The record number in its company's entries file, in decimal: where a save finds the entry
    // again. (A row that a CR inside a host field split off an entry holds there whatever the
    // field left; a save reads it as it reads any record number.)
    std::string record;
    std::string field2;       // host field 2, carried
    std::string date;         // compact date: yymmdd, a letter for the first digit below "60"
    std::string entry;        // journal entry number ("Asiento")
    std::string description;  // "Descripción"
    Amount debit;             // the amount when the host's indicator is 1, else "0"
    Amount credit;            // the amount (negative) when the indicator is not 1, else "0"
    std::string mark;         // "Marca" as stored
    std::string entryClass;   // host field 8: compared with "9", "A", "R" and "C"
    std::string field14;      // host field 14, carried
    // "Referencia punteo" as stored; the matching run replaces it with the reference it works on.
    std::string reference;
    std::int32_t company = 0;  // the company number: 1 the company asked for, 2 its predecessor...

    bool operator==(const Entry&) const = default;
};

struct Extract {
    // Row 0 exists and stays empty; rows 1..count() are the entries, earlier companies first and,
    // within a company, in the order the host gives them.
    std::vector<Entry> rows = std::vector<Entry>(1);
    // By company number, from 1 (index 0 unused): the company file and its entries file. A company
    // that could not be opened keeps its number and an empty entries file.
    std::vector<std::string> companyFiles = std::vector<std::string>(1);
    std::vector<std::string> entryFiles = std::vector<std::string>(1);

    std::int32_t count() const { return static_cast<std::int32_t>(rows.size()) - 1; }
};

}  // namespace pendara
