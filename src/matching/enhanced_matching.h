#pragma once
// The enhanced matching mode: what an accountant sees at once and the amount matching misses.
// Works in integer cents on the entries left open, in two passes:
//  1. invoice numbers: entries linked by a number that an entry of the other side also quotes
//     ("Cobro Fra. 1212 1293 1299" and the three invoices, partial payments of one invoice,
//     credit notes) form a group when their cents add up to zero and no other split exists;
//  2. exact subsets: one entry against several of the other side whose cents add up to it,
//     found by a pruned search, nearest dates and the same year first; a target with two
//     different solutions is refused, and so is a group whose texts quote numbers that do not
//     meet across its two sides.
// The search is bounded by a node budget per call (deterministic, not a time limit).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pendara {

enum class EntrySide : std::uint8_t { Debit, Credit };

struct EnhancedItem {
    std::int32_t id = 0;
    EntrySide side = EntrySide::Debit;
    std::int64_t cents = 0;  // signed as in the ledger: a group closes when its sum is 0
    std::string description;
    std::string reference;
    std::string date;  // compact date (yymmdd, a letter for the first digit of years below 60)
    std::int32_t company = 0;  // the year's company number: equal numbers, same year
};

enum class EnhancedKind : std::uint8_t { InvoiceNumbers, ExactSubset };

struct EnhancedGroup {
    EnhancedKind kind = EnhancedKind::InvoiceNumbers;
    std::vector<std::int32_t> ids;  // ascending
};

struct EnhancedStats {
    std::int32_t invoiceGroups = 0;
    std::int32_t subsetGroups = 0;
    std::int32_t refused = 0;  // candidates left alone because they had more than one answer
    std::int64_t nodes = 0;    // search nodes spent
    bool budgetReached = false;
};

struct EnhancedResult {
    std::vector<EnhancedGroup> groups;  // in the order they formed
    EnhancedStats stats;
};

struct EnhancedLimits {
    std::int64_t nodeBudget = 400'000;
    // A number quoted by more entries than this is not an invoice number (a year, a count).
    std::int32_t maxEntriesPerNumber = 8;
    // Entries linked by numbers are split into groups by trying all their subsets.
    std::int32_t maxLinkedEntries = 12;
    // Most entries a target may take in the subset pass.
    std::int32_t maxSubsetSize = 5;
    // "Near" in the subset pass: at most this many days apart.
    std::int32_t nearDays = 92;
};

// Groups among `items` (ids unique). Every group adds up to 0 cents and no item is in two.
EnhancedResult MatchEnhanced(const std::vector<EnhancedItem>& items,
                             const EnhancedLimits& limits = {});

// The whole number of cents of a host amount; none when the amount is not a whole number of
// cents (host amounts carry at most two decimals) or too large to be exact.
std::optional<std::int64_t> ExactCents(double amount);

// The numbers a text quotes, as tokens: runs of digits, joined across "/" or "-" between digits
// ("123/2004" is one number), leading zeros dropped.
std::vector<std::string> NumberTokens(std::string_view text);

}  // namespace pendara
