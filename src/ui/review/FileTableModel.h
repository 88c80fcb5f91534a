#pragma once

#include <QAbstractTableModel>
#include <vector>

class ReviewModel;
struct DuplicateGroup;
struct FileInfoNode;

// The file table: one row per shown file of the selected group, with its mark check box.
class FileTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { StateColumn, DetailColumn, DateColumn, SizeColumn, RevealColumn, ColumnCount };
    // RawValueRole: the value a column sorts by; FolderRole: the folder under the name.
    enum Role { RawValueRole = Qt::UserRole + 1, FolderRole, PathRole };

    // The column identifiers of the table ("idState", "idDetail", ...).
    static QString columnIdentifier(int column);

    // The review applies the marks; not owned.
    explicit FileTableModel(ReviewModel* review, QObject* parent = nullptr);

    // The rows are the group's shown files at this moment; null empties the table.
    void setGroup(DuplicateGroup* group);
    DuplicateGroup* group() const { return m_group; }
    FileInfoNode* fileAt(int row) const;
    // Marks changed elsewhere: the check boxes are redrawn.
    void refreshMarks();
    // The check box of a row turned over, as a click or the Space key does.
    void toggleMark(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    ReviewModel* m_review;
    DuplicateGroup* m_group = nullptr;
    std::vector<FileInfoNode*> m_files;
};
