#include "matching/enhanced_matching.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <set>

namespace pendara {
namespace {

using Ids = std::vector<std::int32_t>;

// Items numbered from 1 in the order added.
class Items {
  public:
    Items& Debit(std::int64_t cents, std::string text, std::string date = "C50110",
                 std::int32_t company = 1) {
        return Add(EntrySide::Debit, cents, std::move(text), std::move(date), company);
    }
    Items& Credit(std::int64_t cents, std::string text, std::string date = "C50110",
                  std::int32_t company = 1) {
        return Add(EntrySide::Credit, -cents, std::move(text), std::move(date), company);
    }
    std::vector<EnhancedItem> list;

  private:
    Items& Add(EntrySide side, std::int64_t cents, std::string text, std::string date,
               std::int32_t company) {
        EnhancedItem it;
        it.id = static_cast<std::int32_t>(list.size()) + 1;
        it.side = side;
        it.cents = cents;
        it.description = std::move(text);
        it.date = std::move(date);
        it.company = company;
        list.push_back(std::move(it));
        return *this;
    }
};

std::vector<Ids> Groups(const EnhancedResult& r) {
    std::vector<Ids> out;
    for (const EnhancedGroup& g : r.groups)
        out.push_back(g.ids);
    return out;
}

TEST(EnhancedMatchingTest, PaymentOfSeveralInvoicesClosesWithThemWhateverTheOrder) {
    Items items;
    items.Debit(383465, "Fra. 1033")
        .Debit(251899, "Fra. 1044")
        .Debit(10000, "Fra. 1050")
        .Credit(635364, "Cobro Fra. 1033 1044")
        .Debit(120000, "Fra. 1212")
        .Debit(30050, "Fra. 1293")
        .Debit(99999, "Fra. 1299")
        .Credit(250049, "Cobro Fra. 1299 1212 1293");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2, 4}, {5, 6, 7, 8}}));
    EXPECT_EQ(r.groups[0].kind, EnhancedKind::InvoiceNumbers);
    EXPECT_EQ(r.stats.invoiceGroups, 2);
    EXPECT_EQ(r.stats.subsetGroups, 0);
    EXPECT_FALSE(r.stats.budgetReached);
}

TEST(EnhancedMatchingTest, PartialPaymentsJoinTheirInvoiceOnlyWhenTheySettleIt) {
    Items items;
    items.Debit(100001, "Fra. 1212")
        .Credit(50000, "Cobro parcial Fra. 1212")
        .Credit(50001, "Cobro Fra. 1212")
        // Half paid and still open: nothing to close.
        .Debit(7000, "Fra. 1300")
        .Credit(3500, "Cobro parcial Fra. 1300");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2, 3}}));
}

TEST(EnhancedMatchingTest, CreditNotesAndCompoundNumbersCloseTheirInvoice) {
    Items items;
    items.Debit(12100, "Fra. 1186")
        .Credit(12100, "Abono Fra. 1186")
        .Credit(48400, "Fra. 123/2004")
        .Debit(48400, "Pago Fra. 123/2004")
        // Another year's invoice 123 is not the same number.
        .Credit(48400, "Fra. 123/2005");
    items.list[3].reference = "1232004";
    items.list[2].reference = "1232004";
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2}, {3, 4}}));
}

TEST(EnhancedMatchingTest, AnEntryThatMerelyQuotesTheNumberStaysOut) {
    Items items;
    items.Debit(5000, "Fra. 77").Credit(5000, "Cobro Fra. 77").Debit(123, "Portes pedido 77");
    EXPECT_EQ(Groups(MatchEnhanced(items.list)), (std::vector<Ids>{{1, 2}}));
}

TEST(EnhancedMatchingTest, NoGroupWhenTheNumbersAreAmbiguousOrTheSumsDoNotClose) {
    // The same invoice number twice with the same amount: which payment goes with which invoice
    // cannot be told.
    Items twice;
    twice.Debit(1000, "Fra. 500", "C40110", 2)
        .Debit(1000, "Fra. 500", "C50110", 1)
        .Credit(1000, "Cobro Fra. 500", "C40210", 2)
        .Credit(1000, "Cobro Fra. 500", "C50210", 1);
    EnhancedResult r = MatchEnhanced(twice.list);
    EXPECT_TRUE(r.groups.empty());
    EXPECT_GT(r.stats.refused, 0);

    // Quoted numbers whose amounts do not add up, and nothing that adds up by amount either.
    Items open;
    open.Debit(1000, "Fra. 1").Debit(400, "Fra. 2").Credit(1500, "Cobro Fra. 1 2");
    EXPECT_TRUE(MatchEnhanced(open.list).groups.empty());
}

TEST(EnhancedMatchingTest, ANumberQuotedByManyEntriesLinksNothing) {
    // "2024" is a year here, not an invoice: the pair closes by amount, not by the number.
    Items items;
    items.Debit(1000, "Cuota 2024").Credit(1000, "Pago cuota 2024");
    for (int i = 0; i < 8; ++i)
        items.Debit(70000 + 1000 * i, "Otra cuota 2024");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2}}));
    EXPECT_EQ(r.groups[0].kind, EnhancedKind::ExactSubset);
    EnhancedLimits many;
    many.maxEntriesPerNumber = 10;
    r = MatchEnhanced(items.list, many);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2}}));
    EXPECT_EQ(r.groups[0].kind, EnhancedKind::InvoiceNumbers);
}

TEST(EnhancedMatchingTest, ExactSubsetsOneToManyAndManyToOne) {
    Items items;
    items.Debit(300000, "Liquidación marzo")
        .Credit(100000, "Remesa")
        .Credit(150000, "Remesa")
        .Credit(50000, "Remesa")
        .Credit(77777, "Remesa")
        .Credit(35000, "Transferencia recibida")
        .Debit(20000, "Cargo")
        .Debit(15000, "Cargo");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{1, 2, 3, 4}, {6, 7, 8}}));
    EXPECT_EQ(r.groups[0].kind, EnhancedKind::ExactSubset);
    EXPECT_EQ(r.stats.subsetGroups, 2);
}

TEST(EnhancedMatchingTest, AmountsDoNotOverruleTheTexts) {
    // The payment names other invoices (taken elsewhere): the amounts agree by chance.
    Items items;
    items.Debit(409862, "Fra. 4881")
        .Debit(17661, "Fra. 5128")
        .Credit(427523, "Cobro Fra. 7647 8262");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_TRUE(r.groups.empty());
    EXPECT_EQ(r.stats.refused, 1);
    // A payment that names nothing goes by its amount.
    items.list[2].description = "Transferencia recibida";
    EXPECT_EQ(Groups(MatchEnhanced(items.list)), (std::vector<Ids>{{1, 2, 3}}));
    // One that names only one of them leaves the other invoice unexplained.
    items.list[2].description = "Cobro Fra. 4881 y otra";
    EXPECT_TRUE(MatchEnhanced(items.list).groups.empty());
}

TEST(EnhancedMatchingTest, ATargetWithTwoExactSolutionsIsRefused) {
    Items items;
    items.Debit(30000, "Cargo")
        .Credit(10000, "A")
        .Credit(20000, "B")
        .Credit(15000, "C")
        .Credit(15000, "D");
    EnhancedResult r = MatchEnhanced(items.list);
    EXPECT_TRUE(r.groups.empty());
    EXPECT_EQ(r.stats.refused, 1);

    // Two targets of the same amount on one side: either could take the payment.
    Items same;
    same.Debit(500, "Cargo").Debit(500, "Cargo").Credit(200, "A").Credit(300, "B");
    EXPECT_TRUE(MatchEnhanced(same.list).groups.empty());
}

TEST(EnhancedMatchingTest, NearDatesAndTheSameYearComeFirst) {
    Items near;
    near.Debit(1000, "Cargo", "C30601")
        .Credit(1000, "Abono lejano", "C31201")
        .Credit(1000, "Abono cercano", "C30610");
    EXPECT_EQ(Groups(MatchEnhanced(near.list)), (std::vector<Ids>{{1, 3}}));

    Items year;
    year.Debit(1000, "Cargo", "C40105", 2)
        .Credit(1000, "Abono otro año", "C31229", 3)
        .Credit(1000, "Abono mismo año", "C41120", 2);
    EXPECT_EQ(Groups(MatchEnhanced(year.list)), (std::vector<Ids>{{1, 3}}));
}

TEST(EnhancedMatchingTest, TheBudgetEndsTheSearchAndIsReported) {
    // Even amounts cannot make an odd target: the whole tree is searched in vain.
    Items items;
    items.Debit(250001, "Cargo");
    for (int i = 0; i < 40; ++i)
        items.Credit(45000 + 200 * i, "Abono");
    items.Debit(900, "Fra. 9").Credit(900, "Cobro Fra. 9");
    EnhancedLimits limits;
    limits.nodeBudget = 5000;
    EnhancedResult r = MatchEnhanced(items.list, limits);
    EXPECT_TRUE(r.stats.budgetReached);
    EXPECT_GT(r.stats.nodes, limits.nodeBudget);
    // What the invoice numbers closed before the search stays closed.
    EXPECT_EQ(Groups(r), (std::vector<Ids>{{42, 43}}));

    limits.nodeBudget = 50'000'000;
    r = MatchEnhanced(items.list, limits);
    EXPECT_FALSE(r.stats.budgetReached);
    EXPECT_EQ(r.groups.size(), 1u);
    // The same input spends the same nodes: the budget is deterministic.
    EXPECT_EQ(MatchEnhanced(items.list, limits).stats.nodes, r.stats.nodes);
}

TEST(EnhancedMatchingTest, EveryGroupAddsUpToZeroAndUsesEachEntryOnce) {
    int invoiceGroups = 0, subsetGroups = 0;
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
        std::mt19937 rng(seed);
        auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
        std::vector<EnhancedItem> items;
        int n = 5 + pick(40);
        for (int i = 0; i < n; ++i) {
            EnhancedItem it;
            it.id = 100 + i;
            it.side = pick(2) ? EntrySide::Debit : EntrySide::Credit;
            // Few distinct amounts and numbers, so that links and sums collide often.
            std::int64_t cents = 100 * (1 + pick(12));
            if (pick(5) == 0) cents += pick(99);
            it.cents = (it.side == EntrySide::Debit) == (pick(8) != 0) ? cents : -cents;
            it.description = "Fra.";
            for (int k = pick(3); k > 0; --k)
                it.description += " " + std::to_string(1 + pick(n / 2));
            if (pick(4) == 0) it.reference = std::to_string(1 + pick(n / 2));
            it.date = "C" + std::to_string(3 + pick(3)) + "0" + std::to_string(1 + pick(9)) + "15";
            it.company = 1 + pick(3);
            items.push_back(it);
        }
        EnhancedLimits limits;
        limits.nodeBudget = seed % 3 == 0 ? 300 : 1'000'000;
        EnhancedResult r = MatchEnhanced(items, limits);
        std::map<std::int32_t, std::int64_t> cents;
        for (const EnhancedItem& it : items)
            cents[it.id] = it.cents;
        std::set<std::int32_t> used;
        int invoice = 0, subset = 0;
        for (const EnhancedGroup& g : r.groups) {
            EXPECT_GE(g.ids.size(), 2u) << "seed " << seed;
            std::int64_t sum = 0;
            for (std::int32_t id : g.ids) {
                ASSERT_TRUE(cents.count(id)) << "seed " << seed;
                EXPECT_TRUE(used.insert(id).second) << "seed " << seed << " id " << id;
                sum += cents[id];
            }
            EXPECT_EQ(sum, 0) << "seed " << seed;
            ++(g.kind == EnhancedKind::InvoiceNumbers ? invoice : subset);
        }
        EXPECT_EQ(invoice, r.stats.invoiceGroups);
        EXPECT_EQ(subset, r.stats.subsetGroups);
        invoiceGroups += invoice;
        subsetGroups += subset;
    }
    // The inputs are meant to make groups of both kinds.
    EXPECT_GT(invoiceGroups, 5) << subsetGroups;
    EXPECT_GT(subsetGroups, 5) << invoiceGroups;
}

TEST(EnhancedMatchingTest, ExactCentsTakesOnlyWholeCents) {
    EXPECT_EQ(ExactCents(3834.65), 383465);
    EXPECT_EQ(ExactCents(-2518.99), -251899);
    EXPECT_EQ(ExactCents(0), 0);
    EXPECT_EQ(ExactCents(21474836.47), 2147483647);
    EXPECT_FALSE(ExactCents(0.1 + 0.2));  // a sum, not a host amount
    EXPECT_FALSE(ExactCents(1.005));
    EXPECT_FALSE(ExactCents(1e15));
    EXPECT_FALSE(ExactCents(std::numeric_limits<double>::infinity()));
}

TEST(EnhancedMatchingTest, NumberTokensReadEveryQuotedNumber) {
    using T = std::vector<std::string>;
    EXPECT_EQ(NumberTokens("Cobro Fra. 1212 1293 1299"), (T{"1212", "1293", "1299"}));
    EXPECT_EQ(NumberTokens("Fra. 123/2004"), (T{"123/2004"}));
    EXPECT_EQ(NumberTokens("Abono Fra. 1186"), (T{"1186"}));
    EXPECT_EQ(NumberTokens("Fra. 0012-A, 7-"), (T{"12", "7"}));
    EXPECT_EQ(NumberTokens("F-0/05"), (T{"0/5"}));
    EXPECT_EQ(NumberTokens("Pago 7 y 8"), (T{"7", "8"}));
    EXPECT_TRUE(NumberTokens("Factura").empty());
}

}  // namespace
}  // namespace pendara
