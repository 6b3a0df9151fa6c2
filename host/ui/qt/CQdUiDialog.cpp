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
    // The layout's first size is the smallest the dialog may take.
    adjustSize();
    setMinimumSize(size());
}
