#pragma once
// Counting texts in characters. Texts are UTF-8; a character is one code point. Texts read from
// the data files may hold bytes that are not UTF-8 (an 8-bit text, a cut sequence): every byte
// that does not start a well-formed sequence counts as one character of its own, whose code is
// the byte's value (the Latin-1 character of that code). So every text has one length, every
// step moves forward by at least one byte, and a text that is valid UTF-8 counts as Unicode does.

#include <cstddef>
#include <string>
#include <string_view>

namespace pendara {

struct Utf8Char {
    char32_t code = 0;
    std::size_t bytes = 1;  // at least 1
    bool valid = true;      // false: a lone byte counted as one character
};

// The character that starts at byte `at` (at < s.size()).
Utf8Char DecodeUtf8(std::string_view s, std::size_t at);

// The UTF-8 form of a code; a surrogate or a code above U+10FFFF gives U+FFFD.
std::string EncodeUtf8(char32_t code);

// True when every byte is below 0x80: then bytes and characters are one.
bool IsAscii(std::string_view s);

// Number of characters.
std::size_t Utf8Length(std::string_view s);

// The byte offset where character `chars` (0-based) starts; s.size() when the text is shorter.
std::size_t Utf8Offset(std::string_view s, std::size_t chars);

// True when byte `at` starts a character (or is the end of the text).
bool IsUtf8Boundary(std::string_view s, std::size_t at);

// Cuts by characters, like the classic Left/Mid/Right: out-of-range counts give what there is.
std::string_view Utf8Left(std::string_view s, std::size_t chars);
std::string_view Utf8Right(std::string_view s, std::size_t chars);
// `start` is 1-based; 0 counts as 1.
std::string_view Utf8Mid(std::string_view s, std::size_t start,
                         std::size_t chars = std::string_view::npos);

// The byte offset of the first occurrence of `what` as a run of whole characters at or after
// byte `from` (itself a character start), or npos. For a `what` that is valid UTF-8 this is
// std::string_view::find; a piece of a character is never found inside a whole one.
std::size_t Utf8Find(std::string_view s, std::string_view what, std::size_t from = 0);
inline bool Utf8Contains(std::string_view s, std::string_view what) {
    return Utf8Find(s, what) != std::string_view::npos;
}

// The byte offset of the first byte that does not start a well-formed UTF-8 character (an
// overlong form, a surrogate, a cut or stray sequence), or npos when the whole text is UTF-8.
std::size_t FirstInvalidUtf8(std::string_view s);

// An 8-bit text as UTF-8: ISO-8859-1 (every byte is the character of its code), or Windows-1252,
// which puts "€", "‚", "ƒ"... where ISO-8859-1 has control characters (its five unused codes
// are kept as those controls).
std::string Latin1ToUtf8(std::string_view s, bool windows1252 = false);

}  // namespace pendara
