#pragma once

#include "review/TrashRun.h"

#include <QAbstractTableModel>
#include <vector>

// The files a Trash run left where they were, with the reason (tvFileNotDeletedList).
class NotTrashedTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Path, Reason, Reveal, ColumnCount };

    using QAbstractTableModel::QAbstractTableModel;

    void setFiles(std::vector<NotTrashedFile> files);
    // The path's bytes of a row, as the file system names it; empty outside the rows.
    QByteArray filePath(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    std::vector<NotTrashedFile> m_files;
};
