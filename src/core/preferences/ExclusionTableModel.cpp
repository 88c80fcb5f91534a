#include "preferences/ExclusionTableModel.h"

#include "preferences/ExclusionList.h"

ExclusionTableModel::ExclusionTableModel(ExclusionList* list, QObject* parent)
    : QAbstractTableModel(parent), m_list(list)
{
    if (m_list) {
        connect(m_list, &ExclusionList::listAboutToChange, this, &ExclusionTableModel::beginResetModel);
        connect(m_list, &ExclusionList::listChanged, this, &ExclusionTableModel::endResetModel);
    }
}

int ExclusionTableModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() || !m_list)
        return 0;
    return int(m_list->arrExclude().size());
}

int ExclusionTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ExclusionTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) || !m_list)
        return {};
    if (index.column() != ColumnPath)
        return {};
    const QString& path = m_list->arrExclude().at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
    case Qt::EditRole:
        return path;
    default:
        return {};
    }
}

QVariant ExclusionTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section != ColumnPath)
        return QAbstractTableModel::headerData(section, orientation, role);
    if (role == ColumnIdentifierRole)
        return kPathColumnIdentifier;
    if (role == Qt::DisplayRole)
        return tr("Excluded Folder");
    return {};
}
