// Object picks of the editor: the object under a point, the object a handle and its chain of
// block references name, and the drawings of external references that picks descend into.
#pragma once

#include "KdEdPickGeometry.h"

#include "tv/KdDbObjectId.h"

#include <cstdint>
#include <vector>

class KdDbBlockReference;
class KdDbDatabase;

namespace kded {

/// The pick aperture: a point pick reaches objects within this fraction of the larger side of
/// the extents of the space picked in (the box of everything in it, nested blocks and external
/// references included, shown or not; about what a few pixels are on a screen that shows the
/// whole drawing), and never less than kMinimumPickAperture drawing units, so that a space
/// holding a single point can still be picked.
inline constexpr double kPickApertureFraction = 0.005;
inline constexpr double kMinimumPickAperture = 1e-6;

/// The map from the block of `insert` (one of its instances for a MINSERT: column 0, row 0)
/// into the space that holds the reference: scale, rotate about Z, move the block's base point
/// to the insertion point, then from the reference's object coordinates to those of its space.
Affine insertTransform(const KdDbBlockReference* insert);

/// What a pick found.
struct PickHit {
    /// The picked object: the innermost one when it lies in a block; an object of the drawing
    /// of an external reference when the pick went into one.
    KdDbObjectId entity;
    /// The block references that lead to it, outermost first (those after an external
    /// reference are objects of its drawing).
    std::vector<KdDbObjectId> chain;
    /// From the coordinates of the block that holds the object to those of the picked space.
    Affine xform;
};

/// The object under `point` of the current space of `db`: model space when TILEMODE is 1 or a
/// paper-space viewport is current (the point is a model-space point then), else the paper
/// space. Objects within the aperture count; the nearest wins, and of equally near ones the
/// one drawn last. Erased objects, objects on layers that are off or frozen (also frozen in the
/// current viewport), invisible objects and viewports are not picked. False when nothing is in
/// reach.
bool pickAtPoint(KdDbDatabase* db, const double point[3], PickHit& hit);

/// The object of `handle` reached through the block references `via` (outermost first): each
/// reference must lie in the block of the one before it, the object in the block of the last.
/// After a reference to an external reference, the handles are those of its drawing. False when
/// a handle names no live object, the references do not lead to the object, or an external
/// reference's drawing cannot be read.
bool pickByHandle(KdDbDatabase* db, uint64_t handle, const std::vector<uint64_t>& via,
                  PickHit& hit);

/// Forgets the drawings of external references read for `db`; names of their objects are
/// invalid afterwards.
void dropExternalReferences(KdDbDatabase* db);

} // namespace kded
