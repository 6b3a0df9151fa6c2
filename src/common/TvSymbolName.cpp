// The rules for names of layers, filters and layer states.
#include "common/TvSymbolName.h"

#include "tv/KdUtf8.h"

namespace tv {
namespace {

/// Characters a symbol name may not hold (a backslash only as the start of an escape).
constexpr std::wstring_view kRefusedInSymbolNames = L",<>/\\\":;?*|=`";

/// The save-layer-state dialog's stricter list, in the order it is tested.
constexpr std::wstring_view kRefusedInLayerStateNames = L"<,>/?'\"\\|;:=*";

constexpr size_t kUnicodeEscapeLength = 7;   // \U+XXXX
constexpr size_t kMultiByteEscapeLength = 8; // \M+NXXXX

bool isDecimalDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

bool isHexDigit(wchar_t c) {
    return isDecimalDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

bool allHexDigits(std::wstring_view s) {
    for (wchar_t c : s)
        if (!isHexDigit(c))
            return false;
    return true;
}

/// The length of the escape that starts `s` ("\U+XXXX" or "\M+NXXXX"), or 0 when `s` does
/// not start with one.
size_t escapeLength(std::wstring_view s) {
    if (s.size() < kUnicodeEscapeLength || s[0] != L'\\' || s[2] != L'+')
        return 0;
    if ((s[1] == L'U' || s[1] == L'u') && allHexDigits(s.substr(3, 4)))
        return kUnicodeEscapeLength;
    if ((s[1] == L'M' || s[1] == L'm') && s.size() >= kMultiByteEscapeLength &&
        isDecimalDigit(s[3]) && allHexDigits(s.substr(4, 4)))
        return kMultiByteEscapeLength;
    return 0;
}

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

} // namespace

bool isValidSymbolName(std::wstring_view name) {
    if (name.empty() || name.front() == L' ')
        return false;
    size_t characters = 0;
    size_t pos = 0;
    while (pos < name.size()) {
        if (const size_t escape = escapeLength(name.substr(pos)); escape > 0) {
            pos += escape;
        } else {
            if (kRefusedInSymbolNames.find(name[pos]) != std::wstring_view::npos)
                return false;
            ++pos;
        }
        if (++characters >= kSymbolNameLimit)
            return false;
    }
    return true;
}

wchar_t layerStateNameRefusal(std::wstring_view trimmedName) {
    for (wchar_t refused : kRefusedInLayerStateNames)
        if (trimmedName.find(refused) != std::wstring_view::npos)
            return refused;
    return 0;
}

std::wstring trimBlanks(std::wstring_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return std::wstring(text);
}

bool sameNameIgnoringCase(std::wstring_view a, std::wstring_view b) {
    return tvEqualsNoCase(a, b);
}

} // namespace tv
