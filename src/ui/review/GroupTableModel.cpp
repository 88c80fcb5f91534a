#include "review/GroupTableModel.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/FileIcons.h"
#include "review/ReviewModel.h"
#include "util/CommonFuncs.h"

#include <QFile>

GroupTableModel::GroupTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void GroupTableModel::setGroups(const std::vector<DuplicateGroup*>& groups)
{
    beginResetModel();
    m_groups = groups;
    endResetModel();
}

void GroupTableModel::refreshMarks()
{
    if (!m_groups.empty())
        Q_EMIT dataChanged(index(0, SelectedColumn), index(rowCount() - 1, SelectedColumn));
}

DuplicateGroup* GroupTableModel::groupAt(int row) const
{
    return row >= 0 && size_t(row) < m_groups.size() ? m_groups[size_t(row)] : nullptr;
}

int GroupTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_groups.size());
}

int GroupTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant GroupTableModel::data(const QModelIndex& index, int role) const
{
    const DuplicateGroup* group = groupAt(index.row());
    if (!group || index.parent().isValid() || group->filteredChildren.empty())
        return {};
    const FileInfoNode* first = group->filteredChildren.front();
    const auto shown = qulonglong(group->filteredChildren.size());
    const QString name = QFile::decodeName(first->fileName());
    switch (index.column()) {
    case NameColumn:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return name;
        if (role == Qt::DecorationRole)
            return FileIcons::iconForFile(first->filePath);
        if (role == RawValueRole)
            return name.toLower();
        if (role == PathRole)
            return first->filePath;
        if (role == DescriptionRole)
            return data(index.siblingAtColumn(ItemsColumn));
        break;
    case ItemsColumn:
        if (role == Qt::DisplayRole)
            return QStringLiteral("%1 items, %2")
                .arg(shown)
                .arg(CommonFuncs::getSizeInUnits(group->groupSize));
        if (role == RawValueRole)
            return qulonglong(group->groupSize);
        break;
    case SelectedColumn:
        if (role == Qt::DisplayRole)
            return QStringLiteral("%1 of %2 selected").arg(ReviewModel::markedCount(group)).arg(shown);
        if (role == RawValueRole)
            return qulonglong(ReviewModel::markedCount(group));
        break;
    default:
        break;
    }
    return {};
}

QVariant GroupTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case NameColumn:
        return tr("Group");
    case ItemsColumn:
        return tr("Items");
    case SelectedColumn:
        return tr("Marked");
    default:
        return {};
    }
}
