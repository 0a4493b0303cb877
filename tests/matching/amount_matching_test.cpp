#include "matching/amount_matching.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "host/conversions.h"
#include "matching/naive_matching.h"

namespace pendara {
namespace {

// The groups of a run, a log of the gauge calls, and the references the groups take when they
// are numbered from RF-1 in the order they formed.
struct Recorder {
    GroupNumbers groups;
    std::vector<std::pair<std::int32_t, std::int32_t>> progress;
    AmountHooks hooks() {
        return {[this](std::int32_t v, std::int32_t m) { progress.emplace_back(v, m); }};
    }
    int next() const { return groups.count(); }
    void Name(std::vector<AmountItem>& list) const {
        std::vector<std::string> refs;
        for (int g = 1; g <= groups.count(); ++g)
            refs.push_back("RF-" + std::to_string(g));
        AssignReferences(list, refs);
    }
    void Split(const std::vector<Entry>& rows, std::vector<AmountItem>& d,
               std::vector<AmountItem>& c) {
        SplitByAmounts(rows, d, c, groups, hooks());
        Name(d);
        Name(c);
    }
    void Subsets(std::vector<AmountItem>& t, std::vector<AmountItem>& p) {
        MatchSubsets(t, p, groups, hooks());
        Name(t);
        Name(p);
    }
};

AmountItem Open(double amount, std::int32_t row = 0) {
    return {row, amount, kItemOpen, ""};
}

// Rows of an extract: {debit, credit, reference} per row from row 1; row 0 stays empty.
std::vector<Entry> Extract(const std::vector<std::array<std::string, 3>>& rows) {
    std::vector<Entry> t(rows.size() + 1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        t[i + 1].debit = Amount::Of(rows[i][0]);
        t[i + 1].credit = Amount::Of(rows[i][1]);
        t[i + 1].reference = rows[i][2];
    }
    return t;
}

std::vector<AmountItem> EmptyList() {
    return {AmountItem{}};
}

// Each item as "row:reference" once closed, "row:." while open, "row:?reference" while open with
// a reference of the user's own, "row:-" closed without one (the empty first item a list keeps
// when nothing was added to it).
std::string Marks(const std::vector<AmountItem>& list) {
    std::string out;
    for (const AmountItem& it : list) {
        if (!out.empty()) out += ' ';
        out += std::to_string(it.row) + ":" +
               (it.open == kItemOpen ? (it.reference.empty() ? "." : "?" + it.reference)
                                     : (it.reference.empty() ? "-" : it.reference));
    }
    return out;
}

TEST(SplitByAmounts, ListsAndGroupsAsTheRowsGiveThem) {
    struct Case {
        const char* what;
        std::vector<std::array<std::string, 3>> rows;
        const char* debits;
        const char* credits;
    } cases[] = {
        {"a debit pairs with an equal credit, the second debit stays open",
         {{"100", "0", ""}, {"100", "0", ""}, {"0", "-100", ""}},
         "1:RF-1 2:.",
         "3:RF-1"},
        {"a reversal among debits, no credits",
         {{"50", "0", ""}, {"-50", "0", ""}},
         "1:RF-1 2:RF-1",
         "0:-"},
        // No one-to-many matching without debits.
        {"no debits: credits reverse each other",
         {{"0", "-30", ""}, {"0", "30", ""}, {"0", "-10", ""}},
         "0:-",
         "1:RF-1 2:RF-1 3:."},
        // "rf-" is no system reference.
        {"a system reference is listed closed and never regrouped",
         {{"100", "0", "RF-7"}, {"0", "-100", ""}, {"0", "-30", "rf-1"}},
         "1:RF-7",
         "2:. 3:?rf-1"},
        {"unreadable and zero amounts are left out",
         {{"abc", "", ""}, {"0", "0", ""}, {"", "-1,5", ""}},
         "0:-",
         "3:."},
    };
    for (const Case& k : cases) {
        Recorder r;
        auto d = EmptyList(), c = EmptyList();
        r.Split(Extract(k.rows), d, c);
        EXPECT_EQ(Marks(d), k.debits) << k.what;
        EXPECT_EQ(Marks(c), k.credits) << k.what;
    }
    // A credit is listed by its size, read the Spanish way; the gauge runs over the credits,
    // then over the debit list's one (empty) item.
    Recorder r;
    auto d = EmptyList(), c = EmptyList();
    r.Split(Extract({{"0", "-30", ""}, {"0", "30", ""}, {"", "-1,5", ""}}), d, c);
    EXPECT_EQ(c[2].amount, 1.5);
    EXPECT_EQ(r.progress.front(), std::make_pair(-1, 0));
    EXPECT_EQ(r.progress.back(), std::make_pair(1, 1));
}

std::vector<AmountItem> Items(std::initializer_list<double> amounts) {
    std::vector<AmountItem> out;
    for (double a : amounts)
        out.push_back(Open(a, static_cast<std::int32_t>(out.size())));
    return out;
}

TEST(MatchSubsets, PairsFirstThenRunsOnExactDoubleSums) {
    struct Case {
        const char* what;
        std::vector<AmountItem> targets, pool;
        const char* targetMarks;
        const char* poolMarks;
    } cases[] = {
        {"pass 1 prefers a pair over a longer run", Items({300}), Items({100, 200, 50}), "0:RF-1",
         "0:RF-1 1:RF-1 2:."},
        {"pass 2 takes everything that fits, in order", Items({350}), Items({100, 200, 50}),
         "0:RF-1", "0:RF-1 1:RF-1 2:RF-1"},
        {"pass 2 restarts from the next item and skips what does not fit", Items({260}),
         Items({100, 200, 50, 10}), "0:RF-1", "0:. 1:RF-1 2:RF-1 3:RF-1"},
        // The first target would take the run 50 + 30 + 20 in pass 2, but pass 1 first gives the
        // second target its pair 50 + 30; closed pool items never take part.
        {"all pairs before any run; closed items stay out", Items({100, 80}),
         [] {
             auto p = Items({50, 30, 20, 50});
             p[3].open = kItemClosed;
             p[3].reference = "RF-50";
             return p;
         }(),
         "0:. 1:RF-1", "0:RF-1 1:RF-1 2:. 3:RF-50"},
        {"0.1 + 0.2 is not 0.3 in doubles", Items({0.3}), Items({0.1, 0.2}), "0:.", "0:. 1:."},
        {"0.1 + 0.2 is itself", Items({0.1 + 0.2}), Items({0.1, 0.2}), "0:RF-1", "0:RF-1 1:RF-1"},
        {"a single equal item alone stays open", Items({80}), Items({80}), "0:.", "0:."},
        {"a single equal item closes once another open item is looked at", Items({80}),
         Items({5, 80}), "0:RF-1", "0:. 1:RF-1"},
        // Whole cents tell quickly that no pair reaches a target, but only doubles decide: cents
        // that add up while the doubles do not form no group, and amounts that are no whole cents
        // still pair.
        {"cents never decide what doubles do not", Items({0.3, 0.1 + 0.2, 0.3}),
         Items({0.1, 0.2, 0.1, 0.2}), "0:. 1:RF-1 2:.", "0:RF-1 1:RF-1 2:. 3:."},
        {"amounts that are no whole cents pair", Items({1.0 + 0.001}), Items({5, 1.0, 0.001}),
         "0:RF-1", "0:. 1:RF-1 2:RF-1"},
    };
    for (Case& k : cases) {
        Recorder r;
        r.Subsets(k.targets, k.pool);
        EXPECT_EQ(Marks(k.targets), k.targetMarks) << k.what;
        EXPECT_EQ(Marks(k.pool), k.poolMarks) << k.what;
    }
}

// ---- The fast code against the literal rules -------------------------------------------------

double PickAmount(std::mt19937_64& rng) {
    static const double palette[] = {
        100,  200, 300,  50,   10,   260,  350,  0.1,    0.2,
        0.3,  0.7, 1e16, 1,    2,    -50,  -100, 0,      -0.0,
        3.14, 1.5, 2.5,  -2.5, 4.25, 1e-3, 7,    1e-320, 0.30000000000000004};
    std::uniform_int_distribution<int> kind(0, 9);
    int k = kind(rng);
    if (k < 4)
        return palette[std::uniform_int_distribution<std::size_t>(0, std::size(palette) - 1)(rng)];
    if (k < 8) return std::uniform_int_distribution<int>(1, 40)(rng) * 5.0;
    return std::uniform_int_distribution<int>(-300, 300)(rng) / 100.0;
}

std::vector<AmountItem> RandomList(std::mt19937_64& rng, std::size_t n) {
    std::vector<AmountItem> list;
    for (std::size_t i = 0; i < n; ++i) {
        AmountItem it{static_cast<std::int32_t>(i), PickAmount(rng), kItemOpen, ""};
        if (rng() % 8 == 0) {
            it.open = kItemClosed;
            it.reference = "RF-900";
        }
        list.push_back(it);
    }
    return list;
}

// Targets made of sums of pool items, so that pairs and runs exist.
void AddSumTargets(std::mt19937_64& rng, std::vector<AmountItem>& targets,
                   const std::vector<AmountItem>& pool) {
    if (pool.empty()) return;
    std::uniform_int_distribution<std::size_t> pick(0, pool.size() - 1);
    std::size_t extra = rng() % 4;
    for (std::size_t e = 0; e < extra; ++e) {
        double sum = 0;
        std::size_t parts = 1 + rng() % 3;
        for (std::size_t p = 0; p < parts; ++p)
            sum += pool[pick(rng)].amount;
        targets.insert(targets.begin() + static_cast<long>(rng() % (targets.size() + 1)),
                       AmountItem{99, sum, kItemOpen, ""});
    }
}

// The fast and the literal subset matching, each on its own copy of the lists, close the same
// items under the same groups and call the gauge alike; adds the groups formed to `groups`.
void SubsetsAsLiteral(const std::vector<AmountItem>& targets, const std::vector<AmountItem>& pool,
                      int& groups) {
    auto t1 = targets, p1 = pool, t2 = targets, p2 = pool;
    Recorder fast, slow;
    MatchSubsets(t1, p1, fast.groups, fast.hooks());
    naive::MatchSubsets(t2, p2, slow.groups, slow.hooks());
    ASSERT_EQ(t1, t2);
    ASSERT_EQ(p1, p2);
    ASSERT_EQ(fast.progress, slow.progress);
    groups += fast.next();
}

TEST(AmountMatchingProperty, MatchSubsetsEqualsLiteralRulesOnRandomLists) {
    std::mt19937_64 rng(20260523);
    int groups = 0;
    for (int c = 0; c < 12000; ++c) {
        auto pool = RandomList(rng, rng() % 14);
        auto targets = RandomList(rng, rng() % 8);
        AddSumTargets(rng, targets, pool);
        SCOPED_TRACE("case " + std::to_string(c));
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
    }
    EXPECT_GT(groups, 5000);  // the lists do form groups, not only failures
}

std::string AmountText(std::mt19937_64& rng, double a) {
    switch (rng() % 12) {
        case 0:
            return "";
        case 1:
            return "abc";
        case 2:
            return FormatAmount(a);  // grouped Spanish form with padding
        default:
            return ValueText(a);
    }
}

TEST(AmountMatchingProperty, SplitByAmountsEqualsLiteralRulesOnRandomExtracts) {
    static const char* refs[] = {"", "", "", "RF-3", "12", "rf-1", " RF-2", "RF-", "7 8"};
    std::mt19937_64 rng(7);
    int groups = 0;
    for (int c = 0; c < 10000; ++c) {
        std::size_t n = rng() % 16;
        // A few empty rows past the filled ones, as the specified table may hold.
        std::vector<Entry> t(n + 1 + rng() % 3);
        for (std::size_t i = 1; i <= n; ++i) {
            double a = rng() % 2 ? PickAmount(rng) : 10.0 * static_cast<double>(1 + rng() % 6);
            bool credit = rng() % 2;
            t[i].debit = Amount::Of(credit ? "0" : AmountText(rng, a));
            t[i].credit = Amount::Of(credit ? AmountText(rng, -a) : "0");
            t[i].reference = refs[rng() % std::size(refs)];
        }
        auto d1 = EmptyList(), c1 = EmptyList(), d2 = EmptyList(), c2 = EmptyList();
        Recorder fast, slow;
        SplitByAmounts(t, d1, c1, fast.groups, fast.hooks());
        naive::SplitByAmounts(t, d2, c2, slow.groups, slow.hooks());
        ASSERT_EQ(d1, d2) << "case " << c;
        ASSERT_EQ(c1, c2) << "case " << c;
        ASSERT_EQ(fast.progress, slow.progress) << "case " << c;
        groups += fast.next();
    }
    EXPECT_GT(groups, 3000);
}

TEST(AmountMatchingProperty, LargerListsWithManyDuplicates) {
    std::mt19937_64 rng(99);
    for (int c = 0; c < 300; ++c) {
        std::vector<AmountItem> pool, targets;
        for (int i = 0; i < 60; ++i)
            pool.push_back(Open(std::uniform_int_distribution<int>(-3, 12)(rng) * 10.0, i));
        for (int i = 0; i < 25; ++i)
            targets.push_back(Open(std::uniform_int_distribution<int>(1, 30)(rng) * 10.0, i));
        SCOPED_TRACE("case " + std::to_string(c));
        int formed = 0;
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, formed));
    }
}

TEST(AmountMatchingProperty, LedgerSizedListsWithCentsAndSumTargets) {
    std::mt19937_64 rng(2024);
    for (int c = 0; c < 40; ++c) {
        std::vector<AmountItem> pool, targets;
        for (int i = 0; i < 150; ++i) {
            double a = static_cast<double>(1 + rng() % 300000) / 100.0;
            pool.push_back(Open(rng() % 10 ? a : -a, i));
        }
        for (int i = 0; i < 60; ++i) {
            double sum = 0;
            for (std::size_t p = 0, n = 1 + rng() % 4; p < n; ++p)
                sum += pool[rng() % pool.size()].amount;
            targets.push_back(
                Open(rng() % 4 ? sum : static_cast<double>(rng() % 300000) / 100.0, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        int formed = 0;
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, formed));
        EXPECT_GT(formed, 0);
    }
}

// Starting items just below a target, that nothing else fits beside, are passed over in pass 2;
// the smallest open amount that decides this grows as items close, and drops below zero with a
// negative item. Ties, zeros and targets equal to pool items are frequent.
TEST(AmountMatchingProperty, StartsCloseToTheTargetEqualLiteralRules) {
    std::mt19937_64 rng(7117);
    const double near[] = {99, 99.5, 98, 100, 0, -0.0, 0.5, 0.25, 1, 2, 3, -1, 97.25};
    int groups = 0;
    for (int c = 0; c < 3000; ++c) {
        std::vector<AmountItem> pool, targets;
        for (std::size_t i = 0, n = 2 + rng() % 24; i < n; ++i) {
            double a = rng() % 3 ? near[rng() % 4] : near[rng() % std::size(near)];
            pool.push_back(Open(a, static_cast<std::int32_t>(i)));
            if (rng() % 10 == 0) pool.back().open = kItemClosed;
        }
        for (std::size_t i = 0, n = 1 + rng() % 8; i < n; ++i) {
            // Mostly sums of three pool items, which pass 2 may find.
            double a = near[rng() % std::size(near)];
            if (rng() % 4)
                a = (pool[rng() % pool.size()].amount + pool[rng() % pool.size()].amount) +
                    pool[rng() % pool.size()].amount;
            targets.push_back(Open(a, static_cast<std::int32_t>(i)));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
    }
    EXPECT_GT(groups, 1000);
}

// Pass 1 looks for k in list order only so far, then over every amount; a pair far down a long
// pool, with every earlier item unable to complete, must still be the one found.
TEST(MatchSubsets, PairFarDownALongPoolIsFound) {
    Recorder r;
    std::vector<AmountItem> pool;
    for (int i = 0; i < 500; ++i)
        pool.push_back(Open(1000 + i * 3, i));  // no two of these add up to 7.5
    for (double a : {2.5, 4.0, 5.0})
        pool.push_back(Open(a, static_cast<std::int32_t>(pool.size())));
    std::vector<AmountItem> t{Open(7.5)};
    r.Subsets(t, pool);
    EXPECT_EQ(Marks(t), "0:RF-1");
    EXPECT_EQ(Marks({pool.begin() + 499, pool.end()}), "499:. 500:RF-1 501:. 502:RF-1");
}

// Long pools of whole cents over a narrow range (dense, as a year of invoices gives them) and,
// in some cases, a stray amount that is no whole number of cents or lies past the range of
// exact cents: most targets have no pair, some have one late in the list.
TEST(AmountMatchingProperty, LongCentsPoolsWithFewPairsEqualLiteralRules) {
    static const double stray[] = {0.30000000000000004, 1e-3, 2e12 + 0.5, 123.456};
    std::mt19937_64 rng(4242);
    int groups = 0;
    for (int c = 0; c < 24; ++c) {
        std::vector<AmountItem> pool, targets;
        const int n = 150 + static_cast<int>(rng() % 250);
        for (int i = 0; i < n; ++i) {
            double a = static_cast<double>(1000 + rng() % 4000) / 100.0;
            if (rng() % 16 == 0) a = -a;
            pool.push_back(Open(a, i));
            if (rng() % 12 == 0) pool.back().open = kItemClosed;
        }
        if (c % 3 == 0) pool[rng() % pool.size()].amount = stray[rng() % std::size(stray)];
        for (int i = 0; i < 80; ++i) {
            double a;
            switch (rng() % 4) {
                case 0:  // the sum of two items, most often of late ones
                    a = pool[n - 1 - rng() % 40].amount + pool[rng() % pool.size()].amount;
                    break;
                case 1:  // one item's amount
                    a = pool[rng() % pool.size()].amount;
                    break;
                default:  // past what two items reach, or below, or between
                    a = static_cast<double>(rng() % 20000) / 100.0 - 20;
            }
            targets.push_back(Open(a, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
    }
    EXPECT_GT(groups, 400);
}

// Pools of whole cents spread over as wide a range as the bits of cents are kept for, so that
// the search for a pair of cents runs over many words of bits: pairs anywhere in the range, among
// them pairs whose sum is that of the smallest and the largest amount less whole words of cents (so
// that the two bit rows line up word for word), and sums a cent away that no pair reaches.
TEST(AmountMatchingProperty, WideCentsPoolsFindPairsAtEveryWordOffset) {
    std::mt19937_64 rng(5150);
    auto cents = [](double a) { return std::llround(a * 100); };
    int groups = 0;
    for (int c = 0; c < 30; ++c) {
        std::vector<AmountItem> pool, targets;
        const int n = 200 + static_cast<int>(rng() % 120);
        for (int i = 0; i < n; ++i) {
            pool.push_back(Open(static_cast<double>(1000 + rng() % 100000) / 100.0, i));
            if (rng() % 10 == 0) pool.back().open = kItemClosed;
        }
        auto [lo, hi] = std::minmax_element(pool.begin(), pool.end(),
                                            [](auto& a, auto& b) { return a.amount < b.amount; });
        const long long ends = cents(lo->amount) + cents(hi->amount);
        targets.push_back(Open(lo->amount + hi->amount));
        for (int i = 0; i < 60; ++i) {
            const AmountItem& x = pool[rng() % pool.size()];
            double a = x.amount + pool[rng() % pool.size()].amount;
            switch (rng() % 3) {
                case 0:
                    a += 0.01;
                    break;
                case 1:
                    for (const AmountItem& y : pool)
                        if (&y != &x && (ends - cents(x.amount) - cents(y.amount)) % 64 == 0) {
                            a = x.amount + y.amount;
                            break;
                        }
                    break;
                default:
                    break;
            }
            targets.push_back(Open(a, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
    }
    EXPECT_GT(groups, 600);
}

// Amounts close to where whole cents stop being exact in doubles.
TEST(AmountMatchingProperty, LargeCentsAmountsEqualLiteralRules) {
    std::mt19937_64 rng(77);
    for (int c = 0; c < 40; ++c) {
        std::vector<AmountItem> pool, targets;
        for (int i = 0; i < 40; ++i)
            pool.push_back(Open(static_cast<double>(49999999990000 + rng() % 20000) / 100.0, i));
        for (int i = 0; i < 20; ++i) {
            double a = pool[rng() % pool.size()].amount + pool[rng() % pool.size()].amount;
            if (rng() % 3 == 0) a += 0.01 * static_cast<double>(rng() % 3);
            targets.push_back(Open(a, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        int formed = 0;
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, formed));
        EXPECT_GT(formed, 0);
    }
}

// Pools of a few amounts repeated many times, of both signs, with targets that mostly no run
// reaches, so that pass 2 runs from every fitting starting item, many of them of one amount:
// items that fit beside the start and items that do not, targets equal to the first open item
// (which a run may complete at once), zeros, and closed items among the open ones.
TEST(AmountMatchingProperty, RepeatedStartingAmountsEqualLiteralRules) {
    std::mt19937_64 rng(31337);
    const double amounts[] = {40,  40, 25, 25, 60,  10,  -10,
                              -25, 0,  35, 55, 0.1, 0.2, -0.30000000000000004};
    int groups = 0, unmatched = 0;
    for (int c = 0; c < 1500; ++c) {
        std::vector<AmountItem> pool, targets;
        const std::size_t n = 4 + rng() % (c % 10 == 0 ? 150 : 40);
        const std::size_t kinds = 2 + rng() % (std::size(amounts) - 1);
        for (std::size_t i = 0; i < n; ++i) {
            pool.push_back(Open(amounts[rng() % kinds], static_cast<std::int32_t>(i)));
            if (rng() % 9 == 0) pool.back().open = kItemClosed;
        }
        for (std::size_t i = 0, m = 1 + rng() % 10; i < m; ++i) {
            double a;
            switch (rng() % 5) {
                case 0:  // the first item's amount, open or not
                    a = pool[rng() % 2].amount;
                    break;
                case 1:  // an amount only long runs reach, if any
                    a = static_cast<double>(rng() % 400) - 100;
                    break;
                case 2:
                    a = pool[rng() % n].amount + pool[rng() % n].amount + pool[rng() % n].amount;
                    break;
                default:  // what no sum of these amounts gives
                    a = static_cast<double>(rng() % 300) + 0.05;
            }
            targets.push_back(Open(a, static_cast<std::int32_t>(i)));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        const int before = groups;
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
        unmatched += static_cast<int>(targets.size()) - (groups - before);
    }
    EXPECT_GT(groups, 2000);
    EXPECT_GT(unmatched, 2000);
}

// Long pools where few amounts fit beside a start, far apart, so that the search for the next
// fitting item climbs over many blocks and levels, and groups that close items on the way.
TEST(AmountMatchingProperty, SparseFittingItemsInLongPoolsEqualLiteralRules) {
    std::mt19937_64 rng(8086);
    int groups = 0;
    for (int c = 0; c < 8; ++c) {
        std::vector<AmountItem> pool, targets;
        const int n = 500 + static_cast<int>(rng() % 700);
        for (int i = 0; i < n; ++i) {
            const bool small = rng() % (c % 2 ? 40 : 150) == 0;
            double a = small ? static_cast<double>(1 + rng() % 30)
                             : static_cast<double>(500 + rng() % 500) + 0.5;
            pool.push_back(Open(rng() % 25 ? a : -a, i));
            if (rng() % 7 == 0) pool.back().open = kItemClosed;
        }
        for (int i = 0; i < 25; ++i) {
            double a = static_cast<double>(rng() % 60);
            if (rng() % 3 == 0) a += pool[rng() % pool.size()].amount;
            targets.push_back(Open(a, i));
        }
        SCOPED_TRACE("case " + std::to_string(c));
        ASSERT_NO_FATAL_FAILURE(SubsetsAsLiteral(targets, pool, groups));
    }
    EXPECT_GT(groups, 60);
}

}  // namespace
}  // namespace pendara

namespace pendara {
namespace {

TEST(AmountMatchingOverflow, SumsPastTheLargestDoubleEndTheRun) {
    // Two huge credits would make the greedy sum overflow to -infinity; the run ends with the
    // overflow error instead of reading past the pool.
    Recorder rec;
    std::vector<AmountItem> targets{Open(100, 1)};
    std::vector<AmountItem> pool{Open(-1e308, 2), Open(-1e308, 3), Open(5, 4)};
    EXPECT_THROW(MatchSubsets(targets, pool, rec.groups, rec.hooks()), std::overflow_error);
    EXPECT_EQ(rec.next(), 0);
    // The same amounts read from an extract.
    std::vector<Entry> t = Extract({{"100", "0", ""},
                                    {"0", "1" + std::string(308, '0'), ""},
                                    {"0", "1" + std::string(308, '0'), ""},
                                    {"0", "-5", ""}});
    std::vector<AmountItem> debits = EmptyList(), credits = EmptyList();
    EXPECT_THROW(SplitByAmounts(t, debits, credits, rec.groups, rec.hooks()), std::overflow_error);
}

}  // namespace
}  // namespace pendara
