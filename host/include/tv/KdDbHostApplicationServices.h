// The Host application services: the working drawing and its layout manager.
#pragma once

#include "KdDbObjectId.h"
#include "KdExport.h"
#include "KdadStatus.h"

class KdDbDatabase;

/// Which layout of the working drawing is active. Model space is active while "TILEMODE" is 1;
/// otherwise one paper layout is, the drawing's paper space ("*Paper_Space") unless another
/// layout was made current.
class TVHOST_API KdDbLayoutManager {
public:
    KdDbLayoutManager() = default;
    virtual ~KdDbLayoutManager();
    KdDbLayoutManager(const KdDbLayoutManager&) = delete;
    KdDbLayoutManager& operator=(const KdDbLayoutManager&) = delete;

    /// The block record of the active layout of the working drawing; null without a drawing.
    KdDbObjectId getActiveLayoutBTRId() const;
    /// The active layout object itself; null without a drawing or when its block has none.
    KdDbObjectId getActiveLayoutId() const;
    /// Makes a layout of the working drawing current: the model layout sets "TILEMODE" 1, a
    /// paper layout sets it 0 and makes that layout the one paper-space calls work in.
    /// eInvalidInput for an id that is not a layout of the working drawing (nothing changes).
    Kdad::ErrorStatus setCurrentLayoutId(KdDbObjectId layoutId);
    /// The same by the layout's name (case ignored); eKeyNotFound when there is none.
    Kdad::ErrorStatus setCurrentLayout(const wchar_t* name);
    /// The paper-space block of the active paper layout (whatever "TILEMODE" says); null
    /// without a drawing.
    KdDbObjectId currentPaperSpaceBTRId() const;
};

class TVHOST_API KdDbHostApplicationServices {
public:
    KdDbHostApplicationServices() = default;
    virtual ~KdDbHostApplicationServices();
    KdDbHostApplicationServices(const KdDbHostApplicationServices&) = delete;
    KdDbHostApplicationServices& operator=(const KdDbHostApplicationServices&) = delete;

    /// The drawing commands work on (the editor's current drawing); null when none is open.
    KdDbDatabase* workingDatabase() const;
    KdDbLayoutManager* layoutManager() { return &m_layouts; }

private:
    KdDbLayoutManager m_layouts;
};

/// The Host's application services; never null.
TVHOST_API KdDbHostApplicationServices* kdHostApplicationServices();
