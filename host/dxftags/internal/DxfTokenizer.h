// Splits DXF text into tags without copying: each tag points into the text buffer.
#pragma once

#include <tv/KdDbTag.h>

#include <charconv>
#include <cstdint>

#include <string>
#include <string_view>
#include <vector>

namespace tvdxf {

struct TokenizeResult {
    bool ok = true;
    long long errorLine = 0; ///< 1-based line of the fault
    std::string message;
};

/// Appends the tags of `text` to `tags`. Group-code lines may carry blanks; values keep every
/// byte but the line end (LF or CR LF). A UTF-8 byte-order mark at the start is skipped.
TokenizeResult tokenize(std::string_view text, std::vector<KdDbTag>& tags);

/// 1-based line of the group code of tag `index` (every tag takes two lines).
inline long long lineOfTag(size_t index) {
    return static_cast<long long>(index) * 2 + 1;
}

/// Value with blanks trimmed on both sides. Inline: the reader calls it for every record.
inline std::string_view trimmed(std::string_view v) {
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    if (!v.empty() && !blank(v.front()) && !blank(v.back()))
        return v;
    while (!v.empty() && (v.front() == ' ' || v.front() == '\t'))
        v.remove_prefix(1);
    while (!v.empty() && blank(v.back()))
        v.remove_suffix(1);
    return v;
}
/// Parses a decimal integer value (blanks allowed around it); false when malformed.
bool parseInt(std::string_view v, long long& out);
bool parseDouble(std::string_view v, double& out);
/// Parses a hexadecimal handle value of 1 to 16 digits (blanks allowed around it); false when
/// malformed. Inline: every owner and pointer lookup goes through it.
inline bool parseHandle(std::string_view v, uint64_t& out) {
    v = trimmed(v);
    if (v.empty() || v.size() > 16)
        return false;
    uint64_t value = 0;
    for (char c : v) {
        unsigned d;
        if (c >= '0' && c <= '9')
            d = static_cast<unsigned>(c - '0');
        else if (c >= 'A' && c <= 'F')
            d = static_cast<unsigned>(c - 'A' + 10);
        else if (c >= 'a' && c <= 'f')
            d = static_cast<unsigned>(c - 'a' + 10);
        else
            return false;
        value = value << 4 | d;
    }
    out = value;
    return true;
}
/// Appends one tag as DXF text: the group code right-aligned in three columns, the value, each
/// on its own line. The writer and the R12 upgrade share it.
inline void appendTag(std::string& out, int code, std::string_view value) {
    char buf[16];
    char* p = buf;
    if (code >= 0 && code < 10) {
        *p++ = ' ';
        *p++ = ' ';
    } else if (code >= 0 && code < 100) {
        *p++ = ' ';
    }
    p = std::to_chars(p, buf + sizeof buf, code).ptr;
    *p++ = '\n';
    out.append(buf, static_cast<size_t>(p - buf));
    out.append(value);
    out.push_back('\n');
}

/// Text of a real as DXF writes it (the shortest form that reads back the same value).
std::string formatReal(double v);
/// Hexadecimal handle text ("1F"), "0" for null.
std::string formatHandle(uint64_t h);

/// Case-insensitive comparison of ASCII text.
bool equalsNoCase(std::string_view a, std::string_view b);

} // namespace tvdxf
