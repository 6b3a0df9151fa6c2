// What filter evaluation needs from the filter manager of a layer's drawing.
#pragma once

class KdDbLayerTableRecord;

namespace tvly {

/// True when the layer is frozen in the viewport that the filter manager of its drawing was
/// given (KdLyLayerFilterManager::setViewportId); false without one (model space).
bool isFrozenInFilterViewport(const KdDbLayerTableRecord& layer);

} // namespace tvly
