// The layer state manager: the drawing's named layer states held in memory, loaded from and
// saved to the drawing's layer-states dictionary, restored onto the layers, exchanged as .las
// files and imported from other drawings. The dialogs show and collect; this does the work.
#pragma once

#include "layerstate/CTvLayerState.h"
#include "layerstate/CTvLayerStateInfo.h"

#include "tv/KdDbObjectId.h"
#include "tv/KdResbuf.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class KdDbDatabase;
class CKdadLayerP;

class CTvLayerStateManager {
public:
    using LayerArray = std::vector<std::unique_ptr<CTvLayerStateInfo>>;

    CTvLayerStateManager();
    ~CTvLayerStateManager();
    CTvLayerStateManager(const CTvLayerStateManager&) = delete;
    CTvLayerStateManager& operator=(const CTvLayerStateManager&) = delete;

    // -- Setting up --

    void setDatabase(KdDbDatabase* db) { m_db = db; }
    KdDbDatabase* database() const { return m_db; }
    /// Model space (TILEMODE 1) or a layout.
    void setModelSpace(bool modelSpace) { m_modelSpace = modelSpace; }
    bool modelSpace() const { return m_modelSpace; }
    /// The name of the drawing's current layer, as the command read it from "CLAYER".
    void setCurrentLayerName(const std::wstring& name) { m_currentLayerName = name; }
    const std::wstring& currentLayerName() const { return m_currentLayerName; }
    /// The layer snapshot that restores change; restore writes nothing to the drawing's layer
    /// records itself (only missing layers and linetypes are made, and the viewport's frozen
    /// list changed). The caller writes the snapshot back. Not owned.
    void setSnapshot(CKdadLayerP* snapshot) { m_snapshot = snapshot; }
    CKdadLayerP* snapshot() const { return m_snapshot; }
    /// The ten restore boxes as mask bits (0x1 to 0x200).
    void setRestoreBoxes(uint32_t boxes) { m_restoreBoxes = boxes & kTvMaskAll; }
    uint32_t restoreBoxes() const { return m_restoreBoxes; }
    /// "Turn off layers not found in the state".
    void setTurnOffNotFound(bool on) { m_turnOffNotFound = on; }
    bool turnOffNotFound() const { return m_turnOffNotFound; }
    /// Whether a restore stores the option above as the user's choice ("LAYSTATEOPTIONS");
    /// off for restores the user did not choose options for.
    void setStoreTurnOffOption(bool store) { m_storeTurnOffOption = store; }
    /// Set while states imported from another drawing are held: restore then keeps a
    /// linetype name the drawing lacks (and makes the linetype) instead of using Continuous.
    void setImportedFromDrawing(bool imported) { m_importedFromDrawing = imported; }

    // -- The states --

    /// States in the order the user sees them (the list's order).
    const std::vector<std::unique_ptr<CTvLayerState>>& states() const { return m_states; }
    size_t stateCount() const { return m_states.size(); }
    /// The state of that name (case ignored), or null.
    CTvLayerState* findState(std::wstring_view name) const;
    bool hasState(std::wstring_view name) const { return findState(name) != nullptr; }
    /// The layers of a state, or null when the state is not held.
    const LayerArray* layersOf(const CTvLayerState* state) const;
    LayerArray* layersOf(const CTvLayerState* state);
    /// `base`, or "base(1)", "base(2)" ... whichever is not a state name yet.
    std::wstring uniqueName(const std::wstring& base) const;
    /// Takes a state and its layers as they are (their current marks included); the match
    /// flag is computed. A state already held under that name (case ignored) is replaced in
    /// place, keeping its place in the list.
    CTvLayerState* addState(std::unique_ptr<CTvLayerState> state, LayerArray layers);
    /// Drops every state held (nothing is written).
    void clear();

    // -- Drawing storage --

    /// Loads the drawing's states (once; later calls recompute the match flags). 1 or 0.
    int load();
    /// Writes every held state back to the layer-states dictionary, replacing what it held,
    /// and strips converted legacy data from layers. 1 or 0.
    int save();
    /// Names of the layers whose legacy state data was converted on load.
    const std::vector<std::wstring>& legacyLayers() const { return m_legacyLayers; }

    // -- Operations --

    /// Captures the drawing's layers into a new state (mask 1023, the current layer from
    /// "CLAYER"). A state of that name is overwritten, keeping its place. Null when the name
    /// is empty or the drawing cannot be read.
    CTvLayerState* newState(const std::wstring& name, const std::wstring& description);
    /// Captures the drawing's layers into an existing state, with the mask given.
    bool captureInto(CTvLayerState* state, uint32_t mask);
    /// Restores a state with the restore boxes as they are set; 1 or 0.
    int restore(CTvLayerState* state);
    /// The same by name; 0 when there is no such state.
    int restoreByName(std::wstring_view name);
    /// The same, with "frozen in the current viewport" applied to `viewportId` instead of the
    /// current viewport; a null id restores that property for no viewport.
    int restoreByName(std::wstring_view name, KdDbObjectId viewportId);
    /// Restores one layer of a state under `mask`; `wholeState` is 1 for a whole-state restore.
    int restoreLayer(const CTvLayerStateInfo& info, uint32_t mask, int wholeState);
    bool deleteState(std::wstring_view name);
    /// Renames a state; false when the new name is empty, not a valid name, or taken by
    /// another state.
    bool renameState(std::wstring_view oldName, const std::wstring& newName);
    /// Compares the state with the drawing and stores the result in its match flag.
    int computeMatch(CTvLayerState* state);
    /// The name of the last restored state (empty before the first restore).
    const std::wstring& lastRestored() const { return m_lastRestored; }

    // -- Files --

    /// Writes one state to a .las file. 1 or 0.
    int exportState(const std::wstring& path, const CTvLayerState* state);
    /// The text exportState writes, before its conversion to the code page.
    bool exportText(const CTvLayerState* state, std::wstring& text) const;
    /// Reads a .las file into the manager. 1 or 0. On a name clash asks the user whether to
    /// replace the held state (no: 0 and nothing changed). `importedName` gets the name.
    int importLas(const std::wstring& path, std::wstring* importedName = nullptr);
    /// Reads .las text (already decoded) as importLas does.
    int importLasText(const std::wstring& text, std::wstring* importedName = nullptr);
    /// Imports states of another drawing: those whose names are in `names` ("*" for all;
    /// case ignored). Names already held are replaced. 1 or 0 (no such drawing, no states).
    int importFromDrawing(const std::wstring& path, const std::vector<std::wstring>& names);
    /// The states of another drawing by name, for the selection of what to import.
    static std::vector<std::wstring> statesOfDrawing(const std::wstring& path, bool* ok);
    /// Why the last file operation failed (empty after a success).
    const std::wstring& lastError() const { return m_lastError; }

private:
    struct LoadedState;
    int loadFrom(KdDbDatabase* db, bool convertLegacy);
    void convertLegacyStates();
    bool stripLegacyData();
    int saveAll();
    int writeState(const CTvLayerState& state, const LayerArray& layers, void* dictName);
    void applyLayer(const CTvLayerStateInfo& info, uint32_t mask, bool colorBox, bool linetypeBox,
                    bool lineweightBox, bool plotStyleBox);
    bool makeMissingLayer(const CTvLayerStateInfo& info);
    void markCurrent(CTvLayerState* state, LayerArray& layers) const;

    KdDbDatabase* m_db = nullptr;
    bool m_modelSpace = true;
    std::wstring m_currentLayerName;
    CKdadLayerP* m_snapshot = nullptr;
    uint32_t m_restoreBoxes = kTvMaskAll;
    bool m_turnOffNotFound = false;
    bool m_storeTurnOffOption = true;
    bool m_importedFromDrawing = false;
    bool m_loaded = false;
    /// The viewport a restore applies viewport freezing to, when given instead of the current.
    std::optional<KdDbObjectId> m_restoreViewport;

    std::vector<std::unique_ptr<CTvLayerState>> m_states;
    std::map<const CTvLayerState*, LayerArray> m_layers;
    /// States of other programs kept as stored (their data from group 91 on).
    std::map<const CTvLayerState*, KdResbufPtr> m_stored;
    std::vector<std::wstring> m_legacyLayers;
    std::vector<std::unique_ptr<CTvLayerState>> m_legacyPending; // converted, not yet named
    std::wstring m_lastRestored;
    std::wstring m_lastError;
};
