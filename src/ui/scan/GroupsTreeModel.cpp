#include "scan/GroupsTreeModel.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "util/CommonFuncs.h"
#include "util/PathUtils.h"

#include <QFont>

// Internal ids: 0 marks a group row; a member row stores its group's row + 1.
GroupsTreeModel::GroupsTreeModel(QObject* parent) : QAbstractItemModel(parent) {}

void GroupsTreeModel::setGroups(const std::vector<DuplicateGroup*>& groups)
{
    beginResetModel();
    m_groups = groups;
    endResetModel();
}

QModelIndex GroupsTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    if (!parent.isValid())
        return createIndex(row, column, quintptr(0));
    return createIndex(row, column, quintptr(parent.row()) + 1);
}

QModelIndex GroupsTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || child.internalId() == 0)
        return {};
    return createIndex(int(child.internalId() - 1), 0, quintptr(0));
}

int GroupsTreeModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return int(m_groups.size());
    if (parent.internalId() != 0 || parent.column() != 0)
        return 0;
    return int(m_groups[size_t(parent.row())]->filteredChildren.size());
}

int GroupsTreeModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

QVariant GroupsTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const bool isGroup = index.internalId() == 0;
    const DuplicateGroup* group = m_groups[size_t(isGroup ? index.row() : int(index.internalId() - 1))];
    const auto& members = group->filteredChildren;
    if (members.empty())
        return {};
    const FileInfoNode* node = isGroup ? members.front() : members[size_t(index.row())];

    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        switch (index.column()) {
        case NameColumn:
            return PathUtils::toDisplay(node->fileName());
        case CountColumn:
            return isGroup ? QVariant(tr("%1 copies").arg(members.size())) : QVariant();
        case SizeColumn:
            return CommonFuncs::getSizeInUnits(node->fileSize);
        case PathColumn:
            return PathUtils::toDisplay(isGroup ? PathUtils::removingLastComponents(node->filePath, 1)
                                                : node->filePath);
        default:
            return {};
        }
    }
    if (role == RawValueRole) {
        switch (index.column()) {
        case CountColumn:
            return qulonglong(members.size());
        case SizeColumn:
            return qulonglong(node->fileSize);
        default:
            return node->filePath;
        }
    }
    if (role == Qt::TextAlignmentRole && (index.column() == CountColumn || index.column() == SizeColumn))
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::FontRole && isGroup) {
        QFont bold;
        bold.setBold(true);
        return bold;
    }
    return {};
}

QVariant GroupsTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return section == CountColumn || section == SizeColumn ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                                               : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return tr("Name");
    case CountColumn:
        return tr("Copies");
    case SizeColumn:
        return tr("Size");
    case PathColumn:
        return tr("Location");
    default:
        return {};
    }
}
