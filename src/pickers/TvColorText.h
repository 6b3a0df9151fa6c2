// The text form of a colour ("30;RGB:255,127,0;BOOK:MyBook$Orange 1"): its writer and reader.
#pragma once

#include "tv/KdCmColor.h"

#include <cstdint>
#include <string>

namespace tv {

/// Size in characters (terminator included) of the book output of readColorText and of the
/// reader's working copy of the text.
inline constexpr int kColorTextBookSize = 256;
/// The longest text the reader looks at; characters behind it are ignored.
inline constexpr int kColorTextMaxRead = 256;

/// Writes the colour text of `color` into `out` (`size` characters, terminator included):
/// the colour index ("%d"; for a true colour the nearest palette index, as colorIndex() gives
/// it), then ";RGB:%d,%d,%d" (red, green, blue) for a true colour, then ";BOOK:%s$%s" (book
/// name, colour name) for a colour-book colour.
/// Returns the number of characters written, terminator not counted. When the whole text does
/// not fit, nothing is written but an empty string (when `size` > 0) and -1 is returned: a
/// cut text could read back as another colour. -1 as well for a null `out` or `size` < 1.
int writeColorText(wchar_t* out, int size, const KdCmColor& color);

/// The colour text of `color` as a string (never cut).
std::wstring colorText(const KdCmColor& color);

/// Reads a colour text. Each field is read only when its output is given (null skips it):
/// - `index`: the index field, 0..256, "BYLAYER", "BYBLOCK" or "RED".."WHITE" (1..7), letters
///   A-Z in any case; a number is its leading decimal digits;
/// - `packedRgb`: the "RGB:r,g,b" field, packed red | green << 8 | blue << 16; set to 0 as soon
///   as the field is there, left alone when it is not;
/// - `book`: the third field "BOOK:book$name", copied as "book$name" (at most
///   kColorTextBookSize - 1 characters and the terminator); left alone when not read.
/// Returns -1 for malformed text (null, a third ";", a bad index field); otherwise 0, plus 1
/// for a true colour read, plus 1 for a colour-book entry read. A malformed RGB field makes
/// the read return 0 at once, without reading the book field (the index stays as read).
int readColorText(const wchar_t* text, int* index, uint32_t* packedRgb, wchar_t* book);

/// The packed form that readColorText gives: red in the low byte, then green, then blue.
constexpr uint32_t packColorTextRgb(uint8_t red, uint8_t green, uint8_t blue) {
    return uint32_t{red} | (uint32_t{green} << 8) | (uint32_t{blue} << 16);
}

} // namespace tv
