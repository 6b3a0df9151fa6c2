// A linetype's dash pattern as the linetype chooser draws it.
#pragma once

#include "tv/KdString.h"
#include "tv/qt/KdQtExport.h"

#include <QList>
#include <QString>

#include <vector>

class KdDbDatabase;
class QPainter;
class QRect;

/// What a linetype looks like: its description and its dash elements in drawing units (a
/// positive length is a dash, a negative one a gap, 0 a dot). No elements: a continuous line.
struct KdQtLinetypePattern {
    QString name;
    QString description;
    QList<double> elements;
};

/// The patterns of the linetypes `names` of `db`, in the order of `names`; a name the drawing
/// does not have (ByLayer, ByBlock, a name typed by hand) gets an empty pattern.
TVHOSTUI_API QList<KdQtLinetypePattern> kdQtLinetypePatterns(KdDbDatabase* db,
                                                             const std::vector<KdString>& names);

/// Draws the pattern as a horizontal line through the middle of `rect`, repeated along it,
/// scaled so that one repeat takes about a third of the width; dots are drawn as short marks.
TVHOSTUI_API void kdQtDrawLinetype(QPainter& painter, const QRect& rect,
                                   const QList<double>& elements);
