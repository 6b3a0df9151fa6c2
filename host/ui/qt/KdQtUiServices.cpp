// KdQtUiServices: every UI service of the Host as a modal Qt window.
#include "tv/qt/KdQtUiServices.h"

#include "tv/KdEdEditor.h"
#include "tv/qt/KdQtColorDialog.h"
#include "tv/qt/KdQtHost.h"
#include "tv/qt/KdQtLinetypeDialog.h"
#include "tv/qt/KdQtMessageBox.h"

namespace {

QString qs(const KdString& s) {
    return QString::fromStdWString(s.str());
}

bool fileDialog(bool save, const KdString& title, const KdString& initialPath,
                const KdString& filters, const KdString& defaultExtension, KdString& path) {
    const QString chosen = kdQtFileDialog(kdQtDialogParent(), save, qs(title), qs(initialPath),
                                          qs(filters), qs(defaultExtension));
    if (chosen.isEmpty())
        return false;
    path = KdString(chosen.toStdWString());
    return true;
}

} // namespace

KdQtUiServices::KdQtUiServices() = default;
KdQtUiServices::~KdQtUiServices() = default;

int KdQtUiServices::messageBox(const KdString& text, const KdString& caption, int buttons,
                               int icon) {
    return kdQtMessageBox(kdQtDialogParent(), qs(text), qs(caption), buttons, icon);
}

bool KdQtUiServices::getOpenFileName(const KdString& title, const KdString& initialPath,
                                     const KdString& filters, const KdString& defaultExtension,
                                     KdString& path) {
    return fileDialog(false, title, initialPath, filters, defaultExtension, path);
}

bool KdQtUiServices::getSaveFileName(const KdString& title, const KdString& initialPath,
                                     const KdString& filters, const KdString& defaultExtension,
                                     KdString& path) {
    return fileDialog(true, title, initialPath, filters, defaultExtension, path);
}

bool KdQtUiServices::chooseColor(KdCmColor& color, unsigned flags,
                                 const KdCmColor& currentLayerColor) {
    KdQtColorDialog dialog(color, flags, currentLayerColor);
    if (dialog.runModal() != IDOK)
        return false;
    color = dialog.color();
    return true;
}

bool KdQtUiServices::chooseLinetype(const std::vector<KdString>& names, const KdString& initial,
                                    KdString& chosen) {
    KdQtLinetypeDialog dialog(kdQtLinetypePatterns(kdedCurrentDatabase(), names), qs(initial));
    if (dialog.runModal() != IDOK || dialog.chosen().isEmpty())
        return false;
    chosen = KdString(dialog.chosen().toStdWString());
    return true;
}
