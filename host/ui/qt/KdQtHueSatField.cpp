// KdQtHueSatField: hue across, saturation up, drawn at medium lightness.
#include "KdQtHueSatField.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

KdQtHueSatField::KdQtHueSatField(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::CrossCursor);
}

KdQtHueSatField::~KdQtHueSatField() = default;

void KdQtHueSatField::setHueSaturation(int hue, int saturation) {
    hue = std::clamp(hue, 0, 359);
    saturation = std::clamp(saturation, 0, 255);
    if (hue == m_hue && saturation == m_saturation)
        return;
    m_hue = hue;
    m_saturation = saturation;
    update();
}

QPoint KdQtHueSatField::pointOf(int hue, int saturation) const {
    const int w = std::max(1, width() - 1);
    const int h = std::max(1, height() - 1);
    return QPoint(hue * w / 359, (255 - saturation) * h / 255);
}

void KdQtHueSatField::resizeEvent(QResizeEvent*) {
    m_field = QImage();
}

void KdQtHueSatField::paintEvent(QPaintEvent*) {
    if (m_field.size() != size() && width() > 0 && height() > 0) {
        m_field = QImage(size(), QImage::Format_RGB32);
        const int w = std::max(1, width() - 1);
        const int h = std::max(1, height() - 1);
        for (int y = 0; y < height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(m_field.scanLine(y));
            const int saturation = 255 - y * 255 / h;
            for (int x = 0; x < width(); ++x)
                line[x] = QColor::fromHsl(x * 359 / w, saturation, 128).rgb();
        }
    }
    QPainter p(this);
    p.drawImage(0, 0, m_field);
    // A ring, black around white, that shows on every colour and at the edges too.
    const QPoint c = pointOf(m_hue, m_saturation);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(Qt::black, 3));
    p.drawEllipse(c, 5, 5);
    p.setPen(QPen(Qt::white, 1.5));
    p.drawEllipse(c, 5, 5);
    p.setRenderHint(QPainter::Antialiasing, false);
    p.setPen(palette().color(QPalette::Shadow));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

void KdQtHueSatField::chooseAt(const QPoint& pos) {
    const int w = std::max(1, width() - 1);
    const int h = std::max(1, height() - 1);
    const int hue = std::clamp(pos.x(), 0, w) * 359 / w;
    const int saturation = 255 - std::clamp(pos.y(), 0, h) * 255 / h;
    setHueSaturation(hue, saturation);
    emit hueSaturationChosen(m_hue, m_saturation);
}

void KdQtHueSatField::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        chooseAt(event->position().toPoint());
}

void KdQtHueSatField::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton)
        chooseAt(event->position().toPoint());
}
