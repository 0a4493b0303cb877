#include "host/conversions.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <random>

namespace pendara {
namespace {

class DateTextTest : public ::testing::Test {
  protected:
    void SetUp() override {
        SetClock([] { return CalendarDate{2026, 11, 16}; });
    }
    void TearDown() override { SetClock(nullptr); }
};

TEST_F(DateTextTest, ConvertsByLength) {
    EXPECT_EQ(DateText(""), "");
    EXPECT_EQ(DateText("5"), "ERROR");
    EXPECT_EQ(DateText("123"), "ERROR");
    EXPECT_EQ(DateText("12345678901"), "ERROR");
    // Two characters: the year with the letter rule.
    EXPECT_EQ(DateText("25"), "C5");
    EXPECT_EQ(DateText("99"), "99");
    EXPECT_EQ(DateText("60"), "60");
    EXPECT_EQ(DateText("59"), "F9");
    // Compact to day-first.
    EXPECT_EQ(DateText("C51231"), "31/12/25");
    EXPECT_EQ(DateText("991231"), "31/12/99");
    EXPECT_EQ(DateText("A00101"), "01/01/00");
    EXPECT_EQ(DateText(std::string("\0"
                                   "51231",
                                   6)),
              "00/00/00");
    // Day-first to compact, with one- and two-digit days.
    EXPECT_EQ(DateText("1/12/25"), "C51201");
    EXPECT_EQ(DateText("1/12/99"), "991201");
    EXPECT_EQ(DateText("31/12/25"), "C51231");
    EXPECT_EQ(DateText("31/12/99"), "991231");
    EXPECT_EQ(DateText("01/01/60"), "600101");
    EXPECT_EQ(DateText("01/01/59"), "F90101");
}

TEST_F(DateTextTest, TenCharactersAreAlwaysMonthFirst) {
    EXPECT_EQ(DateText("11-16-2026"), "16/11/26");
    EXPECT_EQ(DateText("31/12/2025"), "12/31/25");
    EXPECT_EQ(DateText(TodaySystemText()), "16/11/26");
}

TEST_F(DateTextTest, NineCharactersTakeTheCenturyFromToday) {
    EXPECT_EQ(DateText("11-16-26x"), "16/11/2026");
    SetClock([] { return CalendarDate{1999, 1, 2}; });
    EXPECT_EQ(DateText("11-16-26x"), "16/11/1926");
}

// A date column can receive any text (a TAB inside host field 2 shifts the columns), and the
// form is chosen by its length in characters, not in bytes.
TEST_F(DateTextTest, CountsCharactersOfAnyText) {
    EXPECT_EQ(DateText("ñy"), "ñy");  // two characters, not below "60": unchanged
    EXPECT_EQ(DateText("5€"), "F€");
    EXPECT_EQ(DateText("𝄞"), "ERROR");  // one character of four bytes
    EXPECT_EQ(DateText("𝄞é"), "𝄞é");
    // Six characters: the first one's code decides the year.
    EXPECT_EQ(DateText("C5ñ2€1"), "€1/ñ2/25");
    EXPECT_EQ(DateText("1ñ0101"), "01/01/1ñ");
    EXPECT_EQ(DateText("á10101"), "01/01/Ð1");  // U+00E1 less 17 is U+00D0
    EXPECT_EQ(DateText("𝄞00101"), "01/01/\U0001D10D0");
    // Seven, eight, nine and ten characters cut by character positions.
    EXPECT_EQ(DateText("1/ñ2/25"), "C5ñ201");
    EXPECT_EQ(DateText("31/é2/𝄞5"), "𝄞5é231");
    EXPECT_EQ(DateText("31/12/2ñ"), "Cñ1231");
    EXPECT_EQ(DateText("1ñ-16-26x"), "16/1ñ/2026");
    EXPECT_EQ(DateText("11-1€-2026"), "1€/11/26");
    EXPECT_EQ(DateText("ñññññññññññ"), "ERROR");
}

// A byte that is not UTF-8 counts as one character whose code is the byte's value.
TEST_F(DateTextTest, InvalidBytesCountOneEach) {
    EXPECT_EQ(DateText("\xF1y"), "\xF1y");
    EXPECT_EQ(DateText("\xE1"
                       "10101"),
              "01/01/\xC3\x90"
              "1");
    EXPECT_EQ(DateText("31/12/\xFF\xFE"),
              "\xFF\xFE"
              "1231");
    EXPECT_EQ(DateText("\xC3"), "ERROR");
}

TEST(DateTextRoundTrip, CompactAndDayFirstAgreeOverTheCentury) {
    for (int y = 0; y < 100; ++y) {
        char dayFirst[16];
        std::snprintf(dayFirst, sizeof dayFirst, "28/02/%02d", y);
        std::string compact = DateText(dayFirst);
        ASSERT_EQ(compact.size(), 6u);
        EXPECT_EQ(DateText(compact), dayFirst);
    }
    // Compact dates of 1960..2059 sort as text in date order.
    EXPECT_LT(std::string("991231"), std::string("A00101"));
    EXPECT_LT(DateText("31/12/99"), DateText("01/01/00"));
    EXPECT_LT(DateText("01/01/00"), DateText("31/12/25"));
}

TEST(ParseNumber, TrimsInPlaceAndReadsBothForms) {
    std::string t = "  -12,5 ";
    EXPECT_DOUBLE_EQ(ParseNumber(t), -12.5);
    EXPECT_EQ(t, "-12,5");
    std::string s;
    s = "abc";
    EXPECT_EQ(ParseNumber(s), 0);
    s = "";
    EXPECT_EQ(ParseNumber(s), 0);
    s = "12.50";
    EXPECT_DOUBLE_EQ(ParseNumber(s), 12.5);
    s = "1.234.567";  // points only: read from the start with "." as decimal point
    EXPECT_DOUBLE_EQ(ParseNumber(s), 1.234);
    s = "1.234,56";
    EXPECT_DOUBLE_EQ(ParseNumber(s), 1234.56);
    s = "12,5";
    EXPECT_DOUBLE_EQ(ParseNumber(s), 12.5);
    s = "-7";
    EXPECT_DOUBLE_EQ(ParseNumber(s), -7);
    s = "   100.000,00";
    EXPECT_DOUBLE_EQ(ParseNumber(s), 100000);
    s = "/5";  // allowed first character, but no number
    EXPECT_EQ(ParseNumber(s), 0);
    s = "12,5x";
    EXPECT_EQ(ParseNumber(s), 0);
    s = "*12";
    EXPECT_EQ(ParseNumber(s), 0);
}

TEST(RoundTo, HalvesAwayFromZeroInDoubleArithmetic) {
    EXPECT_EQ(RoundTo(-2.5, 0), -3);
    EXPECT_EQ(RoundTo(2.5, 0), 3);
    EXPECT_EQ(RoundTo(0.005, 2), 0.01);
    EXPECT_EQ(RoundTo(-0.004, 2), 0);
    EXPECT_EQ(RoundTo(0.004, 2), 0);
    EXPECT_EQ(RoundTo(2.675, 2), 2.67);  // 2.675 * 100 is 267.49999...
    EXPECT_EQ(RoundTo(1234.5678, 2), 1234.57);
    EXPECT_EQ(RoundTo(-1234.5678, 2), -1234.57);
}

TEST(FormatAmount, PatternPaddingAndCut) {
    EXPECT_EQ(FormatAmount(1234567.891), "   1.234.567,89");
    EXPECT_EQ(FormatAmount(1234.5), "       1.234,50");
    EXPECT_EQ(FormatAmount(-0.5), "          -0,50");
    EXPECT_EQ(FormatAmount(0), "           0,00");
    EXPECT_EQ(FormatAmount(-0.001), "           0,00");
    EXPECT_EQ(FormatAmount(999.995), "       1.000,00");
    EXPECT_EQ(FormatAmount(-100), "        -100,00");
    EXPECT_EQ(FormatAmount(2.675), "           2,68");  // as typed, not as the binary value
    EXPECT_EQ(FormatAmount(123456789012.5).size(), 15u);
    EXPECT_EQ(FormatAmount(-123456789012.5), "-123.456.789.01");  // longer texts keep 15 chars
    EXPECT_EQ(FormatAmountPlain(1234.5), "1.234,50");
}

TEST(ToDouble, ReadsTheSpanishFormOnly) {
    EXPECT_DOUBLE_EQ(ToDouble("1.234,56"), 1234.56);
    EXPECT_DOUBLE_EQ(ToDouble("  -12,5  "), -12.5);
    EXPECT_DOUBLE_EQ(ToDouble("+3"), 3);
    EXPECT_DOUBLE_EQ(ToDouble(",5"), 0.5);
    EXPECT_DOUBLE_EQ(ToDouble("1234.5"), 12345);  // a point is a thousands mark
    EXPECT_EQ(ToDouble(""), 0);
    EXPECT_EQ(ToDouble("-"), 0);
    EXPECT_EQ(ToDouble("1,2,3"), 0);
    EXPECT_EQ(ToDouble("12 34"), 0);
    EXPECT_EQ(ToDouble("12a"), 0);
    EXPECT_EQ(ToDouble("1e5"), 0);
}

TEST(ToDouble, ReadsEveryFormattedAmountBack) {
    std::mt19937_64 rng(20261123);
    std::uniform_int_distribution<long long> cents(-99999999999LL, 99999999999LL);
    for (int i = 0; i < 200000; ++i) {
        long long c = cents(rng) / (i % 7 == 0 ? 100000 : 1);
        double v = static_cast<double>(c) / 100.0;
        std::string text = FormatAmount(v);
        ASSERT_EQ(ToDouble(text), v) << text;
        ASSERT_EQ(FormatAmount(ToDouble(text)), text);
    }
}

TEST(LeadingNumber, ReadsFromTheStartAndStops) {
    EXPECT_EQ(LeadingNumber("  12.5abc"), 12.5);
    EXPECT_EQ(LeadingNumber("-3"), -3);
    EXPECT_EQ(LeadingNumber("+4.5.6"), 4.5);
    EXPECT_EQ(LeadingNumber("0,5"), 0);  // the comma stops it
    EXPECT_EQ(LeadingNumber("1,5"), 1);
    EXPECT_EQ(LeadingNumber(""), 0);
    EXPECT_EQ(LeadingNumber("abc"), 0);
    EXPECT_EQ(LeadingNumber(".25"), 0.25);
    EXPECT_EQ(LeadingNumber("- 3"), 0);
}

TEST(ValueText, SpanishDecimalCommaWithoutGrouping) {
    EXPECT_EQ(ValueText(1234.5), "1234,5");
    EXPECT_EQ(ValueText(-60), "-60");
    EXPECT_EQ(ValueText(0.1), "0,1");
    EXPECT_EQ(ValueText(0), "0");
    EXPECT_EQ(ValueText(0.1 + 0.2), "0,3");  // 15 significant digits
    EXPECT_EQ(ValueText(1234567.89), "1234567,89");
    EXPECT_EQ(ValueText(4300000138.0), "4300000138");
    // A host value read back with ToDouble is the same amount.
    for (double v : {1234.5, -60.0, 0.1, 99999999.99, -0.01})
        EXPECT_EQ(ToDouble(ValueText(v)), v);
}

TEST(TextHelpers, TrimOnlyBlanksAndCompareWithoutCase) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");
    EXPECT_EQ(TrimLeft("  a "), "a ");
    EXPECT_EQ(TrimRight("  a "), "  a");
    EXPECT_TRUE(EqualsNoCase("Cuenta", "cUENTA"));
    EXPECT_FALSE(EqualsNoCase("Cuenta", "Cuentas"));
    EXPECT_TRUE(EndsWithNoCase("emp.qvt", ".QVT"));
    EXPECT_FALSE(EndsWithNoCase("qvt", ".QVT"));
    EXPECT_EQ(Upper("rf-12ñ"), "RF-12ñ");
}

}  // namespace
}  // namespace pendara

namespace pendara {
namespace {

// The rounding as the figures were first made: the product held in x87 extended precision.
double RoundToExtended(double value, std::int16_t digits) {
    long double f = std::pow(10.0L, static_cast<long double>(digits));
    long double v = value;
    long double n = v >= 0 ? std::floor(v * f + 0.5L) : -std::floor(-v * f + 0.5L);
    return static_cast<double>(n) / static_cast<double>(f);
}

TEST(RoundTo, AgreesWithExtendedPrecisionOnAmounts) {
    if (LDBL_MANT_DIG < 64) GTEST_SKIP() << "long double is not extended here";
    std::mt19937_64 rng(99);
    std::uniform_int_distribution<long long> thousandths(-9999999999999LL, 9999999999999LL);
    int differentFromDouble = 0;
    for (int i = 0; i < 500000; ++i) {
        // Amounts with up to three decimals, including exact halves of a cent.
        double v = static_cast<double>(thousandths(rng)) / 1000.0;
        for (std::int16_t d : {0, 1, 2}) {
            ASSERT_EQ(RoundTo(v, d), RoundToExtended(v, d)) << v << " " << d;
            double f = std::pow(10.0, d);
            double plain = v >= 0 ? std::floor(v * f + 0.5) / f : -std::floor(-v * f + 0.5) / f;
            differentFromDouble += plain != RoundTo(v, d);
        }
    }
    // Plain double arithmetic would round many of these halves the other way.
    EXPECT_GT(differentFromDouble, 0);
}

// The window's toolkit switches the C library to the user's locale; the
// conversions must read and write the same under a locale with a decimal comma.
class UnderSpanishLocale : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_ = std::setlocale(LC_ALL, nullptr);
        if (!std::setlocale(LC_ALL, "es_ES.UTF-8") && !std::setlocale(LC_ALL, "es_ES.utf8"))
            GTEST_SKIP() << "the Spanish locale is not generated on this machine";
    }
    void TearDown() override { std::setlocale(LC_ALL, saved_.c_str()); }
    std::string saved_;
};

TEST_F(UnderSpanishLocale, NumbersReadAndWriteAsInTheCLocale) {

    EXPECT_DOUBLE_EQ(LeadingNumber(".01"), 0.01);
    EXPECT_DOUBLE_EQ(ToDouble("1.234,56"), 1234.56);
    std::string t = " 12.50 ";
    EXPECT_DOUBLE_EQ(ParseNumber(t), 12.5);
    EXPECT_EQ(FormatAmountPlain(1234567.891), "1.234.567,89");
    EXPECT_EQ(ValueText(1234.5), "1234,5");
    EXPECT_EQ(ValueText(0.01), "0,01");
}

}  // namespace
}  // namespace pendara
