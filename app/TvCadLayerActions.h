// What the window's layer control shows of the layers and the changes it makes to them.
#pragma once

#include "tv/KdCmColor.h"

#include <string>
#include <vector>

class KdDbDatabase;

namespace tvcad {

/// One layer as the layer control lists it.
struct TvCadLayerRow {
    std::wstring name;
    bool off = false;
    bool frozen = false;
    bool locked = false;
    bool current = false;
    KdCmColor color;

    bool operator==(const TvCadLayerRow&) const = default;
};

/// The layers of the drawing sorted by name (case ignored, numbers in names by value, so that
/// "A-2" comes before "A-10"); external-reference layers too.
std::vector<TvCadLayerRow> layerRows(KdDbDatabase& db);

/// The property an icon of the layer control stands for.
enum class TvCadLayerToggle { kOn, kFrozen, kLocked };

/// Flips one property of the layer `name`, as one step that U takes back. False, with the
/// reason in `message`, when there is no such layer or the layer is the current one and would
/// be frozen; nothing is changed then.
bool toggleLayer(KdDbDatabase& db, const std::wstring& name, TvCadLayerToggle what,
                 std::wstring* message);

/// Makes the layer `name` current, as one step that U takes back. False, with the reason in
/// `message`, when there is no such layer or it is frozen.
bool makeLayerCurrent(KdDbDatabase& db, const std::wstring& name, std::wstring* message);

/// Compares layer names as the layer control sorts them.
bool layerNameLess(const std::wstring& a, const std::wstring& b);

} // namespace tvcad
