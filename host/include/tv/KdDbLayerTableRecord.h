// A layer: visibility, freezing, locking, plotting, colour, linetype, lineweight, plot style,
// transparency, description and the per-viewport overrides kept in its extension dictionary.
#pragma once

#include "KdCmColor.h"
#include "KdCmTransparency.h"
#include "KdDbSymbolTableRecord.h"

class TVHOST_API KdDbLayerTableRecord : public KdDbSymbolTableRecord {
public:
    KdDbLayerTableRecord();
    ~KdDbLayerTableRecord() override;
    std::string_view subclassMarker() const override { return "AcDbLayerTableRecord"; }

    bool isOff() const;
    bool isFrozen() const;
    bool isLocked() const;
    bool isPlottable() const;
    /// Frozen in viewports created from now on.
    bool VPDFLT() const;
    /// The flag set by KdDbLayerTable::generateUsageData (or setIsInUseBit).
    bool isInUse() const { return m_inUse; }
    bool isHidden() const;

    Kdad::ErrorStatus setIsOff(bool off);
    Kdad::ErrorStatus setIsFrozen(bool frozen);
    Kdad::ErrorStatus setIsLocked(bool locked);
    Kdad::ErrorStatus setIsPlottable(bool plottable);
    Kdad::ErrorStatus setVPDFLT(bool frozen);
    void setIsInUseBit(bool inUse) { m_inUse = inUse; }

    KdCmColor color() const;
    /// The colour in viewport `viewportId`; `isOverride` tells whether it is an override there.
    KdCmColor color(KdDbObjectId viewportId, bool& isOverride) const;
    /// Sets the colour; by-layer and by-block colours are refused (eInvalidInput).
    Kdad::ErrorStatus setColor(const KdCmColor& color);
    Kdad::ErrorStatus setColor(const KdCmColor& color, KdDbObjectId viewportId);

    KdDbObjectId linetypeObjectId() const;
    KdDbObjectId linetypeObjectId(KdDbObjectId viewportId, bool& isOverride) const;
    /// eKeyNotFound for an id that is not a linetype of this drawing.
    Kdad::ErrorStatus setLinetypeObjectId(KdDbObjectId id);
    Kdad::ErrorStatus setLinetypeObjectId(KdDbObjectId id, KdDbObjectId viewportId);

    KdDb::LineWeight lineWeight() const;
    KdDb::LineWeight lineWeight(KdDbObjectId viewportId, bool& isOverride) const;
    /// eInvalidInput for a value outside the fixed lineweights and "default" (-3).
    Kdad::ErrorStatus setLineWeight(KdDb::LineWeight weight);
    Kdad::ErrorStatus setLineWeight(KdDb::LineWeight weight, KdDbObjectId viewportId);

    /// The plot style name (the key of the plot-style-name dictionary entry the layer points to).
    KdString plotStyleName() const;
    KdDbObjectId plotStyleNameId() const;
    KdDbObjectId plotStyleNameId(KdDbObjectId viewportId, bool& isOverride) const;
    /// Sets the plot style by name, adding the name to the plot-style-name dictionary when new.
    Kdad::ErrorStatus setPlotStyleName(const wchar_t* name);
    Kdad::ErrorStatus setPlotStyleName(KdDbObjectId placeholderId);
    Kdad::ErrorStatus setPlotStyleName(const wchar_t* name, KdDbObjectId viewportId);

    KdCmTransparency transparency() const;
    Kdad::ErrorStatus setTransparency(const KdCmTransparency& transparency);

    KdString description() const;
    Kdad::ErrorStatus setDescription(const wchar_t* description);

    /// Removes every viewport override of the layer for `viewportId`.
    Kdad::ErrorStatus removeViewportOverrides(KdDbObjectId viewportId);
    bool hasOverrides(KdDbObjectId viewportId) const;

private:
    int rawColorIndex() const;
    void setRawColorIndex(int index);
    /// Reads the override value tag of `viewportId` from the override xrecord `key`.
    bool overrideValue(const wchar_t* key, int valueCode, KdDbObjectId viewportId,
                       std::string& raw) const;
    Kdad::ErrorStatus setOverrideValue(const wchar_t* key, const char* blockName, int valueCode,
                                       KdDbObjectId viewportId, const std::string& raw);
    bool m_inUse = false;
};
