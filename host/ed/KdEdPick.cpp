// Object picks of the editor: the walk through spaces, block references and the drawings of
// external references, with those drawings read once per current drawing.
#include "KdEdPick.h"

#include "KdEdSession.h"
#include "DxfTokenizer.h"

#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbHostApplicationServices.h"
#include "tv/KdDbLayerTableRecord.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbViewport.h"
#include "tv/KdEdEditor.h"
#include "tv/KdUtf8.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <unordered_map>

namespace kded {

namespace {

namespace fs = std::filesystem;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// A MINSERT with more instances than this is picked as its first instance only.
constexpr long long kMaxPickedInstances = 10000;

// Groups of the records a pick reads.
constexpr int kInsertPointCode = 10;
constexpr int kNormalCode = 210;
constexpr int kScaleXCode = 41;
constexpr int kScaleYCode = 42;
constexpr int kScaleZCode = 43;
constexpr int kRotationCode = 50;
constexpr int kColumnCountCode = 70;
constexpr int kRowCountCode = 71;
constexpr int kColumnSpacingCode = 44;
constexpr int kRowSpacingCode = 45;
constexpr int kBlockNameCode = 2;
constexpr int kBlockPathCode = 1;
constexpr int kVisibilityCode = 60; // 1: the entity is invisible
constexpr int kAttributeFlagsCode = 70;
constexpr int kAttributeInvisible = 1;
constexpr int kAttributeConstant = 2;

/// The object of `id` when it is live and of type T. Picks only read, so they look at objects
/// without opening them: a command may hold records open while it asks for a pick.
template <class T> const T* peek(KdDbObjectId id) {
    if (!id.isValid() || id.isErased())
        return nullptr;
    return dynamic_cast<const T*>(id.stub()->object);
}

/// The VERTEX objects that follow a POLYLINE at `ids[at]` (none for other types).
void gatherVertices(std::string_view type, const std::vector<KdDbObjectId>& ids, size_t at,
                    std::vector<const KdDbObject*>& vertices) {
    vertices.clear();
    if (type != "POLYLINE")
        return;
    for (size_t j = at + 1; j < ids.size(); ++j) {
        const auto* v = peek<KdDbObject>(ids[j]);
        if (v && v->dxfName() != "VERTEX")
            break;
        if (v)
            vertices.push_back(v);
    }
}

KdDbObjectId liveEntity(KdDbDatabase* db, uint64_t handle) {
    const KdDbObjectId id = db->objectIdOf(handle);
    return peek<KdDbEntity>(id) ? id : KdDbObjectId();
}

KdDbObjectId blockNamed(KdDbDatabase* db, std::string_view raw) {
    const auto* table = peek<KdDbSymbolTable>(db->blockTableId());
    KdDbObjectId id;
    const std::wstring name = db->decode(tvdxf::trimmed(raw));
    if (!table || name.empty() || table->getAt(name.c_str(), id) != Kdad::eOk)
        return {};
    return id;
}

// -- Drawings of external references --

/// A drawing read for an external reference: kept for the rest of the session, or the time
/// of the file that could not be read, so that it is read again only once it changed.
struct SideDrawing {
    std::unique_ptr<KdDbDatabase> db;
    bool failed = false;
    fs::file_time_type failedStamp;
};

/// Per current drawing, the drawings its picks read, by the full path of their file.
using SideDrawings = std::map<KdDbDatabase*, std::map<std::string, SideDrawing>>;

SideDrawings& sideDrawings() {
    static SideDrawings* drawings = new SideDrawings; // lives to the end of the process
    return *drawings;
}

std::string fileKey(const fs::path& file) {
    std::error_code ec;
    const fs::path full = fs::weakly_canonical(file, ec);
    return (ec ? file : full).string();
}

bool hasExtension(const fs::path& file, std::string_view ext) {
    const std::string e = file.extension().string();
    return e.size() == ext.size() &&
           std::equal(e.begin(), e.end(), ext.begin(),
                      [](char a, char b) { return tvAsciiLower(a) == b; });
}

/// The file an external-reference block names (group 1 of its BLOCK record): relative paths
/// count from the folder of the drawing that holds the block. A path written on another system
/// (a drive letter, backslashes) that leads nowhere here is tried as the file of that name
/// beside the holding drawing, and a ".dwg" as the ".dxf" of the same name, since the Host's
/// drawings are DXF files. Empty when the block names no file.
fs::path referencedFile(const KdDbDatabase* holder, const KdDbBlockTableRecord* block) {
    const auto* begin = peek<KdDbObject>(block->blockBeginId());
    if (!begin)
        return {};
    std::wstring raw = holder->decode(tvdxf::trimmed(begin->tagValue(kBlockPathCode)));
    if (raw.empty())
        return {};
    std::replace(raw.begin(), raw.end(), L'\\', L'/');
    const fs::path given(tvToUtf8(raw));
    const fs::path folder = fs::path(holder->fileName()).parent_path();
    std::vector<fs::path> tries{given.is_absolute() ? given : folder / given,
                                folder / given.filename()};
    for (size_t i = 0, n = tries.size(); i < n; ++i)
        if (hasExtension(tries[i], ".dwg"))
            tries.push_back(fs::path(tries[i]).replace_extension(".dxf"));
    for (const fs::path& file : tries) {
        std::error_code ec;
        if (fs::is_regular_file(file, ec))
            return file;
    }
    return tries.front();
}

/// The drawing of `file`, read on first use for the current drawing `drawing`; null when the
/// file is missing or cannot be read (reported once for each version of the file).
KdDbDatabase* sideDrawing(KdDbDatabase* drawing, const fs::path& file, const std::string& key) {
    SideDrawing& side = sideDrawings()[drawing][key];
    if (side.db)
        return side.db.get();
    std::error_code ec;
    const fs::file_time_type stamp = fs::last_write_time(file, ec);
    if (ec)
        return nullptr; // missing: looked for again at the next pick
    if (side.failed && side.failedStamp == stamp)
        return nullptr;
    auto db = std::make_unique<KdDbDatabase>(false);
    std::string error;
    if (db->readDxfFile(file.string().c_str(), &error) != Kdad::eOk) {
        side.failed = true;
        side.failedStamp = stamp;
        print(L"\nThe external reference cannot be read: " + tvFromUtf8(error) + L"\n");
        return nullptr;
    }
    side.db = std::move(db);
    return side.db.get();
}

/// The files of the drawings a pick is inside of, outermost first: a reference to one of them
/// would lead back into itself.
class ReferenceTrail {
public:
    explicit ReferenceTrail(KdDbDatabase* drawing) : m_drawing(drawing) {
        if (!drawing->fileName().empty())
            m_files.push_back(fileKey(drawing->fileName()));
    }

    /// The drawing of the external reference `block` of `holder`, entered; null when it cannot
    /// be read or is one the pick is already inside of. Each drawing entered is left with
    /// leave().
    KdDbDatabase* enter(const KdDbDatabase* holder, const KdDbBlockTableRecord* block) {
        const fs::path file = referencedFile(holder, block);
        if (file.empty())
            return nullptr;
        std::string key = fileKey(file);
        if (std::find(m_files.begin(), m_files.end(), key) != m_files.end())
            return nullptr;
        KdDbDatabase* side = sideDrawing(m_drawing, file, key);
        if (side)
            m_files.push_back(std::move(key));
        return side;
    }
    void leave() { m_files.pop_back(); }

private:
    KdDbDatabase* m_drawing;
    std::vector<std::string> m_files;
};

// -- Block references --

Vec3 normalOf(const KdDbObject* obj) {
    return groupPoint(obj, kNormalCode, Vec3{0, 0, 1});
}

/// The instances of a reference: one for an INSERT, columns times rows for a MINSERT, each as
/// the map from the block into the reference's space.
std::vector<Affine> instancesOf(const KdDbBlockReference* insert) {
    const Affine first = insertTransform(insert);
    const long long columns = std::max(1LL, insert->tagInt(kColumnCountCode, 1));
    const long long rows = std::max(1LL, insert->tagInt(kRowCountCode, 1));
    if (columns * rows == 1 || columns * rows > kMaxPickedInstances)
        return {first};
    // The array steps along the reference's rotated axes, unscaled.
    const double a = groupReal(insert, kRotationCode, 0) * std::numbers::pi / 180;
    const double cs = groupReal(insert, kColumnSpacingCode, 0);
    const double rs = groupReal(insert, kRowSpacingCode, 0);
    const Affine ocs = objectToBlock(normalOf(insert));
    const Vec3 u = ocs.applyLinear(Vec3{cs * std::cos(a), cs * std::sin(a), 0});
    const Vec3 v = ocs.applyLinear(Vec3{-rs * std::sin(a), rs * std::cos(a), 0});
    std::vector<Affine> out;
    for (long long r = 0; r < rows; ++r) {
        for (long long c = 0; c < columns; ++c) {
            Affine f = first;
            const double dc = static_cast<double>(c);
            const double dr = static_cast<double>(r);
            f.t[0] += dc * u.x + dr * v.x;
            f.t[1] += dc * u.y + dr * v.y;
            f.t[2] += dc * u.z + dr * v.z;
            out.push_back(f);
        }
    }
    return out;
}

/// Whether a layer shows the objects on it, and whether it is frozen (a frozen layer also
/// hides everything inside a block reference on it; one that is only off hides only what
/// the reference lends its layer to).
struct LayerShow {
    bool shown = true;
    bool frozen = false;
};

/// How objects on layer "0" inside a block reference show: as the reference does.
enum class Inherit { kOwnLayer, kShown, kHidden };

/// The walk of a point pick.
class PointPicker {
public:
    PointPicker(KdDbDatabase* drawing, const double point[3], KdDbObjectId viewport)
        : m_drawing(drawing), m_x(point[0]), m_y(point[1]), m_trail(drawing),
          m_viewport(peek<KdDbViewport>(viewport)) {}

    bool pick(KdDbObjectId space, PickHit& hit) {
        const Box3 box = extentsOf(space, m_drawing);
        const double size = box.empty() ? 0 : std::max(box.hi.x - box.lo.x, box.hi.y - box.lo.y);
        m_aperture = std::max(size * kPickApertureFraction, kMinimumPickAperture);
        m_tie = m_aperture * 1e-9;
        walk(space, m_drawing, Affine(), Inherit::kOwnLayer);
        if (!m_found)
            return false;
        hit = std::move(m_best);
        return true;
    }

private:
    void walk(KdDbObjectId blockId, KdDbDatabase* db, const Affine& toWorld, Inherit inherit);
    void visitInsert(const KdDbBlockReference* insert, KdDbObjectId id, KdDbDatabase* db,
                     const Affine& toWorld, const LayerShow& show);
    void visitDimension(const KdDbEntity* dim, KdDbObjectId id, KdDbDatabase* db,
                        const Affine& toWorld, const LayerShow& show);
    void consider(double distance, KdDbObjectId id, const Affine& toWorld);
    bool outOfReach(const Box3& worldBox) const {
        const double d = worldBox.planeDistance(m_x, m_y);
        return d > m_aperture || (m_found && d > m_bestDistance + m_tie);
    }
    LayerShow layerShow(const KdDbEntity* ent, Inherit inherit) const;
    void addLayer(LayerShow& show, const KdDbLayerTableRecord* layer) const;
    Box3 extentsOf(KdDbObjectId blockId, KdDbDatabase* db);
    /// The target of a reference: its block, or the model space of an external reference's
    /// drawing (entered: the caller leaves it). Null when it cannot be reached.
    KdDbObjectId targetOf(const KdDbBlockReference* insert, KdDbDatabase*& db, bool& entered);
    /// The box of what a reference shows, in the coordinates of its space.
    Box3 referenceBox(const KdDbBlockReference* insert, KdDbDatabase* db);

    KdDbDatabase* m_drawing;
    double m_x;
    double m_y;
    double m_aperture = kMinimumPickAperture;
    double m_tie = 0;
    ReferenceTrail m_trail;
    const KdDbViewport* m_viewport;
    /// Boxes of blocks in their own coordinates; an empty box while a block is being measured
    /// stops a block that holds itself.
    std::unordered_map<KdDbStub*, Box3> m_extents;
    std::vector<KdDbObjectId> m_blocks;    ///< blocks being walked, to stop a block in itself
    std::vector<KdDbObjectId> m_chain;     ///< references being walked, outermost first
    std::vector<std::wstring> m_xrefNames; ///< names of the external references walked into
    Shape m_shape;
    bool m_found = false;
    double m_bestDistance = kInfinity;
    PickHit m_best;
};

void PointPicker::walk(KdDbObjectId blockId, KdDbDatabase* db, const Affine& toWorld,
                       Inherit inherit) {
    const auto* block = peek<KdDbBlockTableRecord>(blockId);
    if (!block || std::find(m_blocks.begin(), m_blocks.end(), blockId) != m_blocks.end())
        return;
    m_blocks.push_back(blockId);
    const std::vector<KdDbObjectId>& ids = block->entityIds();
    KdDbObjectId frozenInsert; // its attributes are hidden with it
    std::vector<const KdDbObject*> vertices;
    for (size_t i = 0; i < ids.size(); ++i) {
        const auto* ent = peek<KdDbEntity>(ids[i]);
        if (!ent)
            continue;
        const std::string_view type = ent->dxfName();
        if (type == "VERTEX" || type == "SEQEND" || type == "VIEWPORT")
            continue;
        const auto [b, e] = ent->subclassRange("AcDbEntity");
        if (ent->tagInt(kVisibilityCode, 0, b, e) == 1)
            continue;
        const long long attributeFlags = ent->tagInt(kAttributeFlagsCode, 0);
        if (type == "ATTRIB" &&
            (ent->ownerId() == frozenInsert || (attributeFlags & kAttributeInvisible)))
            continue;
        // Inside a reference an attribute definition shows only when it is constant; the
        // others are shown by the reference's attributes.
        if (type == "ATTDEF" && !m_chain.empty() && !(attributeFlags & kAttributeConstant))
            continue;
        const LayerShow show = layerShow(ent, inherit);
        if (const auto* insert = dynamic_cast<const KdDbBlockReference*>(ent)) {
            if (show.frozen)
                frozenInsert = ids[i];
            else
                visitInsert(insert, ids[i], db, toWorld, show);
            continue;
        }
        if (!show.shown)
            continue;
        if (type == "DIMENSION") {
            visitDimension(ent, ids[i], db, toWorld, show);
            continue;
        }
        gatherVertices(type, ids, i, vertices);
        if (shapeOf(ent, vertices, m_shape))
            consider(planeDistance(m_shape, toWorld, m_x, m_y), ids[i], toWorld);
    }
    m_blocks.pop_back();
}

KdDbObjectId PointPicker::targetOf(const KdDbBlockReference* insert, KdDbDatabase*& db,
                                   bool& entered) {
    entered = false;
    const auto* block = peek<KdDbBlockTableRecord>(insert->blockTableRecord());
    if (!block)
        return {};
    if (!block->isFromExternalReference())
        return block->objectId();
    KdDbDatabase* side = m_trail.enter(db, block);
    if (!side)
        return {};
    entered = true;
    db = side;
    return side->modelSpaceId();
}

void PointPicker::visitInsert(const KdDbBlockReference* insert, KdDbObjectId id, KdDbDatabase* db,
                              const Affine& toWorld, const LayerShow& show) {
    KdDbDatabase* inner = db;
    bool entered = false;
    const KdDbObjectId target = targetOf(insert, inner, entered);
    if (target.isNull())
        return;
    if (entered) {
        const auto* block = peek<KdDbBlockTableRecord>(insert->blockTableRecord());
        m_xrefNames.push_back(block ? block->cachedName() : std::wstring());
    }
    const Box3 box = extentsOf(target, inner);
    for (const Affine& instance : instancesOf(insert)) {
        const Affine f = instance.then(toWorld);
        if (outOfReach(box.mapped(f)))
            continue;
        m_chain.push_back(id);
        walk(target, inner, f, show.shown ? Inherit::kShown : Inherit::kHidden);
        m_chain.pop_back();
    }
    if (entered) {
        m_xrefNames.pop_back();
        m_trail.leave();
    }
}

void PointPicker::visitDimension(const KdDbEntity* dim, KdDbObjectId id, KdDbDatabase* db,
                                 const Affine& toWorld, const LayerShow& show) {
    // A dimension is picked as a whole, by the nearest part of the block that draws it.
    const KdDbObjectId block = blockNamed(db, dim->tagValue(kBlockNameCode));
    if (block.isNull()) {
        const Vec3 p = toWorld.apply(groupPoint(dim, kInsertPointCode));
        consider(std::hypot(p.x - m_x, p.y - m_y), id, toWorld);
        return;
    }
    const bool found = m_found;
    const double bestDistance = m_bestDistance;
    PickHit best = std::move(m_best);
    m_found = false;
    m_bestDistance = kInfinity;
    walk(block, db, objectToBlock(normalOf(dim)).then(toWorld),
         show.shown ? Inherit::kShown : Inherit::kHidden);
    const double d = m_found ? m_bestDistance : kInfinity;
    m_found = found;
    m_bestDistance = bestDistance;
    m_best = std::move(best);
    consider(d, id, toWorld);
}

void PointPicker::consider(double distance, KdDbObjectId id, const Affine& toWorld) {
    // Nearest wins; of equally near objects the one drawn later, which lies on top.
    if (distance > m_aperture || (m_found && distance > m_bestDistance + m_tie))
        return;
    m_found = true;
    m_bestDistance = std::min(m_bestDistance, distance);
    m_best.entity = id;
    m_best.chain = m_chain;
    m_best.xform = toWorld;
}

LayerShow PointPicker::layerShow(const KdDbEntity* ent, Inherit inherit) const {
    const KdDbStub* stub = ent->boundLayer();
    const auto* layer = stub ? dynamic_cast<const KdDbLayerTableRecord*>(stub->object) : nullptr;
    const std::wstring name = layer ? layer->cachedName() : ent->layer().str();
    if (inherit != Inherit::kOwnLayer && name == L"0")
        return LayerShow{inherit == Inherit::kShown, false};
    LayerShow show;
    if (layer)
        addLayer(show, layer);
    if (m_xrefNames.empty())
        return show;
    // Objects of an external reference also follow the current drawing's own layers for
    // them ("XREF|LAYER"), which are what a user turns off and freezes.
    const auto* table = peek<KdDbSymbolTable>(m_drawing->layerTableId());
    for (const std::wstring& xref : m_xrefNames) {
        KdDbObjectId id;
        if (table && table->getAt((xref + L"|" + name).c_str(), id) == Kdad::eOk)
            if (const auto* dependent = peek<KdDbLayerTableRecord>(id))
                addLayer(show, dependent);
    }
    return show;
}

void PointPicker::addLayer(LayerShow& show, const KdDbLayerTableRecord* layer) const {
    const bool frozen =
        layer->isFrozen() || (m_viewport && layer->database() == m_drawing &&
                              m_viewport->isLayerFrozenInViewport(layer->objectId()));
    show.frozen = show.frozen || frozen;
    show.shown = show.shown && !frozen && !layer->isOff();
}

Box3 PointPicker::referenceBox(const KdDbBlockReference* insert, KdDbDatabase* db) {
    KdDbDatabase* inner = db;
    bool entered = false;
    const KdDbObjectId target = targetOf(insert, inner, entered);
    Box3 out;
    if (target.isNull())
        return out;
    const Box3 box = extentsOf(target, inner);
    if (entered)
        m_trail.leave();
    const std::vector<Affine> instances = instancesOf(insert);
    // The instances of a MINSERT lie on a lattice: its corners bound the rest.
    const size_t n = instances.size();
    const size_t columns =
        n == 1 ? 1 : static_cast<size_t>(std::max(1LL, insert->tagInt(kColumnCountCode, 1)));
    for (size_t k : {size_t(0), columns - 1, n - columns, n - 1})
        out.add(box.mapped(instances[k]));
    return out;
}

Box3 PointPicker::extentsOf(KdDbObjectId blockId, KdDbDatabase* db) {
    if (const auto it = m_extents.find(blockId.stub()); it != m_extents.end())
        return it->second;
    m_extents.emplace(blockId.stub(), Box3());
    Box3 box;
    const auto* block = peek<KdDbBlockTableRecord>(blockId);
    const std::vector<KdDbObjectId> none;
    const std::vector<KdDbObjectId>& ids = block ? block->entityIds() : none;
    std::vector<const KdDbObject*> vertices;
    for (size_t i = 0; i < ids.size(); ++i) {
        const auto* ent = peek<KdDbEntity>(ids[i]);
        if (!ent)
            continue;
        const std::string_view type = ent->dxfName();
        if (const auto* insert = dynamic_cast<const KdDbBlockReference*>(ent)) {
            box.add(referenceBox(insert, db));
            continue;
        }
        if (type == "DIMENSION") {
            const KdDbObjectId dimBlock = blockNamed(db, ent->tagValue(kBlockNameCode));
            if (!dimBlock.isNull())
                box.add(extentsOf(dimBlock, db).mapped(objectToBlock(normalOf(ent))));
            box.add(groupPoint(ent, kInsertPointCode));
            continue;
        }
        gatherVertices(type, ids, i, vertices);
        if (shapeOf(ent, vertices, m_shape))
            box.add(blockBox(m_shape));
    }
    m_extents[blockId.stub()] = box;
    return box;
}

} // namespace

Affine insertTransform(const KdDbBlockReference* insert) {
    Vec3 base;
    if (const auto* block = peek<KdDbBlockTableRecord>(insert->blockTableRecord()))
        if (const auto* begin = peek<KdDbObject>(block->blockBeginId()))
            base = groupPoint(begin, kInsertPointCode);
    const double s[3] = {groupReal(insert, kScaleXCode, 1), groupReal(insert, kScaleYCode, 1),
                         groupReal(insert, kScaleZCode, 1)};
    const double a = groupReal(insert, kRotationCode, 0) * std::numbers::pi / 180;
    const double c = std::cos(a);
    const double sn = std::sin(a);
    const double rot[3][3] = {{c, -sn, 0}, {sn, c, 0}, {0, 0, 1}};
    Affine r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r.m[i][j] = rot[i][j] * s[j];
    const Vec3 ins = groupPoint(insert, kInsertPointCode);
    const Vec3 moved = r.applyLinear(base);
    r.t[0] = ins.x - moved.x;
    r.t[1] = ins.y - moved.y;
    r.t[2] = ins.z - moved.z;
    return r.then(objectToBlock(normalOf(insert)));
}

bool pickAtPoint(KdDbDatabase* db, const double point[3], PickHit& hit) {
    hit = PickHit();
    if (!db || !point)
        return false;
    const DrawingState* state = drawingState(db);
    const bool viewportCurrent = !db->tilemode() && state && state->cvport > 1;
    // On a layout's sheet the pick is in that layout's block (the one made current).
    const KdDbObjectId sheet =
        db == kdedCurrentDatabase()
            ? kdHostApplicationServices()->layoutManager()->currentPaperSpaceBTRId()
            : db->paperSpaceId();
    const KdDbObjectId space = db->tilemode() || viewportCurrent ? db->modelSpaceId() : sheet;
    const KdDbObjectId viewport = viewportCurrent && db == kdedCurrentDatabase()
                                      ? kdedGetCurViewportObjectId()
                                      : KdDbObjectId();
    PointPicker picker(db, point, viewport);
    return picker.pick(space, hit);
}

bool pickByHandle(KdDbDatabase* db, uint64_t handle, const std::vector<uint64_t>& via,
                  PickHit& hit) {
    hit = PickHit();
    if (!db || handle == 0)
        return false;
    ReferenceTrail trail(db);
    KdDbDatabase* lookup = db;  // handles after an external reference are its drawing's
    KdDbObjectId expectedOwner; // the block that must own the next object of the chain
    for (uint64_t h : via) {
        const KdDbObjectId ref = liveEntity(lookup, h);
        const auto* insert = peek<KdDbBlockReference>(ref);
        if (!insert || (!expectedOwner.isNull() && insert->ownerId() != expectedOwner))
            return false;
        const auto* block = peek<KdDbBlockTableRecord>(insert->blockTableRecord());
        if (!block)
            return false;
        hit.xform = insertTransform(insert).then(hit.xform);
        hit.chain.push_back(ref);
        if (!block->isFromExternalReference()) {
            expectedOwner = block->objectId();
            continue;
        }
        lookup = trail.enter(lookup, block);
        if (!lookup)
            return false;
        expectedOwner = lookup->modelSpaceId();
    }
    const KdDbObjectId entity = liveEntity(lookup, handle);
    const auto* ent = peek<KdDbEntity>(entity);
    if (!ent || (!expectedOwner.isNull() && ent->ownerId() != expectedOwner))
        return false;
    hit.entity = entity;
    return true;
}

void dropExternalReferences(KdDbDatabase* db) {
    sideDrawings().erase(db);
}

} // namespace kded
