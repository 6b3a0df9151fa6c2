// Xrecords: their data as result-buffer lists.
#include <tv/KdDbXrecord.h>

#include "KdDbAccess.h"
#include "KdDbTagConvert.h"

namespace {
constexpr std::string_view kMarker = "AcDbXrecord";
}

KdDbXrecord::KdDbXrecord() : KdDbObject("XRECORD") {
    std::vector<KdDbTag> tags;
    tags.push_back(makeTag(100, kMarker));
    tags.push_back(makeTag(280, "1"));
    KdDbAccess::setTags(this, std::move(tags));
}

KdDbXrecord::~KdDbXrecord() = default;

int KdDbXrecord::mergeStyle() const {
    auto [b, e] = subclassRange(kMarker);
    return static_cast<int>(tagInt(280, 1, b, std::min(e, b + 1)));
}

// The data are the tags of the xrecord's subclass after its cloning flag (280).
static std::pair<int, int> dataRange(const KdDbObject& x) {
    auto [b, e] = x.subclassRange(kMarker);
    if (b < e && x.tags()[static_cast<size_t>(b)].code == 280)
        ++b;
    return {b, e};
}

Kdad::ErrorStatus KdDbXrecord::rbChain(resbuf** chain) const {
    if (!chain)
        return Kdad::eInvalidInput;
    *chain = rbChain();
    return Kdad::eOk;
}

resbuf* KdDbXrecord::rbChain() const {
    auto [b, e] = dataRange(*this);
    // Xrecord data runs to the end of the record: extended data is not part of it.
    return tvdb::tagsToResbuf(database(),
                              tags().subspan(static_cast<size_t>(b), static_cast<size_t>(e - b)));
}

Kdad::ErrorStatus KdDbXrecord::setFromRbChain(const resbuf* chain) {
    if (!database())
        return Kdad::eNotInDatabase;
    std::vector<KdDbTag> data;
    std::string error;
    for (const resbuf* rb = chain; rb; rb = rb->rbnext) {
        if (rb->restype < 1 || rb->restype == 100 || rb->restype == 1001 || rb->restype > 1071)
            return Kdad::eInvalidDxfCode;
    }
    if (!tvdb::resbufToTags(database(), chain, data, &error))
        return Kdad::eInvalidDxfCode;
    Kdad::ErrorStatus es = assertWriteEnabled();
    if (es != Kdad::eOk)
        return es;
    auto [b, e] = dataRange(*this);
    std::vector<KdDbTag>& own = mutableTags();
    own.erase(own.begin() + b, own.begin() + e);
    own.insert(own.begin() + b, data.begin(), data.end());
    return Kdad::eOk;
}
