#include "matching/enhanced_matching.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numeric>
#include <utility>

namespace pendara {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Days since an arbitrary origin, good for distances of a few months; none when the text is no
// compact date.
std::optional<std::int32_t> DayNumber(const std::string& d) {
    if (d.size() != 6) return std::nullopt;
    for (std::size_t i = 1; i < 6; ++i)
        if (!IsDigit(d[i])) return std::nullopt;
    int year;
    if (d[0] >= 'A' && d[0] <= 'J')
        year = 2000 + (d[0] - 'A') * 10 + (d[1] - '0');
    else if (IsDigit(d[0]))
        year = 1900 + (d[0] - '0') * 10 + (d[1] - '0');
    else
        return std::nullopt;
    int month = (d[2] - '0') * 10 + (d[3] - '0');
    int day = (d[4] - '0') * 10 + (d[5] - '0');
    return year * 372 + (month - 1) * 31 + (day - 1);
}

class Links {
  public:
    explicit Links(std::size_t n) : parent_(n) { std::iota(parent_.begin(), parent_.end(), 0); }
    std::size_t Find(std::size_t i) {
        while (parent_[i] != i)
            i = parent_[i] = parent_[parent_[i]];
        return i;
    }
    void Join(std::size_t a, std::size_t b) {
        a = Find(a);
        b = Find(b);
        if (a != b) parent_[std::max(a, b)] = std::min(a, b);
    }

  private:
    std::vector<std::size_t> parent_;
};

class Matcher {
  public:
    Matcher(const std::vector<EnhancedItem>& items, const EnhancedLimits& limits)
        : items_(items), limits_(limits), open_(items.size()) {
        for (std::size_t i = 0; i < items.size(); ++i) {
            open_[i] = items[i].cents != 0;
            if (open_[i]) ++openByAmount_[{items[i].side, items[i].cents}];
        }
    }

    EnhancedResult Run() {
        InvoiceNumberPass();
        if (!stop_) SubsetPass();
        return std::move(result_);
    }

  private:
    // False once the budget is spent; the search then ends where it is.
    bool Spend(std::int64_t nodes) {
        result_.stats.nodes += nodes;
        if (result_.stats.nodes > limits_.nodeBudget) {
            result_.stats.budgetReached = true;
            stop_ = true;
        }
        return !stop_;
    }

    void Emit(EnhancedKind kind, std::vector<std::size_t> members) {
        EnhancedGroup g;
        g.kind = kind;
        for (std::size_t i : members) {
            open_[i] = false;
            --openByAmount_[{items_[i].side, items_[i].cents}];
            g.ids.push_back(items_[i].id);
        }
        std::sort(g.ids.begin(), g.ids.end());
        ++(kind == EnhancedKind::InvoiceNumbers ? result_.stats.invoiceGroups
                                                : result_.stats.subsetGroups);
        result_.groups.push_back(std::move(g));
    }

    // --- Pass 1: invoice numbers --------------------------------------------------------------

    void InvoiceNumberPass() {
        const std::size_t n = items_.size();
        tokens_.assign(n, {});
        std::map<std::string, std::vector<std::size_t>> quoting;
        for (std::size_t i = 0; i < n; ++i) {
            if (!open_[i]) continue;
            std::vector<std::string> tokens = NumberTokens(items_[i].description);
            for (std::string& t : NumberTokens(items_[i].reference))
                tokens.push_back(std::move(t));
            std::sort(tokens.begin(), tokens.end());
            tokens.erase(std::unique(tokens.begin(), tokens.end()), tokens.end());
            for (const std::string& t : tokens)
                quoting[t].push_back(i);
            tokens_[i] = std::move(tokens);
        }
        // A number links entries only when both sides quote it and few entries do.
        Links links(n);
        numbers_.assign(n, {});
        std::int32_t number = 0;
        for (const auto& [token, quoted] : quoting) {
            if (quoted.size() > static_cast<std::size_t>(limits_.maxEntriesPerNumber)) continue;
            bool debit = false, credit = false;
            for (std::size_t i : quoted)
                (items_[i].side == EntrySide::Debit ? debit : credit) = true;
            if (!debit || !credit) continue;
            for (std::size_t i : quoted) {
                links.Join(quoted.front(), i);
                numbers_[i].push_back(number);
            }
            ++number;
        }
        std::vector<std::vector<std::size_t>> linked;
        std::vector<std::size_t> slot(n, n);
        for (std::size_t i = 0; i < n; ++i) {
            if (!open_[i] || numbers_[i].empty()) continue;
            std::size_t root = links.Find(i);
            if (slot[root] == n) {
                slot[root] = linked.size();
                linked.emplace_back();
            }
            linked[slot[root]].push_back(i);
        }
        for (const std::vector<std::size_t>& members : linked) {
            if (members.size() < 2) continue;
            SplitLinked(members);
            if (stop_) return;
        }
    }

    // The linked entries close as the smallest sets that add up to zero, when those sets do not
    // overlap: then there is one way to close them. Overlapping sets are two readings of the same
    // numbers, and the accountant decides.
    void SplitLinked(const std::vector<std::size_t>& members) {
        const std::size_t k = members.size();
        if (k > static_cast<std::size_t>(limits_.maxLinkedEntries)) {
            ++result_.stats.refused;
            return;
        }
        const std::uint32_t all = (1u << k) - 1;
        if (!Spend(all + 1)) return;
        std::vector<std::int64_t> sum(all + 1, 0);
        std::vector<std::uint32_t> zero;
        for (std::uint32_t mask = 1; mask <= all; ++mask) {
            sum[mask] = sum[mask & (mask - 1)] + items_[members[std::countr_zero(mask)]].cents;
            if (sum[mask] == 0) zero.push_back(mask);
        }
        std::stable_sort(zero.begin(), zero.end(), [](std::uint32_t a, std::uint32_t b) {
            return std::popcount(a) < std::popcount(b);
        });
        std::vector<std::uint32_t> minimal;
        std::uint32_t covered = 0;
        for (std::uint32_t z : zero) {
            bool hasSmaller = std::any_of(minimal.begin(), minimal.end(),
                                          [z](std::uint32_t m) { return (m & z) == m; });
            if (hasSmaller) continue;
            if (covered & z) {
                ++result_.stats.refused;
                return;
            }
            covered |= z;
            minimal.push_back(z);
        }
        for (std::uint32_t part : minimal) {
            std::vector<std::size_t> group;
            for (std::size_t b = 0; b < k; ++b)
                if (part >> b & 1u) group.push_back(members[b]);
            if (Connected(group))
                Emit(EnhancedKind::InvoiceNumbers, std::move(group));
            else
                ++result_.stats.refused;
        }
    }

    // A group must hang together by its own numbers, not only through entries left out of it.
    bool Connected(const std::vector<std::size_t>& group) {
        Links links(group.size());
        std::map<std::int32_t, std::size_t> first;
        for (std::size_t g = 0; g < group.size(); ++g)
            for (std::int32_t number : numbers_[group[g]]) {
                auto [it, added] = first.emplace(number, g);
                if (!added) links.Join(it->second, g);
            }
        for (std::size_t g = 1; g < group.size(); ++g)
            if (links.Find(g) != links.Find(0)) return false;
        return true;
    }

    // --- Pass 2: exact subsets ----------------------------------------------------------------

    struct Search {
        std::vector<std::int64_t> value;  // magnitudes, descending
        std::vector<std::int64_t> rest;   // rest[j]: sum of value[j..]
        std::vector<std::size_t> path, first;
        int solutions = 0;
    };

    void SubsetPass() {
        std::vector<std::size_t> order;
        for (std::size_t i = 0; i < items_.size(); ++i)
            if (open_[i]) order.push_back(i);
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return items_[a].date < items_[b].date;
        });
        std::vector<std::optional<std::int32_t>> day(items_.size());
        for (std::size_t i = 0; i < items_.size(); ++i)
            day[i] = DayNumber(items_[i].date);

        for (std::size_t t : order) {
            if (stop_) return;
            if (!open_[t]) continue;
            const EnhancedItem& target = items_[t];
            // Two open entries of the same amount on the target's side: whichever is taken, the
            // other could have been.
            if (openByAmount_[{target.side, target.cents}] > 1) continue;
            const std::int64_t need = std::abs(target.cents);
            // Looking through the entries counts too, or a long account would run on unbounded.
            if (!Spend(static_cast<std::int64_t>(items_.size()))) return;
            std::vector<std::size_t> candidates;
            for (std::size_t j = 0; j < items_.size(); ++j) {
                const EnhancedItem& c = items_[j];
                if (!open_[j] || c.side == target.side) continue;
                if ((c.cents > 0) == (target.cents > 0) || std::abs(c.cents) > need) continue;
                candidates.push_back(j);
            }
            auto near = [&](std::size_t j) {
                return day[t] && day[j] && std::abs(*day[t] - *day[j]) <= limits_.nearDays;
            };
            auto sameYear = [&](std::size_t j) { return items_[j].company == target.company; };
            std::size_t tried = 0;
            for (int tier = 0; tier < 3; ++tier) {
                std::vector<std::size_t> pool;
                for (std::size_t j : candidates)
                    if (tier == 2 || (sameYear(j) && (tier == 1 || near(j)))) pool.push_back(j);
                // Tiers widen; a pool of the same size is the same pool.
                if (pool.empty() || pool.size() == tried) continue;
                tried = pool.size();
                std::vector<std::size_t> solution;
                int found = Solve(pool, need, solution);
                if (stop_) return;
                if (found == 1) {
                    solution.push_back(t);
                    if (Agree(solution))
                        Emit(EnhancedKind::ExactSubset, std::move(solution));
                    else
                        ++result_.stats.refused;
                    break;
                }
                if (found > 1) {
                    ++result_.stats.refused;
                    break;
                }
            }
        }
    }

    // Amounts alone do not overrule the texts: an entry that quotes numbers must share one with
    // an entry of the other side, when that side quotes numbers too. (A payment of invoices 7647
    // and 8262 does not go with invoices 4881 and 5128 because the amounts happen to agree.)
    bool Agree(const std::vector<std::size_t>& group) const {
        for (std::size_t x : group) {
            if (tokens_[x].empty()) continue;
            bool otherQuotes = false, shared = false;
            for (std::size_t y : group) {
                if (items_[y].side == items_[x].side || tokens_[y].empty()) continue;
                otherQuotes = true;
                for (const std::string& t : tokens_[y])
                    shared = shared || std::binary_search(tokens_[x].begin(), tokens_[x].end(), t);
            }
            if (otherQuotes && !shared) return false;
        }
        return true;
    }

    // Counts the subsets of `pool` (up to two) whose magnitudes add up to `need`; the first one
    // found goes to `solution`.
    int Solve(std::vector<std::size_t> pool, std::int64_t need,
              std::vector<std::size_t>& solution) {
        std::stable_sort(pool.begin(), pool.end(), [&](std::size_t a, std::size_t b) {
            return std::abs(items_[a].cents) > std::abs(items_[b].cents);
        });
        Search s;
        for (std::size_t j : pool)
            s.value.push_back(std::abs(items_[j].cents));
        s.rest.assign(pool.size() + 1, 0);
        for (std::size_t j = pool.size(); j-- > 0;)
            s.rest[j] = s.rest[j + 1] + s.value[j];
        Walk(s, 0, need, 0);
        for (std::size_t j : s.first)
            solution.push_back(pool[j]);
        return s.solutions;
    }

    void Walk(Search& s, std::size_t from, std::int64_t need, std::int32_t depth) {
        if (!Spend(1)) return;
        if (need == 0) {
            if (++s.solutions == 1) s.first = s.path;
            return;
        }
        const std::int32_t left = limits_.maxSubsetSize - depth;
        if (left == 0) return;
        // Skip what is too large at once: values are in descending order.
        auto j = static_cast<std::size_t>(
            std::lower_bound(s.value.begin() + static_cast<std::ptrdiff_t>(from), s.value.end(),
                             need, std::greater<>()) -
            s.value.begin());
        for (; j < s.value.size(); ++j) {
            if (s.solutions > 1 || stop_) return;
            // What is left cannot reach `need`: not all of it, nor `left` items of this size.
            if (s.rest[j] < need || s.value[j] * left < need) return;
            s.path.push_back(j);
            Walk(s, j + 1, need - s.value[j], depth + 1);
            s.path.pop_back();
        }
    }

    const std::vector<EnhancedItem>& items_;
    const EnhancedLimits& limits_;
    std::vector<char> open_;
    std::map<std::pair<EntrySide, std::int64_t>, std::int32_t> openByAmount_;
    std::vector<std::vector<std::string>> tokens_;    // every number each entry quotes, sorted
    std::vector<std::vector<std::int32_t>> numbers_;  // the linking numbers each entry quotes
    EnhancedResult result_;
    bool stop_ = false;
};

}  // namespace

EnhancedResult MatchEnhanced(const std::vector<EnhancedItem>& items, const EnhancedLimits& limits) {
    return Matcher(items, limits).Run();
}

std::optional<std::int64_t> ExactCents(double amount) {
    // Beyond 2^53 cents not every whole number of cents is a double.
    constexpr double kLimit = 9.0e13;
    if (!std::isfinite(amount) || std::fabs(amount) > kLimit) return std::nullopt;
    const std::int64_t cents = std::llround(amount * 100);
    if (static_cast<double>(cents) / 100 != amount) return std::nullopt;
    return cents;
}

std::vector<std::string> NumberTokens(std::string_view text) {
    std::vector<std::string> tokens;
    std::size_t i = 0;
    while (i < text.size()) {
        if (!IsDigit(text[i])) {
            ++i;
            continue;
        }
        std::string token;
        for (;;) {
            std::size_t start = i;
            while (i < text.size() && IsDigit(text[i]))
                ++i;
            std::string_view digits = text.substr(start, i - start);
            std::size_t lead = digits.find_first_not_of('0');
            token += lead == std::string_view::npos ? "0" : digits.substr(lead);
            if (i + 1 < text.size() && (text[i] == '/' || text[i] == '-') && IsDigit(text[i + 1])) {
                token += text[i];
                ++i;
                continue;
            }
            break;
        }
        tokens.push_back(std::move(token));
    }
    return tokens;
}

}  // namespace pendara
