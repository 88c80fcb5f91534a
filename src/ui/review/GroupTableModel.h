#pragma once

#include <QAbstractTableModel>
#include <vector>

struct DuplicateGroup;

// The group table: one row per shown group, described by its first shown file.
class GroupTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, ItemsColumn, SelectedColumn, ColumnCount };
    // RawValueRole: the value a column sorts by (name in lower case, bytes, marked count).
    // DescriptionRole: the items line drawn under the name.
    enum Role { RawValueRole = Qt::UserRole + 1, PathRole, DescriptionRole };

    explicit GroupTableModel(QObject* parent = nullptr);

    // The rows are copied; the groups are not owned.
    void setGroups(const std::vector<DuplicateGroup*>& groups);
    // Marks changed: the selected counts are redrawn.
    void refreshMarks();
    DuplicateGroup* groupAt(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    std::vector<DuplicateGroup*> m_groups;
};
