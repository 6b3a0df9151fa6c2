// The geometry that object picks measure: affine maps, boxes, and the points, segments and arcs
// an entity is drawn with, with their distance to a point in the plane.
#pragma once

#include <span>
#include <vector>

class KdDbEntity;
class KdDbObject;

namespace kded {

struct Vec3 {
    double x = 0;
    double y = 0;
    double z = 0;
};

/// An affine map: p -> m * p + t.
struct Affine {
    double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    double t[3] = {0, 0, 0};

    /// This map followed by `outer`.
    Affine then(const Affine& outer) const;
    void apply(const double p[3], double out[3]) const;
    Vec3 apply(const Vec3& p) const;
    /// The linear part only (for directions).
    Vec3 applyLinear(const Vec3& v) const;
};

/// The map from an entity's object coordinate system (extrusion direction `normal`, DXF's
/// arbitrary axis rule) to the coordinates of the block that holds it; identity for +Z.
Affine objectToBlock(const Vec3& normal);

/// An axis-aligned box; empty until a point is added.
struct Box3 {
    Vec3 lo{1, 1, 1};
    Vec3 hi{-1, -1, -1};

    bool empty() const { return lo.x > hi.x; }
    void add(const Vec3& p);
    void add(const Box3& b);
    /// The box around this box mapped by `f`.
    Box3 mapped(const Affine& f) const;
    /// Distance in the plane (x, y) from (qx, qy) to the box; 0 inside.
    double planeDistance(double qx, double qy) const;
};

/// An arc in the plane z = c.z of its own coordinate system, counter-clockwise from `start` to
/// `end` (radians); a whole circle when the sweep is 2 pi or more.
struct Arc {
    Vec3 c;
    double r = 0;
    double start = 0;
    double end = 0;
};

/// What an entity is drawn with, in its own coordinates (`toBlock` maps them into its block).
struct Shape {
    Affine toBlock;
    std::vector<Vec3> points;
    std::vector<Vec3> segments; ///< pairs of ends
    std::vector<Arc> arcs;
    std::vector<Vec3> fills; ///< filled quadrilaterals, four corners each
    std::vector<Vec3> lines; ///< infinite lines: a point and a direction each
    std::vector<Vec3> rays;  ///< rays: start and direction each

    void clear();
    bool empty() const;
    void addPolyline(std::span<const Vec3> vertices, std::span<const double> bulges, bool closed);
};

/// The shape of `ent`; false when it has nothing to pick (block references, dimensions,
/// viewports, sub-entities and records without geometry). A POLYLINE takes its VERTEX records
/// in drawing order in `vertices`.
bool shapeOf(const KdDbEntity* ent, std::span<const KdDbObject* const> vertices, Shape& out);

/// Distance in the plane (x, y) from (qx, qy) to the shape mapped by `toWorld`.
double planeDistance(const Shape& shape, const Affine& toWorld, double qx, double qy);

/// The box of the shape in its block's coordinates (lines and rays count by their base point).
Box3 blockBox(const Shape& shape);

/// A real-number group of the object (the first of `code`), or `dflt` when absent or not a
/// number.
double groupReal(const KdDbObject* obj, int code, double dflt);
/// The point whose x has group `code` (y and z: code + 10, code + 20).
Vec3 groupPoint(const KdDbObject* obj, int code, const Vec3& dflt = {});

} // namespace kded
