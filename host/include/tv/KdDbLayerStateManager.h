// The Host's layer state manager: named layer states kept as xrecords in the layer-states
// dictionary of a drawing, listed, restored under a property mask and deleted.
#pragma once

#include "KdDbObject.h"
#include "KdString.h"

#include <vector>

class KdDbDatabase;

class TVHOST_API KdDbLayerStateManager {
public:
    /// Which properties a restore applies.
    enum LayerStateMask : int {
        kNone = 0x0000,
        kOn = 0x0001,
        kFrozen = 0x0002,
        kLocked = 0x0004,
        kPlot = 0x0008,
        kNewViewport = 0x0010,
        kColor = 0x0020,
        kLineType = 0x0040,
        kLineWeight = 0x0080,
        kPlotStyle = 0x0100,
        kCurrentViewport = 0x0200,
        kTransparency = 0x0400,
        kAll = 0x07FF
    };
    /// What a restore does to layers the state does not hold.
    enum RestoreFlags : int { kUndefDoNothing = 0, kUndefTurnOff = 1, kUndefFreeze = 2 };

    /// Per-layer flags of a stored state (group 90).
    enum LayerFlags : int {
        kLayerOff = 0x1,
        kLayerFrozen = 0x2,
        kLayerLocked = 0x4,
        kLayerPlottable = 0x8,
        kLayerNewViewportFrozen = 0x100,
        kLayerViewportFrozen = 0x200
    };

    explicit KdDbLayerStateManager(KdDbDatabase* db);
    ~KdDbLayerStateManager();

    KdDbDatabase* database() const { return m_db; }

    /// The dictionary holding the states ("ACAD_LAYERSTATES" in the extension dictionary of the
    /// layer table); null when absent and not to be created, or when it cannot be created.
    KdDbObjectId layerStatesDictionaryId(bool createIfNonExistent = false);
    /// True when a state of this name exists (case ignored).
    bool hasLayerState(const wchar_t* stateName);
    /// Names of the layers the state holds, in stored order (or, inverted, the drawing's layers
    /// it does not hold). Layers that no longer exist are left out. eKeyNotFound for no state.
    Kdad::ErrorStatus getLayerStateLayers(std::vector<KdString>& layerNames,
                                          const wchar_t* stateName, bool invert = false);
    /// Restores a state onto the drawing's layers: only the properties in `mask` (all when
    /// null), "frozen in the current viewport" applied to `viewportId` when it is a viewport.
    /// Layers are opened through the top transaction when there is one. eKeyNotFound for no
    /// state; an error status when a layer cannot be opened (what was done stays).
    Kdad::ErrorStatus restoreLayerState(const wchar_t* stateName, KdDbObjectId viewportId,
                                        int restoreFlags = kUndefDoNothing,
                                        const int* mask = nullptr);
    /// Removes the state's entry and erases its xrecord; eKeyNotFound for no state.
    Kdad::ErrorStatus deleteLayerState(const wchar_t* stateName);
    /// The state's stored mask (group 91), or -1 when there is no such state.
    int layerStateMask(const wchar_t* stateName);
    /// Names of all states, in dictionary order.
    std::vector<KdString> layerStateNames();

private:
    KdDbDatabase* m_db;
};
