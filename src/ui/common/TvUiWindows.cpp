#include "common/TvUiWindows.h"

#include <tv/KdUiServices.h>
#include <tv/qt/KdQtHost.h>

#include <QApplication>

namespace tv::ui {

bool windowsAvailable() {
    const KdUiServices* services = kdUiServices();
    return services != nullptr && services->hasWindow() &&
           qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

QWidget* dialogParent() { return kdQtDialogParent(); }

} // namespace tv::ui
