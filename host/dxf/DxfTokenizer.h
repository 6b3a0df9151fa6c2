// Splits DXF text into tags without copying: each tag points into the text buffer.
#pragma once

#include <tv/KdDbTag.h>

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

/// Value with blanks trimmed on both sides.
std::string_view trimmed(std::string_view v);
/// Parses a decimal integer value (blanks allowed around it); false when malformed.
bool parseInt(std::string_view v, long long& out);
bool parseDouble(std::string_view v, double& out);
/// Parses a hexadecimal handle value (blanks allowed around it); false when malformed.
bool parseHandle(std::string_view v, uint64_t& out);
/// Case-insensitive comparison of ASCII text.
bool equalsNoCase(std::string_view a, std::string_view b);

} // namespace tvdxf
