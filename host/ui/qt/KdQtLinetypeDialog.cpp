// KdQtLinetypeDialog: the drawing's linetypes with a drawn sample of each.
#include "tv/qt/KdQtLinetypeDialog.h"

#include "tv/qt/KdQtDrawnItemDelegate.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int kNameColumn = 0;
constexpr int kSampleColumn = 1;
constexpr int kDescriptionColumn = 2;
constexpr int kElementsRole = Qt::UserRole + 1;

/// Draws the pattern kept in the item in place of text.
class SampleDelegate : public KdQtDrawnItemDelegate {
public:
    using KdQtDrawnItemDelegate::KdQtDrawnItemDelegate;

    void paintContents(QPainter& painter, const QStyleOptionViewItem& option,
                       const QModelIndex& index, bool selected) const override {
        const QList<double> elements = index.data(kElementsRole).value<QList<double>>();
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(
            QPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text), 1.5));
        kdQtDrawLinetype(painter, option.rect.adjusted(4, 0, -4, 0), elements);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index).expandedTo(QSize(160, 18));
    }
};

} // namespace

KdQtLinetypeDialog::KdQtLinetypeDialog(const QList<KdQtLinetypePattern>& linetypes,
                                       const QString& initial, QWidget* parent)
    : CQdUiDialog(QStringLiteral("KdLinetypeDialog"), parent), m_linetypes(linetypes),
      m_initial(initial) {
    setObjectName(QStringLiteral("KdLinetypeDialog"));
    setWindowTitle(tr("Select Linetype"));

    auto* label = new QLabel(tr("&Loaded linetypes:"));
    m_list = new QTreeWidget;
    m_list->setObjectName(QStringLiteral("linetypeList"));
    m_list->setHeaderLabels({tr("Linetype"), tr("Appearance"), tr("Description")});
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setItemDelegateForColumn(kSampleColumn, new SampleDelegate(m_list));
    label->setBuddy(m_list);
    for (const KdQtLinetypePattern& linetype : m_linetypes) {
        auto* item = new QTreeWidgetItem(m_list);
        item->setText(kNameColumn, linetype.name);
        item->setData(kSampleColumn, kElementsRole, QVariant::fromValue(linetype.elements));
        item->setText(kDescriptionColumn, linetype.description);
        item->setToolTip(kDescriptionColumn, linetype.description);
    }
    m_list->header()->setSectionResizeMode(kNameColumn, QHeaderView::ResizeToContents);
    m_list->header()->resizeSection(kSampleColumn, 170);
    m_list->header()->setStretchLastSection(true);
    connect(m_list, &QTreeWidget::itemDoubleClicked, this, [this] { accept(); });

    m_edit = new QLineEdit;
    m_edit->setObjectName(QStringLiteral("linetypeEdit"));
    auto* editLabel = new QLabel(tr("Linetype &name:"));
    editLabel->setBuddy(m_edit);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->setObjectName(QStringLiteral("buttons"));
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("okButton"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cancelButton"));
    addHelpButton(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &KdQtLinetypeDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &KdQtLinetypeDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_list, 1);
    layout->addWidget(editLabel);
    layout->addWidget(m_edit);
    layout->addWidget(buttons);
    // With nothing to list, a name is typed.
    const bool listed = !m_linetypes.isEmpty();
    label->setVisible(listed);
    m_list->setVisible(listed);
    editLabel->setVisible(!listed);
    m_edit->setVisible(!listed);
    resize(560, listed ? 320 : 120);
}

KdQtLinetypeDialog::~KdQtLinetypeDialog() = default;

void KdQtLinetypeDialog::onInitDialog() {
    CQdUiDialog::onInitDialog();
    if (m_linetypes.isEmpty()) {
        m_edit->setFocus();
        return;
    }
    m_list->setFocus();
}

bool KdQtLinetypeDialog::updateData(bool saveAndValidate) {
    if (!saveAndValidate) {
        m_edit->setText(m_initial);
        QTreeWidgetItem* initial = nullptr;
        for (int i = 0; i < m_list->topLevelItemCount() && !initial; ++i) {
            QTreeWidgetItem* item = m_list->topLevelItem(i);
            if (item->text(kNameColumn).compare(m_initial, Qt::CaseInsensitive) == 0)
                initial = item;
        }
        if (!initial && m_list->topLevelItemCount() > 0)
            initial = m_list->topLevelItem(0);
        m_list->setCurrentItem(initial);
        return true;
    }
    if (m_linetypes.isEmpty()) {
        m_chosen = m_edit->text().trimmed();
        return !m_chosen.isEmpty();
    }
    const QTreeWidgetItem* item = m_list->currentItem();
    m_chosen = item ? item->text(kNameColumn) : QString();
    return !m_chosen.isEmpty();
}
