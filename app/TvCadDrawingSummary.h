// What the window shows of an open drawing until it draws it: its model space objects and
// their extents.
#pragma once

#include <cstddef>
#include <optional>

class KdDbDatabase;

namespace tvcad {

struct TvCadExtents {
    double minX = 0;
    double minY = 0;
    double maxX = 0;
    double maxY = 0;
};

struct TvCadDrawingSummary {
    std::size_t modelObjects = 0;
    /// The box around the points the model space objects are given by (their corners, ends,
    /// centres and insertion points, circles and arcs with their radius); nothing when model
    /// space holds no object with a point.
    std::optional<TvCadExtents> extents;
};

TvCadDrawingSummary summarizeDrawing(KdDbDatabase& db);

} // namespace tvcad
