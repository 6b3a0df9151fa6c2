// Window placements in the user's settings, and fitting a stored place to today's screens.
#include "tv/qt/KdQtDialogPlacement.h"

#include "tv/KdProfile.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStringList>

#include <algorithm>

namespace {

const wchar_t kPlacementEntry[] = L"Placement";

std::wstring sectionOf(const QString& name) {
    return L"Dialogs\\" + name.toStdWString();
}

qint64 overlapArea(const QRect& a, const QRect& b) {
    const QRect common = a.intersected(b);
    return common.isEmpty() ? 0 : qint64(common.width()) * common.height();
}

} // namespace

std::optional<QRect> kdQtFitToScreens(const QRect& stored, const QList<QRect>& screens,
                                      const QSize& minimumSize) {
    if (!stored.isValid())
        return std::nullopt;
    const QRect* best = nullptr;
    qint64 bestArea = 0;
    for (const QRect& screen : screens) {
        const qint64 area = overlapArea(stored, screen);
        if (area > bestArea) {
            bestArea = area;
            best = &screen;
        }
    }
    if (!best)
        return std::nullopt;
    // Shrink to the screen (never below the window's minimum), then move inside it; a window
    // whose minimum is larger than the screen keeps its top-left corner on the screen.
    QSize size = stored.size().boundedTo(best->size()).expandedTo(minimumSize);
    QRect fitted(stored.topLeft(), size);
    fitted.moveLeft(std::clamp(fitted.left(), best->left(),
                               std::max(best->left(), best->right() - size.width() + 1)));
    fitted.moveTop(std::clamp(fitted.top(), best->top(),
                              std::max(best->top(), best->bottom() - size.height() + 1)));
    return fitted;
}

std::optional<QRect> kdQtReadPlacement(const QString& name) {
    if (name.isEmpty())
        return std::nullopt;
    const std::wstring section = sectionOf(name);
    const QString text = QString::fromStdWString(
        KdProfile::getProfileString(section.c_str(), kPlacementEntry).str());
    const QStringList fields = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (fields.size() != 4)
        return std::nullopt;
    int values[4] = {};
    for (int i = 0; i < 4; ++i) {
        bool ok = false;
        values[i] = fields[i].toInt(&ok); // QString::toInt ignores the locale
        if (!ok)
            return std::nullopt;
    }
    if (values[2] <= 0 || values[3] <= 0)
        return std::nullopt;
    return QRect(values[0], values[1], values[2], values[3]);
}

bool kdQtWritePlacement(const QString& name, const QRect& rect) {
    if (name.isEmpty() || !rect.isValid())
        return false;
    const QString text = QStringList{QString::number(rect.left()), QString::number(rect.top()),
                                     QString::number(rect.width()), QString::number(rect.height())}
                             .join(QLatin1Char(' '));
    const std::wstring section = sectionOf(name);
    return KdProfile::writeProfileString(section.c_str(), kPlacementEntry,
                                         text.toStdWString().c_str());
}

QList<QRect> kdQtScreenAreas() {
    QList<QRect> areas;
    for (const QScreen* screen : QGuiApplication::screens())
        areas.append(screen->availableGeometry());
    return areas;
}
