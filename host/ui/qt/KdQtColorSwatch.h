// A framed field filled with one colour, for the colour dialog and the layer control.
#pragma once

#include <QColor>
#include <QWidget>

class KdQtColorSwatch : public QWidget {
    Q_OBJECT
public:
    explicit KdQtColorSwatch(QWidget* parent = nullptr);
    ~KdQtColorSwatch() override;

    QColor color() const { return m_color; }
    void setColor(const QColor& color);
    QSize sizeHint() const override { return QSize(48, 24); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color;
};
