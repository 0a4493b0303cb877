#include "matching/amount_matching.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <unordered_map>

#include "matching/references.h"

// The plain statement of these rules is quadratic per item (pairs) and per target and starting
// item (subsets). The code below gives the same groups in the same order with indexes: amounts
// are compared with the very same double expressions, only the search for candidates changes.

namespace pendara {

namespace {

void Progress(const AmountHooks& hooks, std::int32_t value, std::int32_t maximum) {
    if (hooks.progress) hooks.progress(value, maximum);
}

void Close(AmountItem& item, std::int32_t group) {
    item.open = kItemClosed;
    item.group = group;
}

void Append(std::vector<AmountItem>& list, bool& appended, AmountItem item) {
    if (!appended && !list.empty())
        list[0] = std::move(item);
    else
        list.push_back(std::move(item));
    appended = true;
}

void RequireFinite(const std::vector<AmountItem>& list) {
    for (const AmountItem& it : list)
        if (!std::isfinite(it.amount))
            throw std::overflow_error("Desbordamiento en la suma de importes");
}

// No running sum of pool items can overflow when the pool's absolute amounts and the largest
// target add up to a finite number; otherwise the run ends with the overflow error up front, as
// it would at the first sum that overflowed.
void RequireBoundedSums(const std::vector<AmountItem>& targets,
                        const std::vector<AmountItem>& pool) {
    double total = 0, largest = 0;
    for (const AmountItem& it : pool)
        total += std::fabs(it.amount);
    for (const AmountItem& it : targets)
        largest = std::max(largest, std::fabs(it.amount));
    if (!std::isfinite(total + largest))
        throw std::overflow_error("Desbordamiento en la suma de importes");
}

// Open items by amount, each amount's items in list order; items leave as they close.
class OpenByAmount {
  public:
    explicit OpenByAmount(const std::vector<AmountItem>& list) {
        for (std::size_t i = 0; i < list.size(); ++i)
            if (list[i].open)
                map_[Key(list[i].amount)].items.push_back(static_cast<std::int32_t>(i));
    }
    // The first open item of `amount` at or after `from`; -1 when none. Items skipped before
    // `from` are dropped for good: callers ask with non-decreasing `from` per amount.
    std::int32_t First(const std::vector<AmountItem>& list, double amount, std::int32_t from) {
        auto it = map_.find(Key(amount));
        if (it == map_.end()) return -1;
        const auto& q = it->second.items;
        std::size_t& head = it->second.head;
        while (head < q.size() && (q[head] < from || !list[q[head]].open))
            ++head;
        return head < q.size() ? q[head] : -1;
    }

  private:
    // 0.0 and -0.0 compare equal, so they share a key.
    static double Key(double a) { return a == 0 ? 0.0 : a; }
    struct Queue {
        std::vector<std::int32_t> items;
        std::size_t head = 0;
    };
    std::unordered_map<double, Queue> map_;
};

// Step 2: each open debit takes the first open credit of exactly its amount.
void MatchPairs(std::vector<AmountItem>& debits, std::vector<AmountItem>& credits,
                GroupNumbers& groups, const AmountHooks& hooks) {
    OpenByAmount byAmount(credits);
    auto n = static_cast<std::int32_t>(debits.size());
    for (std::int32_t i = 0; i < n; ++i) {
        if (debits[i].open) {
            std::int32_t j = byAmount.First(credits, debits[i].amount, 0);
            if (j >= 0) {
                const std::int32_t g = groups.Next();
                Close(debits[i], g);
                Close(credits[j], g);
            }
        }
        Progress(hooks, i + 1, n);
    }
}

// Steps 3 and 4: an open item and the first later open item of exactly the opposite amount.
void MatchReversals(std::vector<AmountItem>& list, GroupNumbers& groups) {
    OpenByAmount byAmount(list);
    auto n = static_cast<std::int32_t>(list.size());
    for (std::int32_t i = 0; i < n; ++i) {
        if (!list[i].open) continue;
        std::int32_t j = byAmount.First(list, -list[i].amount, i + 1);
        if (j < 0) continue;
        const std::int32_t g = groups.Next();
        Close(list[i], g);
        Close(list[j], g);
    }
}

// The whole cents of an amount that is the double nearest to them, for amounts below 10^12. For
// three such amounts a + b == t in doubles only when their cents add up (the rounding errors stay
// below a hundredth of a cent), so whole cents can tell that no pair reaches a target.
std::optional<std::int64_t> RegularCents(double a) {
    if (!(std::fabs(a) < 1e12)) return std::nullopt;
    const std::int64_t c = std::llround(a * 100);
    if (static_cast<double>(c) / 100 != a) return std::nullopt;
    return c;
}

// The open amounts of a pool as whole cents, one bit per cent between the smallest and the
// largest, and the same bits reversed: the pairs of them that add up to a number of cents are the
// bits of one AND of the two over the range of the smaller one, where only the words of the
// first with some bit set need a look.
class CentsBits {
  public:
    // Empty (Usable false) when some amount is not whole cents or the span is too wide for the
    // number of amounts to be worth its bits.
    explicit CentsBits(const std::vector<double>& values) {
        if (values.empty()) return;
        std::vector<std::int64_t> cents;
        cents.reserve(values.size());
        for (double v : values) {
            std::optional<std::int64_t> c = RegularCents(v);
            if (!c) return;
            cents.push_back(*c);
        }
        min_ = *std::min_element(cents.begin(), cents.end());
        max_ = *std::max_element(cents.begin(), cents.end());
        const std::int64_t span = max_ - min_ + 1;
        if (span > 64 * (32 * static_cast<std::int64_t>(values.size()) + 1024)) return;
        const auto words = static_cast<std::size_t>((span + 63) / 64);
        fwd_.assign(words, 0);
        rev_.assign(words + 2, 0);
        nonzero_.assign((words + 2) / 64 + 3, 0);
        revNonzero_.assign((words + 2) / 64 + 3, 0);
        for (std::int64_t c : cents)
            Set(c, true);
        // The values are ascending and so are their cents: the value of a bit is the number of
        // bits below it in the full set, counted a word at a time.
        all_ = fwd_;
        rank_.resize(words);
        std::uint32_t below = 0;
        for (std::size_t w = 0; w < words; ++w) {
            rank_[w] = below;
            below += static_cast<std::uint32_t>(std::popcount(all_[w]));
        }
        cents_ = std::move(cents);
    }
    bool Usable() const { return !cents_.empty(); }
    std::int64_t CentsOf(std::size_t value) const { return cents_[value]; }
    void Remove(std::size_t value) { Set(cents_[value], false); }
    bool Has(std::int64_t c) const {
        if (c < min_ || c > max_) return false;
        const auto i = static_cast<std::uint64_t>(c - min_);
        return (fwd_[i / 64] >> (i % 64)) & 1;
    }
    // Calls f(x, y) with the value indexes of every x <= y of the set whose cents add up to
    // `total` (x == y when one amount is half of it), x ascending. The doubles of some of them
    // may not add up to the target those cents stand for: callers check the sums.
    template <class F>
    void ForEachPair(std::int64_t total, F&& f) const {
        const std::int64_t lo = std::max(min_, total - max_);
        const std::int64_t hi = std::min(max_, FloorHalf(total));
        if (lo > hi) return;
        // Bit i of fwd is min + i; bit i + shift of rev is max - (i + shift) == total - (min + i),
        // which is bit total - 2 min - i of fwd. The partners of the bits from lo to hi lie
        // inside rev, so that the words read beside them are at worst the zero words that pad it
        // at both ends.
        const std::int64_t shift = max_ + min_ - total;
        const std::int64_t ilo = lo - min_, ihi = hi - min_;
        const std::int64_t w0 = ilo / 64, w1 = ihi / 64;
        const std::int64_t base = w0 * 64 + shift + 64;
        const auto off = static_cast<unsigned>(base % 64);
        const std::uint64_t* r = rev_.data() + base / 64;
        const std::uint64_t* fw = fwd_.data() + w0;
        const auto n = static_cast<std::size_t>(w1 - w0 + 1);
        const unsigned back = 64 - off;
        auto both = [&](std::size_t m) {
            return fw[m] & (off ? (r[m] >> off) | (r[m + 1] << back) : r[m]);
        };
        const std::int64_t far = total - 2 * min_;  // the partner of bit i is bit far - i
        auto visit = [&](std::size_t m, std::uint64_t bits) {
            const std::int64_t at = (w0 + static_cast<std::int64_t>(m)) * 64;
            while (bits) {
                const std::int64_t i = at + std::countr_zero(bits);
                bits &= bits - 1;
                f(Index(static_cast<std::uint64_t>(i)), Index(static_cast<std::uint64_t>(far - i)));
            }
        };
        const std::uint64_t first = ~std::uint64_t{0} << (ilo % 64);
        const std::uint64_t last =
            ihi % 64 == 63 ? ~std::uint64_t{0} : (std::uint64_t{1} << (ihi % 64 + 1)) - 1;
        if (n == 1) {
            visit(0, both(0) & first & last);
            return;
        }
        visit(0, both(0) & first);
        // Between the ends, only the words of fwd with some bit set whose words of rev beside them
        // have some too, found from summaries of both: word w of fwd meets words w + d (and
        // w + d + 1 when the bits do not line up) of rev.
        const std::int64_t d = base / 64 - w0;
        const std::int64_t end = w0 + static_cast<std::int64_t>(n) - 1;
        for (std::int64_t w = w0 + 1; w < end; w += 64) {
            std::uint64_t partners = Summary(revNonzero_, w + d);
            if (off) partners |= Summary(revNonzero_, w + d + 1);
            std::uint64_t words = Summary(nonzero_, w) & partners;
            if (end - w < 64) words &= (std::uint64_t{1} << (end - w)) - 1;
            while (words) {
                const auto m = static_cast<std::size_t>(w + std::countr_zero(words) - w0);
                words &= words - 1;
                if (const std::uint64_t b = both(m)) visit(m, b);
            }
        }
        visit(n - 1, both(n - 1) & last);
    }

  private:
    static std::int64_t FloorHalf(std::int64_t v) { return v >= 0 ? v / 2 : -((-v + 1) / 2); }
    // The 64 bits of a summary from bit p on; summaries carry a zero word past their bits.
    static std::uint64_t Summary(const std::vector<std::uint64_t>& v, std::int64_t p) {
        const auto q = static_cast<std::size_t>(p / 64);
        const auto o = static_cast<unsigned>(p % 64);
        return o ? (v[q] >> o) | (v[q + 1] << (64 - o)) : v[q];
    }
    // The value index of bit i, which is in the full set.
    std::size_t Index(std::uint64_t i) const {
        const std::uint64_t below = (std::uint64_t{1} << (i % 64)) - 1;
        return rank_[i / 64] + static_cast<std::size_t>(std::popcount(all_[i / 64] & below));
    }
    void Set(std::int64_t c, bool on) {
        const auto i = static_cast<std::uint64_t>(c - min_);
        // rev carries a zero word before and after its bits.
        const auto r = static_cast<std::uint64_t>(max_ - c) + 64;
        if (on) {
            fwd_[i / 64] |= std::uint64_t{1} << (i % 64);
            rev_[r / 64] |= std::uint64_t{1} << (r % 64);
            nonzero_[i / 4096] |= std::uint64_t{1} << (i / 64 % 64);
            revNonzero_[r / 4096] |= std::uint64_t{1} << (r / 64 % 64);
        } else {
            fwd_[i / 64] &= ~(std::uint64_t{1} << (i % 64));
            rev_[r / 64] &= ~(std::uint64_t{1} << (r % 64));
            if (fwd_[i / 64] == 0) nonzero_[i / 4096] &= ~(std::uint64_t{1} << (i / 64 % 64));
            if (rev_[r / 64] == 0) revNonzero_[r / 4096] &= ~(std::uint64_t{1} << (r / 64 % 64));
        }
    }

    std::int64_t min_ = 0, max_ = 0;
    std::vector<std::int64_t> cents_;  // by value index
    std::vector<std::uint64_t> fwd_, rev_;
    std::vector<std::uint64_t> nonzero_, revNonzero_;  // bit w: word w has some bit set
    std::vector<std::uint64_t> all_;                   // fwd as made, before any removal
    std::vector<std::uint32_t> rank_;                  // bits of all_ before each word
};

// The pool for pass 1: distinct amounts in ascending order with their open items in list order.
class PairFinder {
  public:
    explicit PairFinder(const std::vector<AmountItem>& pool) : pool_(pool) {
        std::vector<std::int32_t> order;
        for (std::size_t i = 0; i < pool.size(); ++i)
            if (pool[i].open) order.push_back(static_cast<std::int32_t>(i));
        std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
            return pool[a].amount < pool[b].amount;
        });
        groupOf_.assign(pool.size(), -1);
        for (std::int32_t i : order) {
            if (values_.empty() || values_.back() != pool[i].amount) {
                values_.push_back(pool[i].amount);
                groups_.emplace_back();
            }
            groups_.back().items.push_back(i);
            ++groups_.back().open;
            groupOf_[i] = static_cast<std::int32_t>(groups_.size()) - 1;
            ++openTotal_;
        }
        for (std::size_t g = 0; g < groups_.size(); ++g)
            live_.push_back(static_cast<std::int32_t>(g));
        next_.resize(pool.size());
        for (std::size_t i = 0; i < pool.size(); ++i)
            next_[i] = static_cast<std::int32_t>(pool[i].open ? i : i + 1);
        cents_ = CentsBits(values_);
    }

    void Closed(std::int32_t i) {
        std::int32_t g = groupOf_[i];
        if (g < 0) return;
        groupOf_[i] = -1;
        next_[i] = i + 1;
        --openTotal_;
        if (groups_[g].open == 1 && cents_.Usable()) cents_.Remove(static_cast<std::size_t>(g));
        if (--groups_[g].open == 0 && ++dead_ * 2 > static_cast<std::int32_t>(live_.size())) {
            std::erase_if(live_, [&](std::int32_t h) { return groups_[h].open == 0; });
            dead_ = 0;
        }
    }

    // The first pool item k from which pass 1 completes a group for `target`, with its partner
    // (-1 when the partner is not taken in); false when no k completes. The open items are tried
    // in list order first, which finds the usual target's k after a few items; a target that
    // gets no answer within the budget is settled by a sweep over every pair of amounts, which
    // with whole cents is over the pairs of cents that add up to the target's.
    bool Find(double target, std::int32_t& k, std::int32_t& j) {
        if (openTotal_ == 0) return false;
        std::optional<std::int64_t> total;
        if (cents_.Usable()) total = RegularCents(target);
        std::int32_t budget = 16 + static_cast<std::int32_t>(live_.size() / 16);
        std::int32_t best = INT_MAX;
        bool exhausted = false;
        const auto n = static_cast<std::int32_t>(pool_.size());
        for (std::int32_t i = NextOpen(0); i < n; i = NextOpen(i + 1)) {
            if (--budget < 0) {
                exhausted = true;
                break;
            }
            if (Completes(i, target, total, budget)) {
                best = i;
                break;
            }
        }
        if (exhausted) best = total ? SweepCents(target, *total) : Sweep(target);
        if (best == INT_MAX) return false;
        k = best;
        double a = pool_[k].amount;
        if (a == target) {
            j = FirstOpenOverall(k);
            if (j >= 0 && !(a + pool_[j].amount == target)) j = -1;
            return true;
        }
        // The partner: the first open item whose amount completes a + amount == target.
        auto first = std::partition_point(live_.begin(), live_.end(),
                                          [&](std::int32_t g) { return a + values_[g] < target; });
        j = INT_MAX;
        for (auto it = first; it != live_.end(); ++it) {
            if (groups_[*it].open == 0) continue;
            if (a + values_[*it] != target) break;
            std::int32_t c = FirstOpen(*it, k);
            if (c >= 0) j = std::min(j, c);
        }
        return true;
    }

  private:
    struct Group {
        std::vector<std::int32_t> items;
        std::size_t head = 0;
        std::int32_t open = 0;
    };

    // Whether pass 1 completes a group for `target` from open item k: k alone equals it (and
    // another open item is there to be looked at), or an open item other than k adds up to it
    // with k. The amounts v with k + v == target are one run of the ascending values.
    // With the target's whole cents (`total`), a partner whose cents are not there cannot be.
    bool Completes(std::int32_t k, double target, const std::optional<std::int64_t>& total,
                   std::int32_t& budget) const {
        const double a = pool_[k].amount;
        if (a == target) return openTotal_ >= 2;
        if (total && !cents_.Has(*total - cents_.CentsOf(static_cast<std::size_t>(groupOf_[k]))))
            return false;
        auto it = std::partition_point(values_.begin(), values_.end(),
                                       [&](double v) { return a + v < target; });
        for (; it != values_.end() && a + *it == target; ++it) {
            const auto g = static_cast<std::int32_t>(it - values_.begin());
            if (groups_[g].open > (g == groupOf_[k] ? 1 : 0)) return true;
            --budget;
        }
        return false;
    }

    // The first open item at or after i; the pool's size when none.
    std::int32_t NextOpen(std::int32_t i) {
        const auto n = static_cast<std::int32_t>(next_.size());
        std::int32_t r = i;
        while (r < n && next_[r] != r)
            r = next_[r];
        while (i < r) {
            const std::int32_t up = next_[i];
            next_[i] = r;
            i = up;
        }
        return r;
    }

    // The smallest k of Find over every pair of open amounts; INT_MAX when none.
    std::int32_t Sweep(double target) {
        std::int32_t best = INT_MAX;
        if (openTotal_ >= 2) {
            std::int32_t g = ExactGroup(target);
            if (g >= 0) best = FirstOpen(g, -1);
        }
        auto n = static_cast<std::int32_t>(live_.size());
        std::int32_t lo = 0;
        while (lo < n && groups_[live_[lo]].open == 0)
            ++lo;
        if (lo == n) return best;
        // Amounts that exceed the target even with the smallest one cannot pair.
        const double smallest = values_[live_[lo]];
        auto top = std::partition_point(live_.begin(), live_.end(), [&](std::int32_t g) {
            return smallest + values_[g] <= target;
        });
        std::int32_t hi = static_cast<std::int32_t>(top - live_.begin()) - 1;
        // Sums are symmetric: pairs are met with lo <= hi only.
        for (; lo < n && lo <= hi; ++lo) {
            std::int32_t gl = live_[lo];
            if (groups_[gl].open == 0) continue;
            double v = values_[gl];
            while (hi >= lo && (groups_[live_[hi]].open == 0 || v + values_[live_[hi]] > target))
                --hi;
            if (hi < lo) break;
            for (std::int32_t h = hi; h >= lo; --h) {
                std::int32_t gh = live_[h];
                if (groups_[gh].open == 0) continue;
                if (v + values_[gh] != target) break;
                std::int32_t cand;
                if (gh == gl) {
                    if (groups_[gl].open < 2) continue;
                    cand = FirstOpen(gl, -1);
                } else {
                    cand = std::min(FirstOpen(gl, -1), FirstOpen(gh, -1));
                }
                best = std::min(best, cand);
            }
        }
        return best;
    }

    // Sweep for a target of whole cents `total` over a pool of whole cents: only the pairs of
    // amounts whose cents add up to it are looked at, which every pair adding up to the target
    // is among.
    std::int32_t SweepCents(double target, std::int64_t total) {
        std::int32_t best = INT_MAX;
        if (openTotal_ >= 2 && cents_.Has(total)) {
            std::int32_t g = ExactGroup(target);
            if (g >= 0) best = FirstOpen(g, -1);
        }
        cents_.ForEachPair(total, [&](std::size_t x, std::size_t y) {
            const auto gl = static_cast<std::int32_t>(x), gh = static_cast<std::int32_t>(y);
            if (values_[x] + values_[y] != target) return;
            std::int32_t cand;
            if (gh == gl) {
                if (groups_[gl].open < 2) return;
                cand = FirstOpen(gl, -1);
            } else {
                cand = std::min(FirstOpen(gl, -1), FirstOpen(gh, -1));
            }
            best = std::min(best, cand);
        });
        return best;
    }

    std::int32_t ExactGroup(double value) const {
        auto it = std::lower_bound(values_.begin(), values_.end(), value);
        if (it == values_.end() || *it != value) return -1;
        auto g = static_cast<std::int32_t>(it - values_.begin());
        return groups_[g].open > 0 ? g : -1;
    }

    // The first open item of group g other than `except`; -1 when none.
    std::int32_t FirstOpen(std::int32_t g, std::int32_t except) {
        Group& gr = groups_[g];
        while (gr.head < gr.items.size() && !pool_[gr.items[gr.head]].open)
            ++gr.head;
        for (std::size_t p = gr.head; p < gr.items.size(); ++p) {
            std::int32_t i = gr.items[p];
            if (pool_[i].open && i != except) return i;
        }
        return -1;
    }

    std::int32_t FirstOpenOverall(std::int32_t except) {
        auto n = static_cast<std::int32_t>(pool_.size());
        while (globalHead_ < n && !pool_[globalHead_].open)
            ++globalHead_;
        for (std::int32_t i = globalHead_; i < n; ++i)
            if (pool_[i].open && i != except) return i;
        return -1;
    }

    const std::vector<AmountItem>& pool_;
    std::vector<double> values_;
    std::vector<Group> groups_;
    std::vector<std::int32_t> groupOf_;
    std::vector<std::int32_t> live_;  // groups in ascending amount; emptied ones are pruned
    std::vector<std::int32_t> next_;  // towards the next open item: i itself while i is open
    CentsBits cents_{{}};
    std::int32_t dead_ = 0;
    std::int32_t openTotal_ = 0;
    std::int32_t globalHead_ = 0;
};

// The open pool amounts by position, closed items as +infinity: finds the first position at or
// after a given one whose amount is at most a bound, in logarithmic time. Only the items open when
// it is made take a leaf (items never reopen), so that the tree of a pool mostly closed by the
// earlier passes stays small.
//
// Every run of pass 2 starts with a search from the first leaf, which the leaves whose amounts
// are below all before them answer: their amounts fall, and the first of them at most the bound
// is the first leaf at most the bound. Kept as a list, they give that search by bisection; the
// list is made again when a search finds it out of date, as it is only after items closed.
class MinTree {
  public:
    explicit MinTree(const std::vector<AmountItem>& pool) {
        rank_.resize(pool.size() + 1);
        for (std::size_t i = 0; i < pool.size(); ++i) {
            rank_[i] = static_cast<std::int32_t>(positions_.size());
            if (pool[i].open) positions_.push_back(static_cast<std::int32_t>(i));
        }
        rank_[pool.size()] = static_cast<std::int32_t>(positions_.size());
        size_ = positions_.size();
        n_ = 1;
        while (n_ < size_)
            n_ *= 2;
        t_.assign(2 * n_, kInf);
        for (std::size_t c = 0; c < size_; ++c)
            t_[n_ + c] = pool[static_cast<std::size_t>(positions_[c])].amount;
        for (std::size_t i = n_ - 1; i >= 1; --i)
            t_[i] = std::min(t_[2 * i], t_[2 * i + 1]);
    }
    // Takes out an item that was open when the tree was made.
    void Remove(std::size_t position) {
        std::size_t i = static_cast<std::size_t>(rank_[position]) + n_;
        t_[i] = kInf;
        for (i /= 2; i >= 1; i /= 2)
            t_[i] = std::min(t_[2 * i], t_[2 * i + 1]);
        lowsStale_ = true;
    }
    double Min() const { return t_[1]; }
    std::int32_t FirstAtMost(std::size_t from, double bound) const {
        if (from >= rank_.size()) return -1;
        const auto first = static_cast<std::size_t>(rank_[from]);
        if (first >= size_) return -1;
        // Climb to the first subtree at or after `first` that holds a fitting amount, then go
        // down to its leftmost fitting leaf.
        if (!(t_[1] <= bound)) return -1;  // nothing open fits at all
        if (first == 0) return FirstLowAtMost(bound);
        std::size_t i = first + n_;
        while (!(t_[i] <= bound)) {
            // Up past every level where i is a right child, then over to the right sibling.
            i >>= std::countr_one(i);
            if (i == 0) return -1;
            ++i;
        }
        while (i < n_) {
            i *= 2;
            if (!(t_[i] <= bound)) ++i;
        }
        // The padding past the pool holds +infinity, which an infinite bound would reach.
        return i - n_ < size_ ? positions_[i - n_] : -1;
    }

  private:
    static constexpr double kInf = std::numeric_limits<double>::infinity();

    std::int32_t FirstLowAtMost(double bound) const {
        if (lowsStale_) {
            // The first leaf, then each one below every leaf before it.
            lowAmounts_.clear();
            lowLeaves_.clear();
            for (std::size_t c = 0; c < size_; ++c) {
                const double a = t_[n_ + c];
                if (c == 0 || a < lowAmounts_.back()) {
                    lowAmounts_.push_back(a);
                    lowLeaves_.push_back(static_cast<std::int32_t>(c));
                }
            }
            lowsStale_ = false;
        }
        auto it = std::partition_point(lowAmounts_.begin(), lowAmounts_.end(),
                                       [&](double a) { return !(a <= bound); });
        if (it == lowAmounts_.end()) return -1;
        return positions_[static_cast<std::size_t>(lowLeaves_[it - lowAmounts_.begin()])];
    }

    std::vector<std::int32_t> positions_;  // by leaf: the pool position
    std::vector<std::int32_t> rank_;       // by pool position: the first leaf at or after it
    std::size_t size_ = 0;
    std::size_t n_ = 1;
    std::vector<double> t_;
    // The leaves below all leaves before them, rebuilt on the first search after items closed.
    mutable std::vector<double> lowAmounts_;
    mutable std::vector<std::int32_t> lowLeaves_;
    mutable bool lowsStale_ = true;
};

// The open items of each amount in list order, for the starting items that equal a target.
class EqualAmounts {
  public:
    struct Cursor {
        const std::vector<std::int32_t>* items = nullptr;
        std::size_t at = 0;
    };
    explicit EqualAmounts(const std::vector<AmountItem>& pool) {
        for (std::size_t i = 0; i < pool.size(); ++i)
            if (pool[i].open) map_[Key(pool[i].amount)].push_back(static_cast<std::int32_t>(i));
    }
    Cursor Find(double amount) const {
        auto it = map_.find(Key(amount));
        return it == map_.end() ? Cursor{} : Cursor{&it->second, 0};
    }
    // The open item at the cursor or after it; -1 when none.
    std::int32_t Next(const std::vector<AmountItem>& pool, Cursor& c) const {
        if (!c.items) return -1;
        while (c.at < c.items->size() && !pool[(*c.items)[c.at]].open)
            ++c.at;
        return c.at < c.items->size() ? (*c.items)[c.at] : -1;
    }
    void Skip(Cursor& c) const { ++c.at; }

  private:
    // 0.0 and -0.0 compare equal, so they share a key.
    static double Key(double a) { return a == 0 ? 0.0 : a; }
    std::unordered_map<double, std::vector<std::int32_t>> map_;
};

// An upper bound for the amounts a with sum + a <= target: the rounding of both the addition and
// of target - sum stays far inside this margin; every candidate is confirmed exactly.
double FitBound(double sum, double target) {
    return (target - sum) + 1e-15 * (std::fabs(target) + std::fabs(sum)) + 1e-300;
}

void FormGroup(AmountItem& target, std::vector<AmountItem>& pool,
               const std::vector<std::int32_t>& members, GroupNumbers& groups) {
    const std::int32_t g = groups.Next();
    Close(target, g);
    for (std::int32_t m : members)
        Close(pool[m], g);
}

// Pass 2 from starting item k: the items taken in, or empty when the run does not land exactly.
bool GreedyRun(const std::vector<AmountItem>& pool, const MinTree& tree, std::int32_t k,
               double target, std::int32_t firstOpen, std::vector<std::int32_t>& members) {
    members.assign(1, k);
    double sum = pool[k].amount;
    std::size_t pos = 0;
    if (target == sum) {
        // Complete at the first item looked at, unless taking it in moves the sum away.
        std::int32_t j = firstOpen;
        if (j == k) {
            j = -1;
            for (std::size_t i = static_cast<std::size_t>(k) + 1; i < pool.size(); ++i)
                if (pool[i].open) {
                    j = static_cast<std::int32_t>(i);
                    break;
                }
        }
        if (j < 0) return false;
        if (!(sum + pool[j].amount <= target)) return true;
        members.push_back(j);
        sum = sum + pool[j].amount;
        if (target == sum) return true;
        pos = static_cast<std::size_t>(j) + 1;
    }
    for (;;) {
        double bound = FitBound(sum, target);
        std::int32_t j = tree.FirstAtMost(pos, bound);
        while (j >= 0 && (j == k || !pool[j].open || !(sum + pool[j].amount <= target)))
            j = tree.FirstAtMost(static_cast<std::size_t>(j) + 1, bound);
        if (j < 0) return false;
        members.push_back(j);
        sum = sum + pool[j].amount;
        if (target == sum) return true;
        pos = static_cast<std::size_t>(j) + 1;
    }
}

}  // namespace

void MatchSubsets(std::vector<AmountItem>& targets, std::vector<AmountItem>& pool,
                  GroupNumbers& groups, const AmountHooks& hooks) {
    if (&targets == &pool)
        throw std::invalid_argument("MatchSubsets: targets and pool are one list");
    RequireFinite(targets);
    RequireFinite(pool);
    RequireBoundedSums(targets, pool);
    auto nt = static_cast<std::int32_t>(targets.size());
    Progress(hooks, -1, 0);

    PairFinder pairs(pool);
    for (std::int32_t t = 0; t < nt; ++t) {
        std::int32_t k, j;
        if (targets[t].open && pairs.Find(targets[t].amount, k, j)) {
            std::vector<std::int32_t> members{k};
            if (j >= 0) members.push_back(j);
            FormGroup(targets[t], pool, members, groups);
            for (std::int32_t m : members)
                pairs.Closed(m);
        }
        Progress(hooks, t + 1, nt);
    }

    MinTree tree(pool);
    EqualAmounts equals(pool);
    std::int32_t firstOpen = 0;
    std::vector<std::int32_t> members;
    auto np = static_cast<std::int32_t>(pool.size());
    for (std::int32_t t = 0; t < nt; ++t) {
        if (targets[t].open) {
            while (firstOpen < np && !pool[firstOpen].open)
                ++firstOpen;
            double target = targets[t].amount;
            // A starting item completes only when it equals the target or when something fits
            // beside it, that is, at least the smallest open amount: the items of the first kind
            // come from their amount's list, those of the second from the tree, in list order.
            const double smallest = tree.Min();
            const double fit = std::isinf(smallest) ? -smallest : FitBound(smallest, target);
            EqualAmounts::Cursor equal =
                target <= fit ? EqualAmounts::Cursor{} : equals.Find(target);
            std::int32_t fitting = tree.FirstAtMost(static_cast<std::size_t>(firstOpen), fit);
            for (;;) {
                const std::int32_t same = equals.Next(pool, equal);
                if (fitting < 0 && same < 0) break;
                const std::int32_t k =
                    same < 0 || (fitting >= 0 && fitting < same) ? fitting : same;
                if (k == same) equals.Skip(equal);
                if (k == fitting) fitting = tree.FirstAtMost(static_cast<std::size_t>(k) + 1, fit);
                if (GreedyRun(pool, tree, k, target, firstOpen, members)) {
                    FormGroup(targets[t], pool, members, groups);
                    for (std::int32_t m : members)
                        tree.Remove(static_cast<std::size_t>(m));
                    break;
                }
            }
        }
        Progress(hooks, t + 1, nt);
    }
}

void SplitByAmounts(const std::vector<Entry>& rows, std::vector<AmountItem>& debits,
                    std::vector<AmountItem>& credits, GroupNumbers& groups,
                    const AmountHooks& hooks) {
    Progress(hooks, -1, 0);
    bool anyDebit = false, anyCredit = false;
    auto n = static_cast<std::int32_t>(rows.size());
    for (std::int32_t i = 0; i < n; ++i) {
        const Entry& e = rows[static_cast<std::size_t>(i)];
        const double c = e.credit.value;
        std::int16_t open = IsSystemReference(e.reference) ? kItemClosed : kItemOpen;
        if (c == 0) {
            const double d = e.debit.value;
            if (d != 0) Append(debits, anyDebit, AmountItem{i, d, open, e.reference});
        } else {
            Append(credits, anyCredit, AmountItem{i, -c, open, e.reference});
        }
        Progress(hooks, i + 1, n);
    }
    RequireFinite(debits);
    RequireFinite(credits);

    MatchPairs(debits, credits, groups, hooks);
    MatchReversals(debits, groups);
    MatchReversals(credits, groups);
    if (!anyDebit || !anyCredit) return;
    MatchSubsets(debits, credits, groups, hooks);
    MatchSubsets(credits, debits, groups, hooks);
}

void AssignReferences(std::vector<AmountItem>& items, const std::vector<std::string>& references) {
    for (AmountItem& it : items)
        if (it.group != kNoGroup) it.reference = references.at(static_cast<std::size_t>(it.group));
}

}  // namespace pendara
