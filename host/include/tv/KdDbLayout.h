// Plot settings and layouts (paper-space sheets with their block records).
#pragma once

#include "KdDbObject.h"

class TVHOST_API KdDbPlotSettings : public KdDbObject {
public:
    explicit KdDbPlotSettings(std::string_view dxfType = "PLOTSETTINGS");
    ~KdDbPlotSettings() override;
    /// The plot style table assigned to the settings (group 7 of AcDbPlotSettings).
    Kdad::ErrorStatus getCurrentStyleSheet(KdString& styleSheet) const;
    Kdad::ErrorStatus setCurrentStyleSheet(const wchar_t* styleSheet);
    KdString plotSettingsName() const;
};

class TVHOST_API KdDbLayout : public KdDbPlotSettings {
public:
    KdDbLayout();
    ~KdDbLayout() override;
    /// The layout's name (group 1 of AcDbLayout).
    KdString getLayoutName() const;
    /// Tab order (group 71); 0 is the model layout.
    int getTabOrder() const;
    /// The block record of the layout (group 330 of AcDbLayout).
    KdDbObjectId getBlockTableRecordId() const;
    /// The viewport last active in the layout (group 331).
    KdDbObjectId lastActiveViewportId() const;
    bool modelType() const;
};
