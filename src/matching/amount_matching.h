#pragma once
// Matching by amounts: exact debit/credit pairs and reversals, then one item of one list against
// several items of the other. Every group formed takes one new system reference.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "model/entry.h"

namespace pendara {

inline constexpr std::int32_t kNoGroup = -1;

struct AmountItem {
    std::int32_t row = 0;
    double amount = 0;
    std::int16_t open = 0;  // -1 while it may still be matched, 0 once closed
    std::string reference;
    // The group that closed the item, numbered in the order the groups formed; its system
    // reference is drawn once the passes are over (AssignReferences).
    std::int32_t group = kNoGroup;

    bool operator==(const AmountItem&) const = default;
};

inline constexpr std::int16_t kItemOpen = -1;
inline constexpr std::int16_t kItemClosed = 0;

struct AmountHooks {
    // Gauge protocol: (-1, 0) starts, (value, maximum) shows value/maximum.
    std::function<void(std::int32_t value, std::int32_t maximum)> progress;
};

// The groups of one account's matching run, numbered from 0 in the order they form.
class GroupNumbers {
  public:
    std::int32_t Next() { return count_++; }
    std::int32_t count() const { return count_; }

  private:
    std::int32_t count_ = 0;
};

// Splits rows 0..last of the extract into debit and credit items (each list holding its one empty
// item on entry) and closes exact pairs and reversals; then matches one-to-many both ways.
void SplitByAmounts(const std::vector<Entry>& rows, std::vector<AmountItem>& debits,
                    std::vector<AmountItem>& credits, GroupNumbers& groups,
                    const AmountHooks& hooks = {});

// Closes each open target together with pool items whose amounts add up to it exactly: first
// pairs (pass 1) for every target, then greedy runs (pass 2). The two lists are different
// objects; amounts that are not finite are an overflow error.
void MatchSubsets(std::vector<AmountItem>& targets, std::vector<AmountItem>& pool,
                  GroupNumbers& groups, const AmountHooks& hooks = {});

// Gives every item closed by a group the group's reference: references[group].
void AssignReferences(std::vector<AmountItem>& items, const std::vector<std::string>& references);

}  // namespace pendara
