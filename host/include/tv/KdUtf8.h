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
