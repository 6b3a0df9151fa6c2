// UTF-8 conversion of the Host's wide text, used for messages and files.
#pragma once

#include "KdExport.h"

#include <string>
#include <string_view>

/// Encodes wide text as UTF-8. A value that is not a Unicode scalar value (a lone surrogate,
/// anything above U+10FFFF) is written as U+FFFD; where wchar_t has 16 bits, surrogate pairs
/// are combined first.
TVHOST_API std::string tvToUtf8(std::wstring_view text);

/// Decodes UTF-8 into wide text. Each ill-formed sequence (a stray continuation byte, an
/// overlong form, an encoded surrogate, a value above U+10FFFF, a truncated sequence) becomes
/// one U+FFFD, and decoding resumes at the first byte that did not fit.
TVHOST_API std::wstring tvFromUtf8(std::string_view utf8);

/// Upper case of one character for name comparisons, independent of the process locale:
/// ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic letters.
TVHOST_API wchar_t tvUpper(wchar_t c);

/// True when the two names are equal ignoring case as tvUpper folds it.
TVHOST_API bool tvEqualsNoCase(std::wstring_view a, std::wstring_view b);

/// True for an upper-case letter that tvUpper folds a lower-case one into ("A", U+00C4,
/// U+03A3), independent of the process locale.
TVHOST_API bool tvIsUpper(wchar_t c);

/// True for the blanks of the C locale: space, tab, line feed, vertical tab, form feed and
/// carriage return, whatever the process locale.
constexpr bool tvIsSpace(wchar_t c) {
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

/// ASCII case mapping of one byte; every other byte (those of UTF-8 sequences too) stays as it
/// is, whatever the process locale.
constexpr char tvAsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char tvAsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
