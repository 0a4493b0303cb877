#pragma once
// The demo company group: a chain of fiscal years of one company with a Spanish chart of
// accounts (ten-digit codes) and realistic entries: invoices with "Fra." numbers, payments that
// quote one or several invoices, partial payments, reversals, opening ("A"), regularisation
// ("R") and closing ("C") entries. The same seed gives the same data; the sizes are options so
// that benchmarks use the same generator.

#include <cstdint>
#include <string>
#include <vector>

namespace pendara {

struct DemoOptions {
    std::string folder;
    std::uint64_t seed = 1;
    int accounts = 40;  // customer and supplier accounts together
    int entriesPerYear = 3000;
    int years = 3;
    int lastYear = 2025;
    bool withKey = true;  // one year of the chain gets an access key
};

// One generated entry of a customer or supplier account and the group of entries that truly
// settle each other ("" when the entry is never settled: an invoice still open at the end, a
// partial payment of it, opening and closing entries).
struct DemoTruth {
    std::string company;  // the company file's name, e.g. DEMO2024.QVT
    std::int32_t record = 0;
    std::string group;
};

struct DemoResult {
    std::vector<std::string> companies;  // oldest first; the last one is the active company
    std::string keyCompany;              // "" when no year has a key
    std::string key;
    std::size_t entries = 0;
    std::vector<DemoTruth> truth;  // in the order the entries were written
};

// Writes the group into options.folder (created when missing); fails when a company exists.
DemoResult GenerateDemo(const DemoOptions& options);

}  // namespace pendara
