// The geometry that object picks measure: entities as points, segments and arcs, and distances.
#include "KdEdPickGeometry.h"

#include "tv/KdDbEntity.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <string_view>

namespace kded {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
/// Chords per whole turn where a curve is measured as a polyline: the chord stays within 0.03%
/// of the radius, well inside any pick aperture.
constexpr int kChordsPerTurn = 128;
/// The most chords one curve is measured with.
constexpr int kMaxChords = 4096;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Group codes of the entity records the shapes are read from.
constexpr int kPointCode = 10;   // first point (x; y and z follow at +10, +20)
constexpr int kSecondCode = 11;  // second point or direction
constexpr int kThirdCode = 12;   // third corner
constexpr int kFourthCode = 13;  // fourth corner
constexpr int kNormalCode = 210; // extrusion direction
constexpr int kRadiusCode = 40;
constexpr int kStartAngleCode = 50;
constexpr int kEndAngleCode = 51;
constexpr int kElevationCode = 38;
constexpr int kBulgeCode = 42;
constexpr int kFlagsCode = 70;
constexpr int kRatioCode = 40;
constexpr int kStartParamCode = 41;
constexpr int kEndParamCode = 42;
constexpr int kDegreeCode = 71;
constexpr int kKnotCode = 40;
constexpr int kWeightCode = 41;
constexpr int kMeshMCode = 71;
constexpr int kMeshNCode = 72;

// Flags of POLYLINE (group 70) and VERTEX (group 70).
constexpr int kClosed = 1;
constexpr int kPolyline3d = 8;
constexpr int kPolygonMesh = 16;
constexpr int kMeshClosedN = 32;
constexpr int kPolyfaceMesh = 64;
constexpr int kVertexFrameControl = 16;
constexpr int kVertexFaceRecord = 128;
constexpr int kVertexPolyfacePoint = 64;

double parseReal(std::string_view v, double dflt) {
    while (!v.empty() && (v.front() == ' ' || v.front() == '\t'))
        v.remove_prefix(1);
    if (!v.empty() && v.front() == '+')
        v.remove_prefix(1);
    double d = 0;
    const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), d);
    return ec == std::errc() && end != v.data() && std::isfinite(d) ? d : dflt;
}

int groupInt(const KdDbObject* obj, int code) {
    return static_cast<int>(obj->tagInt(code, 0));
}

Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(const Vec3& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

Vec3 unit(const Vec3& v) {
    const double l = length(v);
    return l > 0 ? Vec3{v.x / l, v.y / l, v.z / l} : v;
}

double sweepOf(const Arc& a) {
    return a.end - a.start;
}

bool fullTurn(double sweep) {
    return sweep >= kTwoPi - 1e-12;
}

/// Angle in [0, 2 pi).
double normalized(double a) {
    a = std::fmod(a, kTwoPi);
    return a < 0 ? a + kTwoPi : a;
}

double pointDistance(double qx, double qy, double px, double py) {
    return std::hypot(qx - px, qy - py);
}

double segmentDistance(double qx, double qy, const Vec3& a, const Vec3& b) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double len2 = dx * dx + dy * dy;
    double s = len2 > 0 ? ((qx - a.x) * dx + (qy - a.y) * dy) / len2 : 0;
    s = std::clamp(s, 0.0, 1.0);
    return pointDistance(qx, qy, a.x + s * dx, a.y + s * dy);
}

/// Distance to the arc of centre c, radius r, counter-clockwise from `start` over `sweep`.
double arcDistance(double qx, double qy, double cx, double cy, double r, double start,
                   double sweep) {
    const double d = pointDistance(qx, qy, cx, cy);
    if (fullTurn(sweep) || d == 0)
        return std::abs(d - r);
    if (normalized(std::atan2(qy - cy, qx - cx) - start) <= sweep)
        return std::abs(d - r);
    const double e = start + sweep;
    return std::min(pointDistance(qx, qy, cx + r * std::cos(start), cy + r * std::sin(start)),
                    pointDistance(qx, qy, cx + r * std::cos(e), cy + r * std::sin(e)));
}

int chordsFor(double sweep) {
    const int n = static_cast<int>(std::ceil(kChordsPerTurn * std::min(sweep, kTwoPi) / kTwoPi));
    return std::clamp(n, 4, kMaxChords);
}

/// An arc mapped by `f` and measured in the plane: exactly when `f` keeps circles circles in the
/// plane (rotation, uniform scale, mirror), else as chords.
double mappedArcDistance(const Arc& arc, const Affine& f, double qx, double qy) {
    const double a = f.m[0][0], b = f.m[0][1], c = f.m[1][0], d = f.m[1][1];
    const double s1 = a * a + c * c;
    const double s2 = b * b + d * d;
    const double tol = 1e-9 * std::max(s1, s2);
    const double sweep = std::min(sweepOf(arc), kTwoPi);
    const Vec3 centre = f.apply(arc.c);
    if (std::abs(s1 - s2) <= tol && std::abs(a * b + c * d) <= tol) {
        const double phi = std::atan2(c, a);
        const double start = a * d - b * c >= 0 ? arc.start + phi : phi - arc.end;
        return arcDistance(qx, qy, centre.x, centre.y, arc.r * std::sqrt(s1), start, sweep);
    }
    const int n = chordsFor(sweep);
    double best = kInfinity;
    Vec3 prev;
    for (int i = 0; i <= n; ++i) {
        const double t = arc.start + sweep * i / n;
        const Vec3 p =
            f.apply(Vec3{arc.c.x + arc.r * std::cos(t), arc.c.y + arc.r * std::sin(t), arc.c.z});
        if (i > 0)
            best = std::min(best, segmentDistance(qx, qy, prev, p));
        prev = p;
    }
    return best;
}

double cross2(const Vec3& o, const Vec3& a, double qx, double qy) {
    return (a.x - o.x) * (qy - o.y) - (a.y - o.y) * (qx - o.x);
}

bool insideTriangle(const Vec3& a, const Vec3& b, const Vec3& c, double qx, double qy) {
    const double d1 = cross2(a, b, qx, qy);
    const double d2 = cross2(b, c, qx, qy);
    const double d3 = cross2(c, a, qx, qy);
    const bool neg = d1 < 0 || d2 < 0 || d3 < 0;
    const bool pos = d1 > 0 || d2 > 0 || d3 > 0;
    return !(neg && pos);
}

// -- Shapes of the entity types --

Vec3 normalOf(const KdDbObject* ent) {
    return groupPoint(ent, kNormalCode, Vec3{0, 0, 1});
}

void pointShape(const KdDbEntity* ent, Shape& s) {
    s.points.push_back(groupPoint(ent, kPointCode));
}

void objectPointShape(const KdDbEntity* ent, Shape& s) {
    s.toBlock = objectToBlock(normalOf(ent));
    pointShape(ent, s);
}

void lineShape(const KdDbEntity* ent, Shape& s) {
    s.segments.push_back(groupPoint(ent, kPointCode));
    s.segments.push_back(groupPoint(ent, kSecondCode));
}

void circleShape(const KdDbEntity* ent, Shape& s) {
    s.toBlock = objectToBlock(normalOf(ent));
    s.arcs.push_back(Arc{groupPoint(ent, kPointCode), groupReal(ent, kRadiusCode, 0), 0, kTwoPi});
}

void arcShape(const KdDbEntity* ent, Shape& s) {
    s.toBlock = objectToBlock(normalOf(ent));
    const double start = groupReal(ent, kStartAngleCode, 0) * std::numbers::pi / 180;
    double sweep = normalized(groupReal(ent, kEndAngleCode, 360) * std::numbers::pi / 180 - start);
    if (sweep == 0)
        sweep = kTwoPi; // equal angles draw the whole circle
    s.arcs.push_back(
        Arc{groupPoint(ent, kPointCode), groupReal(ent, kRadiusCode, 0), start, start + sweep});
}

void ellipseShape(const KdDbEntity* ent, Shape& s) {
    const Vec3 c = groupPoint(ent, kPointCode);
    const Vec3 major = groupPoint(ent, kSecondCode);
    const Vec3 minor = cross(unit(normalOf(ent)), major);
    const double ratio = groupReal(ent, kRatioCode, 1);
    const double t0 = groupReal(ent, kStartParamCode, 0);
    double sweep = normalized(groupReal(ent, kEndParamCode, kTwoPi) - t0);
    if (sweep == 0)
        sweep = kTwoPi;
    const int n = chordsFor(sweep);
    std::vector<Vec3> pts;
    for (int i = 0; i <= n; ++i) {
        const double t = t0 + sweep * i / n;
        const double u = std::cos(t);
        const double v = std::sin(t) * ratio;
        pts.push_back({c.x + u * major.x + v * minor.x, c.y + u * major.y + v * minor.y,
                       c.z + u * major.z + v * minor.z});
    }
    s.addPolyline(pts, {}, false);
}

void lwPolylineShape(const KdDbEntity* ent, Shape& s) {
    s.toBlock = objectToBlock(normalOf(ent));
    const double z = groupReal(ent, kElevationCode, 0);
    std::vector<Vec3> pts;
    std::vector<double> bulges;
    auto tags = ent->tags();
    const size_t end = static_cast<size_t>(ent->xdataStart());
    for (size_t i = 0; i < end; ++i) {
        const int code = tags[i].code;
        if (code == kPointCode) {
            pts.push_back({parseReal(tags[i].value(), 0), 0, z});
            bulges.push_back(0);
        } else if (code == kPointCode + 10 && !pts.empty()) {
            pts.back().y = parseReal(tags[i].value(), 0);
        } else if (code == kBulgeCode && !pts.empty()) {
            bulges.back() = parseReal(tags[i].value(), 0);
        }
    }
    s.addPolyline(pts, bulges, (groupInt(ent, kFlagsCode) & kClosed) != 0);
}

void polyfaceShape(std::span<const KdDbObject* const> vertices, Shape& s) {
    std::vector<Vec3> points;
    for (const KdDbObject* v : vertices) {
        const int flags = groupInt(v, kFlagsCode);
        if (flags & kVertexPolyfacePoint) {
            points.push_back(groupPoint(v, kPointCode));
            s.points.push_back(points.back());
            continue;
        }
        if (!(flags & kVertexFaceRecord))
            continue;
        // A face names up to four points (1-based; negative: its edge from there is hidden).
        std::vector<int> face;
        for (int code = 71; code <= 74; ++code)
            if (const int k = groupInt(v, code); k != 0)
                face.push_back(k);
        for (size_t i = 0; i < face.size(); ++i) {
            const int a = std::abs(face[i]);
            const int b = std::abs(face[(i + 1) % face.size()]);
            if (face[i] < 0 || a > static_cast<int>(points.size()) ||
                b > static_cast<int>(points.size()))
                continue;
            s.segments.push_back(points[static_cast<size_t>(a - 1)]);
            s.segments.push_back(points[static_cast<size_t>(b - 1)]);
        }
    }
}

void meshShape(const KdDbEntity* poly, std::span<const KdDbObject* const> vertices, Shape& s) {
    std::vector<Vec3> pts;
    for (const KdDbObject* v : vertices)
        pts.push_back(groupPoint(v, kPointCode));
    const int flags = groupInt(poly, kFlagsCode);
    const size_t m = static_cast<size_t>(std::max(0, groupInt(poly, kMeshMCode)));
    const size_t n = static_cast<size_t>(std::max(0, groupInt(poly, kMeshNCode)));
    if (m * n != pts.size() || m == 0 || n == 0) {
        s.points.insert(s.points.end(), pts.begin(), pts.end());
        return;
    }
    auto edge = [&](size_t i0, size_t j0, size_t i1, size_t j1) {
        s.segments.push_back(pts[i0 * n + j0]);
        s.segments.push_back(pts[(i1 % m) * n + (j1 % n)]);
    };
    for (size_t i = 0; i < m; ++i) {
        for (size_t j = 0; j < n; ++j) {
            if (j + 1 < n || (flags & kMeshClosedN))
                edge(i, j, i, j + 1);
            if (i + 1 < m || (flags & kClosed))
                edge(i, j, i + 1, j);
        }
    }
}

void polylineShape(const KdDbEntity* ent, std::span<const KdDbObject* const> vertices, Shape& s) {
    const int flags = groupInt(ent, kFlagsCode);
    if (flags & kPolyfaceMesh)
        return polyfaceShape(vertices, s);
    if (flags & kPolygonMesh)
        return meshShape(ent, vertices, s);
    const bool flat = !(flags & kPolyline3d);
    if (flat)
        s.toBlock = objectToBlock(normalOf(ent));
    const double z = groupPoint(ent, kPointCode).z; // a flat polyline's elevation
    std::vector<Vec3> pts;
    std::vector<double> bulges;
    for (const KdDbObject* v : vertices) {
        if (groupInt(v, kFlagsCode) & kVertexFrameControl)
            continue; // a spline frame's control point is not drawn
        Vec3 p = groupPoint(v, kPointCode);
        if (flat)
            p.z = z;
        pts.push_back(p);
        bulges.push_back(flat ? groupReal(v, kBulgeCode, 0) : 0);
    }
    s.addPolyline(pts, bulges, (flags & kClosed) != 0);
}

/// The points with x in group `code`, in order.
std::vector<Vec3> repeatedPoints(const KdDbEntity* ent, int code) {
    std::vector<Vec3> pts;
    auto tags = ent->tags();
    const size_t end = static_cast<size_t>(ent->xdataStart());
    for (size_t i = 0; i < end; ++i) {
        if (tags[i].code == code)
            pts.push_back({parseReal(tags[i].value(), 0), 0, 0});
        else if (tags[i].code == code + 10 && !pts.empty())
            pts.back().y = parseReal(tags[i].value(), 0);
        else if (tags[i].code == code + 20 && !pts.empty())
            pts.back().z = parseReal(tags[i].value(), 0);
    }
    return pts;
}

std::vector<double> repeatedReals(const KdDbEntity* ent, int code) {
    std::vector<double> values;
    auto tags = ent->tags();
    const size_t end = static_cast<size_t>(ent->xdataStart());
    for (size_t i = 0; i < end; ++i)
        if (tags[i].code == code)
            values.push_back(parseReal(tags[i].value(), 0));
    return values;
}

/// Points along a NURBS curve (de Boor); empty when its knots and points do not agree.
std::vector<Vec3> splinePoints(const std::vector<Vec3>& ctrl, std::vector<double> weights,
                               const std::vector<double>& knots, int degree) {
    const size_t n = ctrl.size();
    const size_t p = static_cast<size_t>(degree);
    if (degree < 1 || n <= p || knots.size() != n + p + 1 ||
        !std::is_sorted(knots.begin(), knots.end()))
        return {};
    if (weights.size() != n)
        weights.assign(n, 1.0);
    const double u0 = knots[p];
    const double u1 = knots[n];
    if (!(u1 > u0))
        return {};
    const int samples = std::clamp(static_cast<int>(16 * (n - p)), 16, kMaxChords);
    std::vector<Vec3> out;
    std::vector<double> hx(p + 1), hy(p + 1), hz(p + 1), hw(p + 1);
    for (int i = 0; i <= samples; ++i) {
        const double u = u0 + (u1 - u0) * i / samples;
        size_t k = p;
        while (k + 1 < n && knots[k + 1] <= u)
            ++k;
        for (size_t j = 0; j <= p; ++j) {
            const size_t c = j + k - p;
            hw[j] = weights[c];
            hx[j] = ctrl[c].x * hw[j];
            hy[j] = ctrl[c].y * hw[j];
            hz[j] = ctrl[c].z * hw[j];
        }
        for (size_t r = 1; r <= p; ++r) {
            for (size_t j = p; j >= r; --j) {
                const double left = knots[j + k - p];
                const double span = knots[j + 1 + k - r] - left;
                const double alpha = span > 0 ? (u - left) / span : 0;
                hx[j] = (1 - alpha) * hx[j - 1] + alpha * hx[j];
                hy[j] = (1 - alpha) * hy[j - 1] + alpha * hy[j];
                hz[j] = (1 - alpha) * hz[j - 1] + alpha * hz[j];
                hw[j] = (1 - alpha) * hw[j - 1] + alpha * hw[j];
            }
        }
        if (hw[p] == 0)
            return {};
        out.push_back({hx[p] / hw[p], hy[p] / hw[p], hz[p] / hw[p]});
    }
    return out;
}

void splineShape(const KdDbEntity* ent, Shape& s) {
    const std::vector<Vec3> ctrl = repeatedPoints(ent, kPointCode);
    std::vector<Vec3> pts = splinePoints(ctrl, repeatedReals(ent, kWeightCode),
                                         repeatedReals(ent, kKnotCode), groupInt(ent, kDegreeCode));
    if (pts.empty()) // a spline given by its fit points only, or one that does not add up
        pts = repeatedPoints(ent, kSecondCode);
    if (pts.empty())
        pts = ctrl;
    s.addPolyline(pts, {}, false);
}

void leaderShape(const KdDbEntity* ent, Shape& s) {
    s.addPolyline(repeatedPoints(ent, kPointCode), {}, false);
}

/// SOLID and TRACE: filled, corners in the order 1 2 4 3 around; a 3DFACE is its outline.
void cornerShape(const KdDbEntity* ent, Shape& s, bool filled) {
    const Vec3 c1 = groupPoint(ent, kPointCode);
    const Vec3 c2 = groupPoint(ent, kSecondCode);
    const Vec3 c3 = groupPoint(ent, kThirdCode);
    const Vec3 c4 = ent->hasTag(kFourthCode) ? groupPoint(ent, kFourthCode) : c3;
    std::vector<Vec3> ring =
        filled ? std::vector<Vec3>{c1, c2, c4, c3} : std::vector<Vec3>{c1, c2, c3, c4};
    if (filled) {
        s.toBlock = objectToBlock(normalOf(ent));
        s.fills.insert(s.fills.end(), ring.begin(), ring.end());
    }
    s.addPolyline(ring, {}, true);
}

void solidShape(const KdDbEntity* ent, Shape& s) {
    cornerShape(ent, s, true);
}

void faceShape(const KdDbEntity* ent, Shape& s) {
    cornerShape(ent, s, false);
}

void xlineShape(const KdDbEntity* ent, Shape& s) {
    s.lines.push_back(groupPoint(ent, kPointCode));
    s.lines.push_back(groupPoint(ent, kSecondCode));
}

void rayShape(const KdDbEntity* ent, Shape& s) {
    s.rays.push_back(groupPoint(ent, kPointCode));
    s.rays.push_back(groupPoint(ent, kSecondCode));
}

/// Reads the boundary paths of a HATCH in order (they hold no group codes of their own to
/// search by): each read takes the tag at the cursor when it has the expected code.
class TagCursor {
public:
    explicit TagCursor(const KdDbEntity* ent)
        : m_tags(ent->tags()), m_end(static_cast<size_t>(ent->xdataStart())) {}
    bool seek(int code) {
        while (m_i < m_end && m_tags[m_i].code != code)
            ++m_i;
        return m_i < m_end;
    }
    bool more() const { return m_i < m_end; }
    bool at(int code) const { return m_i < m_end && m_tags[m_i].code == code; }
    double real(int code, double dflt = 0) {
        return at(code) ? parseReal(m_tags[m_i++].value(), dflt) : dflt;
    }
    int integer(int code) { return static_cast<int>(real(code)); }
    Vec3 point(int code, double z) {
        const double x = real(code);
        return {x, real(code + 10), z};
    }

private:
    std::span<const KdDbTag> m_tags;
    size_t m_end;
    size_t m_i = 0;
};

void hatchEllipseEdge(TagCursor& c, double z, Shape& s) {
    const Vec3 centre = c.point(10, z);
    const Vec3 major = c.point(11, 0);
    const double ratio = c.real(40, 1);
    double t0 = c.real(50) * std::numbers::pi / 180;
    double t1 = c.real(51, 360) * std::numbers::pi / 180;
    if (c.integer(73) == 0) { // clockwise edges keep their angles measured clockwise
        const double a = t0;
        t0 = -t1;
        t1 = -a;
    }
    double sweep = normalized(t1 - t0);
    if (sweep == 0)
        sweep = kTwoPi;
    const int n = chordsFor(sweep);
    std::vector<Vec3> pts;
    for (int i = 0; i <= n; ++i) {
        const double t = t0 + sweep * i / n;
        const double u = std::cos(t);
        const double v = std::sin(t) * ratio;
        pts.push_back(
            {centre.x + u * major.x - v * major.y, centre.y + u * major.y + v * major.x, z});
    }
    s.addPolyline(pts, {}, false);
}

void hatchSplineEdge(TagCursor& c, double z, Shape& s) {
    const int degree = c.integer(94);
    const bool rational = c.integer(73) != 0;
    c.integer(74);
    const int knotCount = c.integer(95);
    const int ctrlCount = c.integer(96);
    std::vector<double> knots;
    for (int k = 0; k < knotCount && c.at(40); ++k)
        knots.push_back(c.real(40));
    std::vector<Vec3> ctrl;
    std::vector<double> weights;
    for (int k = 0; k < ctrlCount && c.at(10); ++k) {
        ctrl.push_back(c.point(10, z));
        if (rational)
            weights.push_back(c.real(42, 1));
    }
    std::vector<Vec3> fit;
    const int fitCount = c.integer(97);
    for (int k = 0; k < fitCount && c.at(11); ++k)
        fit.push_back(c.point(11, z));
    c.point(12, z); // start and end tangents
    c.point(13, z);
    std::vector<Vec3> pts = splinePoints(ctrl, weights, knots, degree);
    s.addPolyline(pts.empty() ? (fit.empty() ? ctrl : fit) : pts, {}, false);
}

void hatchEdges(TagCursor& c, double z, Shape& s) {
    const int edges = c.integer(93);
    for (int e = 0; e < edges && c.at(72); ++e) {
        switch (c.integer(72)) {
        case 1:
            s.segments.push_back(c.point(10, z));
            s.segments.push_back(c.point(11, z));
            break;
        case 2: {
            const Vec3 centre = c.point(10, z);
            const double r = c.real(40);
            double a0 = c.real(50) * std::numbers::pi / 180;
            double a1 = c.real(51, 360) * std::numbers::pi / 180;
            if (c.integer(73) == 0) {
                const double a = a0;
                a0 = -a1;
                a1 = -a;
            }
            double sweep = normalized(a1 - a0);
            s.arcs.push_back(Arc{centre, r, a0, a0 + (sweep == 0 ? kTwoPi : sweep)});
            break;
        }
        case 3:
            hatchEllipseEdge(c, z, s);
            break;
        case 4:
            hatchSplineEdge(c, z, s);
            break;
        default:
            return; // an edge type this reader does not know: the rest cannot be placed
        }
    }
}

/// A HATCH by its boundary paths (its group 10 is only its elevation).
void hatchShape(const KdDbEntity* ent, Shape& s) {
    constexpr int kPolylinePath = 2;
    s.toBlock = objectToBlock(normalOf(ent));
    const double z = groupPoint(ent, kPointCode).z;
    TagCursor c(ent);
    if (!c.seek(91))
        return;
    const int paths = c.integer(91);
    for (int p = 0; p < paths && c.at(92); ++p) {
        const int flags = c.integer(92);
        if (flags & kPolylinePath) {
            const bool hasBulges = c.integer(72) != 0;
            const bool closed = c.integer(73) != 0;
            const int count = c.integer(93);
            std::vector<Vec3> pts;
            std::vector<double> bulges;
            for (int k = 0; k < count && c.at(10); ++k) {
                pts.push_back(c.point(10, z));
                bulges.push_back(hasBulges ? c.real(42) : 0);
            }
            s.addPolyline(pts, bulges, closed);
        } else {
            hatchEdges(c, z, s);
        }
        const int sources = c.integer(97);
        for (int k = 0; k < sources && c.at(330); ++k)
            c.real(330);
    }
}

struct ShapeReader {
    std::string_view type;
    void (*read)(const KdDbEntity*, Shape&);
};

/// The entity types read here: by their drawn geometry, or (texts, attributes, shapes) by the
/// insertion point in their object coordinates. Other types with a point in group 10 are picked
/// at that point.
constexpr ShapeReader kShapeReaders[] = {
    {"LINE", lineShape},
    {"POINT", pointShape},
    {"CIRCLE", circleShape},
    {"ARC", arcShape},
    {"ELLIPSE", ellipseShape},
    {"LWPOLYLINE", lwPolylineShape},
    {"SPLINE", splineShape},
    {"LEADER", leaderShape},
    {"SOLID", solidShape},
    {"TRACE", solidShape},
    {"3DFACE", faceShape},
    {"XLINE", xlineShape},
    {"RAY", rayShape},
    {"TEXT", objectPointShape},
    {"ATTRIB", objectPointShape},
    {"ATTDEF", objectPointShape},
    {"SHAPE", objectPointShape},
    {"HATCH", hatchShape},
};

/// Records that are parts of others or no geometry of their own.
constexpr std::string_view kNotPickable[] = {"VERTEX",   "SEQEND", "BLOCK",    "ENDBLK",
                                             "VIEWPORT", "INSERT", "DIMENSION"};

} // namespace

// -- Affine maps and boxes --

Affine Affine::then(const Affine& outer) const {
    Affine r;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            r.m[i][j] = 0;
            for (int k = 0; k < 3; ++k)
                r.m[i][j] += outer.m[i][k] * m[k][j];
        }
        r.t[i] = outer.t[i];
        for (int k = 0; k < 3; ++k)
            r.t[i] += outer.m[i][k] * t[k];
    }
    return r;
}

void Affine::apply(const double p[3], double out[3]) const {
    for (int i = 0; i < 3; ++i)
        out[i] = m[i][0] * p[0] + m[i][1] * p[1] + m[i][2] * p[2] + t[i];
}

Vec3 Affine::apply(const Vec3& p) const {
    const Vec3 v = applyLinear(p);
    return {v.x + t[0], v.y + t[1], v.z + t[2]};
}

Vec3 Affine::applyLinear(const Vec3& v) const {
    return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
            m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
            m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

Affine objectToBlock(const Vec3& normal) {
    const Vec3 n = unit(normal);
    Affine r;
    if (length(n) == 0 || (n.x == 0 && n.y == 0 && n.z > 0))
        return r;
    // DXF's arbitrary axis rule: X is world Y (or Z) crossed with the normal.
    constexpr double kAxisLimit = 1.0 / 64;
    const Vec3 ax =
        unit(std::abs(n.x) < kAxisLimit && std::abs(n.y) < kAxisLimit ? cross(Vec3{0, 1, 0}, n)
                                                                      : cross(Vec3{0, 0, 1}, n));
    const Vec3 ay = unit(cross(n, ax));
    const Vec3 cols[3] = {ax, ay, n};
    for (int j = 0; j < 3; ++j) {
        r.m[0][j] = cols[j].x;
        r.m[1][j] = cols[j].y;
        r.m[2][j] = cols[j].z;
    }
    return r;
}

void Box3::add(const Vec3& p) {
    if (empty()) {
        lo = hi = p;
        return;
    }
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
}

void Box3::add(const Box3& b) {
    if (b.empty())
        return;
    add(b.lo);
    add(b.hi);
}

Box3 Box3::mapped(const Affine& f) const {
    Box3 out;
    if (empty())
        return out;
    for (int k = 0; k < 8; ++k)
        out.add(f.apply(Vec3{(k & 1) ? hi.x : lo.x, (k & 2) ? hi.y : lo.y, (k & 4) ? hi.z : lo.z}));
    return out;
}

double Box3::planeDistance(double qx, double qy) const {
    if (empty())
        return kInfinity;
    const double dx = std::max({lo.x - qx, 0.0, qx - hi.x});
    const double dy = std::max({lo.y - qy, 0.0, qy - hi.y});
    return std::hypot(dx, dy);
}

// -- Shapes --

void Shape::clear() {
    toBlock = Affine();
    points.clear();
    segments.clear();
    arcs.clear();
    fills.clear();
    lines.clear();
    rays.clear();
}

bool Shape::empty() const {
    return points.empty() && segments.empty() && arcs.empty() && fills.empty() && lines.empty() &&
           rays.empty();
}

void Shape::addPolyline(std::span<const Vec3> pts, std::span<const double> bulges, bool closed) {
    if (pts.size() == 1)
        points.push_back(pts[0]);
    const size_t edges = pts.size() < 2 ? 0 : (closed ? pts.size() : pts.size() - 1);
    for (size_t i = 0; i < edges; ++i) {
        const Vec3& a = pts[i];
        const Vec3& b = pts[(i + 1) % pts.size()];
        const double bulge = i < bulges.size() ? bulges[i] : 0;
        const double chord = std::hypot(b.x - a.x, b.y - a.y);
        if (std::abs(bulge) < 1e-12 || chord == 0) {
            segments.push_back(a);
            segments.push_back(b);
            continue;
        }
        // A bulge is the tangent of a quarter of the arc's angle; positive turns left.
        const double r = chord * (1 + bulge * bulge) / (4 * std::abs(bulge));
        const double toCentre = (r - std::abs(bulge) * chord / 2) * (bulge > 0 ? 1 : -1);
        const Vec3 c{(a.x + b.x) / 2 - (b.y - a.y) / chord * toCentre,
                     (a.y + b.y) / 2 + (b.x - a.x) / chord * toCentre, a.z};
        const double angleA = std::atan2(a.y - c.y, a.x - c.x);
        const double angleB = std::atan2(b.y - c.y, b.x - c.x);
        const double from = bulge > 0 ? angleA : angleB;
        const double sweep = normalized((bulge > 0 ? angleB : angleA) - from);
        arcs.push_back(Arc{c, r, from, from + sweep});
    }
}

bool shapeOf(const KdDbEntity* ent, std::span<const KdDbObject* const> vertices, Shape& out) {
    out.clear();
    const std::string_view type = ent->dxfName();
    if (type == "POLYLINE") {
        polylineShape(ent, vertices, out);
        return !out.empty();
    }
    for (const ShapeReader& r : kShapeReaders) {
        if (r.type == type) {
            r.read(ent, out);
            return !out.empty();
        }
    }
    for (std::string_view skipped : kNotPickable)
        if (skipped == type)
            return false;
    if (!ent->hasTag(kPointCode))
        return false;
    pointShape(ent, out);
    return true;
}

double planeDistance(const Shape& s, const Affine& toWorld, double qx, double qy) {
    const Affine f = s.toBlock.then(toWorld);
    double best = kInfinity;
    for (const Vec3& p : s.points) {
        const Vec3 w = f.apply(p);
        best = std::min(best, pointDistance(qx, qy, w.x, w.y));
    }
    for (size_t i = 0; i + 1 < s.segments.size(); i += 2)
        best = std::min(
            best, segmentDistance(qx, qy, f.apply(s.segments[i]), f.apply(s.segments[i + 1])));
    for (const Arc& a : s.arcs)
        best = std::min(best, mappedArcDistance(a, f, qx, qy));
    for (size_t i = 0; i + 3 < s.fills.size(); i += 4) {
        const Vec3 c[4] = {f.apply(s.fills[i]), f.apply(s.fills[i + 1]), f.apply(s.fills[i + 2]),
                           f.apply(s.fills[i + 3])};
        if (insideTriangle(c[0], c[1], c[2], qx, qy) || insideTriangle(c[0], c[2], c[3], qx, qy))
            best = 0;
    }
    auto lineDistance = [&](const std::vector<Vec3>& v, bool ray) {
        for (size_t i = 0; i + 1 < v.size(); i += 2) {
            const Vec3 base = f.apply(v[i]);
            const Vec3 dir = f.applyLinear(v[i + 1]);
            const double len2 = dir.x * dir.x + dir.y * dir.y;
            double s = len2 > 0 ? ((qx - base.x) * dir.x + (qy - base.y) * dir.y) / len2 : 0;
            if (ray)
                s = std::max(s, 0.0);
            best = std::min(best, pointDistance(qx, qy, base.x + s * dir.x, base.y + s * dir.y));
        }
    };
    lineDistance(s.lines, false);
    lineDistance(s.rays, true);
    return best;
}

Box3 blockBox(const Shape& s) {
    Box3 box;
    for (const Vec3& p : s.points)
        box.add(s.toBlock.apply(p));
    for (const Vec3& p : s.segments)
        box.add(s.toBlock.apply(p));
    for (const Vec3& p : s.fills)
        box.add(s.toBlock.apply(p));
    for (size_t i = 0; i < s.lines.size(); i += 2)
        box.add(s.toBlock.apply(s.lines[i]));
    for (size_t i = 0; i < s.rays.size(); i += 2)
        box.add(s.toBlock.apply(s.rays[i]));
    for (const Arc& a : s.arcs) {
        // The arc's own box: its ends and the quarter points it passes.
        Box3 own;
        const double sweep = std::min(sweepOf(a), kTwoPi);
        auto at = [&](double t) {
            own.add(Vec3{a.c.x + a.r * std::cos(t), a.c.y + a.r * std::sin(t), a.c.z});
        };
        at(a.start);
        at(a.start + sweep);
        for (int q = 0; q < 4; ++q) {
            const double t = q * std::numbers::pi / 2;
            if (normalized(t - a.start) <= sweep)
                at(t);
        }
        box.add(own.mapped(s.toBlock));
    }
    return box;
}

double groupReal(const KdDbObject* obj, int code, double dflt) {
    const int i = obj->findTag(code);
    return i < 0 ? dflt : parseReal(obj->tags()[static_cast<size_t>(i)].value(), dflt);
}

Vec3 groupPoint(const KdDbObject* obj, int code, const Vec3& dflt) {
    return {groupReal(obj, code, dflt.x), groupReal(obj, code + 10, dflt.y),
            groupReal(obj, code + 20, dflt.z)};
}

} // namespace kded
