#include "host/utf8.h"

#include <cstdint>
#include <cstring>

namespace pendara {

namespace {

bool IsContinuation(unsigned char b) {
    return (b & 0xC0) == 0x80;
}

}  // namespace

Utf8Char DecodeUtf8(std::string_view s, std::size_t at) {
    const auto b0 = static_cast<unsigned char>(s[at]);
    if (b0 < 0x80) return {b0, 1, true};
    const Utf8Char lone{b0, 1, false};
    // The well-formed sequences: no overlong forms, no surrogates, nothing above U+10FFFF.
    std::size_t len;
    unsigned char lo = 0x80, hi = 0xBF;  // range of the second byte
    char32_t code;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        len = 2;
        code = b0 & 0x1F;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        len = 3;
        code = b0 & 0x0F;
        if (b0 == 0xE0) lo = 0xA0;
        if (b0 == 0xED) hi = 0x9F;
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        len = 4;
        code = b0 & 0x07;
        if (b0 == 0xF0) lo = 0x90;
        if (b0 == 0xF4) hi = 0x8F;
    } else {
        return lone;
    }
    if (s.size() - at < len) return lone;
    for (std::size_t k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(s[at + k]);
        if (k == 1 ? (b < lo || b > hi) : !IsContinuation(b)) return lone;
        code = (code << 6) | (b & 0x3F);
    }
    return {code, len, true};
}

std::string EncodeUtf8(char32_t code) {
    if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) code = 0xFFFD;
    std::string out;
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
    return out;
}

bool IsAscii(std::string_view s) {
    for (char c : s)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

std::size_t Utf8Length(std::string_view s) {
    // Texts are mostly ASCII: runs of it are counted eight bytes at a time.
    constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
    std::size_t n = 0, i = 0;
    while (i < s.size()) {
        std::uint64_t word;
        while (s.size() - i >= 8 &&
               (std::memcpy(&word, s.data() + i, 8), (word & kHighBits) == 0)) {
            i += 8;
            n += 8;
        }
        while (i < s.size() && static_cast<unsigned char>(s[i]) < 0x80) {
            ++i;
            ++n;
        }
        if (i < s.size()) {
            i += DecodeUtf8(s, i).bytes;
            ++n;
        }
    }
    return n;
}

std::size_t Utf8Offset(std::string_view s, std::size_t chars) {
    std::size_t i = 0;
    for (; chars > 0 && i < s.size(); --chars)
        i += static_cast<unsigned char>(s[i]) < 0x80 ? 1 : DecodeUtf8(s, i).bytes;
    return i;
}

bool IsUtf8Boundary(std::string_view s, std::size_t at) {
    if (at == 0 || at >= s.size()) return at <= s.size();
    if (!IsContinuation(static_cast<unsigned char>(s[at]))) return true;
    // Only a well-formed sequence starting at the nearest non-continuation byte, at most three
    // bytes back, can cover this byte; every other continuation byte stands alone.
    for (std::size_t back = 1; back <= 3 && back <= at; ++back) {
        const std::size_t q = at - back;
        if (IsContinuation(static_cast<unsigned char>(s[q]))) continue;
        return DecodeUtf8(s, q).bytes <= back;
    }
    return true;
}

std::string_view Utf8Left(std::string_view s, std::size_t chars) {
    return s.substr(0, Utf8Offset(s, chars));
}

std::string_view Utf8Right(std::string_view s, std::size_t chars) {
    const std::size_t n = Utf8Length(s);
    return chars >= n ? s : s.substr(Utf8Offset(s, n - chars));
}

std::string_view Utf8Mid(std::string_view s, std::size_t start, std::size_t chars) {
    const std::string_view rest = s.substr(Utf8Offset(s, start == 0 ? 0 : start - 1));
    return chars == std::string_view::npos ? rest : Utf8Left(rest, chars);
}

std::size_t Utf8Find(std::string_view s, std::string_view what, std::size_t from) {
    for (std::size_t at = s.find(what, from); at != std::string_view::npos;
         at = s.find(what, at + 1))
        if (IsUtf8Boundary(s, at) && IsUtf8Boundary(s, at + what.size())) return at;
    return std::string_view::npos;
}

std::size_t FirstInvalidUtf8(std::string_view s) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
    std::size_t i = 0;
    while (i < s.size()) {
        std::uint64_t word;
        while (s.size() - i >= 8 && (std::memcpy(&word, s.data() + i, 8), (word & kHighBits) == 0))
            i += 8;
        if (i >= s.size()) break;
        if (static_cast<unsigned char>(s[i]) < 0x80) {
            ++i;
            continue;
        }
        const Utf8Char c = DecodeUtf8(s, i);
        if (!c.valid) return i;
        i += c.bytes;
    }
    return std::string_view::npos;
}

std::string Latin1ToUtf8(std::string_view s, bool windows1252) {
    // Windows-1252 from 0x80 to 0x9F; 0 where the code page has no character.
    static constexpr char32_t kWindows1252[32] = {
        0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
    std::string out;
    out.reserve(s.size() + s.size() / 8);
    for (char ch : s) {
        const auto b = static_cast<unsigned char>(ch);
        if (b < 0x80) {
            out += ch;
            continue;
        }
        char32_t code = b;
        if (windows1252 && b < 0xA0 && kWindows1252[b - 0x80] != 0) code = kWindows1252[b - 0x80];
        out += EncodeUtf8(code);
    }
    return out;
}

}  // namespace pendara
