// The layer snapshot: an in-memory copy of a drawing's layer table that the layer-state
// commands read, change and write back in one go.
#pragma once

#include "tv/KdDbObjectId.h"
#include "tv/KdResbuf.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class KdDbDatabase;
class KdDbLayerTableRecord;

/// One layer of the snapshot: its entity list as the table walk gave it, and the values read
/// from it that the layer-state code works on.
struct CKdadLayerEntry {
    KdDbObjectId id;
    KdResbufPtr list;       ///< the record's entity list (group 2, 6, 62, 70, 370, 420, 430 ...)
    std::wstring name;      ///< group 2
    std::wstring upper;     ///< the name upper-cased, the key of lookups
    int flags = 0;          ///< group 70: 1 frozen, 2 frozen in new viewports, 4 locked
    int color = 7;          ///< group 62: negative when the layer is off
    int32_t rgb = -1;       ///< group 420, 0x00RRGGBB; -1 without a true colour
    std::wstring book;      ///< group 430, "BOOK$COLOR"; empty without a book colour
    std::wstring linetype;  ///< group 6
    int lineweight = -3;    ///< group 370
    bool plottable = true;  ///< group 290
    std::wstring plotStyle; ///< the plot style's name (group 390 refers to it)
    bool changed = false;   ///< changed since it was read; written back by writeBack
};

class CKdadLayerP {
public:
    CKdadLayerP() = default;
    ~CKdadLayerP();
    CKdadLayerP(const CKdadLayerP&) = delete;
    CKdadLayerP& operator=(const CKdadLayerP&) = delete;

    /// Reads every layer of `db` in table order, the current layer's name, and the
    /// names of the layers frozen in the current viewport (upper-cased). False when the
    /// drawing has no layer table.
    bool fill(KdDbDatabase* db);
    /// Reads the drawing again; changes not written back are dropped.
    bool refresh();

    KdDbDatabase* database() const { return m_db; }
    size_t size() const { return m_layers.size(); }
    CKdadLayerEntry& at(size_t i) { return m_layers[i]; }
    const CKdadLayerEntry& at(size_t i) const { return m_layers[i]; }
    /// The layer of that name (case ignored), or null.
    CKdadLayerEntry* find(std::wstring_view name);
    const CKdadLayerEntry* find(std::wstring_view name) const;
    /// Reads one more layer (made after the fill) into the snapshot; null when it is not a
    /// layer of the drawing.
    CKdadLayerEntry* addLayer(KdDbObjectId id);

    const std::wstring& currentLayer() const { return m_currentLayer; }
    /// The layer to make current when the snapshot is written back.
    void setCurrentLayer(const std::wstring& name) { m_currentLayer = name; }
    /// Whether the layer is frozen in the current viewport (always false in model space).
    bool isFrozenInCurrentViewport(std::wstring_view name) const;

    /// Writes every changed layer back through its entity list, makes the snapshot's current
    /// layer current ("CLAYER") and marks the layers unchanged. Returns the number of layers
    /// written, or -1 when a write failed (the layers before it stay written).
    int writeBack();

private:
    using LinetypeNames = std::unordered_map<const void*, std::wstring>;
    bool readEntry(const KdDbLayerTableRecord& layer, CKdadLayerEntry& entry,
                   LinetypeNames& linetypes) const;

    KdDbDatabase* m_db = nullptr;
    std::vector<CKdadLayerEntry> m_layers;
    std::unordered_map<std::wstring, size_t> m_byName;
    std::unordered_set<std::wstring> m_frozenInViewport;
    std::wstring m_currentLayer;
};

/// Upper-cased copy of a name, the form in which layer names are compared.
std::wstring tvUpperName(std::wstring_view name);
