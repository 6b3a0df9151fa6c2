// The text form of a colour: writer and reader.
#include "pickers/TvColorText.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tv {
namespace {

constexpr int kIndexByBlock = 0;
constexpr int kIndexByLayer = 256;
constexpr int kRgbMaxLength = 11; // "255,255,255"
constexpr int kRgbComponentLimit = 256;

constexpr wchar_t kFieldSeparator = L';';
constexpr wchar_t kBookSeparator = L'$';
constexpr std::wstring_view kRgbPrefix = L"RGB:";
constexpr std::wstring_view kBookPrefix = L"BOOK:";

/// The seven standard colours by name; index = position + 1.
constexpr std::wstring_view kStandardNames[] = {L"RED",  L"YELLOW",  L"GREEN", L"CYAN",
                                                L"BLUE", L"MAGENTA", L"WHITE"};

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

/// Only A-Z are folded: a colour text is ASCII, and locale-dependent folding would let
/// look-alike letters match.
wchar_t foldAscii(wchar_t c) {
    return (c >= L'a' && c <= L'z') ? c - (L'a' - L'A') : c;
}

bool equalsAsciiNoCase(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (foldAscii(a[i]) != foldAscii(b[i]))
            return false;
    return true;
}

bool startsWithAsciiNoCase(std::wstring_view text, std::wstring_view prefix) {
    return text.size() >= prefix.size() && equalsAsciiNoCase(text.substr(0, prefix.size()), prefix);
}

/// Blanks here are spaces only, as the writer never puts anything else around a field.
std::wstring_view trimSpaces(std::wstring_view s) {
    while (!s.empty() && s.front() == L' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == L' ')
        s.remove_suffix(1);
    return s;
}

/// The index of the index field, or -1 when it is malformed.
int readIndexField(std::wstring_view field) {
    field = trimSpaces(field);
    if (equalsAsciiNoCase(field, L"BYLAYER"))
        return kIndexByLayer;
    if (equalsAsciiNoCase(field, L"BYBLOCK"))
        return kIndexByBlock;
    if (!field.empty() && isDigit(field.front())) {
        // The leading decimal digits are the number; stop as soon as it is out of range so a
        // long run of digits cannot overflow.
        int value = 0;
        for (wchar_t c : field) {
            if (!isDigit(c))
                break;
            value = value * 10 + (c - L'0');
            if (value > kIndexByLayer)
                return -1;
        }
        return value;
    }
    for (size_t i = 0; i < std::size(kStandardNames); ++i)
        if (equalsAsciiNoCase(field, kStandardNames[i]))
            return static_cast<int>(i) + 1;
    return -1;
}

/// Parses "r,g,b" (blanks around it allowed) into `packed`; false when it is malformed.
bool readRgbValue(std::wstring_view text, uint32_t* packed) {
    text = trimSpaces(text);
    if (text.empty() || !isDigit(text.front()) || text.size() > kRgbMaxLength)
        return false;
    int numbers[3] = {};
    int commas = 0;
    bool haveDigit = false;
    for (wchar_t c : text) {
        if (isDigit(c)) {
            // A number stops growing once out of range; the range check below refuses it.
            if (numbers[commas] < kRgbComponentLimit)
                numbers[commas] = numbers[commas] * 10 + (c - L'0');
            haveDigit = true;
        } else if (c == L',') {
            if (!haveDigit || commas == 2)
                return false;
            ++commas;
            haveDigit = false;
        } else {
            return false;
        }
    }
    if (!haveDigit || commas != 2)
        return false;
    for (int n : numbers)
        if (n >= kRgbComponentLimit)
            return false;
    *packed = packColorTextRgb(static_cast<uint8_t>(numbers[0]), static_cast<uint8_t>(numbers[1]),
                               static_cast<uint8_t>(numbers[2]));
    return true;
}

/// Copies "book$name" to `book` when it has a book name and a colour name; false otherwise.
bool readBookValue(std::wstring_view text, wchar_t* book) {
    text = trimSpaces(text);
    const size_t dollar = text.find(kBookSeparator);
    if (dollar == std::wstring_view::npos || dollar == 0 || dollar + 1 >= text.size())
        return false;
    const size_t n = std::min(text.size(), static_cast<size_t>(kColorTextBookSize - 1));
    text.copy(book, n);
    book[n] = L'\0';
    return true;
}

} // namespace

std::wstring colorText(const KdCmColor& color) {
    std::wstring text = std::to_wstring(color.colorIndex());
    if (color.isByColor()) {
        text += kFieldSeparator;
        text += kRgbPrefix;
        text += std::to_wstring(color.red()) + L',' + std::to_wstring(color.green()) + L',' +
                std::to_wstring(color.blue());
    }
    if (color.isColorBookColor()) {
        text += kFieldSeparator;
        text += kBookPrefix;
        text += color.bookName();
        text += kBookSeparator;
        text += color.colorName();
    }
    return text;
}

int writeColorText(wchar_t* out, int size, const KdCmColor& color) {
    if (!out || size < 1)
        return -1;
    const std::wstring text = colorText(color);
    if (text.size() >= static_cast<size_t>(size)) {
        out[0] = L'\0';
        return -1;
    }
    text.copy(out, text.size());
    out[text.size()] = L'\0';
    return static_cast<int>(text.size());
}

int readColorText(const wchar_t* text, int* index, uint32_t* packedRgb, wchar_t* book) {
    if (!text)
        return -1;
    // Only the first kColorTextMaxRead characters count; the rest of a long text is not read.
    size_t length = 0;
    while (length < static_cast<size_t>(kColorTextMaxRead) && text[length] != L'\0')
        ++length;
    const std::wstring_view work = trimSpaces({text, length});

    // Index, true-colour and book fields; a third separator is malformed.
    std::wstring_view fields[3];
    size_t fieldCount = 0;
    size_t start = 0;
    for (;;) {
        const size_t sep = work.find(kFieldSeparator, start);
        if (sep == std::wstring_view::npos) {
            fields[fieldCount++] = work.substr(start);
            break;
        }
        if (fieldCount == 2)
            return -1;
        fields[fieldCount++] = work.substr(start, sep - start);
        start = sep + 1;
    }

    if (index) {
        const int value = readIndexField(fields[0]);
        if (value < 0)
            return -1;
        *index = value;
    }

    int found = 0;
    if (packedRgb && startsWithAsciiNoCase(fields[1], kRgbPrefix)) {
        *packedRgb = 0;
        // A bad true colour ends the read: the book of a colour whose RGB is unknown is not
        // worth reporting.
        if (!readRgbValue(fields[1].substr(kRgbPrefix.size()), packedRgb))
            return 0;
        ++found;
    }
    if (book && startsWithAsciiNoCase(fields[2], kBookPrefix) &&
        readBookValue(fields[2].substr(kBookPrefix.size()), book))
        ++found;
    return found;
}

} // namespace tv
