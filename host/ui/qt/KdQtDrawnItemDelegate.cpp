// KdQtDrawnItemDelegate: the style's item panel under rows drawn by the program.
#include "tv/qt/KdQtDrawnItemDelegate.h"

#include <QApplication>
#include <QPainter>

KdQtDrawnItemDelegate::~KdQtDrawnItemDelegate() = default;

void KdQtDrawnItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    // QStyledItemDelegate::paint would draw the item's text too, under what the row draws.
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QWidget* widget = opt.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, widget);
    painter->save();
    paintContents(*painter, option, index, option.state & QStyle::State_Selected);
    painter->restore();
}
