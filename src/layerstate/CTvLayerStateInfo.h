// One layer inside a layer state: the layer's properties as the state keeps them.
#pragma once

#include "tv/KdString.h"

#include <cstdint>

/// Layer flag bits of a state's layer (group 90).
enum TvLayerStateFlags : int32_t {
    kTvLayerOff = 0x1,
    kTvLayerFrozen = 0x2,
    kTvLayerLocked = 0x4,
    kTvLayerPlottable = 0x8,
    kTvLayerNewViewportFrozen = 0x100,
    kTvLayerViewportFrozen = 0x200
};

/// The true colour value that means "no true colour".
inline constexpr uint32_t kTvNoTrueColor = 0xFFFFFFFFu;

/// A state's true colour (0x00BBGGRR) as a drawing holds it (0x00RRGGBB), and back.
inline constexpr uint32_t tvSwapRedBlue(uint32_t c) {
    return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

class CTvLayerStateInfo {
public:
    /// Layer "0", on, thawed, unlocked, plottable, colour 0, no true colour, "Continuous",
    /// the default lineweight and the default plot style of colour 7.
    CTvLayerStateInfo();
    virtual ~CTvLayerStateInfo();

    /// An object the edit dialogs attach to the row; not owned.
    uint32_t layerObject() const { return m_layerObject; }
    void setLayerObject(uint32_t object) { m_layerObject = object; }
    int isCurrent() const { return m_isCurrent; }
    void setIsCurrent(int current) { m_isCurrent = current; }
    KdString layerName() const { return m_layerName; }
    void setLayerName(const KdString& name) { m_layerName = name; }
    int32_t flags() const { return m_flags; }
    void setFlags(int32_t flags) { m_flags = flags; }
    int32_t color() const { return m_color; }
    void setColor(int32_t color) { m_color = color; }
    /// 0x00BBGGRR (red in the low byte), or kTvNoTrueColor.
    uint32_t trueColor() const { return m_trueColor; }
    void setTrueColor(uint32_t color) { m_trueColor = color; }
    KdString colorBook() const { return m_colorBook; }
    void setColorBook(const KdString& text) { m_colorBook = text; }
    KdString linetype() const { return m_linetype; }
    void setLinetype(const KdString& name) { m_linetype = name; }
    int32_t lineweight() const { return m_lineweight; }
    void setLineweight(int32_t lineweight) { m_lineweight = lineweight; }
    KdString plotStyle() const { return m_plotStyle; }
    void setPlotStyle(const KdString& name) { m_plotStyle = name; }

    const std::wstring& layerNameRef() const { return m_layerName.str(); }
    const std::wstring& linetypeRef() const { return m_linetype.str(); }
    const std::wstring& colorBookRef() const { return m_colorBook.str(); }
    const std::wstring& plotStyleRef() const { return m_plotStyle.str(); }

private:
    uint32_t m_layerObject = 0;
    int32_t m_isCurrent = 0;
    KdString m_layerName{L"0"};
    int32_t m_flags = kTvLayerPlottable;
    int32_t m_color = 0;
    uint32_t m_trueColor = kTvNoTrueColor;
    KdString m_colorBook;
    KdString m_linetype{L"Continuous"};
    int32_t m_lineweight = -3;
    KdString m_plotStyle;
};
