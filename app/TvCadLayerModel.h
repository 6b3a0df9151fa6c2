// The drawing's layers as a Qt list model, for the layer control and the drawing area.
#pragma once

#include "TvCadLayerActions.h"

#include <QAbstractListModel>
#include <QColor>

#include <vector>

class KdDbDatabase;

namespace tvcad {

/// One row per layer, sorted as layerRows() sorts. reload() keeps the rows (and a list that
/// shows them, open or not) when only properties changed, and resets the model otherwise.
class TvCadLayerModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { kOffRole = Qt::UserRole + 1, kFrozenRole, kLockedRole, kCurrentRole, kColorRole };

    explicit TvCadLayerModel(QObject* parent = nullptr);
    ~TvCadLayerModel() override;

    /// Reads the layers of `db` again (none for null).
    void reload(KdDbDatabase* db);
    const std::vector<TvCadLayerRow>& rows() const { return m_rows; }
    /// The row of the current layer; -1 when there is none.
    int currentRow() const;
    /// The row of a layer (name case ignored); -1 when there is none.
    int rowOf(const QString& name) const;
    /// How a layer's colour looks.
    static QColor displayColor(const TvCadLayerRow& row);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    std::vector<TvCadLayerRow> m_rows;
};

} // namespace tvcad
