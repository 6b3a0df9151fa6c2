// What the window Host gives every dialog: the main window that parents it, the Host's icons
// and its help.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QIcon>
#include <QString>

#include <functional>

class QWidget;

/// The Host's main window; null while the Host runs on the console (or in a test without one).
TVHOSTUI_API QWidget* kdQtMainWindow();
/// Makes `window` the main window (null: none). The window is not owned.
TVHOSTUI_API void kdQtSetMainWindow(QWidget* window);
/// The parent a new dialog takes: the modal dialog that is open now, so that a dialog opened
/// from a dialog stays above it, else the main window; null when neither exists.
TVHOSTUI_API QWidget* kdQtDialogParent();

/// One of the Host's icons by name ("tvcad", "layer", "layer-on", "layer-off", "layer-frozen",
/// "layer-thawed", "layer-locked", "layer-unlocked", "msg-error", ...). A null icon for an
/// unknown name.
TVHOSTUI_API QIcon kdQtHostIcon(const QString& name);

/// Shows the help of a topic (a dialog's registered name, a command).
using KdQtHelpHandler = std::function<void(const QString& topic)>;
/// Installs the Host's help; an empty handler restores the default, a message box saying that
/// no help is installed for the topic.
TVHOSTUI_API void kdQtSetHelpHandler(KdQtHelpHandler handler);
TVHOSTUI_API void kdQtShowHelp(const QString& topic);
