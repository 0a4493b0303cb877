#include "matching/puntear.h"

#include <gtest/gtest.h>

#include <random>

#include "host/conversions.h"
#include "matching/naive_reference_matching.h"

namespace pendara {
namespace {

// Grid rows: {reference, amount as shown}.
std::vector<GridRow> Rows(const std::vector<std::pair<std::string, std::string>>& rows) {
    std::vector<GridRow> t(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        t[i].reference = rows[i].first;
        t[i].amount = ShownAmount::Of(rows[i].second);
    }
    return t;
}

std::vector<std::string> Marks(const std::vector<GridRow>& t) {
    std::vector<std::string> m;
    for (const GridRow& row : t)
        m.push_back(row.mark);
    return m;
}

using V = std::vector<std::string>;

TEST(Puntear, GroupAcrossGridsBalancesOrNot) {
    auto d = Rows({{"RF-1", "     100,00"}, {"RF-2", "100,00"}});
    auto c = Rows({{"RF-1", "-60,00"}, {"RF-1", "-40,00"}, {"RF-2", "-99,99"}});
    Puntear(d, c);
    EXPECT_EQ(Marks(d), (V{"1", "2"}));
    EXPECT_EQ(Marks(c), (V{"1", "1", "2"}));
}

TEST(Puntear, AmountsAreReadAsTheGridShowsThem) {
    // A shown amount cut to 15 characters keeps no decimal comma: "1.234.567.890.1" is read from
    // the start with "." as decimal point, 1.234, whatever amount the entry holds.
    auto d = Rows({{"RF-1", FormatAmount(1234567890123.0)}});
    auto c = Rows({{"RF-1", "-1.234"}});
    Puntear(d, c);
    EXPECT_EQ(d[0].amount.text, "1.234.567.890.1");
    EXPECT_EQ(Marks(d), (V{"1"}));
}

TEST(Puntear, RoundingBoundaryAndSingleEntries) {
    auto d = Rows({{"RF-1", "0,004"}, {"RF-2", "0,005"}, {"RF-3", "0,00"}, {"RF-4", "12"}});
    auto c = Rows({});
    Puntear(d, c);
    EXPECT_EQ(Marks(d), (V{"1", "2", "1", "2"}));
}

TEST(Puntear, PlainAndEmptyReferencesGetZero) {
    auto d = Rows({{"12", "100"}, {"", "5"}, {" RF-1", "1"}, {"rf-1", "1"}});
    auto c = Rows({{"12", "-100"}});
    Puntear(d, c);
    EXPECT_EQ(Marks(d), (V{"0", "0", "0", "0"}));
    EXPECT_EQ(Marks(c), (V{"0"}));
}

TEST(Puntear, SeedTrimmedOnlyInFirstPass) {
    // Pass 1: seed "RF-5 " trims to "RF-5" and gathers the credit "RF-5" but not "RF-5 ".
    auto d = Rows({{"RF-5 ", "10"}});
    auto c = Rows({{"RF-5", "-10"}, {"RF-5 ", "-3"}, {"RF-6", "-3"}, {"RF-6 ", "3"}});
    Puntear(d, c);
    EXPECT_EQ(Marks(d), (V{"1"}));
    EXPECT_EQ(Marks(c), (V{"1", "2", "2", "2"}));
}

TEST(PuntearProperty, IndexedGroupsEqualScanningEveryRow) {
    static const char* refs[] = {"RF-1", "RF-1 ", "RF-2", "RF-", "12", "", " RF-1", "RF-3"};
    static const char* amounts[] = {"100", "-100", "50,5", "-50,5", " -0,004", "abc", "0,005"};
    std::mt19937_64 rng(11);
    for (int c = 0; c < 5000; ++c) {
        std::vector<GridRow> d(rng() % 8), k(rng() % 8);
        for (std::vector<GridRow>* t : {&d, &k})
            for (GridRow& row : *t) {
                row.reference = refs[rng() % std::size(refs)];
                row.amount = ShownAmount::Of(amounts[rng() % std::size(amounts)]);
                row.mark = "x";
            }
        auto d2 = d, k2 = k;
        Puntear(d, k);
        naive::Puntear(d2, k2);
        ASSERT_EQ(d, d2) << "case " << c;
        ASSERT_EQ(k, k2) << "case " << c;
    }
}

}  // namespace
}  // namespace pendara
