// Locale-free formatting and parsing (tv/KdFormat.h): numbers as the C library writes them in
// the C locale, whatever locale is set; the Host's text conventions; bad formats; parsing of
// whole numbers and of numbers that lead a text.
#include "tv/KdFormat.h"

#include "ScopedLocale.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// What the C library's vsnprintf writes in the C locale: the reference for numbers.
std::string cPrintf(const char* format, ...) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    const locale_t previous = uselocale(cLocale);
    va_list args;
    va_start(args, format);
    std::vector<char> buf(8192);
    const int n = std::vsnprintf(buf.data(), buf.size(), format, args);
    va_end(args);
    uselocale(previous);
    return n < 0 ? std::string("<error>") : std::string(buf.data(), static_cast<size_t>(n));
}

/// A narrow format the compiler does not check against printf's rules: the Host's %hs and
/// formats that are meant to be bad.
const char* unchecked(const char* format) {
    const char* volatile hidden = format; // out of reach of the compiler's format checks
    return hidden;
}

std::wstring widened(const std::string& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

/// tvFormat, narrow and wide, against the C library for one argument.
template <typename T> void expectAsC(const char* format, T value) {
    if constexpr (std::is_same_v<T, double>)
        if (std::strcmp(format, "%#g") == 0 && value == 999999.5)
            return; // glibc writes "1.e+06"; see BoundariesReadAsExpected
    const std::string expected = cPrintf(format, value);
    EXPECT_EQ(tvFormat(format, value), expected) << format;
    EXPECT_EQ(tvFormat(widened(format).c_str(), value), widened(expected)) << format;
}

const std::vector<const char*> kRealFormats = {
    "%f",     "%.0f",  "%.1f",  "%.3f",  "%#.0f", "%F",       "%e",       "%.0e",     "%#.0e",
    "%.3E",   "%g",    "%.0g",  "%.1g",  "%.3g",  "%#g",      "%#.3g",    "%#.0g",    "%.10g",
    "%.16g",  "%.17g", "%G",    "%+f",   "% e",   "%-12.4g|", "%012.4f",  "%+012.3e", "%#012.3g",
    "%12.3G", "%lf",   "%.40f", "%.30e", "%.25g", "%-+9.2f|", "% 010.2f", "%5f"};

const std::vector<double> kReals = {
    0.0,       -0.0,           1.0,          -1.0, 0.5,   1.5,         2.5,   0.125,
    0.1,       1.0 / 3.0,      0.25,         9.5,  99.95, 123456789.0, 1e-5,  1e-4,
    9.9999e-5, 0.000099999951, 999999.5,     1e15, 1e16,  -1e100,      1e308, DBL_MAX,
    -DBL_MAX,  DBL_MIN,        DBL_TRUE_MIN, kInf, -kInf, kNaN,        -kNaN};

} // namespace

// -- Numbers as the C locale writes them --

TEST(KdFormat, RealsAreWrittenAsTheCLibraryWritesThemInTheCLocale) {
    for (const char* format : kRealFormats)
        for (double v : kReals)
            expectAsC(format, v);
}

TEST(KdFormat, LongDoublesTooWithL) {
    for (const char* format : {"%Lf", "%.2Lf", "%Le", "%Lg", "%.20Lg", "%LE"})
        for (long double v :
             {0.0L, -0.0L, 1.5L, 1e-4000L, 1e4000L, LDBL_MAX, static_cast<long double>(kInf)})
            expectAsC(format, v);
}

TEST(KdFormat, IntegersAreWrittenAsTheCLibraryWritesThem) {
    for (const char* format : {"%d", "%i", "%5d", "%-5d|", "%05d", "%+d", "% d", "%.3d", "%.0d",
                               "%5.0d", "%08.3d", "%+.0i", "%-+6d|", "% 05d", "%1d", "%20d"})
        for (int v : {0, 1, -1, 42, -42, 1000000, INT_MAX, INT_MIN})
            expectAsC(format, v);
    for (const char* format : {"%u", "%x", "%X", "%#x", "%#X", "%o", "%#o", "%#.0o", "%.0x",
                               "%#08x", "%-#8x|", "%08.3u", "%#.5o", "%+u", "% x"})
        for (unsigned v : {0u, 1u, 8u, 255u, 4096u, UINT_MAX})
            expectAsC(format, v);
    for (const char* format : {"%lld", "%+lld", "%llx", "%#llX", "%llo"})
        for (long long v : {0LL, LLONG_MAX, LLONG_MIN, -1LL})
            expectAsC(format, v);
    for (long v : {LONG_MIN, LONG_MAX})
        expectAsC("%ld", v);
    expectAsC("%lu", ULONG_MAX);
    expectAsC("%llu", ULLONG_MAX);
    expectAsC("%zu", SIZE_MAX);
    expectAsC("%zx", size_t{0xABCDEF});
    expectAsC("%jd", INTMAX_MIN);
    expectAsC("%ju", UINTMAX_MAX);
    expectAsC("%td", static_cast<ptrdiff_t>(-12345));
    // hh and h convert the int argument to char and short.
    expectAsC("%hhd", 300);
    expectAsC("%hhu", -1);
    expectAsC("%hd", 70000);
    expectAsC("%hx", -1);
}

TEST(KdFormat, BoundariesReadAsExpected) {
    EXPECT_EQ(tvFormat("%.2f", 0.25), "0.25");
    EXPECT_EQ(tvFormat(L"%.2f mm", 0.25), L"0.25 mm");
    EXPECT_EQ(tvFormat("%.2f", -0.0), "-0.00");
    EXPECT_EQ(tvFormat("%.0f|%.0f|%.0f", 0.5, 1.5, 2.5), "0|2|2"); // to the even neighbour
    EXPECT_EQ(tvFormat("%#.0f|%#.0e", 1.0, 1.0), "1.|1.e+00");
    EXPECT_EQ(tvFormat("%g|%g|%g|%g", 100000.0, 1e6, 1e-4, 1e-5), "100000|1e+06|0.0001|1e-05");
    EXPECT_EQ(tvFormat("%g", 999999.5), "1e+06"); // rounding to six digits raises the exponent
    // # keeps the zeros of %g (C17 7.21.6.1), where glibc drops them after such a rounding.
    EXPECT_EQ(tvFormat("%#g", 999999.5), "1.00000e+06");
    EXPECT_EQ(tvFormat("%.16g|%.17g", 0.1, 0.1), "0.1|0.10000000000000001");
    EXPECT_EQ(tvFormat("%f|%F|%5.1f|%-5e|%05g", kInf, kInf, -kInf, kNaN, kInf),
              "inf|INF| -inf|nan  |  inf");
    EXPECT_EQ(tvFormat("%+f|%E", kInf, -kNaN), "+inf|-NAN");
    EXPECT_EQ(tvFormat("%f", 1e308).size(), 309u + 7u);
    EXPECT_EQ(tvFormat("%.3f|%e", DBL_MIN, DBL_TRUE_MIN), "0.000|4.940656e-324");
    EXPECT_EQ(tvFormat("%5d|%-5d|%05d|%.0d|", 42, 42, -42, 0), "   42|42   |-0042||");
    EXPECT_EQ(tvFormat("%*d|%*d|%.*f|%.*f", 4, 7, -4, 7, 1, 0.25, -3, 0.5),
              "   7|7   |0.2|0.500000");
    EXPECT_EQ(tvFormat("%#x|%#x|%#o|%X", 255u, 0u, 8u, 0xBEEFu), "0xff|0|010|BEEF");
    EXPECT_EQ(tvFormat("100%%"), "100%");
    std::string big(5000, 'x');
    EXPECT_EQ(tvFormat("%s", big.c_str()), big);
    EXPECT_EQ(tvFormat("%.65535f", 1.0).size(), 65537u);
    EXPECT_EQ(tvFormat("%65535d", 1).size(), 65535u);
}

// -- Text in the Host's conventions --

TEST(KdFormat, WideFormatsTakeWideTextWithSAndNarrowUtf8WithHs) {
    EXPECT_EQ(tvFormat(L"%s|%ls|%hs", L"W\u00e4nde", L"\u20ac", "W\xC3\xA4nde \xE2\x82\xAC"),
              L"W\u00e4nde|\u20ac|W\u00e4nde \u20ac");
    EXPECT_EQ(tvFormat(L"%c%lc%hc", L'\u00e4', L'\u20ac', 'a'), L"\u00e4\u20aca");
    EXPECT_EQ(tvFormat(L"%hc", '\xE4'), L"\ufffd"); // one byte of a UTF-8 sequence alone
    EXPECT_EQ(tvFormat(L"[%6s][%-6hs][%.2s][%.2hs]", L"\u00e4z", "\xC3\xA4z", L"abc",
                       "\xC3\xA4\xC3\xB6x"),
              L"[    \u00e4z][\u00e4z    ][ab][\u00e4\u00f6]");
    EXPECT_EQ(tvFormat(L"%.1hs|%.0hs|%3c", "\xE2\x82\xAC\xE2\x82\xAC", "abc", L'x'),
              L"\u20ac||  x");
    EXPECT_EQ(tvFormat(L"%hs", "a\xFFz"), L"a\ufffdz"); // ill-formed UTF-8
    EXPECT_EQ(tvFormat(L"%s|%hs", static_cast<const wchar_t*>(nullptr),
                       static_cast<const char*>(nullptr)),
              L"(null)|(null)");
}

TEST(KdFormat, NarrowFormatsWriteUtf8AndNeverCutASequence) {
    EXPECT_EQ(tvFormat(unchecked("%s|%hs|%ls"), "W\xC3\xA4nde", "x", L"W\u00e4nde \u20ac"),
              "W\xC3\xA4nde|x|W\xC3\xA4nde \xE2\x82\xAC");
    EXPECT_EQ(tvFormat("%c%lc", 'a', static_cast<wint_t>(L'\u20ac')), "a\xE2\x82\xAC");
    // Precision and width count bytes; a sequence that does not fit whole is left out.
    EXPECT_EQ(tvFormat("[%.2s][%.1s][%.3ls][%.4ls]", "\xC3\xA4x", "\xC3\xA4", L"\u00e4\u00f6",
                       L"\u00e4\u00f6"),
              "[\xC3\xA4][][\xC3\xA4][\xC3\xA4\xC3\xB6]");
    EXPECT_EQ(tvFormat("[%5s][%-4s]", "\xC3\xA4", "ab"), "[   \xC3\xA4][ab  ]");
}

// -- Bad formats --

TEST(KdFormat, BadFormatsFailAndLeaveTheOutputAlone) {
    const std::vector<const char*> bad = {"%",        "abc%", "%5",   "%.",  "%q",  "%n",
                                          "%p",       "%a",   "%1$d", "%'d", "%Ld", "%hf",
                                          "%llf",     "%lls", "%hhc", "%zs", "%5%", "%70000d",
                                          "%.70000f", "%Lc",  "%jf",  "%-",  "%#"};
    for (const char* format : bad) {
        std::string out = "kept";
        EXPECT_FALSE(tvFormatAppend(out, format, 1, 2)) << format;
        EXPECT_EQ(out, "kept") << format;
        EXPECT_EQ(tvFormat(format, 1, 2), "") << format;
        std::wstring wide = L"kept";
        EXPECT_FALSE(tvFormatAppend(wide, widened(format).c_str(), 1, 2)) << format;
        EXPECT_EQ(wide, L"kept") << format;
    }
    // A width or precision from the arguments beyond the limit.
    std::string out;
    EXPECT_FALSE(tvFormatAppend(out, "%*d", kTvFormatMaxField + 1, 1));
    EXPECT_FALSE(tvFormatAppend(out, "%.*f", kTvFormatMaxField + 1, 1.0));
    EXPECT_FALSE(tvFormatAppend(out, unchecked("%*d"), INT_MIN, 1));
    EXPECT_FALSE(tvFormatAppend(out, unchecked(nullptr), 0));
    EXPECT_TRUE(out.empty());
    // A letter beyond ASCII is no conversion either.
    std::wstring wide;
    EXPECT_FALSE(tvFormatAppend(wide, L"%\u00e4", 1));
    EXPECT_TRUE(tvFormatAppend(wide, L"ok %d", 1));
    EXPECT_EQ(wide, L"ok 1");
}

// -- The same in every locale --

TEST(KdFormat, NumbersAndTextAreTheSameUnderACommaLocale) {
    tvtest::ScopedLocale comma{tvtest::CommaDecimalPoint{}};
    ASSERT_TRUE(comma.hasCommaDecimalPoint())
        << "no German or French locale is installed (scripts/setup.sh makes de_DE.UTF-8)";
    EXPECT_EQ(tvFormat(L"%.2f mm|%g|%e|%hs", 0.25, 1.5, 2.5, "\xC3\xA4"),
              L"0.25 mm|1.5|2.500000e+00|\u00e4");
    EXPECT_EQ(tvFormat(unchecked("%'d|%d"), 1, 1234567), ""); // no grouping either
    EXPECT_EQ(tvFormat("%d", 1234567), "1234567");
    double v = 0;
    EXPECT_TRUE(tvParseReal("0.25", v));
    EXPECT_EQ(v, 0.25);
    EXPECT_FALSE(tvParseReal("0,25", v));
    EXPECT_EQ(tvErrnoText(ENOENT), "No such file or directory");
}

TEST(KdFormat, NarrowTextIsUtf8UnderTheCLocale) {
    // Under "C" the C library cannot convert "W\xC3\xA4nde" to wide text at all.
    tvtest::ScopedLocale c{"C"};
    EXPECT_EQ(tvFormat(L"%hs", "W\xC3\xA4nde"), L"W\u00e4nde");
    EXPECT_EQ(tvFormat("%ls", L"W\u00e4nde"), "W\xC3\xA4nde");
}

// -- Parsing --

TEST(KdParse, WholeIntegers) {
    long long v = 0;
    EXPECT_TRUE(tvParseInt("0", v));
    EXPECT_EQ(v, 0);
    EXPECT_TRUE(tvParseInt("+7", v));
    EXPECT_EQ(v, 7);
    EXPECT_TRUE(tvParseInt("-0", v));
    EXPECT_EQ(v, 0);
    EXPECT_TRUE(tvParseInt("-9223372036854775808", v));
    EXPECT_EQ(v, LLONG_MIN);
    EXPECT_TRUE(tvParseInt(L"9223372036854775807", v));
    EXPECT_EQ(v, LLONG_MAX);
    v = 5;
    for (const char* bad : {"", "+", "-", " 1", "1 ", "1a", "+-1", "-+1", "--1", "0x10", "1e3",
                            "1.0", "9223372036854775808", "-9223372036854775809", "1,000"}) {
        EXPECT_FALSE(tvParseInt(bad, v)) << bad;
        EXPECT_FALSE(tvParseInt(std::wstring(bad, bad + std::strlen(bad)), v)) << bad;
    }
    EXPECT_EQ(v, 5);                         // unchanged by failures
    EXPECT_FALSE(tvParseInt(L"4\u00b2", v)); // superscript two
    EXPECT_FALSE(tvParseInt(L"\uff11", v));  // full-width one
    EXPECT_FALSE(tvParseInt(L"\u0661", v));  // Arabic-Indic one
    EXPECT_FALSE(tvParseInt(std::wstring(L"1\0", 2), v));
}

TEST(KdParse, IntegersThatLeadAText) {
    long long v = 0;
    size_t used = 99;
    EXPECT_TRUE(tvParseInt("12mm", v, &used));
    EXPECT_EQ(v, 12);
    EXPECT_EQ(used, 2u);
    EXPECT_TRUE(tvParseInt(L"-3\u00b2", v, &used));
    EXPECT_EQ(v, -3);
    EXPECT_EQ(used, 2u);
    EXPECT_TRUE(tvParseInt("7", v, &used));
    EXPECT_EQ(used, 1u);
    EXPECT_FALSE(tvParseInt("mm", v, &used));
    EXPECT_EQ(used, 0u);
    EXPECT_FALSE(tvParseInt(" 1", v, &used));
    EXPECT_FALSE(tvParseInt("99999999999999999999x", v, &used));
    EXPECT_EQ(used, 0u);
    EXPECT_EQ(v, 7);
}

TEST(KdParse, WholeReals) {
    struct Case {
        const char* text;
        double value;
    };
    for (const Case& c :
         {Case{"0.25", 0.25}, Case{"-1.5", -1.5}, Case{"+2", 2.0}, Case{".5", 0.5}, Case{"5.", 5.0},
          Case{"1e3", 1000.0}, Case{"1E-3", 0.001}, Case{"-.5e+1", -5.0}, Case{"1e308", 1e308},
          Case{"4.9e-324", DBL_TRUE_MIN}, Case{"0.1", 0.1},
          Case{"17976931348623157081452742373170435679807056752584499659891747680315726078002853876"
               "05895586327668781715404589535143824642343213268894641827684675467035375169860499105"
               "76551282076245490090389328944075868508455133942304583236903222948165808559332123348"
               "274797826204144723168738177180919299881250404026184124858368",
               DBL_MAX}}) {
        double v = 0;
        EXPECT_TRUE(tvParseReal(c.text, v)) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
        v = 0;
        EXPECT_TRUE(tvParseReal(std::wstring(c.text, c.text + std::strlen(c.text)), v)) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
    }
    double v = 7;
    EXPECT_TRUE(tvParseReal("-0", v));
    EXPECT_TRUE(v == 0 && std::signbit(v));
    v = 7;
    for (const char* bad : {"",      ".",      "+",      "-",   "e3",   " 1",   "1 ",       "0,25",
                            "1e",    "1e+",    "1.5mm",  "inf", "-inf", "nan",  "infinity", "0x1p3",
                            "1e309", "-1e309", "1e-400", "+-1", "1..2", "1.2.3"}) {
        EXPECT_FALSE(tvParseReal(bad, v)) << bad;
        EXPECT_FALSE(tvParseReal(std::wstring(bad, bad + std::strlen(bad)), v)) << bad;
    }
    EXPECT_EQ(v, 7); // unchanged by failures
    EXPECT_FALSE(tvParseReal(L"0.2\u2075", v));
}

TEST(KdParse, RealsThatLeadAText) {
    double v = 0;
    size_t used = 0;
    EXPECT_TRUE(tvParseReal(L"0.25mm", v, &used));
    EXPECT_EQ(v, 0.25);
    EXPECT_EQ(used, 4u);
    EXPECT_TRUE(tvParseReal("0,25", v, &used)); // the number ends at the comma
    EXPECT_EQ(v, 0.0);
    EXPECT_EQ(used, 1u);
    EXPECT_TRUE(tvParseReal("1e", v, &used)); // an exponent without digits is not one
    EXPECT_EQ(v, 1.0);
    EXPECT_EQ(used, 1u);
    EXPECT_TRUE(tvParseReal("+2.5e1,", v, &used));
    EXPECT_EQ(v, 25.0);
    EXPECT_EQ(used, 6u);
    EXPECT_FALSE(tvParseReal("mm", v, &used));
    EXPECT_EQ(used, 0u);
    EXPECT_FALSE(tvParseReal("inf", v, &used));
    EXPECT_FALSE(tvParseReal("1e999x", v, &used));
    EXPECT_EQ(v, 25.0);
}

TEST(KdParse, DxfValuesMayHaveBlanksAround) {
    double v = 0;
    EXPECT_TRUE(tvParseDxfReal("  0.25\r", v));
    EXPECT_EQ(v, 0.25);
    EXPECT_TRUE(tvParseDxfReal("\t+1e2 ", v));
    EXPECT_EQ(v, 100.0);
    v = 7;
    for (const char* bad : {"", "   ", "1 2", "0,25", " nan", "+ 1", "1e999"})
        EXPECT_FALSE(tvParseDxfReal(bad, v)) << bad;
    EXPECT_EQ(v, 7);
}

TEST(KdParse, WhatIsWrittenIsReadBack) {
    for (double v : kReals) {
        if (!std::isfinite(v))
            continue;
        double back = 0;
        ASSERT_TRUE(tvParseReal(tvFormat("%.17g", v), back)) << tvFormat("%.17g", v);
        EXPECT_EQ(back, v);
        EXPECT_EQ(std::signbit(back), std::signbit(v));
    }
}
