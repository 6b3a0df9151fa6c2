// The Host's linetype chooser.
#pragma once

#include "tv/qt/CQdUiDialog.h"
#include "tv/qt/KdQtLinetypePattern.h"

class QLineEdit;
class QTreeWidget;

/// Lists linetypes with a drawn sample of each pattern and its description ("linetypeList",
/// columns Linetype, Appearance, Description); the one given on opening is selected. A double
/// click chooses. With no linetypes to list, a name is typed ("linetypeEdit"). Registered as
/// "KdLinetypeDialog".
class TVHOSTUI_API KdQtLinetypeDialog : public CQdUiDialog {
    Q_OBJECT
public:
    KdQtLinetypeDialog(const QList<KdQtLinetypePattern>& linetypes, const QString& initial,
                       QWidget* parent = nullptr);
    ~KdQtLinetypeDialog() override;

    /// The linetype chosen, spelled as listed; empty when none is.
    QString chosen() const { return m_chosen; }

    bool updateData(bool saveAndValidate = true) override;

protected:
    void onInitDialog() override;

private:
    QList<KdQtLinetypePattern> m_linetypes;
    QString m_initial;
    QString m_chosen;
    QTreeWidget* m_list = nullptr;
    QLineEdit* m_edit = nullptr;
};
