// Tests of colour values: index and true colours, raw form, names, display text and palette.
#include "tv/KdCmColor.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

namespace cm = KdCmEntityColor;

TEST(KdColorPalette, ByLayerIsWhiteAndIndexesOutsideThePaletteAreBlack) {
    EXPECT_EQ(kdedGetRGB(0), 0x000000u);
    EXPECT_EQ(kdedGetRGB(256), 0xFFFFFFu);
    EXPECT_EQ(kdedGetRGB(-1), 0u);
    EXPECT_EQ(kdedGetRGB(257), 0u);
}

TEST(KdColorPalette, NearestIndexRoundTripsEveryPaletteColour) {
    for (int i = 1; i <= 255; ++i) {
        const uint32_t rgb = kdedGetRGB(i);
        const int back =
            kdcmNearestColorIndex(static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8),
                                  static_cast<uint8_t>(rgb));
        EXPECT_EQ(kdedGetRGB(back), rgb) << "index " << i;
        EXPECT_LE(back, i) << "a duplicate colour maps to its first index";
    }
    EXPECT_EQ(kdcmNearestColorIndex(255, 0, 0), 1);     // not 10
    EXPECT_EQ(kdcmNearestColorIndex(255, 255, 255), 7); // not 255
    // Colours off the palette.
    EXPECT_EQ(kdcmNearestColorIndex(250, 5, 5), 1);
    EXPECT_EQ(kdcmNearestColorIndex(250, 130, 3), 30);
    EXPECT_EQ(kdcmNearestColorIndex(200, 200, 200), 9);
    EXPECT_EQ(kdcmNearestColorIndex(100, 100, 100), 252);
}

TEST(KdCmColor, IndexZeroAndTwoFiftySixAreLogicalColours) {
    KdCmColor c;
    ASSERT_EQ(c.setColorIndex(0), Kdad::eOk);
    EXPECT_TRUE(c.isByBlock());
    EXPECT_EQ(c.colorIndex(), 0);
    EXPECT_EQ(c.colorNameForDisplay(), L"ByBlock");
    ASSERT_EQ(c.setColorIndex(7), Kdad::eOk);
    EXPECT_TRUE(c.isByACI());
    EXPECT_EQ(c.colorNameForDisplay(), L"white");
    ASSERT_EQ(c.setColorIndex(256), Kdad::eOk);
    EXPECT_TRUE(c.isByLayer());
    EXPECT_EQ(c.setColorIndex(257), Kdad::eInvalidIndex);
    EXPECT_TRUE(c.isByLayer());
}

TEST(KdCmColor, DisplayNamesAndDescriptions) {
    KdCmColor c;
    c.setColorIndex(1);
    EXPECT_EQ(c.colorNameForDisplay(), L"red");
    c.setColorIndex(6);
    EXPECT_EQ(c.colorNameForDisplay(), L"magenta");
    c.setColorIndex(8);
    EXPECT_EQ(c.colorNameForDisplay(), L"8");
    c.setColorIndex(30);
    EXPECT_EQ(c.getDescription(), L"Index 30");
    c.setRGB(255, 127, 0);
    EXPECT_EQ(c.colorNameForDisplay(), L"255,127,0");
    EXPECT_EQ(c.getDescription(), L"True Color 255,127,0");
    EXPECT_EQ(KdCmColor().getDescription(), L"ByLayer");
}

TEST(KdCmColor, TrueColourComponentsAndNearestIndex) {
    KdCmColor c;
    ASSERT_EQ(c.setRGB(250, 130, 3), Kdad::eOk);
    EXPECT_TRUE(c.isByColor());
    EXPECT_EQ(c.red(), 250);
    EXPECT_EQ(c.green(), 130);
    EXPECT_EQ(c.blue(), 3);
    EXPECT_EQ(c.trueColor24(), 0xFA8203u);
    EXPECT_EQ(c.colorIndex(), 30);
    c.setColorIndex(30);
    EXPECT_EQ(c.trueColor24(), 0xFF7F00u); // an index colour shows its palette colour
}

TEST(KdCmColor, RawFormRoundTripsAsInFiles) {
    KdCmColor c;
    c.setColorIndex(7);
    // Index 7 in a layer-state record is written as this signed 32-bit value.
    EXPECT_EQ(static_cast<int32_t>(c.color()), -1023410169);
    c.setRGB(255, 127, 0);
    EXPECT_EQ(c.color(), 0xC2FF7F00u);
    for (const uint32_t raw : {0xC0000000u, 0xC1000000u, 0xC2FF7F00u, 0xC2000000u, 0xC3000007u,
                               0xC30000FFu, 0xC5000000u, 0xC8000000u}) {
        KdCmColor read;
        ASSERT_EQ(read.setColor(raw), Kdad::eOk) << std::hex << raw;
        EXPECT_EQ(read.color(), raw);
        KdCmColor again;
        again.setColor(read.color());
        EXPECT_EQ(again, read);
    }
    KdCmColor read;
    read.setColor(0xC3000030u);
    EXPECT_EQ(read.colorIndex(), 0x30);
    EXPECT_EQ(read.setColor(0x00FF7F00u), Kdad::eInvalidInput); // no method byte
    EXPECT_EQ(read.setColor(0xC3000101u), Kdad::eInvalidInput); // index 257
    EXPECT_EQ(read.colorIndex(), 0x30);
}

TEST(KdCmColor, ColourBookNames) {
    KdCmColor c;
    c.setColorIndex(3);
    EXPECT_EQ(c.setNames(L"RED 100", L"PANTONE"), Kdad::eNotApplicable);
    c.setRGB(200, 16, 46);
    EXPECT_EQ(c.setNames(nullptr, L"PANTONE"), Kdad::eInvalidInput);
    ASSERT_EQ(c.setNames(L"RED 100", L"PANTONE"), Kdad::eOk);
    EXPECT_TRUE(c.isColorBookColor());
    EXPECT_EQ(c.colorNameForDisplay(), L"PANTONE$RED 100");
    KdCmColor plain;
    plain.setRGB(200, 16, 46);
    EXPECT_FALSE(plain == c); // same RGB, but the names differ
    c.setRGB(200, 16, 46);    // a new colour drops the names
    EXPECT_FALSE(c.hasBookName());
    EXPECT_STREQ(c.colorName(), L"");
    EXPECT_EQ(plain, c);
}

TEST(KdCmColor, ChangingTheMethodKeepsTheColourWhereItCan) {
    KdCmColor c;
    c.setColorIndex(30);
    ASSERT_EQ(c.setColorMethod(cm::kByColor), Kdad::eOk);
    EXPECT_EQ(c.color(), 0xC2FF7F00u);
    c.setRGB(250, 5, 5);
    ASSERT_EQ(c.setColorMethod(cm::kByACI), Kdad::eOk);
    EXPECT_EQ(c.color(), 0xC3000001u);
    ASSERT_EQ(c.setColorMethod(cm::kByLayer), Kdad::eOk);
    EXPECT_EQ(c.color(), 0xC0000000u);
    ASSERT_EQ(c.setColorMethod(cm::kByACI), Kdad::eOk);
    EXPECT_EQ(c.colorIndex(), 7);
    EXPECT_EQ(c.setColorMethod(static_cast<cm::ColorMethod>(0x42)), Kdad::eInvalidInput);
    EXPECT_EQ(c.colorIndex(), 7);
}

} // namespace
