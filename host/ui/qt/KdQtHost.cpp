// The main window that parents dialogs, the Host's icons and the Host's help.
#include "tv/qt/KdQtHost.h"

#include "tv/KdUiServices.h"
#include "tv/qt/KdQtMessageBox.h"

#include <QApplication>
#include <QFile>
#include <QPointer>
#include <QWidget>

namespace {

QPointer<QWidget>& mainWindow() {
    static QPointer<QWidget> window;
    return window;
}

KdQtHelpHandler& helpHandler() {
    static KdQtHelpHandler handler;
    return handler;
}

} // namespace

QWidget* kdQtMainWindow() {
    return mainWindow().data();
}

void kdQtSetMainWindow(QWidget* window) {
    mainWindow() = window;
}

QWidget* kdQtDialogParent() {
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    return kdQtMainWindow();
}

QIcon kdQtHostIcon(const QString& name) {
    const QString path = QStringLiteral(":/tv/icons/") + name + QStringLiteral(".svg");
    if (name.isEmpty() || !QFile::exists(path))
        return QIcon();
    return QIcon(path);
}

void kdQtSetHelpHandler(KdQtHelpHandler handler) {
    helpHandler() = std::move(handler);
}

void kdQtShowHelp(const QString& topic) {
    if (helpHandler()) {
        helpHandler()(topic);
        return;
    }
    kdQtMessageBox(kdQtDialogParent(),
                   QStringLiteral("No help is installed for \"%1\".").arg(topic),
                   QString::fromWCharArray(kKdUiCaption), MB_OK, MB_ICONINFORMATION);
}
