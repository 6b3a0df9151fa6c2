// Small text helpers shared by the UI service implementations.
#pragma once

#include "tv/KdCmColor.h"

#include <string>
#include <string_view>

namespace kdui {

/// True when `text` contains `part`, case ignored; an empty `part` is always contained.
bool containsNoCase(std::wstring_view text, std::wstring_view part);
/// `text` without blanks, tabs and line ends at both ends.
std::string trim(std::string_view text);
/// ASCII lower case, for keywords.
std::string lowerAscii(std::string_view text);
/// A whole decimal number (optional sign) in `text`; false for anything else or overflow.
bool parseInt(std::string_view text, long& value);
/// Text forms of a colour for answers and prompts: "bylayer", "byblock", "1", "rgb 255 127 0".
std::wstring colorAnswerText(const KdCmColor& color);
/// Reads a colour typed by a user or written in a script: 0..256, "bylayer", "byblock", the
/// names red..white, "r,g,b" or "rgb R G B"; false when the text is no colour.
bool parseColorText(std::string_view text, KdCmColor& color);

} // namespace kdui
