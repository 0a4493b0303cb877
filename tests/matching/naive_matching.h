#pragma once
// The matching rules written out literally, loop for loop, as the fast code must reproduce them.

#include <string>
#include <vector>

#include "host/conversions.h"
#include "matching/amount_matching.h"
#include "matching/references.h"
#include "model/entry.h"

namespace pendara::naive {

inline void Tick(const AmountHooks& h, std::int32_t v, std::int32_t m) {
    if (h.progress) h.progress(v, m);
}

inline void MatchSubsets(std::vector<AmountItem>& targets, std::vector<AmountItem>& pool,
                         GroupNumbers& groups, const AmountHooks& hooks) {
    auto nt = static_cast<std::int32_t>(targets.size());
    Tick(hooks, -1, 0);
    for (int pass = 1; pass <= 2; ++pass) {
        for (std::int32_t t = 0; t < nt; ++t) {
            if (targets[t].open) {
                bool found = false;
                for (std::size_t k = 0; k < pool.size() && !found; ++k) {
                    if (!pool[k].open) continue;
                    std::vector<std::size_t> members{k};
                    double sum = pool[k].amount;
                    bool complete = false;
                    for (std::size_t j = 0; j < pool.size(); ++j) {
                        if (j == k || !pool[j].open) continue;
                        bool take = pass == 1 ? sum + pool[j].amount == targets[t].amount
                                              : sum + pool[j].amount <= targets[t].amount;
                        if (take) {
                            members.push_back(j);
                            sum += pool[j].amount;
                        }
                        if (targets[t].amount == sum) {
                            complete = true;
                            break;
                        }
                    }
                    if (complete) {
                        const std::int32_t g = groups.Next();
                        targets[t].open = kItemClosed;
                        targets[t].group = g;
                        for (std::size_t m : members) {
                            pool[m].open = kItemClosed;
                            pool[m].group = g;
                        }
                        found = true;
                    }
                }
            }
            Tick(hooks, t + 1, nt);
        }
    }
}

// Reads the amount texts itself, as the rule states them.
inline void SplitByAmounts(const std::vector<Entry>& rows, std::vector<AmountItem>& debits,
                           std::vector<AmountItem>& credits, GroupNumbers& groups,
                           const AmountHooks& hooks) {
    Tick(hooks, -1, 0);
    bool anyD = false, anyC = false;
    auto n = static_cast<std::int32_t>(rows.size());
    for (std::int32_t i = 0; i < n; ++i) {
        const Entry& e = rows[static_cast<std::size_t>(i)];
        double c = ToDouble(e.credit.text);
        std::string ref = e.reference;
        std::int16_t open = IsSystemReference(ref) ? kItemClosed : kItemOpen;
        if (c == 0) {
            double d = ToDouble(e.debit.text);
            if (d != 0) {
                if (anyD)
                    debits.push_back({i, d, open, ref});
                else
                    debits[0] = {i, d, open, ref};
                anyD = true;
            }
        } else {
            if (anyC)
                credits.push_back({i, -c, open, ref});
            else
                credits[0] = {i, -c, open, ref};
            anyC = true;
        }
        Tick(hooks, i + 1, n);
    }
    auto closePair = [&](AmountItem& a, AmountItem& b) {
        a.group = b.group = groups.Next();
        a.open = b.open = kItemClosed;
    };
    auto nd = static_cast<std::int32_t>(debits.size());
    for (std::int32_t i = 0; i < nd; ++i) {
        if (debits[i].open) {
            for (auto& c : credits)
                if (c.open && c.amount == debits[i].amount) {
                    closePair(debits[i], c);
                    break;
                }
        }
        Tick(hooks, i + 1, nd);
    }
    for (auto* list : {&debits, &credits})
        for (std::size_t i = 0; i < list->size(); ++i) {
            if (!(*list)[i].open) continue;
            for (std::size_t j = i + 1; j < list->size(); ++j)
                if ((*list)[j].open && (*list)[j].amount == -(*list)[i].amount) {
                    closePair((*list)[i], (*list)[j]);
                    break;
                }
        }
    if (!anyD || !anyC) return;
    naive::MatchSubsets(debits, credits, groups, hooks);
    naive::MatchSubsets(credits, debits, groups, hooks);
}

}  // namespace pendara::naive
