// The Host's wide string: case-insensitive comparison, substrings and UTF-8 conversion.
#include "tv/KdString.h"

#include "tv/KdUtf8.h"

#include <algorithm>
#include <cstdint>
#include <cwctype>
#include <initializer_list>

namespace {

constexpr char32_t kReplacementChar = 0xFFFD;
constexpr char32_t kMaxCodePoint = 0x10FFFF;
constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}
bool isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c > kMaxCodePoint || isSurrogate(c))
        c = kReplacementChar;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void appendWide(std::wstring& out, char32_t c) {
    if (kWideIsUtf16 && c >= 0x10000) {
        c -= 0x10000;
        out += static_cast<wchar_t>(0xD800 + (c >> 10));
        out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
        return;
    }
    out += static_cast<wchar_t>(c);
}

// What a lead byte announces: the length of its sequence and the range its second byte must
// fall in. The narrowed ranges after E0, ED, F0 and F4 shut out overlong forms, surrogates and
// values above U+10FFFF. Length 0: the byte can not start a sequence.
struct Utf8Lead {
    int length;
    unsigned char secondLow;
    unsigned char secondHigh;
};

Utf8Lead utf8Lead(unsigned char b) {
    if (b < 0x80)
        return {1, 0, 0};
    if (b < 0xC2)
        return {0, 0, 0};
    if (b < 0xE0)
        return {2, 0x80, 0xBF};
    if (b == 0xE0)
        return {3, 0xA0, 0xBF};
    if (b == 0xED)
        return {3, 0x80, 0x9F};
    if (b < 0xF0)
        return {3, 0x80, 0xBF};
    if (b == 0xF0)
        return {4, 0x90, 0xBF};
    if (b < 0xF4)
        return {4, 0x80, 0xBF};
    if (b == 0xF4)
        return {4, 0x80, 0x8F};
    return {0, 0, 0};
}

} // namespace

std::string tvToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<char32_t>(text[i]);
        if (kWideIsUtf16)
            c &= 0xFFFF;
        if (kWideIsUtf16 && isHighSurrogate(c) && i + 1 < text.size()) {
            const auto next = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
            if (isLowSurrogate(next)) {
                c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
                ++i;
            }
        }
        appendUtf8(out, c);
    }
    return out;
}

std::wstring tvFromUtf8(std::string_view utf8) {
    std::wstring out;
    out.reserve(utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const Utf8Lead info = utf8Lead(lead);
        if (info.length <= 1) {
            appendWide(out, info.length == 1 ? lead : kReplacementChar);
            ++i;
            continue;
        }
        char32_t c = lead & (0xFF >> (info.length + 1));
        size_t next = i + 1;
        bool complete = true;
        for (int k = 1; k < info.length; ++k, ++next) {
            if (next >= utf8.size()) {
                complete = false;
                break;
            }
            const auto b = static_cast<unsigned char>(utf8[next]);
            const unsigned char low = k == 1 ? info.secondLow : 0x80;
            const unsigned char high = k == 1 ? info.secondHigh : 0xBF;
            if (b < low || b > high) {
                complete = false;
                break;
            }
            c = (c << 6) | (b & 0x3F);
        }
        // On a break `next` is the byte that did not fit; it starts the next sequence.
        appendWide(out, complete ? c : kReplacementChar);
        i = next;
    }
    return out;
}

int KdString::compareNoCase(const KdString& other) const {
    const std::wstring& a = m_str;
    const std::wstring& b = other.m_str;
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const auto ca = static_cast<wint_t>(tvUpper(a[i]));
        const auto cb = static_cast<wint_t>(tvUpper(b[i]));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

KdString KdString::substr(size_t start, size_t count) const {
    if (start >= m_str.size())
        return KdString();
    return KdString(m_str.substr(start, count));
}

std::string KdString::utf8() const {
    return tvToUtf8(m_str);
}

KdString KdString::fromUtf8(std::string_view utf8) {
    return KdString(tvFromUtf8(utf8));
}

wchar_t tvUpper(wchar_t c) {
    const auto v = static_cast<uint32_t>(c);
    if (v < 0x80)
        return (v >= 'a' && v <= 'z') ? static_cast<wchar_t>(v - 32) : c;
    if ((v >= 0xE0 && v <= 0xFE && v != 0xF7))
        return static_cast<wchar_t>(v - 0x20);
    if (v == 0xFF)
        return static_cast<wchar_t>(0x178);
    if (v >= 0x100 && v <= 0x17F) {
        // Latin Extended-A pairs: upper case even, lower case odd, except in the two runs
        // where the pairs start on an odd code point.
        bool oddPairs = (v >= 0x139 && v <= 0x148) || (v >= 0x179 && v <= 0x17E);
        if (v == 0x130 || v == 0x131 || v == 0x138 || v == 0x149 || v == 0x17F)
            return c;
        bool lower = oddPairs ? (v % 2 == 0) : (v % 2 == 1);
        return lower ? static_cast<wchar_t>(v - 1) : c;
    }
    if (v >= 0x3B1 && v <= 0x3CB && v != 0x3C2)
        return static_cast<wchar_t>(v - 0x20);
    if (v == 0x3C2)
        return static_cast<wchar_t>(0x3A3);
    if (v >= 0x430 && v <= 0x44F)
        return static_cast<wchar_t>(v - 0x20);
    if (v >= 0x450 && v <= 0x45F)
        return static_cast<wchar_t>(v - 0x50);
    return c;
}

bool tvIsUpper(wchar_t c) {
    if (tvUpper(c) != c)
        return false;
    // The lower-case partners tvUpper knows lie 0x20 (ASCII, Latin-1, Greek, most of
    // Cyrillic), 1 (Latin Extended-A) or 0x50 (Cyrillic) above; U+0178 is the one of U+00FF.
    const auto v = static_cast<uint32_t>(c);
    for (uint32_t lower : {v + 0x20, v + 1, v + 0x50, uint32_t{0xFF}})
        if (lower != v && tvUpper(static_cast<wchar_t>(lower)) == c)
            return true;
    return false;
}

bool tvEqualsNoCase(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (tvUpper(a[i]) != tvUpper(b[i]))
            return false;
    return true;
}
