#include "host/conversions.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <ctime>
#include <mutex>

#include "host/amount_texts.h"
#include "host/numbers.h"
#include "host/utf8.h"

namespace pendara {

namespace {

std::function<CalendarDate()>& ClockSlot() {
    static std::function<CalendarDate()> clock;
    return clock;
}

CalendarDate SystemToday() {
    std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

std::string TwoDigits(int v) {
    return IntegerText(((v % 100) + 100) % 100, 2);
}

// Year text yy with the letter rule: below "60" the first digit becomes a letter (0 -> A). A text
// below "60" starts with a character below "7", so the shift stays within one byte.
std::string CompactYear(std::string_view yy) {
    std::string out(yy);
    if (!yy.empty() && yy < "60")
        out[0] = static_cast<char>(static_cast<unsigned char>(yy[0]) + 17);
    return out;
}

bool IsBlank(char c) {
    return c == ' ';
}

// A decimal number read as its digits: the whole number m of all its digits and the count k of
// those after the decimal mark. When m < 2^53 and k <= 22 both m and 10^k are exact doubles and
// one division rounds m / 10^k to the nearest double, as the general reader does; otherwise the
// caller takes the general road.
struct DecimalScan {
    std::uint64_t mantissa = 0;
    int fraction = 0;
    bool negative = false;
    bool digits = false;
    bool tooLong = false;

    void Digit(char c, bool afterMark) {
        digits = true;
        if (mantissa >= (std::uint64_t{1} << 53) / 10) {
            tooLong = true;  // more digits than a double holds exactly
            return;
        }
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(c - '0');
        if (afterMark && ++fraction > 22) tooLong = true;
    }

    double Value() const {
        static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                             1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                             1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
        const double v = static_cast<double>(mantissa) / kPowers[fraction];
        return negative ? -v : v;
    }
};

}  // namespace

void SetClock(std::function<CalendarDate()> clock) {
    ClockSlot() = std::move(clock);
}

CalendarDate Today() {
    auto& clock = ClockSlot();
    return clock ? clock() : SystemToday();
}

std::string TodaySystemText() {
    CalendarDate d = Today();
    return IntegerText(d.month % 100, 2) + "-" + IntegerText(d.day % 100, 2) + "-" +
           IntegerText(d.year % 10000, 4);
}

std::string detail::DateTextGeneral(const std::string& s) {
    // Positions and lengths count characters: a field may hold any text.
    auto mid = [&](std::size_t pos1, std::size_t len) {
        return std::string(Utf8Mid(s, pos1, len));
    };
    switch (Utf8Length(s)) {
        case 0:
            return "";
        case 2:
            return CompactYear(s);
        case 6: {
            const char32_t first = DecodeUtf8(s, 0).code;
            std::string year;
            if (first > 64) {
                year = EncodeUtf8(first - 17) + mid(2, 1);
            } else if (first >= 1) {
                year = mid(1, 2);
            } else {
                return "00/00/00";
            }
            return mid(5, 2) + "/" + mid(3, 2) + "/" + year;
        }
        case 7:
            return CompactYear(mid(6, 2)) + mid(3, 2) + "0" + mid(1, 1);
        case 8:
            return CompactYear(mid(7, 2)) + mid(4, 2) + mid(1, 2);
        case 9: {
            std::string century = TwoDigits(Today().year / 100);
            return mid(4, 2) + "/" + mid(1, 2) + "/" + century + mid(7, 2);
        }
        case 10:
            return mid(4, 2) + "/" + mid(1, 2) + "/" + mid(9, 2);
        default:
            return "ERROR";
    }
}

std::string DateText(const std::string& s) {
    // The extract's compact dates are six plain characters: bytes are characters there.
    if (s.size() != 6 || !IsAscii(s)) return detail::DateTextGeneral(s);
    const char first = s[0];
    if (first == 0) return "00/00/00";
    std::string out(8, '/');
    out[0] = s[4];
    out[1] = s[5];
    out[3] = s[2];
    out[4] = s[3];
    out[6] = first > 64 ? static_cast<char>(first - 17) : first;
    out[7] = s[1];
    return out;
}

std::string_view TrimView(std::string_view s) {
    std::size_t b = 0, e = s.size();
    while (b < e && IsBlank(s[b]))
        ++b;
    while (e > b && IsBlank(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

std::string Trim(std::string_view s) {
    return std::string(TrimView(s));
}

std::string TrimLeft(std::string_view s) {
    std::size_t b = 0;
    while (b < s.size() && IsBlank(s[b]))
        ++b;
    return std::string(s.substr(b));
}

std::string TrimRight(std::string_view s) {
    std::size_t e = s.size();
    while (e > 0 && IsBlank(s[e - 1]))
        --e;
    return std::string(s.substr(0, e));
}

std::string Upper(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

bool EndsWithNoCase(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && EqualsNoCase(s.substr(s.size() - suffix.size()), suffix);
}

double detail::LeadingNumberGeneral(std::string_view t) {
    std::size_t i = 0;
    while (i < t.size() && (t[i] == ' ' || t[i] == '\t' || t[i] == '\r' || t[i] == '\n'))
        ++i;
    std::string num;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) num += t[i++];
    bool digits = false, point = false;
    for (; i < t.size(); ++i) {
        char c = t[i];
        if (c >= '0' && c <= '9') {
            num += c;
            digits = true;
        } else if (c == '.' && !point) {
            num += c;
            point = true;
        } else {
            break;
        }
    }
    if (!digits) return 0.0;
    return ReadDecimal(num).value_or(0.0);
}

double detail::ToDoubleGeneral(std::string_view t) {
    std::size_t b = 0, e = t.size();
    while (b < e && IsBlank(t[b]))
        ++b;
    while (e > b && IsBlank(t[e - 1]))
        --e;
    std::string_view s = t.substr(b, e - b);
    std::string num;
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) num += s[i++];
    bool digits = false, comma = false;
    for (; i < s.size(); ++i) {
        char c = s[i];
        if (c >= '0' && c <= '9') {
            num += c;
            digits = true;
        } else if (c == '.' && !comma) {
            continue;  // a thousands mark
        } else if (c == ',' && !comma) {
            num += '.';
            comma = true;
        } else {
            return 0.0;
        }
    }
    if (!digits) return 0.0;
    return ReadDecimal(num).value_or(0.0);
}

double LeadingNumber(std::string_view t) {
    std::size_t i = 0;
    while (i < t.size() && (t[i] == ' ' || t[i] == '\t' || t[i] == '\r' || t[i] == '\n'))
        ++i;
    DecimalScan n;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) n.negative = t[i++] == '-';
    bool point = false;
    for (; i < t.size(); ++i) {
        const char c = t[i];
        if (c >= '0' && c <= '9')
            n.Digit(c, point);
        else if (c == '.' && !point)
            point = true;
        else
            break;
    }
    if (!n.digits) return 0.0;
    return n.tooLong ? detail::LeadingNumberGeneral(t) : n.Value();
}

double ToDouble(std::string_view t) {
    const std::string_view s = TrimView(t);
    DecimalScan n;
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) n.negative = s[i++] == '-';
    bool comma = false;
    for (; i < s.size(); ++i) {
        const char c = s[i];
        if (c >= '0' && c <= '9')
            n.Digit(c, comma);
        else if (c == '.' && !comma)
            continue;  // a thousands mark
        else if (c == ',' && !comma)
            comma = true;
        else
            return 0.0;
    }
    if (!n.digits) return 0.0;
    return n.tooLong ? detail::ToDoubleGeneral(t) : n.Value();
}

double ParseNumber(std::string& t) {
    t = Trim(t);
    if (t.empty()) return 0.0;
    unsigned char first = static_cast<unsigned char>(t[0]);
    if (first < 43 || first > 57) return 0.0;
    bool hasPoint = t.find('.') != std::string::npos;
    bool hasComma = t.find(',') != std::string::npos;
    if (hasPoint && !hasComma) return LeadingNumber(t);
    return ToDouble(t);
}

namespace {

// floor(a * f + 0.5) for a >= 0, with the product taken exactly: the users' figures were made
// with the product held in extended precision (2.675 * 100 is 267.4999..., not 267.5).
double FloorHalfUp(double a, double f) {
    const double p = a * f;
    if (!(p < 4503599627370496.0)) return std::floor(p + 0.5);  // 2^52: p is whole already
    const double e = std::fma(a, f, -p);                        // a * f == p + e exactly
    const double k = std::floor(p);
    const double frac = p - k;  // exact
    // Here |e| <= 0.25, so a fraction below 0.25 cannot reach the half; above it frac - 0.5
    // is exact and the comparison with -e decides.
    if (frac < 0.25) return k;
    return (frac - 0.5 >= -e) ? k + 1 : k;
}

}  // namespace

double RoundTo(double value, std::int16_t digits) {
    const double f = std::pow(10.0, static_cast<double>(digits));
    // The exact product needs an exact factor: 10^0 to 10^22 are.
    if (digits < 0 || digits > 22)
        return value >= 0 ? std::floor(value * f + 0.5) / f : -std::floor(-value * f + 0.5) / f;
    return value >= 0 ? FloorHalfUp(value, f) / f : -FloorHalfUp(-value, f) / f;
}

std::string detail::FormatAmountPlainGeneral(double value) {
    // Round the value as its 15-significant-digit decimal text shows it, half away from zero,
    // so that amounts held as doubles print the way they were typed.
    if (!std::isfinite(value)) return value != value ? "NaN" : (value > 0 ? "Inf" : "-Inf");
    const DecimalDigits d = SignificantDigits(value, 15);
    const std::string& mant = d.digits;
    const int exp10 = d.exponent;
    // Decimal digits of |value| as integer digits and fraction digits.
    std::string intPart, fracPart;
    int pointPos = exp10 + 1;  // digits before the decimal point
    if (pointPos <= 0) {
        intPart = "0";
        fracPart = std::string(static_cast<std::size_t>(-pointPos), '0') + mant;
    } else if (static_cast<std::size_t>(pointPos) >= mant.size()) {
        intPart = mant + std::string(static_cast<std::size_t>(pointPos) - mant.size(), '0');
    } else {
        intPart = mant.substr(0, static_cast<std::size_t>(pointPos));
        fracPart = mant.substr(static_cast<std::size_t>(pointPos));
    }
    while (fracPart.size() < 3)
        fracPart += '0';
    bool roundUp = fracPart[2] >= '5';
    std::string cents = intPart + fracPart.substr(0, 2);
    if (roundUp) {
        int k = static_cast<int>(cents.size()) - 1;
        while (k >= 0) {
            if (cents[static_cast<std::size_t>(k)] == '9') {
                cents[static_cast<std::size_t>(k)] = '0';
                --k;
            } else {
                ++cents[static_cast<std::size_t>(k)];
                break;
            }
        }
        if (k < 0) cents.insert(cents.begin(), '1');
    }
    std::string ip = cents.substr(0, cents.size() - 2);
    std::string fp = cents.substr(cents.size() - 2);
    std::size_t nz = ip.find_first_not_of('0');
    ip = nz == std::string::npos ? "0" : ip.substr(nz);
    bool zero = ip == "0" && fp == "00";
    std::string grouped;
    int n = static_cast<int>(ip.size());
    for (int k = 0; k < n; ++k) {
        if (k > 0 && (n - k) % 3 == 0) grouped += '.';
        grouped += ip[static_cast<std::size_t>(k)];
    }
    std::string out = (value < 0 && !zero) ? "-" : "";
    return out + grouped + "," + fp;
}

bool WholeCents(double value, long long& cents) {
    if (!(std::fabs(value) < 1e12)) return false;  // NaN too
    const long long c = std::llround(value * 100);
    if (static_cast<double>(c) / 100 != value) return false;
    cents = c;
    return true;
}

namespace {

// "###,###,##0.00" of c/100, written backwards from `end`; returns where the text starts.
char* AmountOfCents(long long c, char* end) {
    unsigned long long n =
        c < 0 ? 0ULL - static_cast<unsigned long long>(c) : static_cast<unsigned long long>(c);
    char* p = end;
    *--p = static_cast<char>('0' + n % 10);
    n /= 10;
    *--p = static_cast<char>('0' + n % 10);
    n /= 10;
    *--p = ',';
    int group = 0;
    do {
        if (group == 3) {
            *--p = '.';
            group = 0;
        }
        *--p = static_cast<char>('0' + n % 10);
        n /= 10;
        ++group;
    } while (n != 0);
    if (c < 0) *--p = '-';  // c == 0 is "0,00", also for -0.0
    return p;
}

constexpr int kAmountWidth = 15;

}  // namespace

std::string FormatAmountPlain(double value) {
    long long c;
    if (!WholeCents(value, c)) return detail::FormatAmountPlainGeneral(value);
    char buf[32];
    char* end = buf + sizeof buf;
    return std::string(AmountOfCents(c, end), end);
}

std::string FormatAmount(double value) {
    long long c;
    if (WholeCents(value, c)) {
        char buf[32];
        char* end = buf + sizeof buf;
        const char* p = AmountOfCents(c, end);
        const auto n = static_cast<std::size_t>(end - p);
        if (n >= kAmountWidth) return std::string(p, kAmountWidth);
        std::string out(kAmountWidth, ' ');
        std::copy(p, static_cast<const char*>(end), out.end() - static_cast<std::ptrdiff_t>(n));
        return out;
    }
    std::string s = detail::FormatAmountPlainGeneral(value);
    if (s.size() >= kAmountWidth) return s.substr(0, kAmountWidth);
    return std::string(kAmountWidth - s.size(), ' ') + s;
}

std::string ValueText(double value) {
    long long c;
    if (value == 0 || !WholeCents(value, c)) return detail::ValueTextGeneral(value);
    // c/100 without trailing zeros: "1234,5", "-60", "0,05".
    unsigned long long n =
        c < 0 ? 0ULL - static_cast<unsigned long long>(c) : static_cast<unsigned long long>(c);
    char buf[32];
    char* end = buf + sizeof buf;
    char* p = end;
    const auto cents = static_cast<unsigned>(n % 100);
    if (cents != 0) {
        if (cents % 10 != 0) *--p = static_cast<char>('0' + cents % 10);
        *--p = static_cast<char>('0' + cents / 10);
        *--p = ',';
    }
    n /= 100;
    do {
        *--p = static_cast<char>('0' + n % 10);
        n /= 10;
    } while (n != 0);
    if (c < 0) *--p = '-';
    return std::string(p, end);
}

std::string detail::ValueTextGeneral(double value) {
    if (value == 0) return "0";
    if (!std::isfinite(value)) return Upper(GeneralText(value, 15));
    // Plain digits, never an exponent: the program's readers (ToDouble, the numeric value read
    // from the start of a text, the store's reader) take digits and one decimal mark only, so
    // "1E-05" would read as 0 or 1 and such an amount would drop out of the grids. The plain text
    // carries the same 15 significant digits; it differs from "%.15G" only below 1E-4 and from
    // 1E15 on, where that one writes an exponent.
    return PlainText(value, 15, ',');
}

}  // namespace pendara
