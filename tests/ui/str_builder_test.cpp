#include "ui/str_builder.h"

#include <gtest/gtest.h>

#include <random>

#include "host/utf8.h"

namespace pendara {
namespace {

TEST(StrBuilder, GrowsInPowersOfTwoAtTheEnd) {
    StrBuilder b;
    b.Append("ab");
    EXPECT_EQ(b.BufferLength(), 2048u);
    EXPECT_EQ(b.ToString(), "ab");
    b.Append(std::string(2045, 'c'));  // 1 + 3 + 2045 = 2049 > 2048: grows by 4096
    EXPECT_EQ(b.BufferLength(), 2048u + 4096u);
    EXPECT_EQ(b.ToString(), "ab" + std::string(2045, 'c'));
    b.Append(std::string(10000, 'd'));  // 1 + 2048 + 10000 > 6144: one step of 8192
    EXPECT_EQ(b.BufferLength(), 2048u + 4096u + 8192u);
    b.Append(std::string(3000, 'e'));  // 15049 > 14336: the next step is 16384
    EXPECT_EQ(b.BufferLength(), 2048u + 4096u + 8192u + 16384u);
    EXPECT_EQ(b.Length(), 2 + 2045 + 10000 + 3000);
}

TEST(StrBuilder, EmptyAppendStillGrowsANewBuffer) {
    StrBuilder b;
    b.Append("");
    EXPECT_EQ(b.BufferLength(), 2048u);
    EXPECT_EQ(b.ToString(), "");
    b.Append("");
    EXPECT_EQ(b.BufferLength(), 2048u);
}

TEST(StrBuilder, PrePendGrowsTheFront) {
    StrBuilder b;
    b.PrePend("x");
    EXPECT_EQ(b.Start(), 2048);
    EXPECT_EQ(b.BufferLength(), 2048u);
    EXPECT_EQ(b.ToString(), "x");
    b.Append("yz");
    b.PrePend("uvw");
    EXPECT_EQ(b.ToString(), "uvwxyz");
    b.PrePend(std::string(3000, 'p'));
    EXPECT_EQ(b.ToString(), std::string(3000, 'p') + "uvwxyz");
}

TEST(StrBuilder, CountsCharactersNotBytes) {
    StrBuilder b;
    b.Append("ab");
    std::string euros;
    for (int i = 0; i < 2044; ++i)
        euros += "€";
    b.Append(euros);  // 1 + 3 + 2044 = 2048 characters: still fits
    EXPECT_EQ(b.BufferLength(), 2048u);
    b.Append("ñ");  // 2049 > 2048: grows by 4096
    EXPECT_EQ(b.BufferLength(), 2048u + 4096u);
    EXPECT_EQ(b.Length(), 2 + 2044 + 1);
    EXPECT_EQ(b.ToString(), "ab" + euros + "ñ");

    StrBuilder front;
    front.PrePend("𝄞");
    EXPECT_EQ(front.Start(), 2048);
    front.PrePend("é\xFF");  // a byte that is not UTF-8 is one character
    EXPECT_EQ(front.Start(), 2046);
    EXPECT_EQ(front.Length(), 3);
    EXPECT_EQ(front.ToString(), "é\xFF𝄞");
}

TEST(StrBuilder, ClearStartsAgain) {
    StrBuilder b;
    b.Append(std::string(5000, 'a'));
    b.Clear();
    EXPECT_EQ(b.ToString(), "");
    b.Append("q");
    EXPECT_EQ(b.BufferLength(), 2048u);
}

TEST(StrBuilder, MatchesPlainConcatenation) {
    std::mt19937 rng(7);
    StrBuilder b;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        static const char* const kChars[] = {"a", "z", "ñ", "€", "𝄞", "\xC3"};
        std::string piece;
        for (unsigned n = rng() % 40; n > 0; --n)
            piece += kChars[rng() % std::size(kChars)];
        if (rng() % 4 == 0) {
            b.PrePend(piece);
            expected = piece + expected;
        } else {
            b.Append(piece);
            expected += piece;
        }
    }
    EXPECT_EQ(b.ToString(), expected);
    EXPECT_EQ(b.Length(), static_cast<std::int64_t>(Utf8Length(expected)));
}

}  // namespace
}  // namespace pendara
