// Code-page conversion of the Host: names, the system code page, round trips, lead bytes.
#include "ScopedEnv.h"
#include "tv/KdCodePage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace {

TEST(CodePageSystem, IsTheEnvironmentsKnownCodePageOr1252) {
    // Unset, known code pages in any case and blanks, then names a drawing may carry but that
    // are no ANSI code page of the Host, and garbage.
    const std::pair<const char*, const char*> cases[] = {
        {nullptr, "ANSI_1252"}, {" ansi_1251 ", "ANSI_1251"}, {"ANSI_932", "ANSI_932"},
        {"", "ANSI_1252"},      {"1251", "ANSI_1252"},        {"UTF-8", "ANSI_1252"},
        {"ANSI_", "ANSI_1252"}, {"ANSI_1361", "ANSI_1252"},   {"ANSI_99999", "ANSI_1252"},
        {"cp1251", "ANSI_1252"}};
    for (const auto& [value, expected] : cases) {
        tvtest::ScopedEnv scoped("TV_ANSI_CODEPAGE", value);
        EXPECT_EQ(kdSystemAnsiCodePage(), expected) << (value ? value : "unset");
    }
}

TEST(CodePageNames, UnknownCodePagesFailAndLeaveTheOutputEmpty) {
    EXPECT_TRUE(kdIsKnownCodePage("ansi_950"));
    EXPECT_TRUE(kdIsKnownCodePage("ANSI_874"));
    EXPECT_FALSE(kdIsKnownCodePage("ANSI_1361")); // double-byte Johab is not converted
    EXPECT_FALSE(kdIsKnownCodePage("UTF-8"));
    EXPECT_FALSE(kdIsKnownCodePage(nullptr));

    for (const char* codePage : {"ANSI_9999", "UTF-8", static_cast<const char*>(nullptr)}) {
        std::string bytes = "stale";
        std::wstring wide = L"stale";
        EXPECT_FALSE(kdWideToMultiByte(L"abc", codePage, bytes));
        EXPECT_TRUE(bytes.empty());
        EXPECT_FALSE(kdMultiByteToWide("abc", codePage, wide));
        EXPECT_TRUE(wide.empty());
    }
    EXPECT_FALSE(kdIsLeadByte("bogus", 0x81));
    EXPECT_FALSE(kdIsLeadByte(nullptr, 0x81));
}

struct RoundTripCase {
    const char* codePage;
    std::wstring text;
    std::string bytes;
};

class CodePageRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(CodePageRoundTrip, WritesTheCodePagesBytesAndReadsThemBack) {
    const RoundTripCase& c = GetParam();
    std::string bytes;
    ASSERT_TRUE(kdWideToMultiByte(c.text, c.codePage, bytes));
    EXPECT_EQ(bytes, c.bytes);
    std::wstring wide = L"stale";
    ASSERT_TRUE(kdMultiByteToWide(bytes, c.codePage, wide));
    EXPECT_EQ(wide, c.text);
}

INSTANTIATE_TEST_SUITE_P(
    CodePages, CodePageRoundTrip,
    ::testing::Values(
        // 0x80 and 0x9F are the euro sign and Y with diaeresis in 1252, not C1 controls.
        RoundTripCase{"ANSI_1252", L"Stra\u00DFe \u20AC \u00C4\u00D6\u00DC \u0178",
                      "Stra\xDF"
                      "e \x80 \xC4\xD6\xDC \x9F"},
        RoundTripCase{"ANSI_1251", L"\u0421\u043B\u043E\u0439 \u0401\u0451 \u20AC",
                      "\xD1\xEB\xEE\xE9 \xA8\xB8 \x88"},
        // The second bytes of the first two characters are 0x5C, a backslash on its own; the
        // half-width katakana 0xB1 is a single byte above 0x7F that is no lead byte.
        RoundTripCase{"ANSI_932", L"\u30BD\u8868\\\uFF71\u65E5\u672C",
                      "\x83\x5C\x95\x5C\\\xB1\x93\xFA\x96\x7B"},
        RoundTripCase{"ANSI_936", L"\u4E2D\u6587\u5B57", "\xD6\xD0\xCE\xC4\xD7\xD6"},
        RoundTripCase{"ANSI_949", L"\uD55C \u4E2D", "\xC7\xD1 \xF1\xE9"},
        RoundTripCase{"ANSI_950", L"\u4E2D\u6587\u5B57", "\xA4\xA4\xA4\xE5\xA6\x72"},
        RoundTripCase{"ANSI_1252", L"", ""},
        RoundTripCase{"ANSI_932", L"0\r\nLAYERSTATE\r\n", "0\r\nLAYERSTATE\r\n"}),
    [](const ::testing::TestParamInfo<RoundTripCase>& info) {
        return std::string(info.param.codePage) + "_" + std::to_string(info.index);
    });

TEST(CodePageEscapes, MissingCharactersAreWrittenAsEscapesAndReadBackAsWritten) {
    std::string bytes;
    ASSERT_TRUE(kdWideToMultiByte(L"A\u4E2D\u00C4\U0001F600", "ANSI_1252", bytes));
    EXPECT_EQ(bytes, "A\\U+4E2D\xC4\\U+D83D\\U+DE00");
    std::wstring wide;
    ASSERT_TRUE(kdMultiByteToWide(bytes, "ANSI_1252", wide));
    EXPECT_EQ(wide, L"A\\U+4E2D\u00C4\\U+D83D\\U+DE00");

    // 932 has no A with diaeresis.
    ASSERT_TRUE(kdWideToMultiByte(L"\u65E5\u00C4", "ANSI_932", bytes));
    EXPECT_EQ(bytes, "\x93\xFA\\U+00C4");
    ASSERT_TRUE(kdWideToMultiByte(L"\u00E4", "ANSI_1251", bytes));
    EXPECT_EQ(bytes, "\\U+00E4");
}

TEST(CodePageEscapes, BackslashesAreNeverReadAsEscapes) {
    std::wstring wide;
    // 0x5C here is the second byte of katakana SO; the following "U+0041" stays text.
    ASSERT_TRUE(kdMultiByteToWide("\x83\x5CU+0041", "ANSI_932", wide));
    EXPECT_EQ(wide, L"\u30BDU+0041");
    ASSERT_TRUE(kdMultiByteToWide("\\U+0041\xE9\\M+18140", "ANSI_1252", wide));
    EXPECT_EQ(wide, L"\\U+0041\u00E9\\M+18140");
}

int countLeadBytes(const char* codePage) {
    int count = 0;
    for (int b = 0; b < 256; ++b)
        count += kdIsLeadByte(codePage, static_cast<unsigned char>(b)) ? 1 : 0;
    return count;
}

TEST(CodePageLeadBytes, OnlyDoubleByteCodePagesHaveThem) {
    for (unsigned char b : {0x81, 0x9F, 0xE0, 0xFC})
        EXPECT_TRUE(kdIsLeadByte("ANSI_932", b)) << int(b);
    for (unsigned char b : {0x00, 0x5C, 0x7F, 0x80, 0xA0, 0xB1, 0xDF, 0xFD, 0xFF})
        EXPECT_FALSE(kdIsLeadByte("ANSI_932", b)) << int(b);
    EXPECT_EQ(countLeadBytes("ANSI_932"), 60);
    for (const char* codePage : {"ANSI_936", "ANSI_949", "ANSI_950"}) {
        EXPECT_TRUE(kdIsLeadByte(codePage, 0x81)) << codePage;
        EXPECT_TRUE(kdIsLeadByte(codePage, 0xFE)) << codePage;
        EXPECT_FALSE(kdIsLeadByte(codePage, 0x80)) << codePage;
        EXPECT_FALSE(kdIsLeadByte(codePage, 0xFF)) << codePage;
        EXPECT_EQ(countLeadBytes(codePage), 126) << codePage;
    }
    EXPECT_EQ(countLeadBytes("ANSI_1252"), 0);
    EXPECT_EQ(countLeadBytes("ANSI_1251"), 0);
    EXPECT_EQ(countLeadBytes("ANSI_874"), 0);
}

TEST(CodePageMalformed, BrokenDoubleByteInputReadsAsReplacementWithinItsBounds) {
    std::wstring wide;
    // A lead byte that ends the input has no second byte to take.
    ASSERT_TRUE(kdMultiByteToWide("ab\x82", "ANSI_932", wide));
    EXPECT_EQ(wide, L"ab\uFFFD");
    ASSERT_TRUE(kdMultiByteToWide("\xD6\xD0\xD6", "ANSI_936", wide));
    EXPECT_EQ(wide, L"\u4E2D\uFFFD");
    // A lead byte takes the next byte whatever it is; an undefined pair is one character.
    ASSERT_TRUE(kdMultiByteToWide("\x82\nX", "ANSI_932", wide));
    EXPECT_EQ(wide, L"\uFFFDX");
    // Bytes above 0x7F that are neither lead bytes nor characters of the code page.
    ASSERT_TRUE(kdMultiByteToWide("a\xFD\xFFz", "ANSI_932", wide));
    EXPECT_EQ(wide, L"a\uFFFD\uFFFDz");
    // The same pair decodes the same wherever it occurs.
    ASSERT_TRUE(kdMultiByteToWide("\x93\xFA\x82\x20\x93\xFA", "ANSI_932", wide));
    EXPECT_EQ(wide, L"\u65E5\uFFFD\u65E5");
}

} // namespace
