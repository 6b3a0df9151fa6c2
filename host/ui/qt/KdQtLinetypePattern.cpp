// Linetype patterns read from the drawing's linetype table, and drawn as samples.
#include "tv/qt/KdQtLinetypePattern.h"

#include "tv/KdDbDatabase.h"
#include "tv/KdFormat.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdDbSymbolTableRecord.h"
#include "tv/KdUtf8.h"

#include <QPainter>
#include <QRect>

#include <cmath>

namespace {

constexpr int kElementCode = 49; // one dash, gap or dot of the pattern

} // namespace

QList<KdQtLinetypePattern> kdQtLinetypePatterns(KdDbDatabase* db,
                                                const std::vector<KdString>& names) {
    QList<KdQtLinetypePattern> out;
    KdDbLinetypeTable* table = nullptr;
    if (db && (db->getSymbolTable(table, KdDb::kForRead) != Kdad::eOk))
        table = nullptr;
    for (const KdString& name : names) {
        KdQtLinetypePattern pattern;
        pattern.name = QString::fromStdWString(name.str());
        KdDbLinetypeTableRecord* record = nullptr;
        if (table && table->getAt(name.kwszPtr(), record, KdDb::kForRead) == Kdad::eOk && record) {
            pattern.description = QString::fromStdWString(record->comments().str());
            for (const KdDbTag& tag : record->tags()) {
                double value = 0;
                if (tag.code == kElementCode && tvParseDxfReal(tag.value(), value))
                    pattern.elements.append(value);
            }
            record->close();
        }
        out.append(pattern);
    }
    if (table)
        table->close();
    return out;
}

void kdQtDrawLinetype(QPainter& painter, const QRect& rect, const QList<double>& elements) {
    const double y = rect.center().y();
    double length = 0;
    for (double e : elements)
        length += std::abs(e);
    if (elements.isEmpty() || length <= 0) {
        painter.drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y));
        return;
    }
    // One repeat takes a third of the sample, so that the rhythm of the pattern shows.
    const double scale = std::max(1.0, rect.width() / 3.0) / length;
    double x = rect.left();
    for (int guard = 0; x < rect.right() && guard < 10000; ++guard) {
        for (double e : elements) {
            if (x >= rect.right())
                break;
            const double w = std::abs(e) * scale;
            if (e > 0) {
                painter.drawLine(QPointF(x, y), QPointF(std::min(x + w, double(rect.right())), y));
            } else if (e == 0) {
                // A dot is the shortest mark the pen makes; it still takes its room.
                painter.drawLine(QPointF(x, y), QPointF(x + 1, y));
                x += 1;
            }
            x += w;
        }
    }
}
