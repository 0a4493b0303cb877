#pragma once
// An account as the matching run leaves it for the grids and a save: the rows of both grids and
// the chain they came from (company files and their entries files), which is where a save writes
// them.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "model/grid_row.h"

namespace pendara {

struct LoadedAccount {
    std::string account;  // the account code, trimmed: how the journal names the account
    // The entries file of each company of the chain, by company number (index 0 unused).
    std::vector<std::string> entryFiles = std::vector<std::string>(1);
    // The company file of each company of the chain, by company number (index 0 unused).
    std::vector<std::string> companyFiles = std::vector<std::string>(1);
    // The debit grid's rows ("Partidas pendientes del debe") and the credit grid's ("... del
    // haber"); a grid with nothing to show holds one row of no entry.
    std::vector<GridRow> debits = std::vector<GridRow>(1);
    std::vector<GridRow> credits = std::vector<GridRow>(1);

    // The same account and chain with other rows on its grids (what a save left there).
    LoadedAccount WithGrids(std::vector<GridRow> d, std::vector<GridRow> c) const {
        return {account, entryFiles, companyFiles, std::move(d), std::move(c)};
    }
};

// The matching run of one account.
struct AccountMatch {
    std::string account;  // as asked
    // False when the host has no movements of the account in the company: nothing was read, the
    // grids are to be emptied and the balance and title stay as they were.
    bool loaded = false;
    double balance = 0;  // over the fifteen periods
    std::string title;
    LoadedAccount rows;
    std::int32_t referencesDrawn = 0;
    bool searchLimitReached = false;  // the enhanced passes spent their budget on the account
};

}  // namespace pendara
