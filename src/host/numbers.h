#pragma once
// Numbers read and written the same way on every machine. The desktop toolkit switches the C
// library's numeric conventions to the user's, and under Spanish settings strtod stops at "." and
// printf writes ","; the program's texts would then hold other numbers than the ones meant. These
// functions give exactly what the C library gives in the "C" locale (the same doubles bit for
// bit, the same texts), through std::from_chars and std::to_chars, whatever the process locale.

#include <optional>
#include <string>
#include <string_view>

namespace pendara {

// A whole text of the form [+|-] digits [point digits], `point` being the decimal mark; the
// digits on one side of the point may be missing, not on both. No blanks, no grouping, no
// exponent. The nearest double, as strtod reads it: a number too large for a double is
// +-infinity, one too small is +-0. nullopt for any other text.
std::optional<double> ReadDecimal(std::string_view text, char point = '.');

// printf's "%.<decimals>f", "%.<decimals>e" and "%.<significant>g" in the "C" locale.
std::string FixedText(double value, int decimals);
std::string ScientificText(double value, int decimals);
std::string GeneralText(double value, int significant);

// |value| rounded to `significant` decimal digits, as "%.<significant - 1>e" rounds it: the
// digits without trailing zeros (at least one) and the power of ten of the first ("0" and 0 for
// zero and for infinities and NaN).
struct DecimalDigits {
    std::string digits;
    int exponent = 0;
};
DecimalDigits SignificantDigits(double value, int significant);

// The value rounded to `significant` digits in plain notation, never with an exponent, no
// trailing zeros after `point` and no point without decimals: 0.00001 -> "0.00001",
// 1E15 -> "1000000000000000", -2.5 -> "-2.5". Where "%.<significant>g" writes no exponent, the
// two texts are the same (infinities and NaN as there: "inf", "-nan").
std::string PlainText(double value, int significant, char point = '.');

// An integer in decimal, its digits padded with zeros on the left to `width`.
std::string IntegerText(long long value, int width = 0);

// While alive, the C library formats and reads numbers on this thread as in the "C" locale. Only
// for libraries that print numbers with printf themselves (the spreadsheet writer); our own code
// uses the functions above.
class CNumericScope {
  public:
    CNumericScope();
    ~CNumericScope();
    CNumericScope(const CNumericScope&) = delete;
    CNumericScope& operator=(const CNumericScope&) = delete;

  private:
#ifdef _WIN32
    int previousMode_ = 0;
    std::string previousName_;
#else
    void* previous_ = nullptr;  // locale_t
    void* own_ = nullptr;
#endif
};

}  // namespace pendara
