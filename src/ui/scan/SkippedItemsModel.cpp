#include "scan/SkippedItemsModel.h"

#include "util/PathUtils.h"

SkippedItemsModel::SkippedItemsModel(std::vector<SkippedItem> items, QObject* parent)
    : QAbstractTableModel(parent), m_items(std::move(items))
{}

int SkippedItemsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

int SkippedItemsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant SkippedItemsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return {};
    const SkippedItem& item = m_items[size_t(index.row())];
    return index.column() == PathColumn ? PathUtils::toDisplay(item.path) : item.reason;
}

QVariant SkippedItemsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == PathColumn ? tr("Path") : tr("Reason");
}

QByteArray SkippedItemsModel::pathAt(int row) const
{
    return row >= 0 && row < rowCount() ? m_items[size_t(row)].path : QByteArray();
}
