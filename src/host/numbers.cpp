#include "host/numbers.h"

#include <locale.h>
#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>
#include <system_error>

namespace pendara {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <class... Format>
std::string Chars(double value, std::size_t room, Format... format) {
    std::string out(room, '\0');
    std::to_chars_result r = std::to_chars(out.data(), out.data() + out.size(), value, format...);
    out.resize(static_cast<std::size_t>(r.ptr - out.data()));
    return out;
}

}  // namespace

std::optional<double> ReadDecimal(std::string_view text, char point) {
    const bool negative = !text.empty() && text[0] == '-';
    // from_chars takes a minus sign but no plus sign.
    std::string_view number = !text.empty() && text[0] == '+' ? text.substr(1) : text;
    std::size_t pointAt = std::string_view::npos;
    bool digits = false, wholeBeyondZero = false;
    for (std::size_t i = negative ? 1 : 0; i < number.size(); ++i) {
        const char c = number[i];
        if (IsDigit(c)) {
            digits = true;
            if (pointAt == std::string_view::npos && c != '0') wholeBeyondZero = true;
        } else if (c == point && pointAt == std::string_view::npos) {
            pointAt = i;
        } else {
            return std::nullopt;
        }
    }
    if (!digits) return std::nullopt;
    std::string copy;
    if (pointAt != std::string_view::npos && point != '.') {
        copy = number;
        copy[pointAt] = '.';
        number = copy;
    }
    double value = 0;
    const char* end = number.data() + number.size();
    std::from_chars_result r = std::from_chars(number.data(), end, value, std::chars_format::fixed);
    if (r.ec == std::errc::result_out_of_range) {
        // from_chars leaves the value alone where strtod gives the overflow or the underflow.
        // Without an exponent, only a whole part beyond zero can be too large.
        value = wholeBeyondZero ? std::numeric_limits<double>::infinity() : 0.0;
        return negative ? -value : value;
    }
    if (r.ec != std::errc() || r.ptr != end) return std::nullopt;
    return value;
}

std::string FixedText(double value, int decimals) {
    decimals = std::max(decimals, 0);
    return Chars(value, 330 + static_cast<std::size_t>(decimals), std::chars_format::fixed,
                 decimals);
}

std::string ScientificText(double value, int decimals) {
    decimals = std::max(decimals, 0);
    return Chars(value, 16 + static_cast<std::size_t>(decimals), std::chars_format::scientific,
                 decimals);
}

std::string GeneralText(double value, int significant) {
    significant = std::max(significant, 0);
    return Chars(value, 32 + static_cast<std::size_t>(significant), std::chars_format::general,
                 significant);
}

DecimalDigits SignificantDigits(double value, int significant) {
    if (!std::isfinite(value)) return {"0", 0};
    // d.ddd...e[+-]xx
    const std::string s = ScientificText(std::fabs(value), std::max(significant, 1) - 1);
    const std::size_t e = s.find('e');
    DecimalDigits out;
    out.digits = s.substr(0, 1);
    if (e > 2) out.digits.append(s, 2, e - 2);
    const char* first = s.data() + e + 1;
    if (*first == '+') ++first;
    std::from_chars(first, s.data() + s.size(), out.exponent);
    while (out.digits.size() > 1 && out.digits.back() == '0')
        out.digits.pop_back();
    return out;
}

std::string PlainText(double value, int significant, char point) {
    if (!std::isfinite(value)) return GeneralText(value, significant);
    const DecimalDigits d = SignificantDigits(value, significant);
    const auto n = static_cast<int>(d.digits.size());
    std::string out = std::signbit(value) ? "-" : "";
    if (d.exponent < 0) {
        out += '0';
        out += point;
        out.append(static_cast<std::size_t>(-d.exponent - 1), '0');
        out += d.digits;
    } else if (d.exponent + 1 >= n) {
        out += d.digits;
        out.append(static_cast<std::size_t>(d.exponent + 1 - n), '0');
    } else {
        out.append(d.digits, 0, static_cast<std::size_t>(d.exponent + 1));
        out += point;
        out.append(d.digits, static_cast<std::size_t>(d.exponent + 1));
    }
    return out;
}

std::string IntegerText(long long value, int width) {
    char buf[24];
    std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, value);
    std::string out(buf, r.ptr);
    const std::size_t sign = value < 0 ? 1 : 0;
    const std::size_t digits = out.size() - sign;
    if (width > 0 && digits < static_cast<std::size_t>(width))
        out.insert(sign, static_cast<std::size_t>(width) - digits, '0');
    return out;
}

#ifdef _WIN32

CNumericScope::CNumericScope() {
    previousMode_ = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
    if (const char* name = std::setlocale(LC_NUMERIC, nullptr)) previousName_ = name;
    std::setlocale(LC_NUMERIC, "C");
}

CNumericScope::~CNumericScope() {
    if (!previousName_.empty()) std::setlocale(LC_NUMERIC, previousName_.c_str());
    _configthreadlocale(previousMode_);
}

#else

CNumericScope::CNumericScope() {
    // Only the numeric part changes: texts keep the character set the process runs with.
    locale_t base = duplocale(LC_GLOBAL_LOCALE);
    if (!base) return;
    locale_t own = newlocale(LC_NUMERIC_MASK, "C", base);
    if (!own) {
        freelocale(base);
        return;
    }
    own_ = own;
    previous_ = uselocale(own);
}

CNumericScope::~CNumericScope() {
    if (!own_) return;
    uselocale(static_cast<locale_t>(previous_));
    freelocale(static_cast<locale_t>(own_));
}

#endif

}  // namespace pendara
