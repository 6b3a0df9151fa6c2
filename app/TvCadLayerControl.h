// The layer control of the window's toolbar: the current layer with its on, frozen and locked
// icons and its colour, and the list of layers to choose from.
#pragma once

#include "TvCadLayerActions.h"

#include <QComboBox>

namespace tvcad {

class TvCadLayerModel;

/// Each row reads, from the left: the light bulb (on or off), the sun or snowflake (thawed or
/// frozen), the padlock, the colour and the name. Choosing a row in the open list asks to make
/// that layer current; a click on an icon there asks to flip that property and leaves the list
/// open. With the focus on the closed control, the arrow keys and typing a name's first
/// letters go through the layers, Enter makes the one shown current and Escape goes back to
/// the current one. The context menu (right button, the menu key, Shift+F10) offers the same
/// for the row under the pointer, or for the layer shown when the list is closed.
class TvCadLayerControl : public QComboBox {
    Q_OBJECT
public:
    /// The parts of a row that answer a click.
    enum class Part { kNone, kOn, kFrozen, kLocked, kName };

    TvCadLayerControl(TvCadLayerModel& model, QWidget* parent = nullptr);
    ~TvCadLayerControl() override;

    /// Where a part lies in a row drawn in `row`.
    static QRect partRect(const QRect& row, Part part);
    /// The part of a row drawn in `row` under `pos`.
    static Part partAt(const QRect& row, const QPoint& pos);
    /// Shows the current layer of the model again (after the model was reloaded).
    void showCurrentLayer();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void makeCurrentRequested(const QString& layer);
    void toggleRequested(const QString& layer, tvcad::TvCadLayerToggle what);
    /// The user is done with the control (Enter, Escape, a choice): the focus may go back.
    void finished();

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showMenu(int row, const QPoint& globalPos);
    void requestCurrent(int row);

    TvCadLayerModel& m_model;
    bool m_keyboardBrowsing = false;
};

} // namespace tvcad
