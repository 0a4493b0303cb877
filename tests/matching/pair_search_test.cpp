// The search for pairs of pool items that reach a target (the first subset pass) against the
// literal rules, on pools long enough that the search goes past the first items in list order
// and looks at every pair of amounts.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "matching/amount_matching.h"
#include "matching/naive_matching.h"

namespace pendara {
namespace {

AmountItem Item(double amount, std::int32_t row, bool open = true) {
    return {row, amount, open ? kItemOpen : kItemClosed, open ? "" : "RF-500"};
}

double Cents(long long c) {
    return static_cast<double>(c) / 100.0;
}

// Runs the fast and the literal matching on copies of the lists: the same items close under the
// same groups. Returns the number of groups formed.
int SameAsLiteral(const std::vector<AmountItem>& targets, const std::vector<AmountItem>& pool) {
    auto t1 = targets, p1 = pool, t2 = targets, p2 = pool;
    GroupNumbers fast, slow;
    MatchSubsets(t1, p1, fast);
    naive::MatchSubsets(t2, p2, slow, AmountHooks{});
    EXPECT_EQ(t1, t2);
    EXPECT_EQ(p1, p2);
    EXPECT_EQ(fast.count(), slow.count());
    return fast.count();
}

// Whether the doubles of two amounts add up to another, the way the rules compare them.
bool AddsUp(double a, double b, double t) {
    return a + b == t;
}

// Pools of whole cents of both signs over a wide range, so that a pair for a target is rare
// among the first items and the search looks at every amount. Targets: the double sum of two late
// items; the double of their cents added (which the double sum misses now and then, as
// 0.1 + 0.2 misses 0.3); twice an amount, which only two open items of it reach; the sums of the
// smallest and largest amounts; single amounts; and cents no pair reaches. Targets repeat, so
// that pairs get used up and later ones must find others.
TEST(PairSearch, WideCentsPoolsEqualLiteralRules) {
    std::mt19937_64 rng(61);
    int groups = 0, nearMisses = 0;
    for (int c = 0; c < 40; ++c) {
        std::vector<AmountItem> pool, targets;
        const int n = 250 + static_cast<int>(rng() % 200);
        std::vector<long long> cents;
        for (int i = 0; i < n; ++i) {
            long long k = static_cast<long long>(rng() % 200000) - 50000;
            if (i > 0 && rng() % 10 == 0) k = cents[rng() % cents.size()];  // a repeated amount
            cents.push_back(k);
            pool.push_back(Item(Cents(k), i, rng() % 8 != 0));
        }
        const auto [lo, hi] = std::minmax_element(cents.begin(), cents.end());
        const double edges[] = {Cents(*lo) + Cents(*hi), Cents(*lo) + Cents(*lo),
                                Cents(*hi) + Cents(*hi), Cents(*lo + *hi)};
        for (double e : edges)
            targets.push_back(Item(e, 0));
        for (int i = 0; i < 70; ++i) {
            const std::size_t x = n - 1 - rng() % 60, y = rng() % pool.size();
            double t;
            switch (rng() % 6) {
                case 0:
                case 1:
                    t = pool[x].amount + pool[y].amount;
                    break;
                case 2:
                    t = Cents(cents[x] + cents[y]);
                    if (!AddsUp(pool[x].amount, pool[y].amount, t)) ++nearMisses;
                    break;
                case 3:
                    t = pool[x].amount + pool[x].amount;
                    break;
                case 4:
                    t = pool[y].amount;
                    break;
                default:
                    t = Cents(static_cast<long long>(rng() % 400000) - 100000);
            }
            targets.push_back(Item(t, i + 1, rng() % 16 != 0));
            if (rng() % 5 == 0) targets.push_back(targets.back());
        }
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
        if (HasFailure()) return;
    }
    EXPECT_GT(groups, 800);
    EXPECT_GT(nearMisses, 20);  // the cents of a pair reach targets their doubles miss
}

// Few amounts spread thinly over a span of many thousand units, where most words of cents are
// empty: pairs at both ends of the span, pairs whose bits line up word for word (the sum of the
// smallest and largest amounts less whole words of cents), and sums a cent off them.
TEST(PairSearch, SparsePoolsOverWideSpansEqualLiteralRules) {
    std::mt19937_64 rng(99991);
    int groups = 0;
    for (int c = 0; c < 30; ++c) {
        std::vector<AmountItem> pool, targets;
        std::vector<long long> cents;
        const int n = 150 + static_cast<int>(rng() % 150);
        const long long span = 200000 + static_cast<long long>(rng() % 1200000);
        for (int i = 0; i < n; ++i) {
            cents.push_back(static_cast<long long>(rng() % static_cast<unsigned long long>(span)) -
                            span / 3);
            pool.push_back(Item(Cents(cents.back()), i, rng() % 10 != 0));
        }
        const auto [lo, hi] = std::minmax_element(cents.begin(), cents.end());
        for (int i = 0; i < 60; ++i) {
            const std::size_t x = rng() % pool.size();
            long long sum = cents[x] + cents[rng() % pool.size()];
            switch (rng() % 4) {
                case 0: {
                    // Some other pair of the same word alignment as the two ends.
                    for (std::size_t y = 0; y < cents.size(); ++y)
                        if (y != x && (*lo + *hi - cents[x] - cents[y]) % 64 == 0) {
                            sum = cents[x] + cents[y];
                            break;
                        }
                    break;
                }
                case 1:
                    sum += rng() % 2 ? 1 : -1;
                    break;
                case 2:
                    sum = rng() % 2 ? *lo + *hi : cents[x] + (rng() % 2 ? *lo : *hi);
                    break;
                default:
                    break;
            }
            targets.push_back(Item(Cents(sum), i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
        if (HasFailure()) return;
    }
    EXPECT_GT(groups, 300);
}

// Amounts with one or two decimals whose double sums are seldom the double of the cents added:
// every target is a cents sum of two late items, so that the pairs of cents are there and the
// doubles decide. A few amounts of the pool appear twice, one of them closed, and half targets
// of them need the second open item.
TEST(PairSearch, CentsThatAddUpWhereTheDoublesDoNot) {
    std::mt19937_64 rng(4711);
    int groups = 0, misses = 0, hits = 0;
    for (int c = 0; c < 30; ++c) {
        std::vector<AmountItem> pool, targets;
        std::vector<long long> cents;
        const int n = 300 + static_cast<int>(rng() % 100);
        for (int i = 0; i < n; ++i) {
            // Tenths and hundredths below one unit and around a few thousand.
            long long k = rng() % 2 ? static_cast<long long>(rng() % 100)
                                    : 300000 + static_cast<long long>(rng() % 100000);
            if (rng() % 4 == 0) k = k / 10 * 10;
            if (rng() % 7 == 0) k = -k;
            bool open = true;
            if (i > 0 && rng() % 12 == 0) {
                k = cents[rng() % cents.size()];
                open = rng() % 2 == 0;
            }
            cents.push_back(k);
            pool.push_back(Item(Cents(k), i, open));
        }
        for (int i = 0; i < 80; ++i) {
            const std::size_t x = n - 1 - rng() % 80, y = n - 1 - rng() % 200;
            const double t = Cents(cents[x] + cents[rng() % 3 == 0 ? x : y]);
            (AddsUp(pool[x].amount, pool[y].amount, t) ? hits : misses)++;
            targets.push_back(Item(t, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
        if (HasFailure()) return;
    }
    EXPECT_GT(groups, 500);
    EXPECT_GT(misses, 50);
    EXPECT_GT(hits, 50);
}

// Pools where the bits of whole cents cannot be kept or do not apply: an amount that is no whole
// number of cents, a span of cents too wide for the number of amounts, amounts past the range of
// exact cents, and targets that are not whole cents although their pools are.
TEST(PairSearch, AmountsOutsideWholeCentsEqualLiteralRules) {
    static const double strays[] = {0.30000000000000004, 123.456, 1e-3, 2e12 + 0.5, 9e11, -9e11};
    std::mt19937_64 rng(1312);
    int groups = 0;
    for (int c = 0; c < 36; ++c) {
        std::vector<AmountItem> pool, targets;
        const int n = 200 + static_cast<int>(rng() % 150);
        for (int i = 0; i < n; ++i)
            pool.push_back(Item(Cents(static_cast<long long>(rng() % 300000)), i, rng() % 9 != 0));
        const int kind = c % 3;
        if (kind < 2) {
            // The stray early or late in the list; it pairs with the last item for one target.
            const double s = strays[rng() % std::size(strays)];
            const std::size_t at = kind == 0 ? rng() % 10 : n - 1 - rng() % 10;
            pool[at].amount = s;
            targets.push_back(Item(s + pool[n - 1].amount, 0));
        }
        for (int i = 0; i < 60; ++i) {
            const double a = pool[n - 1 - rng() % 50].amount, b = pool[rng() % pool.size()].amount;
            // Either the sum of two, or a target off whole cents by a fraction of one.
            targets.push_back(Item(rng() % 3 ? a + b : a + b + 0.001, i + 1));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
        if (HasFailure()) return;
    }
    EXPECT_GT(groups, 500);
}

// Few distinct amounts, each many times over, closing as the targets take them: the same pair
// of amounts serves target after target until one of them runs out, and an amount that pairs
// with itself stops doing so when one item of it is left.
TEST(PairSearch, PairsOfRepeatedAmountsRunOutLikeTheLiteralRules) {
    std::mt19937_64 rng(2718);
    int groups = 0;
    for (int c = 0; c < 40; ++c) {
        std::vector<AmountItem> pool, targets;
        std::vector<long long> amounts;
        for (int a = 0; a < 6; ++a)
            amounts.push_back(static_cast<long long>(rng() % 20000) - 5000);
        const int n = 120 + static_cast<int>(rng() % 120);
        // Filler that pairs with nothing the targets ask for, then the repeated amounts.
        for (int i = 0; i < n; ++i)
            pool.push_back(Item(Cents(10000000 + static_cast<long long>(rng() % 10000) * 7), i));
        for (int i = 0; i < 40; ++i)
            pool.push_back(Item(Cents(amounts[rng() % amounts.size()]), n + i, rng() % 6 != 0));
        for (int i = 0; i < 50; ++i) {
            const long long x = amounts[rng() % amounts.size()];
            const long long y = rng() % 3 == 0 ? x : amounts[rng() % amounts.size()];
            targets.push_back(Item(Cents(x) + Cents(y), i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
        if (HasFailure()) return;
    }
    EXPECT_GT(groups, 400);
}

}  // namespace
}  // namespace pendara
