// Splits DXF text into tags without copying.
#include "DxfTokenizer.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace tvdxf {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// One line starting at `pos`, without its line end; advances `pos` past the line end.
// Returns false at the end of the text.
bool nextLine(std::string_view text, size_t& pos, std::string_view& line) {
    if (pos >= text.size())
        return false;
    const char* start = text.data() + pos;
    const void* nl = std::memchr(start, '\n', text.size() - pos);
    size_t len = nl ? static_cast<size_t>(static_cast<const char*>(nl) - start) : text.size() - pos;
    pos += len + (nl ? 1 : 0);
    // Every carriage return before the line end goes: a value cannot end in one, and keeping
    // all but one would make each save of such a file shorter by one.
    while (len > 0 && start[len - 1] == '\r')
        --len;
    line = std::string_view(start, len);
    return true;
}

} // namespace

bool parseInt(std::string_view v, long long& out) {
    v = trimmed(v);
    if (!v.empty() && v.front() == '+')
        v.remove_prefix(1);
    if (v.empty())
        return false;
    auto [p, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && p == v.data() + v.size();
}

bool parseDouble(std::string_view v, double& out) {
    v = trimmed(v);
    if (!v.empty() && v.front() == '+')
        v.remove_prefix(1);
    if (v.empty())
        return false;
    auto [p, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && p == v.data() + v.size();
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z')
            x = static_cast<char>(x - 32);
        if (y >= 'a' && y <= 'z')
            y = static_cast<char>(y - 32);
        if (x != y)
            return false;
    }
    return true;
}

// The first 18 bytes of a binary DXF file (the format's sentinel, before "\r\n\x1A\0"), kept as
// bytes: the text names the program that defined the format.
constexpr char kBinaryDxfSentinel[] = {0x41, 0x75, 0x74, 0x6F, 0x43, 0x41, 0x44, 0x20, 0x42,
                                       0x69, 0x6E, 0x61, 0x72, 0x79, 0x20, 0x44, 0x58, 0x46};

TokenizeResult tokenize(std::string_view text, std::vector<KdDbTag>& tags) {
    TokenizeResult result;
    if (text.size() >= 3 && std::memcmp(text.data(), "\xEF\xBB\xBF", 3) == 0)
        text.remove_prefix(3);
    if (text.substr(0, sizeof kBinaryDxfSentinel) ==
        std::string_view(kBinaryDxfSentinel, sizeof kBinaryDxfSentinel)) {
        result.ok = false;
        result.errorLine = 1;
        result.message = "binary DXF is not supported; expected an ASCII DXF file";
        return result;
    }
    // Two lines a tag: counting the line ends first sizes the array once, which keeps the
    // peak memory of a load near the final size.
    size_t lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    tags.reserve(tags.size() + lines / 2 + 2);
    size_t pos = 0;
    long long line = 0;
    std::string_view codeLine, valueLine;
    while (nextLine(text, pos, codeLine)) {
        ++line;
        // Fast path for the usual right-aligned group code of up to four digits.
        const char* p = codeLine.data();
        const char* end = p + codeLine.size();
        while (p < end && isBlank(*p))
            ++p;
        while (end > p && isBlank(end[-1]))
            --end;
        bool neg = false;
        if (p < end && *p == '-') {
            neg = true;
            ++p;
        }
        int code = 0;
        const char* digits = p;
        while (p < end && *p >= '0' && *p <= '9' && p - digits < 6) {
            code = code * 10 + (*p - '0');
            ++p;
        }
        if (p == digits || p != end) {
            if (codeLine.empty() && pos >= text.size())
                break; // a trailing empty line after EOF
            result.ok = false;
            result.errorLine = line;
            result.message = "expected a group code (an integer), found \"" +
                             std::string(codeLine.substr(0, 40)) + "\"";
            return result;
        }
        if (code > 32767) {
            result.ok = false;
            result.errorLine = line;
            result.message = "group code " + std::to_string(code) + " is out of range";
            return result;
        }
        if (!nextLine(text, pos, valueLine)) {
            result.ok = false;
            result.errorLine = line + 1;
            result.message = "expected a value for group code " + std::to_string(code) +
                             ", found the end of the file";
            return result;
        }
        ++line;
        KdDbTag tag;
        tag.code = static_cast<int16_t>(neg ? -code : code);
        tag.data = valueLine.data();
        tag.size = static_cast<uint32_t>(valueLine.size());
        tags.push_back(tag);
    }
    return result;
}

std::string formatReal(double v) {
    char buf[64];
    auto [p, ec] = std::to_chars(buf, buf + sizeof buf, v);
    std::string s(buf, ec == std::errc() ? p : buf);
    if (s.find_first_of(".eEn") == std::string::npos)
        s += ".0";
    return s;
}

std::string formatHandle(uint64_t h) {
    char buf[24];
    auto [p, ec] = std::to_chars(buf, buf + sizeof buf, h, 16);
    std::string s(buf, p);
    for (char& c : s)
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 32);
    return s;
}

} // namespace tvdxf
