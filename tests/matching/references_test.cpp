#include "matching/references.h"

#include <gtest/gtest.h>

namespace pendara {
namespace {

TEST(IsSystemReference, OnlyTheLeftmostThreeCharactersCount) {
    EXPECT_TRUE(IsSystemReference("RF-1"));
    EXPECT_TRUE(IsSystemReference("RF-"));
    EXPECT_TRUE(IsSystemReference("RF-abc"));
    EXPECT_FALSE(IsSystemReference("Rf-1"));
    EXPECT_FALSE(IsSystemReference("rf-7"));
    EXPECT_FALSE(IsSystemReference(" RF-1"));
    EXPECT_FALSE(IsSystemReference("RF"));
    EXPECT_FALSE(IsSystemReference(""));
}

TEST(NumberFromDescription, KeyStartsTheScan) {
    EXPECT_EQ(NumberFromDescription("Fra. 123/2004", "Fra."), "1232004");
    EXPECT_EQ(NumberFromDescription("Pedido 9 Fra. 12", "Fra."), "12");
    EXPECT_EQ(NumberFromDescription("Factura", "Fra."), "");
    // Case-sensitive: "fra." is not the key, the whole text is scanned.
    EXPECT_EQ(NumberFromDescription("Pedido 9 fra. 12", "Fra."), "9  12");
    // The window's default key has a leading blank.
    EXPECT_EQ(NumberFromDescription("Cobro 3 Fra 45", " Fra"), "45");
    EXPECT_EQ(NumberFromDescription("Fra 45", " Fra"), "45");
}

TEST(NumberFromDescription, JournalPrefixSkipsToBlankFromPositionFive) {
    EXPECT_EQ(NumberFromDescription("J. 45 Cobro 12", "Fra."), "12");
    EXPECT_EQ(NumberFromDescription("J 12", "Fra."), "12");
    EXPECT_EQ(NumberFromDescription("J 1234 5", "Fra."), "5");
    EXPECT_EQ(NumberFromDescription("J.45 Cobro 12", "Fra."), "45  12");
}

TEST(NumberFromDescription, PositionFiveCountsCharactersNotBytes) {
    // Position 5 is the "1": the first blank from there comes after "12", and nothing follows.
    EXPECT_EQ(NumberFromDescription("J ñ 12 x", " Fra"), "");
    EXPECT_EQ(NumberFromDescription("J ñ 12 x 3", " Fra"), "3");
    EXPECT_EQ(NumberFromDescription("J. € 4 5", " Fra"), "4 5");
    EXPECT_EQ(NumberFromDescription("J 𝄞 9 8", " Fra"), "8");
    EXPECT_EQ(NumberFromDescription("J é 7", " Fra"), "7");  // no blank after position 5
    // A byte that is not UTF-8 is one character too.
    EXPECT_EQ(NumberFromDescription("J \xF1 12 x", " Fra"), "");
    EXPECT_EQ(NumberFromDescription("J \xC3\xB1\xB1 12 x", " Fra"), "12");
}

TEST(NumberFromDescription, KeyIsFoundAsWholeCharacters) {
    EXPECT_EQ(NumberFromDescription("Recibo 5 Fáctura 77", "Fá"), "77");
    EXPECT_EQ(NumberFromDescription("1 𝄞 2 € 3", "€"), "3");
    // The lone first byte of "ñ" is not inside "ñ": the key is absent, the whole text is scanned.
    EXPECT_EQ(NumberFromDescription("4 ñ 5", "\xC3"), "4  5");
    EXPECT_EQ(NumberFromDescription("4 ñ 5 \xC3 6", "\xC3"), "6");
}

TEST(NumberFromDescription, BlanksBetweenNumbersSurvive) {
    EXPECT_EQ(NumberFromDescription("Pago 7 y 8", "Fra."), "7  8");
    EXPECT_EQ(NumberFromDescription("  Pago 7 y 8  ", "X"), "7  8");
    EXPECT_EQ(NumberFromDescription("Año 2024 ñ 5", ""), "2024  5");
}

}  // namespace
}  // namespace pendara
