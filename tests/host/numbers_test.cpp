#include "host/numbers.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "host/conversions.h"
#include "host/store.h"
#include "support/spanish_locale.h"

namespace pendara {
namespace {

// The C library in the "C" locale on this thread: what the program's numbers were before they
// stopped depending on the locale.
class CLibrary {
  public:
    CLibrary() : c_(newlocale(LC_ALL_MASK, "C", nullptr)), previous_(uselocale(c_)) {}
    ~CLibrary() {
        uselocale(previous_);
        freelocale(c_);
    }
    static double Strtod(const std::string& s) { return std::strtod(s.c_str(), nullptr); }
    static std::string Print(const char* format, double v, int precision) {
        char buf[512];
        std::snprintf(buf, sizeof buf, format, precision, v);
        return buf;
    }

  private:
    locale_t c_;
    locale_t previous_;
};

std::uint64_t Bits(double v) {
    return std::bit_cast<std::uint64_t>(v);
}

// Decimal texts as the readers build them: optional sign, runs of digits with leading zeros,
// an optional point anywhere, up to 40 digits, now and then hundreds of them.
std::string RandomDecimal(std::mt19937_64& rng) {
    std::uniform_int_distribution<int> pick(0, 99);
    std::string s;
    int sign = pick(rng);
    if (sign < 20) s += '-';
    if (sign >= 20 && sign < 25) s += '+';
    int length = pick(rng) < 3 ? 300 + pick(rng) * 3 : 1 + pick(rng) % 40;
    int point = pick(rng) < 70 ? static_cast<int>(rng() % static_cast<unsigned>(length + 1)) : -1;
    bool zeros = pick(rng) < 15;
    for (int i = 0; i < length; ++i) {
        if (i == point) s += '.';
        s += zeros && i < length - 3 ? '0' : static_cast<char>('0' + pick(rng) % 10);
    }
    if (point == length) s += '.';
    return s;
}

TEST(ReadDecimal, GivesStrtodsDoubleBitForBit) {
    std::mt19937_64 rng(5150);
    CLibrary c;
    for (int i = 0; i < 300000; ++i) {
        const std::string s = RandomDecimal(rng);
        std::optional<double> v = ReadDecimal(s);
        ASSERT_TRUE(v) << s;
        ASSERT_EQ(Bits(*v), Bits(CLibrary::Strtod(s))) << s;
    }
    // Halfway cases, the largest double and beyond, below the smallest one and at it.
    for (const std::string& s : std::vector<std::string>{
             "9007199254740993", "9007199254740993.0000000000000000001", "0.1", "-0", "-0.0", ".5",
             "5.",
             "179769313486231570814527423731704356798070567525844996598917476803157260780028538"
             "760589558632766878171540458953514382464234321326889464182768467546703537516986049"
             "910576551282076245490090389328944075868508455133942304583236903222948165808559332"
             "123348274797826204144723168738177180919299881250404026184124858368",
             std::string(400, '9'), "-" + std::string(400, '9'), "0." + std::string(400, '0') + "1",
             "-0." + std::string(400, '0') + "1",
             "0." + std::string(323, '0') + "24703282292062328",
             "0." + std::string(323, '0') + "24703282292062327",
             "0." + std::string(310, '0') + "5"}) {
        std::optional<double> v = ReadDecimal(s);
        ASSERT_TRUE(v) << s;
        EXPECT_EQ(Bits(*v), Bits(CLibrary::Strtod(s))) << s;
    }
}

TEST(ReadDecimal, TakesOnlyTheWholePlainForm) {
    for (const char* bad : {"", "+", "-", ".", "+.", "1.2.3", "1e5", "1E+15", " 1", "1 ", "0x1A",
                            "inf", "nan", "1,5", "--1", "+-1", "1-"})
        EXPECT_FALSE(ReadDecimal(bad)) << bad;
    EXPECT_EQ(ReadDecimal("-12,5", ','), -12.5);
    EXPECT_EQ(ReadDecimal("+,25", ','), 0.25);
    EXPECT_FALSE(ReadDecimal("1.5", ','));
    EXPECT_EQ(ReadDecimal("+007"), 7);
}

// Values of every kind: amounts, random bit patterns (denormals, huge, infinities, NaN) and the
// halves that rounding to a number of decimals meets.
double RandomValue(std::mt19937_64& rng, int i) {
    switch (i % 4) {
        case 0:
            return static_cast<double>(static_cast<long long>(rng() % 2000000000001ULL) -
                                       1000000000000LL) /
                   100.0;
        case 1:
            return std::bit_cast<double>(rng());
        case 2:
            return static_cast<double>(static_cast<long long>(rng() % 20001) - 10000) / 1000.0 +
                   0.0005;
        default:
            return std::ldexp(static_cast<double>(rng() >> 11),
                              static_cast<int>(rng() % 200) - 150);
    }
}

TEST(NumberTexts, AreWhatPrintfWritesInTheCLocale) {
    std::mt19937_64 rng(77);
    CLibrary c;
    for (int i = 0; i < 200000; ++i) {
        const double v = RandomValue(rng, i);
        const int p = static_cast<int>(rng() % 18);
        ASSERT_EQ(FixedText(v, p), CLibrary::Print("%.*f", v, p)) << v << " " << p;
        ASSERT_EQ(ScientificText(v, p), CLibrary::Print("%.*e", v, p)) << v << " " << p;
        ASSERT_EQ(GeneralText(v, p), CLibrary::Print("%.*g", v, p)) << v << " " << p;
        if (!std::isfinite(v)) continue;
        // The plain text is the "%.15g" text wherever that one has no exponent, and otherwise
        // the same number.
        const std::string general = CLibrary::Print("%.*g", v, 15);
        const std::string plain = PlainText(v, 15);
        if (general.find('e') == std::string::npos)
            ASSERT_EQ(plain, general) << v;
        else
            ASSERT_EQ(Bits(*ReadDecimal(plain)), Bits(CLibrary::Strtod(general))) << plain;
    }
    EXPECT_EQ(PlainText(0.00001, 15), "0.00001");
    EXPECT_EQ(PlainText(-1E15, 15, ','), "-1000000000000000");
    EXPECT_EQ(PlainText(1.5E-7, 15, ','), "0,00000015");
    EXPECT_EQ(PlainText(0.1 + 0.2, 15), "0.3");
}

TEST(NumberTexts, IntegersPadTheirDigits) {
    EXPECT_EQ(IntegerText(7, 2), "07");
    EXPECT_EQ(IntegerText(2025, 2), "2025");
    EXPECT_EQ(IntegerText(-7, 3), "-007");
    EXPECT_EQ(IntegerText(0), "0");
    EXPECT_EQ(IntegerText(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

// The old readers: the number text each one builds, read by strtod in the "C" locale.
double OldToDouble(const std::string& spanish) {
    std::string t;
    for (char ch : spanish)
        if (ch != '.' && ch != ' ') t += ch == ',' ? '.' : ch;
    return CLibrary::Strtod(t);
}

// Texts in the Spanish form, formatted amounts, and host values.
std::string RandomSpanish(std::mt19937_64& rng, int i) {
    std::string s = RandomDecimal(rng);
    if (i % 3 == 0) return FormatAmount(RandomValue(rng, 0));
    if (i % 3 == 1) return ValueText(RandomValue(rng, 3));
    for (char& ch : s)
        if (ch == '.') ch = ',';
    return s;
}

// Every reader and writer of the program, once in the locale the process has and once under the
// users' Spanish settings, against the C library in the "C" locale.
void CheckReadersAndWriters(std::uint64_t seed) {
    std::mt19937_64 rng(seed);
    for (int i = 0; i < 30000; ++i) {
        const std::string spanish = RandomSpanish(rng, i);
        double old;
        {
            CLibrary c;
            old = OldToDouble(spanish);
        }
        ASSERT_EQ(Bits(ToDouble(spanish)), Bits(old)) << spanish;
        ASSERT_EQ(Bits(*ParsePlainNumber(spanish)), Bits(old)) << spanish;
        std::string copy = spanish;
        if (spanish.find(',') != std::string::npos) {
            ASSERT_EQ(Bits(ParseNumber(copy)), Bits(old));
        }

        const std::string point = RandomDecimal(rng);
        double oldPoint;
        {
            CLibrary c;
            oldPoint = CLibrary::Strtod(point);
        }
        ASSERT_EQ(Bits(LeadingNumber(point)), Bits(oldPoint)) << point;
        ASSERT_EQ(Bits(LeadingNumber(point + "x1")), Bits(oldPoint)) << point;
        ASSERT_EQ(Bits(*ParsePlainNumber(point)), Bits(oldPoint)) << point;
        copy = point;
        ASSERT_EQ(Bits(ParseNumber(copy)),
                  Bits(point.find('.') == std::string::npos ? OldToDouble(point) : oldPoint))
            << point;

        const double v = RandomValue(rng, i);
        std::string oldValue;
        {
            CLibrary c;
            oldValue = CLibrary::Print("%.*G", v, 15);
        }
        if (std::isfinite(v) && v != 0 && oldValue.find('E') == std::string::npos) {
            for (char& ch : oldValue)
                if (ch == '.') ch = ',';
            ASSERT_EQ(ValueText(v), oldValue);
        }
    }
}

TEST(ProgramNumbers, ReadAndWriteAsBeforeInTheProcessLocale) {
    CheckReadersAndWriters(1);
}

TEST(ProgramNumbers, ReadAndWriteAsBeforeUnderSpanishSettings) {
    testing::SpanishLocale spanish;
    ASSERT_TRUE(spanish.active()) << testing::kSpanishLocale << " is missing here";
    CheckReadersAndWriters(2);
    // The case the users met: the cents of a grouped amount.
    EXPECT_EQ(ToDouble("3.834,65"), 3834.65);
    EXPECT_EQ(FormatAmount(3834.65), "       3.834,65");
    EXPECT_EQ(LeadingNumber("12.5"), 12.5);
    EXPECT_EQ(ValueText(-100.5), "-100,5");
}

TEST(CNumericScope, GivesPrintfTheCLocaleForItsLifeOnly) {
    testing::SpanishLocale spanish;
    ASSERT_TRUE(spanish.active()) << testing::kSpanishLocale << " is missing here";
    auto print = [] {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.2f", 1.5);
        return std::string(buf);
    };
    EXPECT_EQ(print(), "1,50");
    {
        CNumericScope c;
        EXPECT_EQ(print(), "1.50");
        EXPECT_EQ(std::strtod("2.25", nullptr), 2.25);
    }
    EXPECT_EQ(print(), "1,50");
}

// The suite's second pass runs with LC_ALL naming the Spanish settings; the test programs switch
// to them as the window does, or that pass would prove nothing.
TEST(ProgramNumbers, TheTestsRunUnderTheSettingsTheEnvironmentNames) {
    const char* wanted = std::getenv("LC_ALL");
    if (!wanted || !*wanted) GTEST_SKIP() << "LC_ALL names no settings";
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), wanted);
}

}  // namespace
}  // namespace pendara
