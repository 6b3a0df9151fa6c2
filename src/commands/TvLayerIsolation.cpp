// Layer isolation record and un-isolation. The order of the steps is deliberate in each
// function: see the comments where an early step already changes the drawing.
#include "commands/TvLayerIsolation.h"

#include "common/TvCurrentDrawing.h"
#include "common/TvResbuf.h"
#include "common/TvSymbolName.h"
#include "layerstate/CTvLayerStateManager.h"
#include "snapshot/CKdadLayerP.h"

#include "tv/KdDbAds.h"
#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbHandle.h"
#include "tv/KdDbHostApplicationServices.h"
#include "tv/KdDbLayerStateManager.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbTransactionManager.h"
#include "tv/KdEdEditor.h"

#include <string>
#include <vector>

namespace tv {
namespace {

/// Handle texts are formed in buffers of this many characters.
constexpr size_t kHandleTextSize = 256;
/// What the newer route restores: on/off, frozen, locked, frozen in new viewports and frozen
/// in the current viewport. Isolation changes nothing else.
constexpr int kUnisolateMask =
    KdDbLayerStateManager::kOn | KdDbLayerStateManager::kFrozen | KdDbLayerStateManager::kLocked |
    KdDbLayerStateManager::kNewViewport | KdDbLayerStateManager::kCurrentViewport;
static_assert(kUnisolateMask == 535);

std::wstring handleText(KdDbObjectId id) {
    wchar_t text[kHandleTextSize] = {};
    if (id.isNull() || !id.handle().getIntoAsciiBuffer(text, kHandleTextSize))
        return {};
    return text;
}

KdDbObjectId idOfHandleText(KdDbDatabase* db, const std::wstring& text) {
    if (text.empty())
        return {};
    const KdDbHandle handle(text.c_str());
    KdDbObjectId id;
    if (handle.isNull() || db->getKdDbObjectId(id, false, handle) != Kdad::eOk)
        return {};
    return id;
}

/// Sets up the layer state manager object the way the layer-state commands do.
void prepareManager(CTvLayerStateManager& manager, KdDbDatabase* db, CKdadLayerP* snapshot) {
    manager.setDatabase(db);
    manager.setModelSpace(kdedGetShortVar(L"TILEMODE", 1) == 1);
    manager.setCurrentLayerName(textSystemVariable(L"CLAYER"));
    manager.setSnapshot(snapshot);
}

/// The record's extended data list: (-3) then the application and its two texts, or the
/// application alone, which removes its data.
KdResbufPtr recordXData(const std::wstring* layout, const std::wstring* viewport) {
    RbBuilder xdata;
    xdata.add(kdutNewRb(-3)).text(1001, kLayerToolsApp);
    if (layout && viewport)
        xdata.text(1000, *layout).text(1000, *viewport);
    return xdata.ok() ? xdata.take() : nullptr;
}

/// Appends `xdata` to the object's entity list and writes it back.
bool writeXData(const kd_name object, KdResbufPtr xdata) {
    KdResbufPtr list(kddbEntGet(object));
    if (!list || !xdata)
        return false;
    resbuf* tail = list.get();
    while (tail->rbnext)
        tail = tail->rbnext;
    tail->rbnext = xdata.release();
    return kddbEntMod(list.get()) == RTNORM;
}

/// The active layout's object, through its block record; null when any step fails.
KdDbObjectId activeLayoutId() {
    const KdDbObjectId block = kdHostApplicationServices()->layoutManager()->getActiveLayoutBTRId();
    if (block.isNull())
        return {};
    KdDbObjectPointer<KdDbBlockTableRecord> record(block, KdDb::kForRead);
    return record ? record->getLayoutId() : KdDbObjectId();
}

void redrawCurrentDocument() {
    kdedRedraw(nullptr, 1);
}

/// The layout and viewport texts of the record as read from its extended data.
struct RecordTexts {
    std::wstring layout;
    std::wstring viewport;
};

/// Reads the texts behind the application entry `app`: a 1000 entry each, else empty.
RecordTexts textsAfter(const resbuf* app) {
    RecordTexts texts;
    const resbuf* first = app ? app->rbnext : nullptr;
    if (first && first->restype == 1000 && first->resval.rstring) {
        texts.layout = first->resval.rstring;
        const resbuf* second = first->rbnext;
        if (second && second->restype == 1000 && second->resval.rstring)
            texts.viewport = second->resval.rstring;
    }
    return texts;
}

} // namespace

void recordLayerIsolation() {
    KdDbDatabase* db = kdHostApplicationServices()->workingDatabase();
    if (!db)
        return;
    CurrentDrawingScope drawing(db);
    CKdadLayerP snapshot;
    snapshot.fill(db);
    {
        // The state comes first and is saved whatever happens to the extended data below.
        CTvLayerStateManager manager;
        prepareManager(manager, db, &snapshot);
        if (manager.load() && manager.newState(kLayIsoStateName, L""))
            manager.save();
    }
    KdDbLayerStateManager* states = db->getLayerStateManager();
    const KdDbObjectId dictionaryId =
        states ? states->layerStatesDictionaryId(true) : KdDbObjectId();
    kd_name dictionary = {0, 0};
    if (dictionaryId.isNull() || kddbGetQdsName(dictionary, dictionaryId) != RTNORM)
        return;
    const std::wstring viewport = handleText(kdedGetCurViewportObjectId());
    const KdDbObjectId layout = activeLayoutId();
    if (layout.isNull())
        return;
    const std::wstring layoutText = handleText(layout);
    kddbRegApp(kLayerToolsApp);
    writeXData(dictionary, recordXData(&layoutText, &viewport));
}

int unisolateLayers() {
    KdDbDatabase* db = kdHostApplicationServices()->workingDatabase();
    if (!db)
        return 0;
    CurrentDrawingScope drawing(db);
    CKdadLayerP snapshot;
    KdDbLayerStateManager* states = db->getLayerStateManager();
    const KdDbObjectId dictionaryId =
        states ? states->layerStatesDictionaryId(true) : KdDbObjectId();
    kd_name dictionary = {0, 0};
    if (dictionaryId.isNull() || kddbGetQdsName(dictionary, dictionaryId) != RTNORM)
        return 0;

    kddbRegApp(kLayerToolsApp);
    RbBuilder apps;
    apps.text(RTSTR, kLayerToolsApp);
    KdResbufPtr list(kddbEntGetX(dictionary, apps.head()));
    const resbuf* app = findGroup(list.get(), 1001);
    if (!app || !app->resval.rstring || !sameNameIgnoringCase(app->resval.rstring, kLayerToolsApp))
        return 0;
    const RecordTexts texts = textsAfter(app);
    list.reset();

    const KdDbObjectId layout = idOfHandleText(db, texts.layout);
    if (!layout.isNull())
        kdHostApplicationServices()->layoutManager()->setCurrentLayoutId(layout);
    const KdDbObjectId viewport = idOfHandleText(db, texts.viewport);

    {
        CTvLayerStateManager manager;
        snapshot.fill(db);
        prepareManager(manager, db, &snapshot);
        manager.setRestoreBoxes(kTvMaskAll);
        manager.setStoreTurnOffOption(false);
        if (manager.load()) {
            manager.restoreByName(kLayIsoStateName, viewport);
            snapshot.writeBack();
            if (manager.deleteState(kLayIsoStateName))
                manager.save();
        }
        tvSetLayerTableChanges();
    }
    writeXData(dictionary, recordXData(nullptr, nullptr));
    return 1;
}

int unisolateLayersInTransaction() {
    KdDbDatabase* db = kdHostApplicationServices()->workingDatabase();
    if (!db)
        return 0;
    KdDbTransactionManager* transactions = db->transactionManager();
    KdDbTransaction* top = transactions ? transactions->topTransaction() : nullptr;
    KdDbLayerStateManager* states = db->getLayerStateManager();
    if (!top || !states || !states->hasLayerState(kLayIsoStateName))
        return 0;

    KdDbObject* dictionary = nullptr;
    const KdDbObjectId dictionaryId = states->layerStatesDictionaryId(false);
    if (dictionaryId.isNull() ||
        top->getObject(dictionary, dictionaryId, KdDb::kForWrite) != Kdad::eOk) {
        redrawCurrentDocument();
        return 0;
    }
    KdResbufPtr xdata(dictionary->xData(kLayerToolsApp));
    if (!xdata) {
        redrawCurrentDocument();
        return 0;
    }
    const RecordTexts texts = textsAfter(findGroup(xdata.get(), 1001));
    const KdDbObjectId layout = idOfHandleText(db, texts.layout);
    const KdDbObjectId viewport = idOfHandleText(db, texts.viewport);

    // The record goes before the restore is known to succeed; a layer that cannot be opened
    // below leaves the state for another try but the layout and viewport gone.
    RbBuilder bare;
    bare.text(1001, kLayerToolsApp);
    dictionary->setXData(bare.head());
    xdata.reset();

    if (!layout.isNull())
        kdHostApplicationServices()->layoutManager()->setCurrentLayoutId(layout);

    // Every layer of the state must open before anything is restored.
    std::vector<KdString> names;
    states->getLayerStateLayers(names, kLayIsoStateName, false);
    KdDbObject* tableObject = nullptr;
    if (top->getObject(tableObject, db->layerTableId(), KdDb::kForRead) != Kdad::eOk)
        return 0;
    auto* table = dynamic_cast<KdDbLayerTable*>(tableObject);
    if (!table)
        return 0;
    std::vector<KdDbObjectId> hidden; // locked, off or frozen: gathered, not used
    for (const KdString& name : names) {
        KdDbObjectId layerId;
        if (table->getAt(name.kwszPtr(), layerId) != Kdad::eOk)
            continue;
        KdDbObject* object = nullptr;
        if (top->getObject(object, layerId, KdDb::kForRead) != Kdad::eOk)
            return 0;
        auto* layer = dynamic_cast<KdDbLayerTableRecord*>(object);
        if (!layer)
            return 0;
        if (layer->isLocked() || layer->isOff() || layer->isFrozen())
            hidden.push_back(layerId);
    }

    const int mask = kUnisolateMask;
    states->restoreLayerState(kLayIsoStateName, viewport, KdDbLayerStateManager::kUndefDoNothing,
                              &mask);
    states->deleteLayerState(kLayIsoStateName);
    applyCurDwgLayerTableChanges();
    redrawCurrentDocument();
    return 1;
}

} // namespace tv
