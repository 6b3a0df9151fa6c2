// One named layer state: its name, description, restore mask and the layer that was current.
#pragma once

#include "tv/KdString.h"

#include <cstdint>

/// Restore mask bits: which properties a restore applies (group 91 of a stored state).
enum TvLayerStateMask : uint32_t {
    kTvMaskOn = 0x001,
    kTvMaskFrozen = 0x002,
    kTvMaskLocked = 0x004,
    kTvMaskPlot = 0x008,
    kTvMaskColor = 0x010,
    kTvMaskLinetype = 0x020,
    kTvMaskLineweight = 0x040,
    kTvMaskPlotStyle = 0x080,
    kTvMaskNewViewportFrozen = 0x100,
    kTvMaskViewportFrozen = 0x200,
    kTvMaskKept = 0x400,        ///< carried over from storage on every restore
    kTvMaskAll = 0x3FF,         ///< the ten properties a user can choose
    kTvMaskStorageForm = 0x8000 ///< a stored mask from here on: entries are taken as stored
};

class CTvLayerState {
public:
    CTvLayerState() = default;
    virtual ~CTvLayerState();

    int listIndex() const { return m_listIndex; }
    void setListIndex(int index) { m_listIndex = index; }
    int reserved() const { return m_reserved; }
    void setReserved(int value) { m_reserved = value; }
    uint32_t mask() const { return m_mask; }
    void setMask(uint32_t mask) { m_mask = mask; }
    KdString currentLayer() const { return m_currentLayer; }
    void setCurrentLayer(const KdString& name) { m_currentLayer = name; }
    KdString name() const { return m_name; }
    void setName(const KdString& name) { m_name = name; }
    /// 1 by default; 2 marks a state that is never written to the drawing; 0 for states
    /// converted from legacy layer data.
    int viewportFlag() const { return m_viewportFlag; }
    void setViewportFlag(int flag) { m_viewportFlag = flag; }
    /// 1 when the drawing's layers agree with the state, as computed after each load.
    int matchFlag() const { return m_matchFlag; }
    void setMatchFlag(int flag) { m_matchFlag = flag; }
    KdString description() const { return m_description; }
    void setDescription(const KdString& text) { m_description = text; }
    /// 1 until a reader of the state's stored layers has met them.
    int unreadFlag() const { return m_unreadFlag; }
    void clearUnreadFlag() { m_unreadFlag = 0; }

    /// Name and description without copies, for the hot paths.
    const std::wstring& nameRef() const { return m_name.str(); }
    const std::wstring& currentLayerRef() const { return m_currentLayer.str(); }

private:
    int32_t m_listIndex = -1;
    int32_t m_reserved = 0;
    uint32_t m_mask = kTvMaskAll;
    KdString m_currentLayer;
    KdString m_name;
    int32_t m_viewportFlag = 1;
    int32_t m_matchFlag = 0;
    KdString m_description;
    int32_t m_unreadFlag = 1;
};
