#pragma once
// The open-items and matching report as values: per account of the chart, its heading, the
// entries left open and the reference groups asked for, in extract order, and the totals. Its
// text (the report columns "Fecha,Asiento,Descripción,Referencia,Importe", TAB-separated, CR LF
// line ends) is made only when the report is shown or written.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "host/desktop_port.h"

namespace pendara {

// One entry line.
struct ReportEntry {
    std::string date;  // compact (yymmdd); shown day-first
    std::string entry;
    std::string description;
    std::string reference;
    double amount = 0;  // the debit when not 0, otherwise the credit

    bool operator==(const ReportEntry&) const = default;
};

// The block of one reference group: its entries and its balance.
struct ReportGroup {
    std::string reference;
    std::vector<ReportEntry> entries;  // the starting row first
    double balance = 0;

    bool operator==(const ReportGroup&) const = default;
};

// An entry left open, with an empty line before it when a group came just before.
struct ReportOpenEntry {
    ReportEntry line;
    bool gapBefore = false;

    bool operator==(const ReportOpenEntry&) const = default;
};

using ReportBodyItem = std::variant<ReportOpenEntry, ReportGroup>;

struct AccountReport {
    std::string account;
    // False when the account is left out (the company cannot be opened, the account has no
    // movements, or its balance lies within the minimum): it gives an empty text.
    bool listed = false;
    std::string title;  // trimmed
    std::vector<ReportBodyItem> body;
    double total = 0;    // of what is listed
    double balance = 0;  // the account's balance over the fifteen periods

    bool operator==(const AccountReport&) const = default;
};

struct Report {
    std::string title;  // "Informe de punteo de extractos"
    std::string date;   // the day it was made, dd/mm/yy
    std::string columns;
    std::string alignments;
    std::string companyName;                // the active company's short name
    std::string companyFullName;            // its name as the company file holds it
    std::string fiscalYear;                 // "2025"; "" when the file does not say
    std::vector<ReportCriterion> criteria;  // the selection, as the report's first block says it
    std::int32_t destination = 0;           // where it goes ("Salida a")
    std::vector<AccountReport> accounts;    // every account of the chart's selection, in order
};

}  // namespace pendara
