// A colour of the drawing (by layer, by block, index, true or colour-book colour), its raw
// 32-bit form and the index colour palette.
#pragma once

#include "KdExport.h"
#include "KdadStatus.h"

#include <cstdint>
#include <string>

namespace KdCmEntityColor {

/// How a colour is given; the value is the high byte of the raw 32-bit colour.
enum ColorMethod {
    kByLayer = 0xC0,
    kByBlock = 0xC1,
    kByColor = 0xC2, ///< true colour, 0xRRGGBB in the low 24 bits
    kByACI = 0xC3,   ///< index colour 1..255 in the low 24 bits
    kByPen = 0xC4,
    kForeground = 0xC5,
    kNone = 0xC8,
};

/// Index values with a meaning of their own.
enum ACIcolorMethod {
    kACIbyBlock = 0,
    kACIforeground = 7,
    kACIbyLayer = 256,
    kACInone = 257,
};

} // namespace KdCmEntityColor

/// A colour value. Default: by layer.
class TVHOST_API KdCmColor {
public:
    KdCmColor() = default;

    KdCmEntityColor::ColorMethod colorMethod() const;
    /// Switches the method, keeping what can be kept: an index colour becomes its palette RGB,
    /// a true colour its nearest index. Names are dropped. eInvalidInput for an unknown method.
    Kdad::ErrorStatus setColorMethod(KdCmEntityColor::ColorMethod method);

    bool isByLayer() const { return colorMethod() == KdCmEntityColor::kByLayer; }
    bool isByBlock() const { return colorMethod() == KdCmEntityColor::kByBlock; }
    bool isByColor() const { return colorMethod() == KdCmEntityColor::kByColor; }
    bool isByACI() const { return colorMethod() == KdCmEntityColor::kByACI; }
    bool isByPen() const { return colorMethod() == KdCmEntityColor::kByPen; }
    bool isForeground() const { return colorMethod() == KdCmEntityColor::kForeground; }
    bool isNone() const { return colorMethod() == KdCmEntityColor::kNone; }
    /// A true colour picked from a colour book (it has a book name).
    bool isColorBookColor() const { return isByColor() && hasBookName(); }

    /// 0 gives by block, 256 by layer, 1..255 an index colour; eInvalidIndex above 256
    /// (the colour is then unchanged). Names are dropped.
    Kdad::ErrorStatus setColorIndex(uint16_t index);
    /// 256 by layer, 0 by block, the index of an index colour, the nearest palette index of a
    /// true colour, 7 for the foreground colour, 257 for no colour.
    uint16_t colorIndex() const;

    /// Makes this a true colour; names are dropped.
    Kdad::ErrorStatus setRGB(uint8_t red, uint8_t green, uint8_t blue);
    /// The colour shown: the true colour, or the palette colour of the index (by layer white,
    /// by block black, no colour black).
    uint32_t trueColor24() const;
    uint8_t red() const { return static_cast<uint8_t>(trueColor24() >> 16); }
    uint8_t green() const { return static_cast<uint8_t>(trueColor24() >> 8); }
    uint8_t blue() const { return static_cast<uint8_t>(trueColor24()); }

    /// Raw form as stored in files: the method in the high byte, 0xRRGGBB of a true colour or
    /// the index of an index colour in the low 24 bits.
    uint32_t color() const { return m_value; }
    /// Sets the raw form, kept bit for bit; eInvalidInput for an unknown method or an index
    /// above 256 (the colour is then unchanged). Names are dropped.
    Kdad::ErrorStatus setColor(uint32_t raw);

    /// Names of a true colour: a colour name alone, or a colour name in a book (a colour-book
    /// colour). Null means empty. eNotApplicable when this is not a true colour, eInvalidInput
    /// for a book name without a colour name.
    Kdad::ErrorStatus setNames(const wchar_t* colorName, const wchar_t* bookName = nullptr);
    /// Never null.
    const wchar_t* colorName() const { return m_colorName.c_str(); }
    /// Never null.
    const wchar_t* bookName() const { return m_bookName.c_str(); }
    bool hasColorName() const { return !m_colorName.empty(); }
    bool hasBookName() const { return !m_bookName.empty(); }

    /// What a colour list shows: "ByLayer", "ByBlock", "red".."white" for 1..7, the number of
    /// another index, "R,G,B" for a true colour, "BOOK$NAME" for a colour-book colour.
    std::wstring colorNameForDisplay() const;
    /// A longer form for messages: "ByLayer", "Index 30", "True Color 255,127,0".
    std::wstring getDescription() const;

    bool operator==(const KdCmColor& other) const = default;

private:
    uint32_t m_value = static_cast<uint32_t>(KdCmEntityColor::kByLayer) << 24;
    std::wstring m_colorName;
    std::wstring m_bookName;
};

/// Palette colour of an index as 0x00RRGGBB: 1..255 from the standard index colour table,
/// 0 (by block) black, 256 (by layer) white; 0 for an index outside 0..256.
TVHOST_API uint32_t kdedGetRGB(int colorIndex);

/// The palette index 1..255 of a colour: the first exact match, else the nearest by squared
/// distance in RGB (the lowest index on a tie).
TVHOST_API int kdcmNearestColorIndex(uint8_t red, uint8_t green, uint8_t blue);

/// 257 names by index: 0 "ByBlock", 1..7 "Red".."White", 256 "ByLayer", all others null.
TVHOST_API const wchar_t* const* kdcmGetLocalizedColorNames();
