// Drives the Host's windows from tests and tools: waits for a modal dialog, finds its controls
// by object name, clicks, types and presses keys, and saves pictures of windows.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QDialog>
#include <QPoint>
#include <QString>

#include <functional>

class QWidget;

/// Modal dialogs block their caller, so their steps are queued before the call that opens them:
///
///     KdQtDialogDriver::whenShown([](QDialog* d) {
///         KdQtDialogDriver::click(KdQtDialogDriver::find(d, "yesButton"));
///     });
///     int answer = kdUiServices()->messageBox(...);
///
/// Events are sent straight to the widgets, so nothing depends on the window manager or on
/// which window has the focus.
class TVHOSTUI_API KdQtDialogDriver {
public:
    using Steps = std::function<void(QDialog* dialog)>;

    /// Runs `steps` on the next modal dialog that opens (a dialog open now does not count).
    /// When none opens within `timeoutMs`, or the steps leave it open that long, the dialog
    /// is rejected and the failure is recorded (takeFailures()).
    static void whenShown(Steps steps, int timeoutMs = 10000);
    /// Failures recorded since the last call, one line each; the call forgets them.
    static QString takeFailures();

    /// The descendant of `root` with this object name (`root` itself when it has it); null
    /// when there is none.
    static QWidget* find(QWidget* root, const QString& objectName);
    template <class T> static T* find(QWidget* root, const QString& objectName) {
        return qobject_cast<T*>(find(root, objectName));
    }

    /// A left click in the middle of `widget`, or at `pos` (widget coordinates).
    static void click(QWidget* widget);
    static void clickAt(QWidget* widget, const QPoint& pos, bool right = false);
    static void doubleClickAt(QWidget* widget, const QPoint& pos);
    /// Types `text` into `widget`, one key press and release per character.
    static void type(QWidget* widget, const QString& text);
    /// Presses and releases one key (Qt::Key_Return, Qt::Key_Escape, Qt::Key_F1 ...).
    static void key(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    /// Saves a picture of `widget` (a window: its contents, without the window manager's
    /// frame) as PNG; false when the file cannot be written.
    static bool saveScreenshot(QWidget* widget, const QString& path);
};
