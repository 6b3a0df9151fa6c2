// Restoring a layer state: the state's layer properties put onto the layer snapshot under the
// restore mask, missing layers and linetypes made, the current viewport's frozen layers set.
#include "layerstate/CTvLayerStateManager.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "snapshot/CKdadLayerP.h"

#include "tv/KdConfigData.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <cstdlib>
#include <unordered_set>

namespace {

bool hasLinetype(const std::wstring& name) {
    KdResbufPtr rec(kddbTblSearch(L"LTYPE", name.c_str(), 0));
    return rec != nullptr;
}

/// Makes a plain solid linetype of that name; false when the drawing refuses it.
bool makeLinetype(const std::wstring& name) {
    tv::RbBuilder list;
    list.text(0, L"LTYPE")
        .text(100, L"AcDbSymbolTableRecord")
        .text(100, L"AcDbLinetypeTableRecord")
        .text(2, name)
        .shortValue(70, 0)
        .text(3, L"Solid line");
    return list.ok() && kddbEntMake(list.head()) == RTNORM;
}

} // namespace

/// The linetype a restored layer gets: the state's, when the drawing has it; otherwise
/// Continuous (or, for states imported from another drawing, the state's name), made as a
/// solid linetype when the drawing lacks it. Empty when it cannot be made.
static std::wstring restorableLinetype(const std::wstring& wanted, bool keepName) {
    if (hasLinetype(wanted))
        return wanted;
    const std::wstring name = keepName ? wanted : std::wstring(L"Continuous");
    if (hasLinetype(name) || makeLinetype(name))
        return name;
    return {};
}

bool CTvLayerStateManager::makeMissingLayer(const CTvLayerStateInfo& info) {
    const std::wstring linetype = restorableLinetype(info.linetypeRef(), m_importedFromDrawing);
    if (linetype.empty())
        return false;
    const int32_t flags = info.flags();
    int code70 = 0;
    if (flags & kTvLayerFrozen)
        code70 |= 1;
    if (flags & kTvLayerNewViewportFrozen)
        code70 |= 2;
    if (flags & kTvLayerLocked)
        code70 |= 4;
    const int index = std::abs(info.color()) == 0 ? 7 : std::abs(info.color());
    tv::RbBuilder list;
    list.text(0, L"LAYER")
        .text(100, L"AcDbSymbolTableRecord")
        .text(100, L"AcDbLayerTableRecord")
        .text(2, info.layerNameRef())
        .shortValue(70, code70)
        .shortValue(62, (flags & kTvLayerOff) ? -index : index);
    if (info.trueColor() <= 0xFFFFFFu) {
        list.longValue(420, static_cast<int32_t>(tvSwapRedBlue(info.trueColor())));
        if (!info.colorBookRef().empty())
            list.text(430, info.colorBookRef());
    }
    list.text(6, linetype)
        .shortValue(370, info.lineweight())
        .shortValue(290, (flags & kTvLayerPlottable) ? 1 : 0);
    if (!list.ok() || kddbEntMake(list.head()) != RTNORM)
        return false;
    KdResbufPtr rec(kddbTblSearch(L"LAYER", info.layerNameRef().c_str(), 0));
    KdDbObjectId id;
    if (!rec || kddbGetObjectId(id, rec->resval.rlname) != RTNORM)
        return false;
    if (m_snapshot)
        m_snapshot->addLayer(id);
    return true;
}

void CTvLayerStateManager::applyLayer(const CTvLayerStateInfo& info, uint32_t mask, bool colorBox,
                                      bool linetypeBox, bool lineweightBox, bool plotStyleBox) {
    CKdadLayerEntry* e = m_snapshot->find(info.layerNameRef());
    if (!e) {
        makeMissingLayer(info);
        return;
    }
    const int32_t flags = info.flags();
    const int index = std::abs(e->color);
    bool off = e->color < 0;
    if ((mask & kTvMaskOn) && m_modelSpace)
        off = (flags & kTvLayerOff) != 0;
    int newFlags = e->flags;
    auto setBit = [&newFlags](int bit, bool on) {
        newFlags = on ? newFlags | bit : newFlags & ~bit;
    };
    if (mask & kTvMaskFrozen)
        setBit(1, (flags & kTvLayerFrozen) != 0);
    if (mask & kTvMaskNewViewportFrozen)
        setBit(2, (flags & kTvLayerNewViewportFrozen) != 0);
    if (mask & kTvMaskLocked)
        setBit(4, (flags & kTvLayerLocked) != 0);
    bool plottable = e->plottable;
    if (mask & kTvMaskPlot)
        plottable = (flags & kTvLayerPlottable) != 0;

    int newIndex = index;
    int32_t rgb = e->rgb;
    std::wstring book = e->book;
    if (colorBox) {
        newIndex = std::abs(info.color());
        if (newIndex == 0 || newIndex > 255)
            newIndex = 7;
        if (info.trueColor() <= 0xFFFFFFu) {
            rgb = static_cast<int32_t>(tvSwapRedBlue(info.trueColor()));
            book = info.colorBookRef();
        } else {
            rgb = -1;
            book.clear();
        }
    }
    std::wstring linetype = e->linetype;
    if (linetypeBox && !tvEqualsNoCase(info.linetypeRef(), e->linetype)) {
        const std::wstring lt = restorableLinetype(info.linetypeRef(), m_importedFromDrawing);
        if (!lt.empty())
            linetype = lt;
    }
    const int lineweight = lineweightBox ? info.lineweight() : e->lineweight;
    std::wstring plotStyle = e->plotStyle;
    // With colour-dependent plot styles a layer's plot style follows its colour; only drawings
    // with named plot styles take the state's name.
    if (plotStyleBox && !info.plotStyleRef().empty() && !m_db->plotStyleMode())
        plotStyle = info.plotStyleRef();

    const int color = off ? -newIndex : newIndex;
    if (color != e->color || newFlags != e->flags || plottable != e->plottable || rgb != e->rgb ||
        book != e->book || linetype != e->linetype || lineweight != e->lineweight ||
        plotStyle != e->plotStyle) {
        e->color = color;
        e->flags = newFlags;
        e->plottable = plottable;
        e->rgb = rgb;
        e->book = std::move(book);
        e->linetype = std::move(linetype);
        e->lineweight = lineweight;
        e->plotStyle = std::move(plotStyle);
        e->changed = true;
    }
}

int CTvLayerStateManager::restoreLayer(const CTvLayerStateInfo& info, uint32_t mask,
                                       int wholeState) {
    (void)wholeState; // both callers restore the layer the same way
    if (!m_db || !m_snapshot)
        return 0;
    tv::CurrentDrawingScope scope(m_db);
    applyLayer(info, mask, (mask & kTvMaskColor) != 0, (mask & kTvMaskLinetype) != 0,
               (mask & kTvMaskLineweight) != 0, (mask & kTvMaskPlotStyle) != 0);
    return 1;
}

int CTvLayerStateManager::restore(CTvLayerState* state) {
    LayerArray* layers = layersOf(state);
    if (!m_db || !state || !layers)
        return 0;
    tv::CurrentDrawingScope scope(m_db);
    // Without a snapshot from the caller, restore into one of our own and write it back here.
    CKdadLayerP own;
    const bool ownSnapshot = m_snapshot == nullptr || m_snapshot->database() != m_db;
    CKdadLayerP* saved = m_snapshot;
    if (ownSnapshot) {
        if (!own.fill(m_db))
            return 0;
        m_snapshot = &own;
    }

    const uint32_t mask = (state->mask() & kTvMaskKept) | (m_restoreBoxes & kTvMaskAll);
    state->setMask(mask);
    std::unordered_set<std::wstring> inState;
    std::vector<KdDbObjectId> freezeInViewport;
    std::vector<KdDbObjectId> thawInViewport;
    for (const auto& info : *layers) {
        if (!info)
            continue;
        applyLayer(*info, mask, (m_restoreBoxes & kTvMaskColor) != 0,
                   (m_restoreBoxes & kTvMaskLinetype) != 0,
                   (m_restoreBoxes & kTvMaskLineweight) != 0,
                   (m_restoreBoxes & kTvMaskPlotStyle) != 0);
        inState.insert(tvUpperName(info->layerNameRef()));
        if (!m_modelSpace && (mask & kTvMaskViewportFrozen)) {
            if (const CKdadLayerEntry* e = m_snapshot->find(info->layerNameRef()))
                ((info->flags() & kTvLayerViewportFrozen) ? freezeInViewport : thawInViewport)
                    .push_back(e->id);
        }
    }
    const bool ownDrawing = kdedCurrentDatabase() == m_db;
    const KdDbObjectId viewport = m_restoreViewport ? *m_restoreViewport
                                  : ownDrawing      ? kdedGetCurViewportObjectId()
                                                    : KdDbObjectId();
    if (!m_modelSpace && (mask & kTvMaskViewportFrozen) && !viewport.isNull()) {
        KdDbObjectPointer<KdDbViewport> vp(viewport, KdDb::kForWrite);
        if (vp) {
            if (!freezeInViewport.empty())
                vp->freezeLayersInViewport(freezeInViewport);
            if (!thawInViewport.empty())
                vp->thawLayersInViewport(thawInViewport);
        }
    }
    const std::wstring& current = state->currentLayerRef();
    if (const CKdadLayerEntry* e = m_snapshot->find(current))
        m_snapshot->setCurrentLayer(e->name);
    // The layer that ends up current cannot stay frozen.
    if (CKdadLayerEntry* e = m_snapshot->find(m_snapshot->currentLayer()); e && (e->flags & 1)) {
        e->flags &= ~1;
        e->changed = true;
    }
    if (m_turnOffNotFound) {
        for (size_t i = 0; i < m_snapshot->size(); ++i) {
            CKdadLayerEntry& e = m_snapshot->at(i);
            if (e.color > 0 && !inState.count(e.upper)) {
                e.color = -e.color;
                e.changed = true;
            }
        }
    }
    kdedRedraw(nullptr, 0);
    int result = 1;
    if (ownSnapshot && m_snapshot->writeBack() < 0)
        result = 0;
    computeMatch(state);
    if (ownSnapshot) {
        m_snapshot = saved;
        tvSetLayerTableChanges();
    }
    m_lastRestored = state->nameRef();
    KdConfigDataManager* config = m_storeTurnOffOption ? getConfigDataManager() : nullptr;
    if (config)
        config->setValue(L"LAYSTATEOPTIONS", static_cast<int16_t>(m_turnOffNotFound ? 1 : 0));
    return result;
}

int CTvLayerStateManager::restoreByName(std::wstring_view name) {
    return restore(findState(name));
}

int CTvLayerStateManager::restoreByName(std::wstring_view name, KdDbObjectId viewportId) {
    m_restoreViewport = viewportId;
    const int result = restore(findState(name));
    m_restoreViewport.reset();
    return result;
}
