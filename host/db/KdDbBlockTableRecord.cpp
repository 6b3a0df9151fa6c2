// Block table records: layout link, entity list, appending entities.
#include <tv/KdDbBlockTableRecord.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <tv/KdDbEntity.h>
#include <tv/KdDbSymbolTable.h>

namespace {

class KdDbBlockState : public KdDbObjectState {
public:
    std::vector<KdDbObjectId> entities;
};

constexpr std::string_view kMarker = "AcDbBlockTableRecord";

} // namespace

KdDbBlockTableRecord::KdDbBlockTableRecord() : KdDbSymbolTableRecord("BLOCK_RECORD") {}
KdDbBlockTableRecord::~KdDbBlockTableRecord() = default;

KdDbObjectId KdDbBlockTableRecord::getLayoutId() const {
    auto [b, e] = subclassRange(kMarker);
    uint64_t h = 0;
    if (!database() || !tvdxf::parseHandle(tagValue(340, b, e), h) || h == 0)
        return KdDbObjectId::kNull;
    return database()->objectIdOf(h);
}

Kdad::ErrorStatus KdDbBlockTableRecord::setLayoutId(KdDbObjectId layoutId) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    static constexpr int kOrder[] = {2, 340, 70, 280, 281};
    setField(kMarker, kOrder, 340, layoutId.handle().ascii());
    return Kdad::eOk;
}

bool KdDbBlockTableRecord::isLayout() const {
    return !getLayoutId().isNull();
}

bool KdDbBlockTableRecord::isAnonymous() const {
    return !cachedName().empty() && cachedName().front() == L'*';
}

bool KdDbBlockTableRecord::isFromExternalReference() const {
    KdDbObject* begin = m_begin.stub() ? m_begin.stub()->object : nullptr;
    return begin && (begin->tagInt(70, 0) & 4) != 0;
}

size_t KdDbBlockTableRecord::entityCount() const {
    size_t n = 0;
    for (const KdDbObjectId& id : m_entities)
        n += id.isErased() ? 0 : 1;
    return n;
}

Kdad::ErrorStatus KdDbBlockTableRecord::appendKdDbEntity(KdDbEntity* entity) {
    KdDbObjectId id;
    return appendKdDbEntity(id, entity);
}

Kdad::ErrorStatus KdDbBlockTableRecord::appendKdDbEntity(KdDbObjectId& id, KdDbEntity* entity) {
    if (!entity)
        return Kdad::eNullObjectPointer;
    if (!entity->isNewObject())
        return Kdad::eAlreadyInDb;
    if (!database())
        return Kdad::eNotInDatabase;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    KdDbDatabase* db = database();
    // Owner and common groups first, as the reader expects them.
    auto t = entity->tags();
    std::vector<KdDbTag> tags;
    auto add = [&](int code, std::string_view v) {
        std::string_view s = KdDbAccess::storeString(db, v);
        tags.push_back(
            KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)});
    };
    add(5, "0");
    add(330, getDbHandle().ascii());
    bool hasEntityMarker = false;
    bool hasLayer = false;
    for (const KdDbTag& tag : t) {
        hasEntityMarker = hasEntityMarker || (tag.code == 100 && tag.value() == "AcDbEntity");
        hasLayer = hasLayer || tag.code == 8;
    }
    if (!hasEntityMarker)
        add(100, "AcDbEntity");
    KdDbObjectId paper = db->paperSpaceId();
    if (objectId() == paper && !hasEntityMarker)
        add(67, "1");
    if (!hasLayer) {
        KdDbObjectId layer = entity->layerId().isNull() ? db->clayer() : entity->layerId();
        KdDbObject* layerObj = layer.stub() ? layer.stub()->object : nullptr;
        add(8, layerObj ? layerObj->tagValue(2) : std::string_view("0"));
        KdDbAccess::bindLayer(entity, layer.stub());
    }
    for (const KdDbTag& tag : t) {
        std::string_view s = KdDbAccess::storeString(db, tag.value());
        tags.push_back(KdDbTag{s.data(), tag.size, tag.code});
    }
    KdDbAccess::setTags(entity, std::move(tags));
    id = KdDbAccess::adopt(db, entity);
    if (!entity->boundLayer()) {
        // A layer named in the entity's own tags: bound so that it follows a rename.
        std::wstring name = db->decode(tvdxf::trimmed(entity->tagValue(8)));
        KdDbObjectId tableId = db->layerTableId();
        auto* table =
            dynamic_cast<KdDbSymbolTable*>(tableId.stub() ? tableId.stub()->object : nullptr);
        KdDbObjectId layerId;
        if (table && table->getAt(name.c_str(), layerId) == Kdad::eOk)
            KdDbAccess::bindLayer(entity, layerId.stub());
    }
    m_entities.push_back(id);
    if (objectId() == db->modelSpaceId() || objectId() == paper)
        KdDbAccess::impl(db).entitiesSection.push_back(id);
    return Kdad::eOk;
}

std::unique_ptr<KdDbObjectState> KdDbBlockTableRecord::saveState() const {
    auto state = std::make_unique<KdDbBlockState>();
    saveStateInto(*state);
    state->entities = m_entities;
    return state;
}

void KdDbBlockTableRecord::restoreState(const KdDbObjectState& state) {
    KdDbSymbolTableRecord::restoreState(state);
    if (auto* s = dynamic_cast<const KdDbBlockState*>(&state))
        m_entities = s->entities;
}
