// Entities: layer binding and the common properties; block markers and block references.
#include <tv/KdDbEntity.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "DxfTokenizer.h"

#include <tv/KdDbBlockTableRecord.h>
#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTable.h>

namespace {

class KdDbEntityState : public KdDbObjectState {
public:
    KdDbStub* layer = nullptr;
};

constexpr std::string_view kMarker = "AcDbEntity";
constexpr int kEntityOrder[] = {67, 410, 8, 6, 347, 348, 62, 370, 48, 60, 92, 310, 420, 430, 440};

} // namespace

KdDbEntity::KdDbEntity(std::string_view dxfType) : KdDbObject(dxfType) {}
KdDbEntity::~KdDbEntity() = default;

KdString KdDbEntity::layer() const {
    if (m_layer && m_layer->object)
        if (auto* rec = dynamic_cast<KdDbSymbolTableRecord*>(m_layer->object))
            return rec->name();
    auto [b, e] = subclassRange(kMarker);
    return KdString(decode(tvdxf::trimmed(tagValue(8, b, e))));
}

Kdad::ErrorStatus KdDbEntity::setLayer(KdDbObjectId layerId) {
    auto* rec =
        dynamic_cast<KdDbLayerTableRecord*>(layerId.stub() ? layerId.stub()->object : nullptr);
    if (!rec || rec->isErased() || (database() && layerId.database() != database()))
        return Kdad::eKeyNotFound;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    m_layer = layerId.stub();
    setField(kMarker, kEntityOrder, 8, rec->tagValue(2));
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbEntity::setLayer(const wchar_t* layerName) {
    if (!layerName || !database())
        return Kdad::eInvalidInput;
    KdDbObjectId id;
    auto* table = dynamic_cast<KdDbSymbolTable*>(
        database()->layerTableId().stub() ? database()->layerTableId().stub()->object : nullptr);
    if (!table || table->getAt(layerName, id) != Kdad::eOk)
        return Kdad::eKeyNotFound;
    return setLayer(id);
}

KdCmColor KdDbEntity::color() const {
    KdCmColor c;
    c.setColorIndex(static_cast<uint16_t>(colorIndex()));
    return c;
}

int KdDbEntity::colorIndex() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<int>(tagInt(62, 256, b, e));
}

Kdad::ErrorStatus KdDbEntity::setColorIndex(int index) {
    if (index < 0 || index > 256)
        return Kdad::eInvalidInput;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        setField(kMarker, kEntityOrder, 62, std::to_string(index));
    return es;
}

KdString KdDbEntity::linetype() const {
    auto [b, e] = subclassRange(kMarker);
    std::string_view v = tagValue(6, b, e);
    return KdString(v.empty() ? std::wstring(L"ByLayer") : decode(tvdxf::trimmed(v)));
}

KdDb::LineWeight KdDbEntity::lineWeight() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<KdDb::LineWeight>(tagInt(370, KdDb::kLnWtByLayer, b, e));
}

bool KdDbEntity::isInPaperSpace() const {
    auto [b, e] = subclassRange(kMarker);
    return tagInt(67, 0, b, e) == 1;
}

std::unique_ptr<KdDbObjectState> KdDbEntity::saveState() const {
    auto state = std::make_unique<KdDbEntityState>();
    saveStateInto(*state);
    state->layer = m_layer;
    return state;
}

void KdDbEntity::restoreState(const KdDbObjectState& state) {
    KdDbObject::restoreState(state);
    if (auto* s = dynamic_cast<const KdDbEntityState*>(&state))
        m_layer = s->layer;
}

KdDbBlockBegin::KdDbBlockBegin() : KdDbEntity("BLOCK") {}
KdDbBlockBegin::~KdDbBlockBegin() = default;
KdDbBlockEnd::KdDbBlockEnd() : KdDbEntity("ENDBLK") {}
KdDbBlockEnd::~KdDbBlockEnd() = default;
KdDbBlockReference::KdDbBlockReference() : KdDbEntity("INSERT") {}
KdDbBlockReference::~KdDbBlockReference() = default;

KdDbObjectId KdDbBlockReference::blockTableRecord() const {
    if (!database())
        return KdDbObjectId::kNull;
    std::wstring name = decode(tvdxf::trimmed(tagValue(2)));
    KdDbObjectId table = database()->blockTableId();
    KdDbObjectId id;
    auto* bt = dynamic_cast<KdDbSymbolTable*>(table.stub() ? table.stub()->object : nullptr);
    if (bt && bt->getAt(name.c_str(), id) == Kdad::eOk)
        return id;
    for (const KdDbObjectId& b : KdDbAccess::impl(database()).blockOrder) {
        auto* btr = dynamic_cast<KdDbBlockTableRecord*>(b.stub()->object);
        if (btr && btr->cachedName() == name)
            return b;
    }
    return KdDbObjectId::kNull;
}
