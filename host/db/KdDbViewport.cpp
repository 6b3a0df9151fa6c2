// Paper-space viewports: number, status and the list of layers frozen in the viewport.
#include <tv/KdDbViewport.h>
#include "KdDbAccess.h"

#include "KdDbDatabaseImpl.h"
#include "KdDbTagConvert.h"
#include "DxfTokenizer.h"

#include <tv/KdDbLayerTableRecord.h>

#include <algorithm>

namespace {
constexpr std::string_view kMarker = "AcDbViewport";
}

KdDbViewport::KdDbViewport() : KdDbEntity("VIEWPORT") {}
KdDbViewport::~KdDbViewport() = default;

int KdDbViewport::number() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<int>(tagInt(69, 0, b, e));
}

bool KdDbViewport::isOn() const {
    auto [b, e] = subclassRange(kMarker);
    return tagInt(68, 0, b, e) > 0;
}

Kdad::ErrorStatus KdDbViewport::getFrozenLayerList(std::vector<KdDbObjectId>& layerIds) const {
    layerIds.clear();
    if (!database())
        return Kdad::eNotInDatabase;
    auto [b, e] = subclassRange(kMarker);
    auto t = tags();
    for (int i = b; i < e; ++i) {
        const KdDbTag& tag = t[static_cast<size_t>(i)];
        uint64_t h = 0;
        if (tag.code != 331 || !tvdxf::parseHandle(tag.value(), h))
            continue;
        KdDbObjectId id = database()->objectIdOf(h);
        if (id.isValid() && dynamic_cast<KdDbLayerTableRecord*>(id.stub()->object))
            layerIds.push_back(id);
    }
    return Kdad::eOk;
}

bool KdDbViewport::isLayerFrozenInViewport(KdDbObjectId layerId) const {
    if (layerId.isNull())
        return false;
    auto [b, e] = subclassRange(kMarker);
    auto t = tags();
    for (int i = b; i < e; ++i) {
        uint64_t h = 0;
        if (t[static_cast<size_t>(i)].code == 331 &&
            tvdxf::parseHandle(t[static_cast<size_t>(i)].value(), h) &&
            h == layerId.handle().value())
            return true;
    }
    return false;
}

void KdDbViewport::writeFrozenList(const std::vector<KdDbObjectId>& layerIds) {
    auto [b, e] = subclassRange(kMarker);
    std::vector<KdDbTag>& own = mutableTags();
    // The list goes where it was, or before the status flags (90) as DXF orders it.
    int at = -1;
    for (int i = b; i < e; ++i) {
        if (own[static_cast<size_t>(i)].code == 331) {
            at = i;
            break;
        }
    }
    if (at < 0) {
        at = e;
        for (int i = b; i < e; ++i) {
            if (own[static_cast<size_t>(i)].code == 90) {
                at = i;
                break;
            }
        }
    }
    std::vector<KdDbTag> list;
    for (const KdDbObjectId& id : layerIds)
        list.push_back(makeTag(331, id.handle().ascii()));
    int removedBefore = 0;
    for (int i = b; i < at; ++i)
        removedBefore += own[static_cast<size_t>(i)].code == 331 ? 1 : 0;
    own.erase(std::remove_if(own.begin() + b, own.begin() + e,
                             [](const KdDbTag& t) { return t.code == 331; }),
              own.begin() + e);
    at -= removedBefore;
    own.insert(own.begin() + at, list.begin(), list.end());
}

Kdad::ErrorStatus KdDbViewport::freezeLayersInViewport(const std::vector<KdDbObjectId>& layerIds) {
    for (const KdDbObjectId& id : layerIds) {
        if (id.database() != database() || !id.isValid() ||
            !dynamic_cast<KdDbLayerTableRecord*>(id.stub()->object))
            return Kdad::eInvalidInput;
    }
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    // Keep the stored handles as they are (missing layers included) and add the new ones.
    auto [b, e] = subclassRange(kMarker);
    std::vector<KdDbObjectId> list;
    std::vector<std::string> kept;
    auto t = tags();
    for (int i = b; i < e; ++i)
        if (t[static_cast<size_t>(i)].code == 331)
            kept.emplace_back(t[static_cast<size_t>(i)].value());
    bool changed = false;
    for (const KdDbObjectId& id : layerIds) {
        if (!isLayerFrozenInViewport(id) && std::find(list.begin(), list.end(), id) == list.end()) {
            list.push_back(id);
            changed = true;
        }
    }
    if (!changed)
        return Kdad::eOk;
    std::vector<KdDbObjectId> all;
    for (const std::string& h : kept) {
        uint64_t v = 0;
        tvdxf::parseHandle(h, v);
        KdDbStub* stub = KdDbAccess::impl(database()).stubOf(v);
        all.push_back(stub ? KdDbObjectId(stub) : KdDbObjectId(KdDbAccess::impl(database()).newStub(v)));
    }
    all.insert(all.end(), list.begin(), list.end());
    writeFrozenList(all);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbViewport::thawLayersInViewport(const std::vector<KdDbObjectId>& layerIds) {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    auto [b, e] = subclassRange(kMarker);
    std::vector<KdDbObjectId> keep;
    bool changed = false;
    auto t = tags();
    for (int i = b; i < e; ++i) {
        const KdDbTag& tag = t[static_cast<size_t>(i)];
        uint64_t h = 0;
        if (tag.code != 331 || !tvdxf::parseHandle(tag.value(), h))
            continue;
        bool thaw = std::any_of(layerIds.begin(), layerIds.end(),
                                [h](const KdDbObjectId& id) { return id.handle().value() == h; });
        if (thaw) {
            changed = true;
            continue;
        }
        KdDbStub* stub = KdDbAccess::impl(database()).stubOf(h);
        keep.push_back(stub ? KdDbObjectId(stub) : KdDbObjectId(KdDbAccess::impl(database()).newStub(h)));
    }
    if (changed)
        writeFrozenList(keep);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdDbViewport::thawAllLayersInViewport() {
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es == Kdad::eOk)
        writeFrozenList({});
    return es;
}
