// The layer filter manager of a drawing: builds the filter tree from the drawing and stores it.
#pragma once

#include "KdDbObjectId.h"
#include "KdExport.h"
#include "KdadStatus.h"

class KdDbDatabase;
class KdLyLayerFilter;

/// Reads and writes the layer filters of one drawing.
///
/// Storage: the LAYER table's extension dictionary holds the dictionary "ACLYDICTIONARY"
/// whose anonymous entries *A1, *A2 ... are xrecords, one per stored filter:
///   property filter  `1 AcLyLayerFilter / 90 1 / 300 name / 301 expression`
///   group filter     `1 AcLyLayerGroup / 90 1 / 300 name` then one `330 layer` per layer
/// A nested filter carries `331` with the xrecord of its parent after the name (and after the
/// expression of a property filter); top-level filters have none. The current filter is kept
/// as extended data `1001 ACAD / 1000 name` of the dictionary, the generated filters written
/// with a leading "<" ("<All"). Entries of any other form are left untouched, and xrecords
/// whose filter did not change are not rewritten. The older dictionary "ACAD_LAYERFILTERS"
/// (one xrecord per filter keyed by its name) is read as property filters too.
class TVHOST_API KdLyLayerFilterManager {
public:
    explicit KdLyLayerFilterManager(KdDbDatabase* db);
    ~KdLyLayerFilterManager();
    KdLyLayerFilterManager(const KdLyLayerFilterManager&) = delete;
    KdLyLayerFilterManager& operator=(const KdLyLayerFilterManager&) = delete;

    KdDbDatabase* database() const { return m_db; }

    /// A new tree: the root "All" (every layer), the generated "All Used Layers" under it
    /// (layer usage is computed now), then the stored filters. The caller owns the tree and
    /// deletes `root`; `current` is the filter that was current when the tree was stored (the
    /// root when there is none). Unreadable filter records are skipped.
    Kdad::ErrorStatus getFilters(KdLyLayerFilter*& root, KdLyLayerFilter*& current);
    /// Stores the filters of the tree under `root` that are not generated, and `current` (a
    /// filter of the tree; null for the root). The caller keeps the tree. eInvalidInput for a
    /// null root or a current filter outside the tree; eNotOpenForWrite and the like when the
    /// drawing refuses a change (what was written before the failure stays).
    Kdad::ErrorStatus setFilters(KdLyLayerFilter* root, KdLyLayerFilter* current);

    /// Name of the generated root filter and of the filter of used layers.
    static const wchar_t* allFilterName();
    static const wchar_t* usedLayersFilterName();
    /// A new "All Used Layers" filter; layer usage of the drawing is computed now.
    KdLyLayerFilter* generateUsedLayersFilter();

    /// The viewport whose frozen layers the VPFROZEN field tests; null in model space.
    KdDbObjectId viewportId() const { return m_viewportId; }
    void setViewportId(KdDbObjectId id) { m_viewportId = id; }

private:
    KdDbDatabase* m_db;
    KdDbObjectId m_viewportId;
};

/// The filter manager of `db`, made on first use and kept until released. Null for null.
TVHOST_API KdLyLayerFilterManager* kdlyGetLayerFilterManager(KdDbDatabase* db);
/// Frees the filter manager of `db` (when the drawing closes); pointers to it become invalid.
TVHOST_API void kdlyReleaseLayerFilterManager(KdDbDatabase* db);
