// An item delegate for lists whose rows the program draws itself (owner-drawn rows).
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QStyledItemDelegate>

/// Draws the item's panel as the style does (selection, hover, focus) and leaves the rest,
/// text included, to paintContents(), which runs with the painter saved and restored.
class TVHOSTUI_API KdQtDrawnItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    ~KdQtDrawnItemDelegate() override;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

protected:
    /// Draws what the row shows; `selected` says whether to use the highlighted text colour.
    virtual void paintContents(QPainter& painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index, bool selected) const = 0;
};
