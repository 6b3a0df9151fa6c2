// Where the Host keeps the position and size of its windows, and how a stored place is fitted
// to the screens there are now.
#pragma once

#include "tv/qt/KdQtExport.h"

#include <QList>
#include <QRect>
#include <QString>

#include <optional>

/// The place of a window stored at `stored`, fitted to screens whose usable areas are
/// `screens`: nothing when the rectangle meets none of them (a screen that is gone, a position
/// far off), otherwise the rectangle moved, and shrunk where it is larger, into the screen it
/// overlaps most, so that all of it can be seen. `minimumSize` is never shrunk below.
TVHOSTUI_API std::optional<QRect> kdQtFitToScreens(const QRect& stored, const QList<QRect>& screens,
                                                   const QSize& minimumSize = QSize());

/// The placement stored under a window's registered name; nothing when none is stored or what
/// is stored is not four whole numbers with a positive width and height.
TVHOSTUI_API std::optional<QRect> kdQtReadPlacement(const QString& name);
/// Stores the placement of a window under its registered name, in the user's settings (the
/// profile section "Dialogs\NAME", entry "Placement", as "left top width height": the
/// position of the window's frame, QWidget::pos(), and the size of its inside). False when
/// the name is empty or the settings store refuses the write.
TVHOSTUI_API bool kdQtWritePlacement(const QString& name, const QRect& rect);
/// The usable areas of the screens there are now.
TVHOSTUI_API QList<QRect> kdQtScreenAreas();
