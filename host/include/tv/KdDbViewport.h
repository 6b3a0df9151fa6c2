// A paper-space viewport and its list of layers frozen in it (group 331).
#pragma once

#include "KdDbEntity.h"

class TVHOST_API KdDbViewport : public KdDbEntity {
public:
    KdDbViewport();
    ~KdDbViewport() override;

    /// Viewport number (group 69); 1 is the paper-space sheet itself.
    int number() const;
    bool isOn() const;

    /// Adds the layers to the frozen list (layers already frozen stay once); eInvalidInput for
    /// an id that is not a layer of this drawing.
    Kdad::ErrorStatus freezeLayersInViewport(const std::vector<KdDbObjectId>& layerIds);
    /// Removes the layers from the frozen list.
    Kdad::ErrorStatus thawLayersInViewport(const std::vector<KdDbObjectId>& layerIds);
    Kdad::ErrorStatus thawAllLayersInViewport();
    /// The layers frozen in this viewport, in stored order; handles of missing layers skipped.
    Kdad::ErrorStatus getFrozenLayerList(std::vector<KdDbObjectId>& layerIds) const;
    bool isLayerFrozenInViewport(KdDbObjectId layerId) const;

private:
    void writeFrozenList(const std::vector<KdDbObjectId>& layerIds);
};
