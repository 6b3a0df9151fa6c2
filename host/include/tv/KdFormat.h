// Formatting and parsing of numbers and text that never consult the process locale: the same
// "0.25" is written and read whether the program runs under "C", de_DE or fr_FR (as a Qt
// program does once it has started).
#pragma once

#include "KdExport.h"

#include <cstdarg>
#include <cstddef>
#include <string>
#include <string_view>

// -- Formatting --
//
// printf-style formats, written on std::to_chars and never on the C library's printf family.
// A conversion is %[flags][width][.precision][length]conversion:
//   flags      - + space # 0
//   width      digits or * (an int argument; a negative one means the - flag)
//   precision  .digits or .* (an int argument; a negative one means none)
//   length     hh h l ll j z t for integers, L (long double) or l (ignored) for reals,
//              h or l for %s and %c
//   conversion d i u o x X c s f F e E g G, and %% for a percent sign
// Numbers come out as in the C locale: a '.' decimal point, no digit grouping, "inf" and "nan"
// ("INF", "NAN" for F, E and G), "-0.00" for negative zero.
//
// Text arguments follow the Host's conventions, and narrow text is UTF-8 whatever the locale:
//   in a wide format   %s %ls take wide text (const wchar_t*), %hs narrow text (const char*);
//                      %c %lc take a wchar_t, %hc a char
//   in a narrow format %s %hs take narrow text, %ls wide text (written as UTF-8);
//                      %c %hc take a char, %lc a wchar_t (written as UTF-8)
// A null text argument is written "(null)". Width and precision count the characters of the
// output (wchar_t in a wide format, bytes in a narrow one); a precision never cuts a UTF-8
// sequence in two. A char outside ASCII that comes alone (%hc in a wide format) is U+FFFD.
//
// A bad format is one with an unknown or incomplete conversion, a length that does not fit
// its conversion, %n, positional arguments (%1$d), the ' flag, or a width or precision above
// kTvFormatMaxField. As with printf, the arguments must match the conversions; that is not
// (and cannot be) checked.

/// Largest width or precision a format may give.
inline constexpr int kTvFormatMaxField = 65535;

/// Appends the formatted text to `out`. False, with `out` unchanged, when the format is bad
/// or null. `args` is not used up (the function works on a copy).
TVHOST_API bool tvFormatAppendV(std::wstring& out, const wchar_t* format, va_list args);
TVHOST_API bool tvFormatAppendV(std::string& out, const char* format, va_list args);

/// Appends the formatted text to `out`; false, with `out` unchanged, when the format is bad.
TVHOST_API bool tvFormatAppend(std::wstring& out, const wchar_t* format, ...);
TVHOST_API bool tvFormatAppend(std::string& out, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// The formatted text; empty when the format is bad.
TVHOST_API std::wstring tvFormat(const wchar_t* format, ...);
TVHOST_API std::string tvFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

// -- Parsing --
//
// Decimal numbers in ASCII digits, read on std::from_chars: an optional sign ('+' or '-'),
// then for an integer digits only, for a real digits with an optional '.' fraction and an
// optional exponent ("-1.5", ".25", "2.", "1e-3"). No blanks are skipped, no digit grouping,
// no ',' decimal point, no hexadecimal, no "inf" or "nan". A number whose value the type
// cannot hold (an integer beyond long long, a real that overflows or underflows to zero)
// fails. Wide text must be the same ASCII characters.
//
// Without `used` the whole text must be the number. With `used`, the number is read from the
// start of the text and may be followed by anything; *used is set to the characters it takes
// (0 when parsing fails). On failure `value` is left unchanged.

TVHOST_API bool tvParseInt(std::string_view text, long long& value, size_t* used = nullptr);
TVHOST_API bool tvParseInt(std::wstring_view text, long long& value, size_t* used = nullptr);
TVHOST_API bool tvParseReal(std::string_view text, double& value, size_t* used = nullptr);
TVHOST_API bool tvParseReal(std::wstring_view text, double& value, size_t* used = nullptr);

/// A real as a DXF group value holds it: tvParseReal's number with the blanks (spaces, tabs, a
/// carriage return) that other programs write around it.
TVHOST_API bool tvParseDxfReal(std::string_view text, double& value);

// -- System messages --

/// The C library's text for an errno value as the C locale has it ("No such file or
/// directory"), so that the Host's messages stay in one language and in UTF-8 whatever the
/// process locale.
TVHOST_API std::string tvErrnoText(int error);
