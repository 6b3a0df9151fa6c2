// Tests of handle text (parsing, writing, buffers) and of the wide string's UTF-8 conversion.
#include "tv/KdDbHandle.h"
#include "tv/KdString.h"
#include "tv/KdUtf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

TEST(KdDbHandle, RefusesMalformedTextAndKeepsTheValue) {
    for (const char* bad :
         {"", "10000000000000000", "00000000000000001", " 1F", "1F ", "1G", "0x1F", "-1", "1 F"}) {
        uint64_t value = 0x55;
        EXPECT_FALSE(KdDbHandle::parse(bad, value)) << '"' << bad << '"';
        EXPECT_EQ(value, 0x55u) << '"' << bad << '"';
    }
}

TEST(KdDbHandle, ConstructorsFromTextGiveNullWhenInvalid) {
    EXPECT_EQ(KdDbHandle("2A").value(), 0x2Au);
    EXPECT_EQ(KdDbHandle(L"1a2B").value(), 0x1A2Bu);
    EXPECT_EQ(KdDbHandle(L"ffffffffffffffff").value(), UINT64_MAX);
    EXPECT_TRUE(KdDbHandle(L"10000000000000000").isNull());
    EXPECT_TRUE(KdDbHandle(L"1F\u00E9").isNull());
    EXPECT_TRUE(KdDbHandle(L"\uFF11").isNull()); // full-width digit one
    EXPECT_TRUE(KdDbHandle(static_cast<const wchar_t*>(nullptr)).isNull());
    EXPECT_TRUE(KdDbHandle(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(KdDbHandle("").isNull());
}

TEST(KdDbHandle, WritesUpperCaseWithoutLeadingZeros) {
    EXPECT_EQ(KdDbHandle().ascii(), "0");
    EXPECT_EQ(KdDbHandle(0x00ABu).ascii(), "AB");
    EXPECT_EQ(KdDbHandle(UINT64_MAX).ascii(), "FFFFFFFFFFFFFFFF");

    wchar_t wide[17] = {};
    ASSERT_TRUE(KdDbHandle(0x1000000000000000u).getIntoAsciiBuffer(wide));
    EXPECT_EQ(std::wstring(wide), L"1000000000000000");
    char narrow[17] = {};
    ASSERT_TRUE(KdDbHandle().getIntoAsciiBuffer(narrow));
    EXPECT_STREQ(narrow, "0");
}

TEST(KdDbHandle, BufferMustHoldTheDigitsAndTheTerminator) {
    char buf[17] = "xxxxxxxxxxxxxxxx";
    EXPECT_TRUE(KdDbHandle(0x1A2Bu).getIntoAsciiBuffer(buf, 5));
    EXPECT_STREQ(buf, "1A2B");
    EXPECT_FALSE(KdDbHandle(0x1A2Bu).getIntoAsciiBuffer(buf, 4));
    EXPECT_STREQ(buf, "");
    EXPECT_FALSE(KdDbHandle(UINT64_MAX).getIntoAsciiBuffer(buf, 16));
    wchar_t wide[2] = {L'x', L'x'};
    EXPECT_FALSE(KdDbHandle(0x10u).getIntoAsciiBuffer(wide, 2));
    EXPECT_EQ(wide[0], L'\0');
    EXPECT_FALSE(KdDbHandle(1u).getIntoAsciiBuffer(static_cast<char*>(nullptr), 17));
}

TEST(KdDbHandle, ParsesAndWritesEveryDigitCountInEitherCase) {
    uint64_t value = 0;
    for (int digits = 1; digits <= 16; ++digits) {
        value = (value << 4) | static_cast<uint64_t>(digits % 16 == 0 ? 0xF : digits);
        const std::string text = KdDbHandle(value).ascii();
        EXPECT_EQ(text.size(), static_cast<size_t>(digits));
        uint64_t back = 0;
        ASSERT_TRUE(KdDbHandle::parse(text, back)) << text;
        EXPECT_EQ(back, value);
    }
    // Zero, either case, and leading zeros up to sixteen digits.
    EXPECT_TRUE(KdDbHandle::parse("0", value));
    EXPECT_EQ(value, 0u);
    EXPECT_TRUE(KdDbHandle::parse("aBcD", value));
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_TRUE(KdDbHandle::parse("0000000000000001", value));
    EXPECT_EQ(value, 1u);
    EXPECT_TRUE(KdDbHandle::parse("FFFFFFFFFFFFFFFF", value));
    EXPECT_EQ(value, UINT64_MAX);
}

TEST(KdUtf8, EncodesEachLengthAtItsBoundaries) {
    EXPECT_EQ(tvToUtf8(L"\u007F"), "\x7F");
    EXPECT_EQ(tvToUtf8(L"\u0080"), "\xC2\x80");
    EXPECT_EQ(tvToUtf8(L"\u07FF"), "\xDF\xBF");
    EXPECT_EQ(tvToUtf8(L"\u0800"), "\xE0\xA0\x80");
    EXPECT_EQ(tvToUtf8(L"\uFFFF"), "\xEF\xBF\xBF");
    EXPECT_EQ(tvToUtf8(L"\U00010000"), "\xF0\x90\x80\x80");
    EXPECT_EQ(tvToUtf8(L"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(KdUtf8, TextRoundTripsIncludingCodePointsAboveTheBasicPlane) {
    const std::wstring text = L"Ebene \u00E4\u00DF \u20AC \u6A19\u5C64 \U0001D11E \U0001F600";
    const std::string bytes = tvToUtf8(text);
    EXPECT_EQ(bytes.substr(0, 10), "Ebene \xC3\xA4\xC3\x9F");
    EXPECT_EQ(tvFromUtf8(bytes), text);
    EXPECT_EQ(KdString::fromUtf8(KdString(text).utf8()).str(), text);
}

TEST(KdUtf8, NonScalarValuesAreWrittenAsReplacement) {
    if constexpr (sizeof(wchar_t) == 4) {
        const std::wstring lone{static_cast<wchar_t>(0xD800), L'a', static_cast<wchar_t>(0x110000)};
        EXPECT_EQ(tvToUtf8(lone), "\xEF\xBF\xBD"
                                  "a\xEF\xBF\xBD");
    }
}

TEST(KdUtf8, EachIllFormedSequenceDecodesToOneReplacement) {
    const std::wstring r = L"\uFFFD";
    EXPECT_EQ(tvFromUtf8("\x80"), r);                         // stray continuation byte
    EXPECT_EQ(tvFromUtf8("\xC0\xAF"), r + r);                 // overlong, C0 never leads
    EXPECT_EQ(tvFromUtf8("\xE0\x80\x80"), r + r + r);         // overlong three-byte form
    EXPECT_EQ(tvFromUtf8("\xED\xA0\x80"), r + r + r);         // encoded surrogate
    EXPECT_EQ(tvFromUtf8("\xF4\x90\x80\x80"), r + r + r + r); // above U+10FFFF
    EXPECT_EQ(tvFromUtf8("\xFF"), r);
    EXPECT_EQ(tvFromUtf8("a\xE2\x82"), L"a" + r); // truncated at the end
    EXPECT_EQ(tvFromUtf8("\xE2\x82"
                         "A"),
              r + L"A"); // the byte that broke it is kept
    EXPECT_EQ(tvFromUtf8("\xF0\x9F\x98"
                         "\xC3\xA4"),
              r + L"\u00E4");
}

TEST(KdString, CompareNoCaseFoldsCaseAndOrdersByLength) {
    EXPECT_EQ(KdString(L"Layer1").compareNoCase(L"LAYER1"), 0);
    EXPECT_LT(KdString(L"a").compareNoCase(L"B"), 0); // case-sensitive order says the opposite
    EXPECT_GT(KdString(L"a").compare(L"B"), 0);
    EXPECT_LT(KdString(L"wall").compareNoCase(L"WALLS"), 0);
    EXPECT_GT(KdString(L"WALLS").compareNoCase(L"wall"), 0);
    EXPECT_EQ(KdString().compareNoCase(KdString()), 0);
}

TEST(KdString, SubstrIsClampedToTheString) {
    const KdString s(L"Layer");
    EXPECT_EQ(s.substr(1, 3).str(), L"aye");
    EXPECT_EQ(s.substr(3).str(), L"er");
    EXPECT_EQ(s.substr(2, 100).str(), L"yer");
    EXPECT_TRUE(s.substr(5).isEmpty());
    EXPECT_TRUE(s.substr(99, 2).isEmpty());
}

} // namespace
