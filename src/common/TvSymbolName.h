// The rules for names of layers, filters and layer states.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tv {

/// A name may hold fewer characters than this; an escape counts as one character.
inline constexpr size_t kSymbolNameLimit = 256;

/// Whether `name` is a valid layer, filter or layer-state name: not empty, not beginning with
/// a space, fewer than kSymbolNameLimit characters, and none of , < > / \ " : ; ? * | = `.
/// An escape "\U+XXXX" (four hexadecimal digits) or "\M+NXXXX" (one decimal digit, four
/// hexadecimal digits), letters U and M in either case, is one acceptable character; any other
/// backslash is refused.
bool isValidSymbolName(std::wstring_view name);

/// The character of the save-layer-state dialog's list that refuses `trimmedName`, or 0 when
/// the name is accepted. The list is tested in the order < , > / ? ' " \ | ; : = *, so the
/// character returned is the first of that list that occurs in the name, wherever it occurs.
wchar_t layerStateNameRefusal(std::wstring_view trimmedName);

/// `text` without the blanks (spaces and tabs) at its beginning and end.
std::wstring trimBlanks(std::wstring_view text);

/// Whether two names, keywords or state names are the same when case is ignored.
bool sameNameIgnoringCase(std::wstring_view a, std::wstring_view b);

} // namespace tv
