// The Host's resizable dialog base class: CKdUiDialog with a size grip, a minimum size taken
// from its first layout and its size remembered with its position.
#pragma once

#include "tv/qt/CKdUiDialog.h"

/// A resizable dialog whose size, like its position, comes back on the next opening. It can
/// never be made smaller than the size its layout gave it when it was first shown. Data is
/// exchanged through updateData(): the controls take the dialog's values when it opens
/// (updateData(false) from onInitDialog) and give them back on OK (updateData(true)).
class TVHOSTUI_API CQdUiDialog : public CKdUiDialog {
    Q_OBJECT
public:
    explicit CQdUiDialog(const QString& dialogName = QString(), QWidget* parent = nullptr);
    ~CQdUiDialog() override;

    /// Moves values between the dialog's members and its controls: to the controls when
    /// `saveAndValidate` is false, back to the members when it is true. False when a value is
    /// refused (the dialog then stays open). The base class has nothing to move.
    virtual bool updateData(bool saveAndValidate = true);

    void accept() override;

protected:
    void onInitDialog() override;
    void prepareFirstShow() override;
    bool restoresSize() const override { return true; }
};
