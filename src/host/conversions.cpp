#include "host/conversions.h"

#include <cctype>
#include <chrono>
#include <cmath>
#include <ctime>
#include <mutex>

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

std::string DateText(const std::string& s) {
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

double LeadingNumber(std::string_view t) {
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

double ToDouble(std::string_view t) {
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

std::string FormatAmountPlain(double value) {
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

std::string FormatAmount(double value) {
    std::string s = FormatAmountPlain(value);
    if (s.size() >= 15) return s.substr(0, 15);
    return std::string(15 - s.size(), ' ') + s;
}

std::string ValueText(double value) {
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
