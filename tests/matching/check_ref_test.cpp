#include "matching/check_ref.h"

#include <gtest/gtest.h>

#include <random>

#include "matching/naive_reference_matching.h"

namespace pendara {
namespace {

struct Row {
    std::string debit, credit, reference, cls = "1";
};

// An extract with rows from 1 (row 0 empty), columns as the extract load fills them.
TextTable Extract(const std::vector<Row>& rows) {
    TextTable t(rows.size() + 1, 13);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        t(i + 1, 0) = std::to_string(100 + i);
        t(i + 1, 5) = rows[i].debit;
        t(i + 1, 6) = rows[i].credit;
        t(i + 1, 9) = rows[i].cls;
        t(i + 1, 11) = rows[i].reference;
    }
    return t;
}

TEST(CheckRef, DebitSeedFindsPaymentQuotingItsNumber) {
    auto t = Extract({{"100", "0", "12"}, {"0", "-100", "12  050304"}});
    CheckRef(t);
    EXPECT_EQ(t(1, 11), "12 ");
    EXPECT_EQ(t(2, 11), "12 ");
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
    t(3, 6) = "-40,004";  // rounds to a balanced group
    CheckRef(t);
    EXPECT_EQ(t(1, 11), "5 ");
    EXPECT_EQ(t(2, 11), "5 ");
    EXPECT_EQ(t(3, 11), "5 ");
}

TEST(CheckRef, RowsAfterNineAndRowZeroStayOut) {
    auto t = Extract({{"100", "0", "12", "A"}, {"0", "-100", "12 3"}});
    t(0, 5) = "100";
    t(0, 11) = "12";
    auto before = t;
    CheckRef(t);
    EXPECT_EQ(t, before);
}

TEST(CheckRef, CreditSeedsGoFirstAndMatchedRowsAreNotReused) {
    // The credit seed "8 " takes the debit quoting it; the later debit seed "8" then finds no
    // unmatched partner.
    auto t = Extract({{"50", "0", "8 1"}, {"0", "-50", "8"}, {"50", "0", "8"}});
    CheckRef(t);
    EXPECT_EQ(t(1, 11), "8 ");
    EXPECT_EQ(t(2, 11), "8 ");
    EXPECT_EQ(t(3, 11), "8");
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
    std::mt19937_64 rng(5);
    int accepted = 0;
    for (int c = 0; c < 10000; ++c) {
        TextTable h(1 + rng() % 10, 14), d(1 + rng() % 10, 14);
        for (TextTable* t : {&h, &d})
            for (std::size_t r = 0; r + 1 < t->rows(); ++r) {
                (*t)(r, 5) = amounts[rng() % std::size(amounts)];
                (*t)(r, 6) = amounts[rng() % std::size(amounts)];
                (*t)(r, 11) = refs[rng() % std::size(refs)];
                (*t)(r, 13) = rng() % 6 ? "-1" : "1";
            }
        auto h2 = h, d2 = d;
        CheckRef2(h, d, 5, 6);
        naive::CheckRef2(h2, d2, 5, 6);
        ASSERT_EQ(h, h2) << "case " << c;
        ASSERT_EQ(d, d2) << "case " << c;
        for (std::size_t r = 0; r < h.rows(); ++r)
            accepted += h(r, 11).ends_with(' ') && h(r, 13) == "1";
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
    EXPECT_EQ(t(1, 11), "ñ ");
    EXPECT_EQ(t(2, 11), "ñ ");
    EXPECT_EQ(t(3, 11), "€ ");
    EXPECT_EQ(t(4, 11), "€ ");
    EXPECT_EQ(t(5, 11), "\xA9");
    EXPECT_EQ(t(6, 11), "é 5");
}

TEST(CheckRefProperty, LongTextsWithManyBlanksAreSearchedToo) {
    TextTable h(2, 14), d(3, 14);
    h(0, 11) = "4";
    h(0, 6) = "-10";
    std::string longText;
    for (int i = 0; i < 40; ++i)
        longText += std::to_string(i) + " ";
    d(0, 11) = longText;  // contains "4 "
    d(0, 5) = "10";
    d(1, 11) = "4";
    d(1, 5) = "10";
    CheckRef2(h, d, 5, 6);
    EXPECT_EQ(h(0, 11), "4 ");
    EXPECT_EQ(d(0, 11), "4 ");
    EXPECT_EQ(d(1, 11), "4");
}

}  // namespace
}  // namespace pendara
