// CKdUiDialog: placement kept under the dialog's name, command identifiers, help, icon.
#include "tv/qt/CKdUiDialog.h"

#include "tv/KdUiServices.h"
#include "tv/qt/KdQtDialogPlacement.h"
#include "tv/qt/KdQtHost.h"

#include <QDialogButtonBox>
#include <QHideEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QPushButton>

CKdUiDialog::CKdUiDialog(const QString& dialogName, QWidget* parent)
    : QDialog(parent ? parent : kdQtDialogParent()), m_dialogName(dialogName) {
    setWindowIcon(kdQtHostIcon(QStringLiteral("tvcad")));
    // The "?" button of some window managers would start a help mode the Host does not have.
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
}

CKdUiDialog::~CKdUiDialog() = default;

int CKdUiDialog::runModal() {
    m_commandId = 0;
    QDialog::exec();
    // A dialog that was hidden without being ended counts as cancelled.
    return m_commandId != 0 ? m_commandId : IDCANCEL;
}

int CKdUiDialog::exec() {
    return runModal();
}

void CKdUiDialog::endDialog(int commandId) {
    m_commandId = commandId;
    if (commandId == IDOK)
        done(QDialog::Accepted);
    else if (commandId == IDCANCEL || commandId == 0)
        done(QDialog::Rejected);
    else
        done(commandId);
}

void CKdUiDialog::done(int result) {
    // accept() and reject() come here with Qt's codes; endDialog has set the identifier.
    if (m_commandId == 0) {
        if (result == QDialog::Accepted)
            m_commandId = IDOK;
        else if (result == QDialog::Rejected)
            m_commandId = IDCANCEL;
        else
            m_commandId = result;
    }
    QDialog::done(result);
}

QPushButton* CKdUiDialog::addHelpButton(QDialogButtonBox* buttons) {
    QPushButton* help = buttons->addButton(QDialogButtonBox::Help);
    help->setObjectName(QStringLiteral("helpButton"));
    connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { onHelp(); });
    return help;
}

void CKdUiDialog::setSmallIcon(const QIcon& icon) {
    setWindowIcon(icon);
}

void CKdUiDialog::onInitDialog() {}

void CKdUiDialog::prepareFirstShow() {}

void CKdUiDialog::onHelp() {
    kdQtShowHelp(m_dialogName.isEmpty() ? windowTitle() : m_dialogName);
}

void CKdUiDialog::setVisible(bool visible) {
    if (visible && !isVisible()) {
        m_commandId = 0;
        if (!m_initialised) {
            m_initialised = true;
            onInitDialog();
            if (layout())
                layout()->activate();
            prepareFirstShow();
        }
        restorePlacement();
    }
    QDialog::setVisible(visible);
}

void CKdUiDialog::restorePlacement() {
    m_placementRestored = false;
    const std::optional<QRect> stored = kdQtReadPlacement(m_dialogName);
    if (!stored)
        return;
    const QSize minimum = minimumSize().expandedTo(minimumSizeHint());
    QRect wanted = *stored;
    if (!restoresSize())
        wanted.setSize(size().expandedTo(minimum));
    const std::optional<QRect> fitted = kdQtFitToScreens(wanted, kdQtScreenAreas(), minimum);
    if (!fitted)
        return; // stored on a screen that is not there: Qt's own placement, over the parent
    if (restoresSize())
        resize(fitted->size());
    move(fitted->topLeft());
    m_placementRestored = true;
}

void CKdUiDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F1 && event->modifiers() == Qt::NoModifier) {
        onHelp();
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void CKdUiDialog::hideEvent(QHideEvent* event) {
    // A dialog being minimised with its parent is not being closed.
    if (!event->spontaneous() && !m_dialogName.isEmpty()) {
        // Where the window (its frame) stands and how large its inside is: what move() and
        // resize() take back.
        const QRect now(pos(), size());
        if (kdQtReadPlacement(m_dialogName) != now)
            kdQtWritePlacement(m_dialogName, now);
    }
    QDialog::hideEvent(event);
}
