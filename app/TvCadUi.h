// The UI services of the console Host: message boxes and file choices become command-line
// prompts, so that scripts answer them like any other prompt.
#pragma once

#include "tv/KdUiServices.h"

namespace tvcad {

class TvCadUi : public KdUiServices {
public:
    int messageBox(const KdString& text, const KdString& caption, int buttons, int icon) override;
    bool getOpenFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    bool getSaveFileName(const KdString& title, const KdString& initialPath,
                         const KdString& filters, const KdString& defaultExtension,
                         KdString& path) override;
    /// Colours and linetypes are chosen by name on the command line by the commands
    /// themselves; these dialogs answer as cancelled.
    bool chooseColor(KdCmColor& color, unsigned flags, const KdCmColor& currentLayerColor) override;
    bool chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                        KdString& chosen) override;
};

} // namespace tvcad
