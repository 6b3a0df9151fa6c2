// The Host's dialog base class: a registered name under which the placement is kept, modal runs
// that return the command that ended them, help and the small icon.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QDialog>
#include <QString>

class QDialogButtonBox;
class QPushButton;

/// Base of the Host's and the modules' dialogs. A dialog with a registered name ("TvLayerState
/// ManagerDialog") gets its last position and size back when it opens again, fitted to the
/// screens there are now. A modal run returns the command identifier that ended the dialog:
/// IDOK (1) for accept(), IDCANCEL (2) for reject(), Escape and the window's close button, or
/// any identifier given to endDialog (3061 ...). F1 calls onHelp(), as does the Help button
/// that addHelpButton() adds. A dialog made without a parent is parented to the dialog open
/// now or to the Host's main window (kdQtDialogParent()).
class TVHOSTUI_API CKdUiDialog : public QDialog {
    Q_OBJECT
public:
    explicit CKdUiDialog(const QString& dialogName = QString(), QWidget* parent = nullptr);
    ~CKdUiDialog() override;

    /// The name under which the Host keeps the dialog's placement; empty keeps none.
    const QString& dialogName() const { return m_dialogName; }
    void setDialogName(const QString& name) { m_dialogName = name; }

    /// Shows the dialog modally and returns the command identifier that ended it.
    int runModal();
    /// The same as runModal(), for code that calls QDialog::exec().
    int exec() override;
    /// Ends the dialog with a command identifier: IDOK, IDCANCEL or a command of its own.
    void endDialog(int commandId);
    /// The identifier the dialog ended with last; 0 while it has not ended.
    int commandId() const { return m_commandId; }

    /// Adds a Help button (object name "helpButton") to `buttons`; it calls onHelp().
    QPushButton* addHelpButton(QDialogButtonBox* buttons);
    /// The icon in the dialog's title bar; the Host's icon unless set.
    void setSmallIcon(const QIcon& icon);

    /// Whether the last opening put the dialog where it was stored.
    bool placementRestored() const { return m_placementRestored; }

    void setVisible(bool visible) override;
    void done(int result) override;

protected:
    /// Called once, when the dialog is first shown, before its placement is restored: the
    /// place to fill controls from the data the dialog was made with.
    virtual void onInitDialog();
    /// Help for the dialog; by default the Host's help for its registered name.
    virtual void onHelp();
    /// Called once after onInitDialog(), before the placement is restored: where a dialog fixes
    /// what its first layout gives (CQdUiDialog takes its minimum size from it).
    virtual void prepareFirstShow();
    /// Whether a stored size is restored too (resizable dialogs); a fixed dialog keeps its size.
    virtual bool restoresSize() const { return false; }

    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void restorePlacement();

    QString m_dialogName;
    int m_commandId = 0;
    bool m_initialised = false;
    bool m_placementRestored = false;
    bool m_shownOnce = false;
};
