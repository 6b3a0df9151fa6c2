// The Host application services and the layout manager of the working drawing.
#include "tv/KdDbHostApplicationServices.h"

#include "KdEdSession.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbDictionary.h"
#include "tv/KdDbLayout.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <string>

namespace {

/// The layout object of `db` named `name` (case ignored).
KdDbObjectId findLayout(KdDbDatabase* db, const wchar_t* name) {
    KdDbObjectPointer<KdDbDictionary> layouts(db->layoutDictionaryId(), KdDb::kForRead);
    if (!layouts)
        return {};
    for (const KdDbDictionaryEntry& entry : layouts->entries()) {
        if (!entry.id.isValid() || entry.id.isErased())
            continue;
        KdDbObjectPointer<KdDbLayout> layout(entry.id, KdDb::kForRead);
        if (!layout)
            continue;
        if (tvEqualsNoCase(layout->getLayoutName().kwszPtr(), name))
            return entry.id;
    }
    return {};
}

} // namespace

KdDbLayoutManager::~KdDbLayoutManager() = default;

KdDbObjectId KdDbLayoutManager::currentPaperSpaceBTRId() const {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db)
        return {};
    const KdDbObjectId chosen = kded::drawingState(db)->paperLayoutBlock;
    if (chosen.isValid() && !chosen.isErased())
        return chosen;
    return db->paperSpaceId();
}

KdDbObjectId KdDbLayoutManager::getActiveLayoutBTRId() const {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db)
        return {};
    return db->tilemode() ? db->modelSpaceId() : currentPaperSpaceBTRId();
}

KdDbObjectId KdDbLayoutManager::getActiveLayoutId() const {
    KdDbDatabase* db = kdedCurrentDatabase();
    const KdDbObjectId block = getActiveLayoutBTRId();
    if (!db || block.isNull())
        return {};
    KdDbObjectPointer<KdDbBlockTableRecord> record(block, KdDb::kForRead);
    return record ? record->getLayoutId() : KdDbObjectId();
}

Kdad::ErrorStatus KdDbLayoutManager::setCurrentLayoutId(KdDbObjectId layoutId) {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db || layoutId.database() != db || !layoutId.isValid() || layoutId.isErased())
        return Kdad::eInvalidInput;
    KdDbObjectPointer<KdDbLayout> layout(layoutId, KdDb::kForRead);
    if (!layout)
        return Kdad::eInvalidInput;
    const KdDbObjectId block = layout->getBlockTableRecordId();
    if (block.isNull())
        return Kdad::eInvalidInput;
    if (block == db->modelSpaceId())
        return db->setTilemode(true);
    kded::drawingState(db)->paperLayoutBlock = block == db->paperSpaceId() ? KdDbObjectId() : block;
    return db->setTilemode(false);
}

Kdad::ErrorStatus KdDbLayoutManager::setCurrentLayout(const wchar_t* name) {
    KdDbDatabase* db = kdedCurrentDatabase();
    if (!db || !name)
        return Kdad::eInvalidInput;
    const KdDbObjectId layout = findLayout(db, name);
    return layout.isNull() ? Kdad::eKeyNotFound : setCurrentLayoutId(layout);
}

KdDbHostApplicationServices::~KdDbHostApplicationServices() = default;

KdDbDatabase* KdDbHostApplicationServices::workingDatabase() const {
    return kdedCurrentDatabase();
}

KdDbHostApplicationServices* kdHostApplicationServices() {
    static KdDbHostApplicationServices services;
    return &services;
}
