// KdQtColorSwatch: a framed field of one colour.
#include "KdQtColorSwatch.h"

#include <QPainter>

KdQtColorSwatch::KdQtColorSwatch(QWidget* parent) : QWidget(parent) {
    setMinimumSize(24, 16);
}

KdQtColorSwatch::~KdQtColorSwatch() = default;

void KdQtColorSwatch::setColor(const QColor& color) {
    if (color == m_color)
        return;
    m_color = color;
    update();
}

void KdQtColorSwatch::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const QRect r = rect().adjusted(0, 0, -1, -1);
    p.fillRect(r, m_color.isValid() ? m_color : palette().color(QPalette::Window));
    p.setPen(palette().color(QPalette::Shadow));
    p.drawRect(r);
}
