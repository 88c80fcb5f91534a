#pragma once

#include <QAbstractItemModel>
#include <vector>

struct DuplicateGroup;

// A read-only tree of duplicate groups: one row per group (first file name, copies, size of
// one copy, folder of the first copy) with its members below (name, size, full path).
class GroupsTreeModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Column { NameColumn = 0, CountColumn = 1, SizeColumn = 2, PathColumn = 3, ColumnCount = 4 };
    enum Role { RawValueRole = Qt::UserRole + 1 }; // numbers for sorting, path bytes

    explicit GroupsTreeModel(QObject* parent = nullptr);

    // The groups are not owned; they must outlive the model or be replaced first.
    void setGroups(const std::vector<DuplicateGroup*>& groups);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    std::vector<DuplicateGroup*> m_groups;
};
