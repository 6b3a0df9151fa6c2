// The grid of the 255 index colours in the Host's colour dialog.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QWidget>

/// Index colours 1..255 as cells: the 240 colours 10..249 in 24 columns of one hue each
/// (bright and strong at the top, pale at the bottom), below them the standard colours 1..9
/// and the greys 250..255. A click, the space bar or an arrow key (moving through the cells)
/// chooses a colour. The chosen colour is framed; 0 means none is chosen (by layer, by block,
/// a true colour).
class TVHOSTUI_API KdQtIndexColorGrid : public QWidget {
    Q_OBJECT
public:
    explicit KdQtIndexColorGrid(QWidget* parent = nullptr);
    ~KdQtIndexColorGrid() override;

    int selectedIndex() const { return m_selected; }
    /// Frames `index` (1..255); anything else frames nothing.
    void setSelectedIndex(int index);
    /// Where the cell of `index` is drawn; an empty rectangle for an index outside 1..255.
    QRect cellRect(int index) const;
    /// The index whose cell holds `pos`; 0 for none.
    int indexAt(const QPoint& pos) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    /// The user chose a colour (click, space bar, arrow key).
    void indexChosen(int index);
    /// The pointer or the keyboard rests on a colour (0: on none).
    void indexHovered(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// Row and column of an index in the layout of cells, or false when it has no cell.
    bool cellOf(int index, int& row, int& column) const;
    int indexOfCell(int row, int column) const;
    int cellSize() const;

    int m_selected = 0;
    int m_hovered = 0;
    int m_focusIndex = 1;
};
