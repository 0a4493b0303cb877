#include "matching/check_ref.h"

#include <gtest/gtest.h>

#include <random>

#include "host/conversions.h"
#include "matching/naive_reference_matching.h"

namespace pendara {
namespace {

struct Row {
    std::string debit, credit, reference, cls = "1";
};

// An extract with rows from 1 (row 0 empty), as the extract load fills them.
std::vector<Entry> Extract(const std::vector<Row>& rows) {
    std::vector<Entry> t(rows.size() + 1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        t[i + 1].record = std::to_string(100 + i);
        t[i + 1].debit = Amount::Of(rows[i].debit);
        t[i + 1].credit = Amount::Of(rows[i].credit);
        t[i + 1].entryClass = rows[i].cls;
        t[i + 1].reference = rows[i].reference;
    }
    return t;
}

TEST(CheckRef, DebitSeedFindsPaymentQuotingItsNumber) {
    auto t = Extract({{"100", "0", "12"}, {"0", "-100", "12  050304"}});
    CheckRef(t);
    EXPECT_EQ(t[1].reference, "12 ");
    EXPECT_EQ(t[2].reference, "12 ");
}

TEST(CheckRef, EqualTextsWithoutTrailingBlankDoNotMatch) {
    auto t = Extract({{"100", "0", "12"}, {"0", "-100", "12"}, {"0", "-100", "123 4"}});
    auto before = t;
    CheckRef(t);
    EXPECT_EQ(t, before);
}

TEST(CheckRef, GroupMustCancelOutAfterRounding) {
    auto t = Extract({{"100", "0", "5"}, {"0", "-60", "5 7"}, {"0", "-39,99", "5 9"}});
    auto before = t;
    CheckRef(t);
    EXPECT_EQ(t, before);
    t[3].credit = Amount::Of("-40,004");  // rounds to a balanced group
    CheckRef(t);
    EXPECT_EQ(t[1].reference, "5 ");
    EXPECT_EQ(t[2].reference, "5 ");
    EXPECT_EQ(t[3].reference, "5 ");
}

TEST(CheckRef, RowsAfterNineAndRowZeroStayOut) {
    auto t = Extract({{"100", "0", "12", "A"}, {"0", "-100", "12 3"}});
    t[0].debit = Amount::Of("100");
    t[0].reference = "12";
    auto before = t;
    CheckRef(t);
    EXPECT_EQ(t, before);
}

TEST(CheckRef, CreditSeedsGoFirstAndMatchedRowsAreNotReused) {
    // The credit seed "8 " takes the debit quoting it; the later debit seed "8" then finds no
    // unmatched partner.
    auto t = Extract({{"50", "0", "8 1"}, {"0", "-50", "8"}, {"50", "0", "8"}});
    CheckRef(t);
    EXPECT_EQ(t[1].reference, "8 ");
    EXPECT_EQ(t[2].reference, "8 ");
    EXPECT_EQ(t[3].reference, "8");
}

TEST(CheckRef, AmountsReadAsPlainNumbersWhenFilling) {
    // "0,50" counts as a debit for the size but reads as 0 when the rows are copied.
    auto t = Extract({{"0,50", "0", "9"}, {"0", "-0,50", "9 1"}});
    auto before = t;
    CheckRef(t);
    EXPECT_EQ(t, before);
}

TEST(CheckRefProperty, IndexedSearchEqualsScanningEveryRow) {
    static const char* refs[] = {"",      "12",      "12 ",      "12  050304", "7 8",    "8",
                                 "1 2 3", "3",       " 12 9",    "RF-1",       "2 3",    "123",
                                 "23 ",   "7  8 12", "ñ",        "ñ 12",       "€ 3 ñ ", "𝄞",
                                 "𝄞 €",   "\xB1",    "ñ \xB1 9", "x\xB1 2",    "\xC3",   "\xC3 ñ"};
    static const char* amounts[] = {"100", "-100", "50", "-50", "60", "40", "0", "abc", "-40"};
    static const char* classes[] = {"", "1", "9", "A", "R"};
    std::mt19937_64 rng(5);
    int accepted = 0;
    for (int c = 0; c < 10000; ++c) {
        std::vector<SideRow> h(rng() % 10), d(rng() % 10);
        for (std::vector<SideRow>* t : {&h, &d})
            for (std::size_t r = 0; r < t->size(); ++r) {
                (*t)[r].row = static_cast<std::int32_t>(r + 1);
                (*t)[r].amount = ToDouble(amounts[rng() % std::size(amounts)]);
                (*t)[r].reference = refs[rng() % std::size(refs)];
                (*t)[r].matched = rng() % 6 == 0;
            }
        auto h2 = h, d2 = d;
        CheckRef2(h, d);
        naive::CheckRef2(h2, d2);
        ASSERT_EQ(h, h2) << "case " << c;
        ASSERT_EQ(d, d2) << "case " << c;
        for (const SideRow& r : h)
            accepted += r.reference.ends_with(' ') && r.matched;

        // The whole step, from the extract, against the specified tables of texts.
        std::vector<Entry> x(1 + rng() % 12);
        for (std::size_t r = 0; r < x.size(); ++r) {
            x[r].debit = Amount::Of(rng() % 2 ? amounts[rng() % std::size(amounts)] : "0");
            x[r].credit = Amount::Of(rng() % 2 ? amounts[rng() % std::size(amounts)] : "0");
            x[r].entryClass = classes[rng() % std::size(classes)];
            x[r].reference = refs[rng() % std::size(refs)];
        }
        auto x2 = x;
        CheckRef(x);
        naive::CheckRef(x2);
        ASSERT_EQ(x, x2) << "case " << c;
    }
    EXPECT_GT(accepted, 1000);
}

TEST(CheckRef, TextsAreQuotedAsWholeCharacters) {
    // "ñ 12" quotes "ñ"; "é 5" does not quote the lone byte "\xA9" that ends its "é".
    auto t = Extract({{"100", "0", "ñ"},
                      {"0", "-100", "ñ 12"},
                      {"40", "0", "€ 𝄞"},
                      {"0", "-40", "€"},
                      {"0", "-7", "\xA9"},
                      {"7", "0", "é 5"}});
    CheckRef(t);
    EXPECT_EQ(t[1].reference, "ñ ");
    EXPECT_EQ(t[2].reference, "ñ ");
    EXPECT_EQ(t[3].reference, "€ ");
    EXPECT_EQ(t[4].reference, "€ ");
    EXPECT_EQ(t[5].reference, "\xA9");
    EXPECT_EQ(t[6].reference, "é 5");
}

TEST(CheckRefProperty, LongTextsWithManyBlanksAreSearchedToo) {
    std::string longText;
    for (int i = 0; i < 40; ++i)
        longText += std::to_string(i) + " ";
    // The first debit's text contains "4 ".
    std::vector<SideRow> h{{1, -10, "4"}}, d{{2, 10, longText}, {3, 10, "4"}};
    CheckRef2(h, d);
    EXPECT_EQ(h[0].reference, "4 ");
    EXPECT_EQ(d[0].reference, "4 ");
    EXPECT_EQ(d[1].reference, "4");
}

}  // namespace
}  // namespace pendara
