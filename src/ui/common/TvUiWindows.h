// Whether the module may open its windows now, and the parent they take.
#pragma once

class QWidget;

namespace tv::ui {

/// True when the Host runs with a window and Qt's application object exists: the module's
/// commands then open their dialogs; otherwise (console, scripts) they keep the command-line
/// forms.
bool windowsAvailable();

/// The parent of a new dialog of the module: the modal dialog open now, else the main window.
QWidget* dialogParent();

} // namespace tv::ui
