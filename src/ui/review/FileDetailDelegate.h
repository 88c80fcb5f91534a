#pragma once

#include <QStyledItemDelegate>

// Draws a name with a second line below it (a file's folder, a group's size) in a smaller,
// lighter face.
class FileDetailDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    // folderRole: the model role that holds the second line.
    explicit FileDetailDelegate(int folderRole, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    int m_folderRole;
};
