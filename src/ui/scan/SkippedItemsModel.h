#pragma once

#include "model/ScanResult.h"

#include <QAbstractTableModel>
#include <vector>

// The items a scan could not read: path and the system's reason.
class SkippedItemsModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { PathColumn, ReasonColumn, ColumnCount };

    explicit SkippedItemsModel(std::vector<SkippedItem> items, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    QByteArray pathAt(int row) const;

private:
    std::vector<SkippedItem> m_items;
};
