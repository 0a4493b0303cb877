// The short roads of the amount texts (whole cents, plain digits, compact dates) held against the
// general routines on millions of values: the same texts and the same doubles, bit for bit.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "host/amount_texts.h"
#include "host/conversions.h"
#include "model/amount.h"

namespace pendara {
namespace {

std::uint64_t Bits(double v) {
    return std::bit_cast<std::uint64_t>(v);
}

// FormatAmount as the general routine gives it: the plain text, padded or cut to 15.
std::string PaddedGeneral(double v) {
    const std::string s = detail::FormatAmountPlainGeneral(v);
    return s.size() >= 15 ? s.substr(0, 15) : std::string(15 - s.size(), ' ') + s;
}

// Every text made from v agrees with the general routines, and so do the grid's readings of it.
void ExpectSameTexts(double v) {
    ASSERT_EQ(FormatAmountPlain(v), detail::FormatAmountPlainGeneral(v)) << Bits(v);
    ASSERT_EQ(FormatAmount(v), PaddedGeneral(v)) << Bits(v);
    ASSERT_EQ(ValueText(v), detail::ValueTextGeneral(v)) << Bits(v);
    const ShownAmount fast = ShownAmount::Format(v);
    const ShownAmount general = ShownAmount::Of(PaddedGeneral(v));
    ASSERT_EQ(fast.text, general.text) << Bits(v);
    ASSERT_EQ(Bits(fast.value), Bits(general.value)) << fast.text;
    ASSERT_EQ(Bits(fast.parsed), Bits(general.parsed)) << fast.text;
}

long long Pow10(int k) {
    long long p = 1;
    while (k-- > 0)
        p *= 10;
    return p;
}

TEST(WholeCents, FindsTheCentsOfEveryAmountBelowOneTrillion) {
    std::mt19937_64 rng(7001);
    for (int digits = 1; digits <= 14; ++digits) {
        std::uniform_int_distribution<long long> pick(-(Pow10(digits) - 1), Pow10(digits) - 1);
        for (int i = 0; i < 20000; ++i) {
            const long long c = pick(rng);
            long long got = -1;
            ASSERT_TRUE(WholeCents(static_cast<double>(c) / 100, got)) << c;
            ASSERT_EQ(got, c);
        }
    }
    long long c = 0;
    EXPECT_TRUE(WholeCents(-0.0, c));
    EXPECT_EQ(c, 0);
    for (double v :
         {0.001, 2.675, 0.1 + 0.2, 1e12, -1e12, 1e300, 5e-324, std::nextafter(0.1, 1.0),
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(WholeCents(v, c)) << v;
}

TEST(AmountTexts, WholeCentsOfEveryMagnitudeAsTheGeneralRoutine) {
    std::mt19937_64 rng(20261126);
    for (int digits = 1; digits <= 14; ++digits) {
        std::uniform_int_distribution<long long> pick(-(Pow10(digits) - 1), Pow10(digits) - 1);
        for (int i = 0; i < 60000; ++i)
            ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(static_cast<double>(pick(rng)) / 100));
    }
}

TEST(AmountTexts, PowersOfTenAndThousandAndTheirNeighbours) {
    for (int k = 0; k <= 14; ++k)
        for (long long d : {-101, -100, -11, -10, -2, -1, 0, 1, 2, 9, 10, 11, 99, 100, 101})
            for (long long sign : {1, -1}) {
                const long long c = sign * (Pow10(k) + d);
                ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(static_cast<double>(c) / 100));
                ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(static_cast<double>(c)));  // units
            }
}

TEST(AmountTexts, ValuesJustOffWholeCents) {
    std::mt19937_64 rng(99);
    for (int digits = 1; digits <= 14; ++digits) {
        std::uniform_int_distribution<long long> pick(-(Pow10(digits) - 1), Pow10(digits) - 1);
        for (int i = 0; i < 6000; ++i) {
            const double v = static_cast<double>(pick(rng)) / 100;
            double up = v, down = v;
            for (int ulp = 1; ulp <= 4; ++ulp) {
                up = std::nextafter(up, HUGE_VAL);
                down = std::nextafter(down, -HUGE_VAL);
                ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(up));
                ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(down));
            }
            // Halves and thirds of a cent: the rounding of the third decimal decides.
            ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(v + 0.005));
            ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(v - 0.005));
            ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(v + 1.0 / 300));
        }
    }
}

TEST(AmountTexts, ZerosBoundariesAndNonFiniteValues) {
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<double> values = {0.0,
                                  -0.0,
                                  0.004,
                                  -0.004,
                                  0.005,
                                  -0.005,
                                  5e-324,
                                  -5e-324,
                                  1e-300,
                                  1e12,
                                  -1e12,
                                  999999999999.99,
                                  -999999999999.99,
                                  999999999.99,
                                  -999999999.99,
                                  1e9,
                                  -1e9,
                                  99999999999.99,
                                  1e15,
                                  1e22,
                                  -1e300,
                                  inf,
                                  -inf,
                                  std::numeric_limits<double>::quiet_NaN()};
    for (double edge : {1e12, -1e12, 1e9, -1e9, 1e11, -1e11}) {
        double up = edge, down = edge;
        for (int ulp = 0; ulp < 8; ++ulp) {
            values.push_back(up = std::nextafter(up, HUGE_VAL));
            values.push_back(down = std::nextafter(down, -HUGE_VAL));
        }
    }
    for (double v : values) {
        SCOPED_TRACE(v);
        ASSERT_NO_FATAL_FAILURE(ExpectSameTexts(v));
    }
    EXPECT_EQ(FormatAmount(-0.0), "           0,00");
    EXPECT_EQ(ValueText(-0.0), "0");
    EXPECT_EQ(FormatAmount(-999999999.99), "-999.999.999,99");
    EXPECT_EQ(FormatAmount(-1e9), "-1.000.000.000,");  // cut to 15 characters
}

// Random texts over the characters the readers treat specially.
std::string RandomText(std::mt19937_64& rng) {
    static const std::string alphabet = "0123456789000000.,,+- \t\rx";
    std::uniform_int_distribution<std::size_t> length(0, 30), at(0, alphabet.size() - 1);
    std::string s(length(rng), ' ');
    for (char& c : s)
        c = alphabet[at(rng)];
    return s;
}

// A number text in either form: grouped or not, long runs of digits on either side.
std::string RandomNumber(std::mt19937_64& rng) {
    std::uniform_int_distribution<int> small(0, 25), coin(0, 3), digit(0, 9);
    std::string s;
    if (coin(rng) == 0) s += ' ';
    if (coin(rng) == 0) s += coin(rng) < 2 ? '-' : '+';
    const int whole = small(rng), fraction = coin(rng) == 0 ? small(rng) : coin(rng);
    for (int i = 0; i < whole; ++i) {
        if (i > 0 && (whole - i) % 3 == 0 && coin(rng) == 0) s += '.';
        s += static_cast<char>('0' + digit(rng));
    }
    const char mark = coin(rng) < 2 ? ',' : '.';
    if (fraction > 0 || coin(rng) == 0) s += mark;
    for (int i = 0; i < fraction; ++i)
        s += static_cast<char>('0' + digit(rng));
    if (coin(rng) == 0) s += coin(rng) == 0 ? "x" : " ";
    return s;
}

void ExpectSameReadings(const std::string& t) {
    ASSERT_EQ(Bits(ToDouble(t)), Bits(detail::ToDoubleGeneral(t))) << '"' << t << '"';
    ASSERT_EQ(Bits(LeadingNumber(t)), Bits(detail::LeadingNumberGeneral(t))) << '"' << t << '"';
}

TEST(AmountReaders, ReadEveryTextAsTheGeneralReader) {
    std::mt19937_64 rng(4242);
    for (int i = 0; i < 400000; ++i) {
        ASSERT_NO_FATAL_FAILURE(ExpectSameReadings(RandomText(rng)));
        ASSERT_NO_FATAL_FAILURE(ExpectSameReadings(RandomNumber(rng)));
    }
    std::uniform_int_distribution<long long> cents(-99999999999999LL, 99999999999999LL);
    for (int i = 0; i < 200000; ++i) {
        const double v = static_cast<double>(cents(rng)) / 100;
        ASSERT_NO_FATAL_FAILURE(ExpectSameReadings(FormatAmount(v)));
        ASSERT_NO_FATAL_FAILURE(ExpectSameReadings(ValueText(v)));
    }
    for (const std::string& t : std::vector<std::string>{"",
                                                         " ",
                                                         "-",
                                                         "+",
                                                         ",",
                                                         ".",
                                                         "-,",
                                                         "+.",
                                                         "5,",
                                                         "5.",
                                                         ",5",
                                                         ".5",
                                                         "-0",
                                                         "-0,00",
                                                         "+0",
                                                         "0,0000000000000000000001",
                                                         "0,00000000000000000000001",
                                                         "9007199254740992",
                                                         "9007199254740993",
                                                         "900719925474099,3",
                                                         "-9.007.199.254.740.993",
                                                         "1e5",
                                                         "12 34",
                                                         "1,2,3",
                                                         "1.2,3.4",
                                                         "\t-7",
                                                         " \r\n12.5x",
                                                         std::string(30, '9'),
                                                         "0." + std::string(40, '0') + "1",
                                                         std::string(25, '0') + "1,5"})
        ASSERT_NO_FATAL_FAILURE(ExpectSameReadings(t));
}

TEST(DateText, CompactDatesAsTheGeneralRoutine) {
    std::mt19937_64 rng(60);
    // Every byte at the first place, the others as dates have them and at random.
    std::uniform_int_distribution<int> anyByte(0, 255), digit('0', '9');
    for (int first = 0; first < 256; ++first)
        for (int i = 0; i < 200; ++i) {
            std::string s(6, '0');
            s[0] = static_cast<char>(first);
            for (std::size_t k = 1; k < 6; ++k)
                s[k] = static_cast<char>(i % 2 ? anyByte(rng) : digit(rng));
            ASSERT_EQ(DateText(s), detail::DateTextGeneral(s)) << s;
        }
    for (const std::string s : {"A00101", "C51231", "991231", "600101", "F91231", "Z00101"})
        EXPECT_EQ(DateText(s), detail::DateTextGeneral(s)) << s;
    EXPECT_EQ(DateText(std::string(6, '\0')), "00/00/00");
}

}  // namespace
}  // namespace pendara
