// The Host's user-interface services as Qt windows: message boxes, file dialogs, the colour
// dialog and the linetype chooser.
#pragma once

#include "tv/KdUiServices.h"
#include "tv/qt/KdQtExport.h"

/// Every service opens a modal window parented to kdQtDialogParent(). Needs a QApplication.
class TVHOSTUI_API KdQtUiServices : public KdUiServices {
public:
    KdQtUiServices();
    ~KdQtUiServices() override;

    int messageBox(const KdString& text, const KdString& caption, int buttons, int icon) override;
    bool getOpenFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool getSaveFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    /// The Host's colour dialog; the linetypes' samples come from the current drawing.
    bool chooseColor(KdCmColor& color, unsigned flags, const KdCmColor& currentLayerColor) override;
    bool chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                        KdString& chosen) override;
    bool hasWindow() const override { return true; }
};
