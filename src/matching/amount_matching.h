#pragma once
// Matching by amounts: exact debit/credit pairs and reversals, then one item of one list against
// several items of the other. Every group formed takes one new system reference.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/text_table.h"

namespace pendara {

struct AmountItem {
    std::int32_t row = 0;
    double amount = 0;
    std::int16_t open = 0;  // -1 while it may still be matched, 0 once closed
    std::string reference;

    bool operator==(const AmountItem&) const = default;
};

inline constexpr std::int16_t kItemOpen = -1;
inline constexpr std::int16_t kItemClosed = 0;

struct AmountHooks {
    // Draws the next system reference; called once per group formed.
    std::function<std::string()> newReference;
    // Gauge protocol: (-1, 0) starts, (value, maximum) shows value/maximum.
    std::function<void(std::int32_t value, std::int32_t maximum)> progress;
};

// Splits rows 0..last of the extract into debit and credit items (each list holding its one empty
// item on entry) and closes exact pairs and reversals; then matches one-to-many both ways.
void SplitByAmounts(const TextTable& rows, std::vector<AmountItem>& debits,
                    std::vector<AmountItem>& credits, const AmountHooks& hooks);

// Closes each open target together with pool items whose amounts add up to it exactly: first
// pairs (pass 1) for every target, then greedy runs (pass 2). The two lists are different
// objects; amounts that are not finite are an overflow error.
void MatchSubsets(std::vector<AmountItem>& targets, std::vector<AmountItem>& pool,
                  const AmountHooks& hooks);

}  // namespace pendara
