// The search by reference text looks only for the texts the seeds carry: seeds that share a
// text, rows that quote one text twice or several seeds at once, texts with blanks inside and
// texts longer than most, against the search of every row.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "matching/check_ref.h"
#include "matching/naive_reference_matching.h"

namespace pendara {
namespace {

void ExpectAsScanned(std::vector<SideRow>& h, std::vector<SideRow>& d) {
    auto h2 = h, d2 = d;
    CheckRef2(h, d);
    naive::CheckRef2(h2, d2);
    EXPECT_EQ(h, h2);
    EXPECT_EQ(d, d2);
}

TEST(CheckRefSeeds, SeedsSharingATextAndRowsQuotingItTwice) {
    // The later seed (seeds go from the last) takes the row that quotes "12" twice, once, and
    // the earlier seed, whose own text "12 z" quotes it too.
    std::vector<SideRow> h{{1, -50, "12 z"}, {2, -50, " 12 "}}, d{{3, 100, "12 x 12 y"}};
    ExpectAsScanned(h, d);
    EXPECT_TRUE(h[0].matched && h[1].matched && d[0].matched);
    EXPECT_EQ(d[0].reference, "12 ");
}

TEST(CheckRefSeeds, LongTextsAndTextsOfTheSameLength) {
    const std::string longSeed(300, 'a');
    const std::string otherLong = std::string(299, 'a') + "b";
    std::vector<SideRow> h{{1, -10, longSeed}, {2, -10, otherLong}, {3, -1, "ab"}, {4, -1, "ba"}};
    std::vector<SideRow> d{
        {5, 10, "x" + longSeed + " y"}, {6, 10, otherLong + " "}, {7, 1, "ab "}, {8, 1, "cab "}};
    ExpectAsScanned(h, d);
    EXPECT_TRUE(h[0].matched && h[1].matched && d[0].matched && d[1].matched);
}

TEST(CheckRefSeeds, ManyTablesAgainstTheScan) {
    // Short texts made of few characters, so that pieces of one row are often other rows' texts.
    static const char* parts[] = {"1", "2", "12", "ñ", "a b", "21", "€"};
    static const double amounts[] = {10, -10, 5, -5, 15, -15, 0};
    std::mt19937_64 rng(11);
    int accepted = 0;
    for (int c = 0; c < 4000; ++c) {
        std::vector<SideRow> h(1 + rng() % 8), d(1 + rng() % 8);
        for (std::vector<SideRow>* t : {&h, &d})
            for (std::size_t r = 0; r < t->size(); ++r) {
                std::string text;
                for (std::size_t p = rng() % 5; p > 0; --p)
                    text +=
                        std::string(parts[rng() % std::size(parts)]) + std::string(rng() % 3, ' ');
                (*t)[r] = {static_cast<std::int32_t>(r + 1), amounts[rng() % std::size(amounts)],
                           text, rng() % 8 == 0};
            }
        ExpectAsScanned(h, d);
        if (HasFailure()) FAIL() << "case " << c;
        for (const SideRow& r : d)
            accepted += r.matched && r.reference.ends_with(' ');
    }
    EXPECT_GT(accepted, 500);
}

}  // namespace
}  // namespace pendara
