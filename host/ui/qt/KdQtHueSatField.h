// The field of hues (across) and saturations (up) on the true-colour page of the colour dialog.
#pragma once

#include <QImage>
#include <QWidget>

class KdQtHueSatField : public QWidget {
    Q_OBJECT
public:
    explicit KdQtHueSatField(QWidget* parent = nullptr);
    ~KdQtHueSatField() override;

    int hue() const { return m_hue; }
    int saturation() const { return m_saturation; }
    /// Hue 0..359, saturation 0..255 (Qt's HSL ranges); values outside are clamped.
    void setHueSaturation(int hue, int saturation);
    /// The point that shows a hue and saturation, in widget coordinates.
    QPoint pointOf(int hue, int saturation) const;

    QSize sizeHint() const override { return QSize(240, 160); }
    QSize minimumSizeHint() const override { return QSize(120, 80); }

signals:
    void hueSaturationChosen(int hue, int saturation);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void chooseAt(const QPoint& pos);

    int m_hue = 0;
    int m_saturation = 0;
    QImage m_field;
};
