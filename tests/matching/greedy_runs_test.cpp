// The greedy runs of the subset matching against the literal rules, on lists shaped to reach the
// places where a shortcut in the runs would go wrong: targets repeated with and without a group
// forming between them, runs that land only on the last open item, sums that miss the target by
// one rounding, mixed signs, zeros of both signs, closed items and starting items equal to the
// target.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "matching/amount_matching.h"
#include "matching/naive_matching.h"

namespace pendara {
namespace {

struct Outcome {
    std::vector<AmountItem> targets, pool;
    int groups = 0;
};

Outcome Fast(std::vector<AmountItem> targets, std::vector<AmountItem> pool) {
    GroupNumbers g;
    MatchSubsets(targets, pool, g, AmountHooks{});
    return {std::move(targets), std::move(pool), g.count()};
}

Outcome Literal(std::vector<AmountItem> targets, std::vector<AmountItem> pool) {
    GroupNumbers g;
    naive::MatchSubsets(targets, pool, g, AmountHooks{});
    return {std::move(targets), std::move(pool), g.count()};
}

// Runs both and compares item by item; returns the groups formed.
int SameAsLiteral(const std::vector<AmountItem>& targets, const std::vector<AmountItem>& pool) {
    const Outcome a = Fast(targets, pool), b = Literal(targets, pool);
    EXPECT_EQ(a.groups, b.groups);
    EXPECT_EQ(a.targets, b.targets);
    EXPECT_EQ(a.pool, b.pool);
    return a.groups;
}

AmountItem Item(std::int32_t row, double amount, bool open = true) {
    return {row, amount, open ? kItemOpen : kItemClosed, ""};
}

// Whole cents in a narrow band, so that many runs share amounts and come close to the targets.
double Cents(std::mt19937_64& rng, int lo, int hi) {
    return static_cast<double>(std::uniform_int_distribution<int>(lo, hi)(rng)) / 100.0;
}

TEST(GreedyRuns, RepeatedTargetsWithAndWithoutGroupsBetween) {
    std::mt19937_64 rng(610);
    int groups = 0;
    for (int c = 0; c < 3000; ++c) {
        std::vector<AmountItem> pool;
        const int n = 3 + static_cast<int>(rng() % 12);
        for (int i = 0; i < n; ++i)
            pool.push_back(Item(i, Cents(rng, 1, 900), rng() % 9 != 0));
        // A few target amounts, each repeated, some made of pool items so that groups form
        // between repeats and change which items the later repeats can use.
        std::vector<double> amounts;
        for (int a = 0; a < 3; ++a) {
            double s = 0;
            const int parts = 1 + static_cast<int>(rng() % 4);
            for (int p = 0; p < parts; ++p)
                s = s + pool[rng() % pool.size()].amount;
            amounts.push_back(rng() % 3 == 0 ? Cents(rng, 1, 2500) : s);
        }
        std::vector<AmountItem> targets;
        for (int t = 0; t < 8; ++t)
            targets.push_back(Item(100 + t, amounts[rng() % amounts.size()]));
        SCOPED_TRACE("case " + std::to_string(c));
        groups += SameAsLiteral(targets, pool);
    }
    EXPECT_GT(groups, 1000);  // the lists do form groups, not only failed runs
}

TEST(GreedyRuns, RunsThatLandOnTheLastOpenItem) {
    std::mt19937_64 rng(611);
    int landed = 0;
    for (int c = 0; c < 2000; ++c) {
        std::vector<AmountItem> pool;
        const int n = 4 + static_cast<int>(rng() % 20);
        for (int i = 0; i < n; ++i)
            pool.push_back(Item(i, Cents(rng, 1, 500), rng() % 7 != 0));
        // Closed items after the last open one, now and then.
        if (rng() % 2) pool.push_back(Item(n, Cents(rng, 1, 500), false));
        // The target is the greedy sum from the first open item over all the open ones but the
        // last, plus the last: it lands only there, unless an earlier start lands first.
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < pool.size(); ++i)
            if (pool[i].open) open.push_back(i);
        if (open.size() < 2) continue;
        double s = pool[open[0]].amount;
        for (std::size_t q = 1; q + 1 < open.size(); ++q)
            if (rng() % 3 != 0) s = s + pool[open[q]].amount;
        s = s + pool[open.back()].amount;
        std::vector<AmountItem> targets{Item(50, s), Item(51, s + 0.01), Item(52, s)};
        SCOPED_TRACE("case " + std::to_string(c));
        landed += SameAsLiteral(targets, pool);
    }
    EXPECT_GT(landed, 500);
}

TEST(GreedyRuns, SumsOneRoundingAwayFromTheTarget) {
    // Tenths whose double sums miss the decimal total in the last bit, and targets on either side
    // of such sums: a run lands only when its own additions give the target's very double.
    std::mt19937_64 rng(612);
    const double tenths[] = {0.1, 0.2, 0.3, 0.7, 1.1, 2.2, 3.3};
    for (int c = 0; c < 3000; ++c) {
        std::vector<AmountItem> pool;
        const int n = 3 + static_cast<int>(rng() % 10);
        for (int i = 0; i < n; ++i)
            pool.push_back(Item(i, tenths[rng() % std::size(tenths)], rng() % 8 != 0));
        std::vector<AmountItem> targets;
        for (int t = 0; t < 5; ++t) {
            double s = 0;
            const int parts = 3 + static_cast<int>(rng() % 3);
            for (int p = 0; p < parts; ++p)
                s = s + tenths[rng() % std::size(tenths)];
            const int side = static_cast<int>(rng() % 3);
            if (side == 1) s = std::nextafter(s, 0.0);
            if (side == 2) s = std::nextafter(s, 100.0);
            targets.push_back(Item(100 + t, s));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        SameAsLiteral(targets, pool);
    }
}

TEST(GreedyRuns, MixedSignsZerosAndStartsEqualToTheTarget) {
    std::mt19937_64 rng(613);
    for (int c = 0; c < 4000; ++c) {
        std::vector<AmountItem> pool;
        const int n = 1 + static_cast<int>(rng() % 12);
        for (int i = 0; i < n; ++i) {
            double a = Cents(rng, -300, 300);
            if (rng() % 6 == 0) a = rng() % 2 ? 0.0 : -0.0;
            pool.push_back(Item(i, a, rng() % 6 != 0));
        }
        std::vector<AmountItem> targets;
        for (int t = 0; t < 5; ++t) {
            double a;
            switch (rng() % 4) {
                case 0:  // a pool amount itself: runs from the items equal to the target
                    a = pool[rng() % pool.size()].amount;
                    break;
                case 1:
                    a = rng() % 2 ? 0.0 : -0.0;
                    break;
                case 2:
                    a = pool[rng() % pool.size()].amount + pool[rng() % pool.size()].amount +
                        pool[rng() % pool.size()].amount;
                    break;
                default:
                    a = Cents(rng, -600, 600);
            }
            targets.push_back(Item(100 + t, a));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        SameAsLiteral(targets, pool);
    }
}

TEST(GreedyRuns, StartingItemsEqualToTheTargetCompleteBeforeAnyRun) {
    // The first 5 takes the zero after it, which keeps the sum, into its group; the second 5
    // then meets only -1, which moves the sum away and is left, and completes alone; the third
    // target finds no 5 left and -1 alone reaches nothing, in either pass.
    std::vector<AmountItem> pool{Item(0, 5), Item(1, 0.0), Item(2, 5), Item(3, -1)};
    std::vector<AmountItem> targets{Item(10, 5), Item(11, 5), Item(12, 5)};
    const Outcome fast = Fast(targets, pool);
    EXPECT_EQ(SameAsLiteral(targets, pool), fast.groups);
    EXPECT_EQ(fast.pool[0].group, fast.targets[0].group);
    EXPECT_EQ(fast.pool[1].group, fast.targets[0].group);
    EXPECT_EQ(fast.pool[2].group, fast.targets[1].group);
    EXPECT_EQ(fast.pool[3].open, kItemOpen);
    EXPECT_EQ(fast.targets[2].open, kItemOpen);
}

}  // namespace
}  // namespace pendara
