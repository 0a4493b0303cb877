#include "host/utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace pendara {
namespace {

TEST(Utf8, LengthsCountCodePoints) {
    EXPECT_EQ(Utf8Length(""), 0u);
    EXPECT_EQ(Utf8Length("abc"), 3u);
    EXPECT_EQ(Utf8Length("año"), 3u);
    EXPECT_EQ(Utf8Length("€"), 1u);
    EXPECT_EQ(Utf8Length("𝄞"), 1u);
    EXPECT_EQ(Utf8Length("Descripción ñ € 𝄞"), 17u);
    EXPECT_EQ(Utf8Length(std::string(20, 'a') + "ñ" + std::string(9, 'b') + "𝄞\xFF"), 32u);
}

TEST(Utf8, EveryByteOutsideAWellFormedSequenceIsOneCharacter) {
    EXPECT_EQ(Utf8Length("\xFF"), 1u);
    EXPECT_EQ(Utf8Length("\xB1\xB1"), 2u);          // lone continuation bytes
    EXPECT_EQ(Utf8Length("\xE2\x82"), 2u);          // "€" cut short
    EXPECT_EQ(Utf8Length("\xF0\x9D\x84"), 3u);      // "𝄞" cut short
    EXPECT_EQ(Utf8Length("\xC0\x80"), 2u);          // overlong form of NUL
    EXPECT_EQ(Utf8Length("\xED\xA0\x80"), 3u);      // a surrogate
    EXPECT_EQ(Utf8Length("\xF4\x90\x80\x80"), 4u);  // above U+10FFFF
    EXPECT_EQ(Utf8Length("\xC3ñ"), 2u);             // a lead byte before a whole character
    const Utf8Char lone = DecodeUtf8("\xF1y", 0);
    EXPECT_FALSE(lone.valid);
    EXPECT_EQ(lone.code, 0xF1u);  // the Latin-1 character of the byte
    EXPECT_EQ(lone.bytes, 1u);
    const Utf8Char clef = DecodeUtf8("a𝄞", 1);
    EXPECT_TRUE(clef.valid);
    EXPECT_EQ(clef.code, 0x1D11Eu);
    EXPECT_EQ(clef.bytes, 4u);
}

TEST(Utf8, CutsByCharacters) {
    EXPECT_EQ(Utf8Left("ñ€𝄞x", 2), "ñ€");
    EXPECT_EQ(Utf8Left("ñ", 5), "ñ");
    EXPECT_EQ(Utf8Left("ñ", 0), "");
    EXPECT_EQ(Utf8Right("ñ€𝄞x", 2), "𝄞x");
    EXPECT_EQ(Utf8Right("é", 3), "é");
    EXPECT_EQ(Utf8Mid("ñ€𝄞xé", 3, 2), "𝄞x");
    EXPECT_EQ(Utf8Mid("ñ€𝄞xé", 4), "xé");
    EXPECT_EQ(Utf8Mid("ñ€", 9, 2), "");
    EXPECT_EQ(Utf8Mid("\xFF\xC3ñ", 2, 1), "\xC3");
    EXPECT_EQ(Utf8Offset("ñ€𝄞", 3), 9u);
    EXPECT_EQ(Utf8Offset("ñ€𝄞", 7), 9u);
}

TEST(Utf8, EncodesAndRefusesWhatIsNoCharacter) {
    EXPECT_EQ(EncodeUtf8(U'A'), "A");
    EXPECT_EQ(EncodeUtf8(U'ñ'), "ñ");
    EXPECT_EQ(EncodeUtf8(U'€'), "€");
    EXPECT_EQ(EncodeUtf8(U'\U0001D11E'), "𝄞");
    EXPECT_EQ(EncodeUtf8(0xDC00), "\uFFFD");
    EXPECT_EQ(EncodeUtf8(0x110000), "\uFFFD");
}

TEST(Utf8, FindsOnlyWholeCharacters) {
    EXPECT_EQ(Utf8Find("año ñu", "ñ"), 1u);
    EXPECT_EQ(Utf8Find("año ñu", "ñ", 3), 5u);
    EXPECT_EQ(Utf8Find("€𝄞", "𝄞"), 3u);
    EXPECT_EQ(Utf8Find("abc", ""), 0u);
    // Pieces of a character are not inside it; the same bytes standing alone are found.
    EXPECT_EQ(Utf8Find("ñ", "\xC3"), std::string_view::npos);
    EXPECT_EQ(Utf8Find("ñ", "\xB1"), std::string_view::npos);
    EXPECT_EQ(Utf8Find("ñ\xC3x", "\xC3"), 2u);
    EXPECT_TRUE(Utf8Contains("x\xB1 y", "\xB1 "));
    EXPECT_FALSE(Utf8Contains("xñ y", "\xB1 "));
}

// Every way of walking a text agrees with decoding it from the start, whatever its bytes.
TEST(Utf8, RandomBytesWalkTheSameWayEverywhere) {
    static const char* const kPieces[] = {
        "a",   " ", "ñ", "€", "𝄞", "\xC3", "\xB1", "\x82", "\xE2\x82", "\xF0\x9D", "\xED\xA0\x80",
        "\xC0"};
    std::mt19937 rng(11);
    for (int c = 0; c < 3000; ++c) {
        std::string s;
        for (unsigned n = rng() % 12; n > 0; --n)
            s += kPieces[rng() % std::size(kPieces)];
        std::vector<std::size_t> starts;
        for (std::size_t i = 0; i < s.size(); i += DecodeUtf8(s, i).bytes)
            starts.push_back(i);
        ASSERT_EQ(Utf8Length(s), starts.size()) << s;
        for (std::size_t k = 0; k < starts.size(); ++k)
            ASSERT_EQ(Utf8Offset(s, k), starts[k]);
        for (std::size_t at = 0; at <= s.size(); ++at) {
            bool start =
                at == s.size() || std::find(starts.begin(), starts.end(), at) != starts.end();
            ASSERT_EQ(IsUtf8Boundary(s, at), start) << "case " << c << " byte " << at;
        }
    }
}

}  // namespace
}  // namespace pendara
