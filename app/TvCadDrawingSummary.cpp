// The model space of a drawing counted and measured from its objects' points.
#include "TvCadDrawingSummary.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdFormat.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace tvcad {
namespace {


void add(std::optional<TvCadExtents>& box, double x, double y) {
    if (!box) {
        box = TvCadExtents{x, y, x, y};
        return;
    }
    box->minX = std::min(box->minX, x);
    box->minY = std::min(box->minY, y);
    box->maxX = std::max(box->maxX, x);
    box->maxY = std::max(box->maxY, y);
}

/// Adds the points of one object: each X of group 10..18 followed by its Y (group + 10).
void addPoints(const KdDbEntity& entity, std::optional<TvCadExtents>& box) {
    const auto tags = entity.tags();
    const bool round = entity.dxfName() == "CIRCLE" || entity.dxfName() == "ARC";
    double radius = 0;
    std::optional<std::pair<double, double>> centre;
    for (size_t i = 0; i < tags.size(); ++i) {
        const int code = tags[i].code;
        if (code == 1001)
            break; // extended data carries points that are not drawn
        if (code == 40 && round)
            tvParseDxfReal(tags[i].value(), radius);
        if (code < 10 || code > 18 || i + 1 == tags.size() || tags[i + 1].code != code + 10)
            continue;
        double x = 0;
        double y = 0;
        if (tvParseDxfReal(tags[i].value(), x) && tvParseDxfReal(tags[i + 1].value(), y)) {
            if (round && code == 10)
                centre = {x, y};
            else
                add(box, x, y);
        }
    }
    if (centre) {
        radius = std::abs(radius);
        add(box, centre->first - radius, centre->second - radius);
        add(box, centre->first + radius, centre->second + radius);
    }
}

} // namespace

TvCadDrawingSummary summarizeDrawing(KdDbDatabase& db) {
    TvCadDrawingSummary summary;
    KdDbObjectPointer<KdDbBlockTableRecord> model(db.modelSpaceId(), KdDb::kForRead);
    if (!model)
        return summary;
    for (const KdDbObjectId& id : model->entityIds()) {
        KdDbObjectPointer<KdDbEntity> entity(id, KdDb::kForRead);
        if (!entity)
            continue;
        ++summary.modelObjects;
        addPoints(*entity.get(), summary.extents);
    }
    return summary;
}

} // namespace tvcad
