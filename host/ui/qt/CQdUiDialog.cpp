// CQdUiDialog: the resizable dialog with data exchange.
#include "tv/qt/CQdUiDialog.h"

CQdUiDialog::CQdUiDialog(const QString& dialogName, QWidget* parent)
    : CKdUiDialog(dialogName, parent) {
    setSizeGripEnabled(true);
}

CQdUiDialog::~CQdUiDialog() = default;

bool CQdUiDialog::updateData(bool) {
    return true;
}

void CQdUiDialog::accept() {
    if (!updateData(true))
        return;
    CKdUiDialog::accept();
}

void CQdUiDialog::onInitDialog() {
    updateData(false);
}

void CQdUiDialog::prepareFirstShow() {
    // The size the layout asks for is the smallest the dialog may take; a dialog that chose a
    // larger size for itself opens at that size.
    const QSize laidOut = sizeHint().expandedTo(minimumSizeHint());
    if (!testAttribute(Qt::WA_Resized))
        resize(laidOut);
    setMinimumSize(laidOut.boundedTo(size()));
}
