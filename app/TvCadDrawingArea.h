// The area of the window where the drawing goes: until it is drawn, what shows that the
// drawing is open (its name, model space objects and extents, its layers).
#pragma once

#include "TvCadDrawingSummary.h"

#include <QWidget>

namespace tvcad {

class TvCadLayerModel;

/// Keys typed here go to the command line, as everywhere in the main window.
class TvCadDrawingArea : public QWidget {
    Q_OBJECT
public:
    TvCadDrawingArea(TvCadLayerModel& layers, QWidget* parent = nullptr);
    ~TvCadDrawingArea() override;

    /// A drawing was opened or started: its name and what its model space holds.
    void setDrawing(const QString& name, const TvCadDrawingSummary& summary);
    /// The lines of text the area shows, for tests and pictures.
    QStringList describe() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    TvCadLayerModel& m_layers;
    QString m_name;
    TvCadDrawingSummary m_summary;
};

} // namespace tvcad
