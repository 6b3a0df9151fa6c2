// TvCadLayerModel: the layer table as rows of the layer control.
#include "TvCadLayerModel.h"

#include "tv/KdUtf8.h"

#include <algorithm>

namespace tvcad {

TvCadLayerModel::TvCadLayerModel(QObject* parent) : QAbstractListModel(parent) {}

TvCadLayerModel::~TvCadLayerModel() = default;

void TvCadLayerModel::reload(KdDbDatabase* db) {
    std::vector<TvCadLayerRow> rows = db ? layerRows(*db) : std::vector<TvCadLayerRow>();
    const bool sameLayers =
        rows.size() == m_rows.size() &&
        std::equal(rows.begin(), rows.end(), m_rows.begin(),
                   [](const TvCadLayerRow& a, const TvCadLayerRow& b) { return a.name == b.name; });
    if (!sameLayers) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i] == m_rows[i])
            continue;
        m_rows[i] = std::move(rows[i]);
        const QModelIndex changed = index(int(i));
        emit dataChanged(changed, changed);
    }
}

int TvCadLayerModel::currentRow() const {
    for (size_t i = 0; i < m_rows.size(); ++i) {
        if (m_rows[i].current)
            return int(i);
    }
    return -1;
}

int TvCadLayerModel::rowOf(const QString& name) const {
    const std::wstring wanted = name.toStdWString();
    for (size_t i = 0; i < m_rows.size(); ++i) {
        if (tvEqualsNoCase(m_rows[i].name, wanted))
            return int(i);
    }
    return -1;
}

QColor TvCadLayerModel::displayColor(const TvCadLayerRow& row) {
    const uint32_t rgb = row.color.trueColor24();
    return QColor((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
}

int TvCadLayerModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant TvCadLayerModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || size_t(index.row()) >= m_rows.size())
        return {};
    const TvCadLayerRow& row = m_rows[size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return QString::fromStdWString(row.name);
    case Qt::ToolTipRole:
        return QStringLiteral("%1: %2, %3, %4, color %5")
            .arg(QString::fromStdWString(row.name), row.off ? tr("off") : tr("on"),
                 row.frozen ? tr("frozen") : tr("thawed"),
                 row.locked ? tr("locked") : tr("unlocked"),
                 QString::fromStdWString(row.color.colorNameForDisplay()));
    case kOffRole:
        return row.off;
    case kFrozenRole:
        return row.frozen;
    case kLockedRole:
        return row.locked;
    case kCurrentRole:
        return row.current;
    case kColorRole:
        return displayColor(row);
    default:
        return {};
    }
}

} // namespace tvcad
