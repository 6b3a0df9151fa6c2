// Colour values: methods, index and true colours, colour-book names, raw form and display text.
#include "tv/KdCmColor.h"

#include <iterator>

namespace {

namespace cm = KdCmEntityColor;

constexpr uint32_t kLowMask = 0x00FFFFFF;
constexpr int kMethodShift = 24;
constexpr uint16_t kLastPaletteIndex = 255;

constexpr uint32_t raw(cm::ColorMethod method, uint32_t low = 0) {
    return (static_cast<uint32_t>(method) << kMethodShift) | (low & kLowMask);
}

bool isKnownMethod(uint32_t method) {
    switch (method) {
    case cm::kByLayer:
    case cm::kByBlock:
    case cm::kByColor:
    case cm::kByACI:
    case cm::kByPen:
    case cm::kForeground:
    case cm::kNone:
        return true;
    default:
        return false;
    }
}

std::wstring rgbText(uint32_t rgb) {
    return std::to_wstring((rgb >> 16) & 0xFF) + L"," + std::to_wstring((rgb >> 8) & 0xFF) + L"," +
           std::to_wstring(rgb & 0xFF);
}

} // namespace

KdCmEntityColor::ColorMethod KdCmColor::colorMethod() const {
    return static_cast<cm::ColorMethod>(m_value >> kMethodShift);
}

Kdad::ErrorStatus KdCmColor::setColorMethod(KdCmEntityColor::ColorMethod method) {
    if (!isKnownMethod(static_cast<uint32_t>(method)))
        return Kdad::eInvalidInput;
    if (method == colorMethod())
        return Kdad::eOk;
    uint32_t value = raw(method);
    switch (method) {
    case cm::kByColor:
        value = raw(method, trueColor24());
        break;
    case cm::kByACI:
    case cm::kByPen: {
        const uint16_t index = colorIndex();
        const bool inPalette = index >= 1 && index <= kLastPaletteIndex;
        value = raw(method, inPalette ? index : static_cast<uint32_t>(cm::kACIforeground));
        break;
    }
    default:
        break;
    }
    m_value = value;
    m_colorName.clear();
    m_bookName.clear();
    return Kdad::eOk;
}

Kdad::ErrorStatus KdCmColor::setColorIndex(uint16_t index) {
    if (index > cm::kACIbyLayer)
        return Kdad::eInvalidIndex;
    if (index == cm::kACIbyLayer)
        m_value = raw(cm::kByLayer);
    else if (index == cm::kACIbyBlock)
        m_value = raw(cm::kByBlock);
    else
        m_value = raw(cm::kByACI, index);
    m_colorName.clear();
    m_bookName.clear();
    return Kdad::eOk;
}

uint16_t KdCmColor::colorIndex() const {
    switch (colorMethod()) {
    case cm::kByLayer:
        return cm::kACIbyLayer;
    case cm::kByBlock:
        return cm::kACIbyBlock;
    case cm::kByACI:
    case cm::kByPen:
        return static_cast<uint16_t>(m_value & kLowMask);
    case cm::kByColor: {
        const uint32_t rgb = m_value & kLowMask;
        return static_cast<uint16_t>(kdcmNearestColorIndex(static_cast<uint8_t>(rgb >> 16),
                                                           static_cast<uint8_t>(rgb >> 8),
                                                           static_cast<uint8_t>(rgb)));
    }
    case cm::kForeground:
        return cm::kACIforeground;
    case cm::kNone:
        break;
    }
    return cm::kACInone;
}

Kdad::ErrorStatus KdCmColor::setRGB(uint8_t red, uint8_t green, uint8_t blue) {
    m_value = raw(cm::kByColor, (uint32_t{red} << 16) | (uint32_t{green} << 8) | blue);
    m_colorName.clear();
    m_bookName.clear();
    return Kdad::eOk;
}

uint32_t KdCmColor::trueColor24() const {
    if (isByColor())
        return m_value & kLowMask;
    if (isNone())
        return 0;
    return kdedGetRGB(colorIndex());
}

Kdad::ErrorStatus KdCmColor::setColor(uint32_t rawValue) {
    const uint32_t method = rawValue >> kMethodShift;
    if (!isKnownMethod(method))
        return Kdad::eInvalidInput;
    if (method == cm::kByACI && (rawValue & kLowMask) > cm::kACIbyLayer)
        return Kdad::eInvalidInput;
    m_value = rawValue;
    m_colorName.clear();
    m_bookName.clear();
    return Kdad::eOk;
}

Kdad::ErrorStatus KdCmColor::setNames(const wchar_t* colorName, const wchar_t* bookName) {
    if (!isByColor())
        return Kdad::eNotApplicable;
    const std::wstring color = colorName != nullptr ? colorName : L"";
    const std::wstring book = bookName != nullptr ? bookName : L"";
    if (color.empty() && !book.empty())
        return Kdad::eInvalidInput;
    m_colorName = color;
    m_bookName = book;
    return Kdad::eOk;
}

std::wstring KdCmColor::colorNameForDisplay() const {
    static constexpr const wchar_t* kStandardNames[] = {L"red",  L"yellow",  L"green", L"cyan",
                                                        L"blue", L"magenta", L"white"};
    switch (colorMethod()) {
    case cm::kByLayer:
        return L"ByLayer";
    case cm::kByBlock:
        return L"ByBlock";
    case cm::kByColor:
        if (isColorBookColor())
            return m_bookName + L"$" + m_colorName;
        return rgbText(m_value & kLowMask);
    case cm::kForeground:
        return L"Foreground";
    case cm::kNone:
        return L"None";
    case cm::kByACI:
    case cm::kByPen:
        break;
    }
    const uint16_t index = colorIndex();
    if (index >= 1 && index <= std::size(kStandardNames))
        return kStandardNames[index - 1];
    return std::to_wstring(index);
}

std::wstring KdCmColor::getDescription() const {
    switch (colorMethod()) {
    case cm::kByACI:
        return L"Index " + std::to_wstring(colorIndex());
    case cm::kByPen:
        return L"Pen " + std::to_wstring(colorIndex());
    case cm::kByColor:
        if (isColorBookColor())
            return L"Color Book " + colorNameForDisplay();
        return L"True Color " + rgbText(m_value & kLowMask);
    default:
        return colorNameForDisplay();
    }
}
