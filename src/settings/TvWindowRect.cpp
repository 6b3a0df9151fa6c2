// The layer manager's window rectangle, kept in the Host application's profile strings.
#include "settings/TvWindowRect.h"

#include "tv/KdProfile.h"

#include <climits>

namespace tv {
namespace {

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

/// The integer at the start of `text` (after blanks, with an optional sign); 0 when there is
/// none, and clamped to the range of int.
int leadingInt(std::wstring_view text) {
    size_t i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == L'-' || text[i] == L'+'))
        negative = text[i++] == L'-';
    long long value = 0;
    for (; i < text.size() && text[i] >= L'0' && text[i] <= L'9'; ++i) {
        value = value * 10 + (text[i] - L'0');
        if (value > INT_MAX)
            return negative ? INT_MIN : INT_MAX;
    }
    return static_cast<int>(negative ? -value : value);
}

/// The next field of `text` from `pos`: the characters up to the next blank (the blanks after
/// it are skipped), or the rest of the text when `rest` is set.
std::wstring_view nextField(std::wstring_view text, size_t& pos, bool rest) {
    if (pos >= text.size())
        return {};
    const size_t start = pos;
    if (rest) {
        pos = text.size();
        return text.substr(start);
    }
    size_t end = start;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    pos = end;
    while (pos < text.size() && isBlank(text[pos]))
        ++pos;
    return text.substr(start, end - start);
}

} // namespace

std::optional<TvWindowRect> parseWindowRect(std::wstring_view text) {
    size_t pos = 0;
    while (pos < text.size() && isBlank(text[pos]))
        ++pos;
    if (pos == text.size())
        return std::nullopt;
    TvWindowRect r;
    r.left = leadingInt(nextField(text, pos, false));
    r.top = leadingInt(nextField(text, pos, false));
    r.width = leadingInt(nextField(text, pos, false));
    r.height = leadingInt(nextField(text, pos, true));
    if (r.width <= 0 || r.height <= 0)
        return std::nullopt;
    return r;
}

std::wstring formatWindowRect(int left, int top, int right, int bottom) {
    return std::to_wstring(left) + L" " + std::to_wstring(top) + L" " +
           std::to_wstring(right - left) + L" " + std::to_wstring(bottom - top);
}

std::optional<TvWindowRect> readManagerWindowRect() {
    const KdString text = KdProfile::getProfileString(kWindowRectSection, kWindowRectEntry);
    return parseWindowRect(text.str());
}

bool writeManagerWindowRect(int left, int top, int right, int bottom) {
    const std::wstring text = formatWindowRect(left, top, right, bottom);
    return KdProfile::writeProfileString(kWindowRectSection, kWindowRectEntry, text.c_str());
}

} // namespace tv
