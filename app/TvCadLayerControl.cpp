// TvCadLayerControl: a combo box whose rows draw the layer's icons, colour and name.
#include "TvCadLayerControl.h"

#include "TvCadLayerModel.h"

#include "tv/qt/KdQtDrawnItemDelegate.h"
#include "tv/qt/KdQtHost.h"

#include <QAbstractItemView>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QStylePainter>

namespace tvcad {
namespace {

constexpr int kIcon = 16;
constexpr int kGap = 3;
constexpr int kSwatch = 12;

QIcon icon(const char* name) {
    return kdQtHostIcon(QLatin1String(name));
}

/// Draws one layer: icons, colour swatch and name.
void paintRow(QPainter& p, const QRect& rect, const QModelIndex& index, const QPalette& palette,
              bool selected) {
    if (!index.isValid())
        return;
    using Part = TvCadLayerControl::Part;
    const bool off = index.data(TvCadLayerModel::kOffRole).toBool();
    const bool frozen = index.data(TvCadLayerModel::kFrozenRole).toBool();
    const bool locked = index.data(TvCadLayerModel::kLockedRole).toBool();
    icon(off ? "layer-off" : "layer-on").paint(&p, TvCadLayerControl::partRect(rect, Part::kOn));
    icon(frozen ? "layer-frozen" : "layer-thawed")
        .paint(&p, TvCadLayerControl::partRect(rect, Part::kFrozen));
    icon(locked ? "layer-locked" : "layer-unlocked")
        .paint(&p, TvCadLayerControl::partRect(rect, Part::kLocked));
    const QRect name = TvCadLayerControl::partRect(rect, Part::kName);
    const QRect swatch(name.left() - kSwatch - kGap, rect.center().y() - kSwatch / 2 + 1, kSwatch,
                       kSwatch);
    p.fillRect(swatch, index.data(TvCadLayerModel::kColorRole).value<QColor>());
    p.setPen(palette.color(QPalette::Shadow));
    p.drawRect(swatch.adjusted(0, 0, -1, -1));
    p.setPen(palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
    const QString text = index.data(Qt::DisplayRole).toString();
    p.drawText(name, Qt::AlignVCenter | Qt::AlignLeft,
               p.fontMetrics().elidedText(text, Qt::ElideRight, name.width()));
}

class LayerDelegate : public KdQtDrawnItemDelegate {
public:
    using KdQtDrawnItemDelegate::KdQtDrawnItemDelegate;

    void paintContents(QPainter& painter, const QStyleOptionViewItem& option,
                       const QModelIndex& index, bool selected) const override {
        paintRow(painter, option.rect, index, option.palette, selected);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QSize text = QStyledItemDelegate::sizeHint(option, index);
        return QSize(
            TvCadLayerControl::partRect(QRect(0, 0, 0, 20), TvCadLayerControl::Part::kName).left() +
                text.width() + 8,
            std::max(text.height(), kIcon + 4));
    }
};

} // namespace

TvCadLayerControl::TvCadLayerControl(TvCadLayerModel& model, QWidget* parent)
    : QComboBox(parent), m_model(model) {
    setObjectName(QStringLiteral("layerControl"));
    setModel(&model);
    setItemDelegate(new LayerDelegate(this));
    setMaxVisibleItems(20);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(24);
    setToolTip(tr("Layers: choose the current layer; click an icon to turn a layer on or off, "
                  "freeze or thaw, lock or unlock it"));
    // The open list's clicks on icons are taken before the combo box closes the list.
    view()->viewport()->installEventFilter(this);
    view()->setContextMenuPolicy(Qt::DefaultContextMenu);
    view()->installEventFilter(this);
    connect(this, &QComboBox::activated, this, [this](int row) {
        // Keys on the closed control only browse; Enter decides.
        if (!m_keyboardBrowsing)
            requestCurrent(row);
    });
    connect(&model, &QAbstractItemModel::modelReset, this, [this] { showCurrentLayer(); });
    connect(&model, &QAbstractItemModel::dataChanged, this, [this] { showCurrentLayer(); });
}

TvCadLayerControl::~TvCadLayerControl() = default;

void TvCadLayerControl::requestCurrent(int row) {
    if (row >= 0 && size_t(row) < m_model.rows().size())
        emit makeCurrentRequested(QString::fromStdWString(m_model.rows()[size_t(row)].name));
    showCurrentLayer();
    emit finished();
}

void TvCadLayerControl::keyPressEvent(QKeyEvent* event) {
    const bool plain = !(event->modifiers() & (Qt::AltModifier | Qt::ControlModifier));
    if (plain && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
        requestCurrent(currentIndex());
        return;
    }
    if (plain && event->key() == Qt::Key_Escape) {
        showCurrentLayer();
        emit finished();
        return;
    }
    // The menu key and Shift+F10 open the context menu of the layer shown.
    if (event->key() == Qt::Key_Menu ||
        (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)) {
        showMenu(currentIndex(), mapToGlobal(rect().bottomLeft()));
        return;
    }
    m_keyboardBrowsing = true;
    QComboBox::keyPressEvent(event);
    m_keyboardBrowsing = false;
}

void TvCadLayerControl::focusOutEvent(QFocusEvent* event) {
    // A layer browsed to but not chosen is not kept; the open list takes the focus too.
    if (!view()->isVisible())
        showCurrentLayer();
    QComboBox::focusOutEvent(event);
}

QRect TvCadLayerControl::partRect(const QRect& row, Part part) {
    const int top = row.center().y() - kIcon / 2 + 1;
    const int left = row.left() + kGap;
    switch (part) {
    case Part::kOn:
        return QRect(left, top, kIcon, kIcon);
    case Part::kFrozen:
        return QRect(left + (kIcon + kGap), top, kIcon, kIcon);
    case Part::kLocked:
        return QRect(left + 2 * (kIcon + kGap), top, kIcon, kIcon);
    case Part::kName: {
        const int nameLeft = left + 3 * (kIcon + kGap) + kSwatch + 2 * kGap;
        return QRect(nameLeft, row.top(), std::max(0, row.right() - nameLeft), row.height());
    }
    case Part::kNone:
        break;
    }
    return QRect();
}

TvCadLayerControl::Part TvCadLayerControl::partAt(const QRect& row, const QPoint& pos) {
    for (Part part : {Part::kOn, Part::kFrozen, Part::kLocked}) {
        // The icons answer a little around them too: they are small targets.
        if (partRect(row, part).adjusted(-1, -row.height(), 1, row.height()).contains(pos))
            return part;
    }
    return row.contains(pos) ? Part::kName : Part::kNone;
}

void TvCadLayerControl::showCurrentLayer() {
    const QSignalBlocker quiet(this);
    setCurrentIndex(m_model.currentRow());
    update();
}

QSize TvCadLayerControl::sizeHint() const {
    QSize size = QComboBox::sizeHint();
    size.setWidth(std::max(size.width(), 300));
    return size;
}

QSize TvCadLayerControl::minimumSizeHint() const {
    QSize size = QComboBox::minimumSizeHint();
    size.setWidth(std::max(size.width(), 200));
    return size;
}

void TvCadLayerControl::paintEvent(QPaintEvent*) {
    QStylePainter p(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText.clear();
    option.currentIcon = QIcon();
    p.drawComplexControl(QStyle::CC_ComboBox, option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    paintRow(p, field, m_model.index(currentIndex()), palette(), false);
}

bool TvCadLayerControl::eventFilter(QObject* watched, QEvent* event) {
    QAbstractItemView* list = view();
    if (watched == list->viewport() &&
        (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease ||
         event->type() == QEvent::MouseButtonDblClick)) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        const QPoint pos = mouse->position().toPoint();
        const QModelIndex index = list->indexAt(pos);
        if (!index.isValid() || mouse->button() != Qt::LeftButton)
            return QComboBox::eventFilter(watched, event);
        const Part part = partAt(list->visualRect(index), pos);
        if (part == Part::kName || part == Part::kNone)
            return QComboBox::eventFilter(watched, event);
        // An icon: the property flips on the release, and the list stays open.
        if (event->type() == QEvent::MouseButtonRelease) {
            const QString name = index.data(Qt::DisplayRole).toString();
            emit toggleRequested(name, part == Part::kOn       ? TvCadLayerToggle::kOn
                                       : part == Part::kFrozen ? TvCadLayerToggle::kFrozen
                                                               : TvCadLayerToggle::kLocked);
        }
        return true;
    }
    if (watched == list && event->type() == QEvent::ContextMenu) {
        auto* menu = static_cast<QContextMenuEvent*>(event);
        const QModelIndex index =
            menu->reason() == QContextMenuEvent::Mouse
                ? list->indexAt(list->viewport()->mapFromGlobal(menu->globalPos()))
                : list->currentIndex();
        showMenu(index.row(), menu->globalPos());
        return true;
    }
    return QComboBox::eventFilter(watched, event);
}

void TvCadLayerControl::contextMenuEvent(QContextMenuEvent* event) {
    showMenu(currentIndex(), event->globalPos());
}

void TvCadLayerControl::showMenu(int row, const QPoint& globalPos) {
    if (row < 0 || size_t(row) >= m_model.rows().size())
        return;
    const TvCadLayerRow layer = m_model.rows()[size_t(row)];
    const QString name = QString::fromStdWString(layer.name);
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("layerControlMenu"));
    QAction* on = menu.addAction(icon(layer.off ? "layer-on" : "layer-off"),
                                 layer.off ? tr("Turn &On") : tr("Turn &Off"));
    QAction* frozen = menu.addAction(icon(layer.frozen ? "layer-thawed" : "layer-frozen"),
                                     layer.frozen ? tr("&Thaw") : tr("&Freeze"));
    QAction* locked = menu.addAction(icon(layer.locked ? "layer-unlocked" : "layer-locked"),
                                     layer.locked ? tr("Unloc&k") : tr("Loc&k"));
    menu.addSeparator();
    QAction* current = menu.addAction(tr("Make &Current"));
    current->setEnabled(!layer.current && !layer.frozen);
    QAction* chosen = menu.exec(globalPos);
    if (chosen == on)
        emit toggleRequested(name, TvCadLayerToggle::kOn);
    else if (chosen == frozen)
        emit toggleRequested(name, TvCadLayerToggle::kFrozen);
    else if (chosen == locked)
        emit toggleRequested(name, TvCadLayerToggle::kLocked);
    else if (chosen == current)
        emit makeCurrentRequested(name);
    if (chosen)
        emit finished();
}

} // namespace tvcad
