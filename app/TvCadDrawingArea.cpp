// TvCadDrawingArea: the drawing's name, model space extents and layer names on the dark ground
// CAD users draw on.
#include "TvCadDrawingArea.h"

#include "TvCadLayerModel.h"

#include <QPainter>

namespace tvcad {
namespace {

const QColor kGround(0x21, 0x28, 0x30);
const QColor kText(0xd8, 0xdd, 0xe3);
const QColor kDim(0x80, 0x8a, 0x96);

QString number(double value) {
    return QString::number(value, 'f', 2); // the C locale, whatever the user's is
}

QString counted(qsizetype n, const char* one, const char* many) {
    return QString::number(n) + QLatin1Char(' ') + QLatin1String(n == 1 ? one : many);
}

} // namespace

TvCadDrawingArea::TvCadDrawingArea(TvCadLayerModel& layers, QWidget* parent)
    : QWidget(parent), m_layers(layers) {
    setObjectName(QStringLiteral("drawingArea"));
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(320, 200);
    setAutoFillBackground(false);
    connect(&layers, &QAbstractItemModel::modelReset, this, [this] { update(); });
    connect(&layers, &QAbstractItemModel::dataChanged, this, [this] { update(); });
}

TvCadDrawingArea::~TvCadDrawingArea() = default;

void TvCadDrawingArea::setDrawing(const QString& name, const TvCadDrawingSummary& summary) {
    m_name = name;
    m_summary = summary;
    update();
}

QStringList TvCadDrawingArea::describe() const {
    QStringList lines{m_name};
    if (m_summary.extents) {
        const TvCadExtents& e = *m_summary.extents;
        lines.append(QStringLiteral("Model space: %1, extents (%2, %3) to (%4, %5)")
                         .arg(counted(qsizetype(m_summary.modelObjects), "object", "objects"),
                              number(e.minX), number(e.minY), number(e.maxX), number(e.maxY)));
    } else {
        lines.append(QStringLiteral("Model space: ") +
                     counted(qsizetype(m_summary.modelObjects), "object", "objects"));
    }
    lines.append(counted(m_layers.rowCount(), "layer", "layers"));
    return lines;
}

void TvCadDrawingArea::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), kGround);
    const QRect area = rect().adjusted(16, 12, -16, -12);
    const QStringList lines = describe();

    QFont title = font();
    title.setPointSizeF(title.pointSizeF() * 1.5);
    title.setBold(true);
    p.setFont(title);
    p.setPen(kText);
    const int titleHeight = p.fontMetrics().height();
    p.drawText(QRect(area.left(), area.top(), area.width(), titleHeight),
               Qt::AlignLeft | Qt::AlignVCenter, lines.value(0));

    p.setFont(font());
    const QFontMetrics fm = p.fontMetrics();
    int y = area.top() + titleHeight + 6;
    for (int i = 1; i < lines.size(); ++i) {
        p.drawText(area.left(), y + fm.ascent(), lines[i]);
        y += fm.lineSpacing();
    }
    y += fm.lineSpacing() / 2;

    // The layer names in columns, as many as fit; frozen and off layers dimmed.
    const std::vector<TvCadLayerRow>& rows = m_layers.rows();
    int widest = 0;
    for (const TvCadLayerRow& row : rows)
        widest = std::max(widest, fm.horizontalAdvance(QString::fromStdWString(row.name)));
    const int swatch = fm.height() / 2 + 2;
    const int columnWidth = std::min(widest, 260) + swatch + 24;
    const int perColumn = std::max(1, (area.bottom() - y) / fm.lineSpacing());
    const int columns = std::max(1, area.width() / std::max(1, columnWidth));
    const size_t shown = std::min(rows.size(), size_t(perColumn) * size_t(columns));
    for (size_t i = 0; i < shown; ++i) {
        const TvCadLayerRow& row = rows[i];
        const int x = area.left() + int(i / size_t(perColumn)) * columnWidth;
        const int top = y + int(i % size_t(perColumn)) * fm.lineSpacing();
        const QRect box(x, top + (fm.lineSpacing() - swatch) / 2, swatch, swatch);
        p.fillRect(box, TvCadLayerModel::displayColor(row));
        p.setPen(row.off || row.frozen ? kDim : kText);
        QString text = QString::fromStdWString(row.name);
        if (i + 1 == shown && shown < rows.size())
            text = QStringLiteral("... and %1 more").arg(rows.size() - shown + 1);
        text = fm.elidedText(text, Qt::ElideRight, columnWidth - swatch - 12);
        if (row.current && !(i + 1 == shown && shown < rows.size())) {
            QFont bold = font();
            bold.setBold(true);
            p.setFont(bold);
        }
        p.drawText(x + swatch + 6, top + fm.ascent(), text);
        p.setFont(font());
    }
}

} // namespace tvcad
