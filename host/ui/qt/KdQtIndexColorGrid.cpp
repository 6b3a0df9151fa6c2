// KdQtIndexColorGrid: the 255 index colours as a grid of cells.
#include "tv/qt/KdQtIndexColorGrid.h"

#include "tv/KdCmColor.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kColumns = 24;
constexpr int kMainRows = 10;
constexpr int kRows = kMainRows + 1; // the main block, then the row of standard colours and greys
constexpr int kGreyColumn = kColumns - 6; // greys 250..255 end the last row
constexpr int kMinimumStep = 12;

QColor indexColor(int index) {
    const uint32_t rgb = kdedGetRGB(index);
    return QColor((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
}

} // namespace

KdQtIndexColorGrid::KdQtIndexColorGrid(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

KdQtIndexColorGrid::~KdQtIndexColorGrid() = default;

int KdQtIndexColorGrid::cellSize() const {
    // The grid grows with the dialog; the last row stands a little apart from the block.
    const int byWidth = width() / kColumns;
    const int byHeight = (height() * 2) / (kRows * 2 + 1);
    return std::max(kMinimumStep / 2, std::min(byWidth, byHeight));
}

QSize KdQtIndexColorGrid::sizeHint() const {
    const int step = kMinimumStep + 4;
    return QSize(kColumns * step, kRows * step + step / 2);
}

QSize KdQtIndexColorGrid::minimumSizeHint() const {
    return QSize(kColumns * kMinimumStep, kRows * kMinimumStep + kMinimumStep / 2);
}

bool KdQtIndexColorGrid::cellOf(int index, int& row, int& column) const {
    if (index >= 1 && index <= 9) {
        row = kMainRows;
        column = index - 1;
        return true;
    }
    if (index >= 250 && index <= 255) {
        row = kMainRows;
        column = kGreyColumn + index - 250;
        return true;
    }
    if (index < 10 || index > 249)
        return false;
    // One column per hue: the strong shades from bright to dark, then the pale ones from dark
    // back to bright.
    column = (index - 10) / 10;
    const int shade = (index - 10) % 10;
    row = shade % 2 == 0 ? shade / 2 : kMainRows - 1 - (shade - 1) / 2;
    return true;
}

int KdQtIndexColorGrid::indexOfCell(int row, int column) const {
    if (column < 0 || column >= kColumns || row < 0 || row >= kRows)
        return 0;
    if (row == kMainRows) {
        if (column < 9)
            return column + 1;
        if (column >= kGreyColumn)
            return 250 + column - kGreyColumn;
        return 0;
    }
    const int shade = row < 5 ? row * 2 : (kMainRows - 1 - row) * 2 + 1;
    return 10 + column * 10 + shade;
}

QRect KdQtIndexColorGrid::cellRect(int index) const {
    int row = 0;
    int column = 0;
    if (!cellOf(index, row, column))
        return QRect();
    const int step = cellSize();
    const int top = row * step + (row == kMainRows ? step / 2 : 0);
    return QRect(column * step, top, step - 1, step - 1);
}

int KdQtIndexColorGrid::indexAt(const QPoint& pos) const {
    const int step = cellSize();
    if (step <= 0 || pos.x() < 0 || pos.y() < 0)
        return 0;
    int row = pos.y() / step;
    if (pos.y() >= kMainRows * step) {
        const int y = pos.y() - kMainRows * step - step / 2;
        if (y < 0 || y >= step)
            return 0;
        row = kMainRows;
    }
    const int index = indexOfCell(row, pos.x() / step);
    return index != 0 && cellRect(index).contains(pos) ? index : 0;
}

void KdQtIndexColorGrid::setSelectedIndex(int index) {
    const int selected = index >= 1 && index <= 255 ? index : 0;
    if (selected == m_selected)
        return;
    m_selected = selected;
    if (selected != 0)
        m_focusIndex = selected;
    update();
}

void KdQtIndexColorGrid::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const QColor edge = palette().color(QPalette::Mid);
    for (int index = 1; index <= 255; ++index) {
        const QRect r = cellRect(index);
        p.fillRect(r, indexColor(index));
        p.setPen(edge);
        p.drawRect(r.adjusted(0, 0, -1, -1));
    }
    if (m_hovered != 0 && m_hovered != m_selected) {
        p.setPen(QPen(palette().color(QPalette::Highlight), 1));
        p.drawRect(cellRect(m_hovered).adjusted(-1, -1, 0, 0));
    }
    if (m_selected != 0) {
        // Black around white, so that the frame shows on light and on dark colours.
        const QRect r = cellRect(m_selected);
        p.setPen(QPen(Qt::black, 1));
        p.drawRect(r.adjusted(-2, -2, 1, 1));
        p.setPen(QPen(Qt::white, 1));
        p.drawRect(r.adjusted(-1, -1, 0, 0));
    }
    if (hasFocus() && m_focusIndex != 0) {
        QPen dotted(palette().color(QPalette::Text), 1, Qt::DotLine);
        p.setPen(dotted);
        p.drawRect(cellRect(m_focusIndex).adjusted(-3, -3, 2, 2));
    }
}

void KdQtIndexColorGrid::mousePressEvent(QMouseEvent* event) {
    const int index = indexAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton || index == 0)
        return;
    setFocus(Qt::MouseFocusReason);
    setSelectedIndex(index);
    emit indexChosen(index);
}

void KdQtIndexColorGrid::mouseMoveEvent(QMouseEvent* event) {
    const int index = indexAt(event->position().toPoint());
    if (index == m_hovered)
        return;
    m_hovered = index;
    update();
    emit indexHovered(index);
}

void KdQtIndexColorGrid::leaveEvent(QEvent*) {
    if (m_hovered == 0)
        return;
    m_hovered = 0;
    update();
    emit indexHovered(m_selected);
}

void KdQtIndexColorGrid::keyPressEvent(QKeyEvent* event) {
    int row = 0;
    int column = 0;
    if (!cellOf(m_focusIndex, row, column)) {
        row = kMainRows;
        column = 0;
    }
    int dr = 0;
    int dc = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        dc = -1;
        break;
    case Qt::Key_Right:
        dc = 1;
        break;
    case Qt::Key_Up:
        dr = -1;
        break;
    case Qt::Key_Down:
        dr = 1;
        break;
    case Qt::Key_Space:
        setSelectedIndex(m_focusIndex);
        emit indexChosen(m_focusIndex);
        return;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    // Step over the gap in the last row.
    for (int r = row + dr, c = column + dc; r >= 0 && r < kRows && c >= 0 && c < kColumns;
         r += dr, c += dc) {
        if (const int index = indexOfCell(r, c)) {
            m_focusIndex = index;
            setSelectedIndex(index);
            emit indexChosen(index);
            emit indexHovered(index);
            update();
            return;
        }
    }
}
