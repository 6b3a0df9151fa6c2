// The Host's message box and file dialogs as Qt windows.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QString>
#include <QStringList>

class QMessageBox;
class QWidget;

/// Builds the Host's message box: `buttons` MB_OK .. MB_YESNO, `icon` MB_ICON... or 0. The
/// buttons are named "okButton", "cancelButton", "yesButton", "noButton"; the first is the
/// default (Enter), Escape gives the cancel-like answer of the box (kdUiCancelAnswer), and a
/// button's underlined letter answers without Alt. The caller owns the box.
TVHOSTUI_API QMessageBox* kdQtMakeMessageBox(QWidget* parent, const QString& text,
                                             const QString& caption, int buttons, int icon);
/// Shows the box modally and returns IDOK, IDCANCEL, IDYES or IDNO.
TVHOSTUI_API int kdQtMessageBox(QWidget* parent, const QString& text, const QString& caption,
                                int buttons, int icon);

/// The Host's filter list "Text|*.a;*.b|Text|*.c" as Qt name filters ("Text (*.a *.b)"); a
/// text that already ends with its patterns in parentheses is kept as it is.
TVHOSTUI_API QStringList kdQtNameFilters(const QString& filters);

/// A file dialog (open: an existing file; save: any name, asking before an existing file is
/// replaced) titled `title`, opened at `initialPath` (a folder, or a file whose folder it
/// opens with the name filled in). A name typed without an extension gets `defaultExtension`
/// ("las", ".las" or "*.las"). The dialog is named "KdOpenFileDialog" or "KdSaveFileDialog"
/// and keeps its placement as "KdFileDialog". Returns the chosen file, empty when cancelled.
TVHOSTUI_API QString kdQtFileDialog(QWidget* parent, bool save, const QString& title,
                                    const QString& initialPath, const QString& filters,
                                    const QString& defaultExtension);
