#include "review/NotTrashedTableModel.h"

#include "model/FileInfoNode.h"

#include <QFile>

void NotTrashedTableModel::setFiles(std::vector<NotTrashedFile> files)
{
    beginResetModel();
    m_files = std::move(files);
    endResetModel();
}

QByteArray NotTrashedTableModel::filePath(int row) const
{
    if (row < 0 || size_t(row) >= m_files.size() || !m_files[size_t(row)].node)
        return {};
    return m_files[size_t(row)].node->filePath;
}

int NotTrashedTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_files.size());
}

int NotTrashedTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant NotTrashedTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const NotTrashedFile& file = m_files[size_t(index.row())];
    const QString path = QFile::decodeName(filePath(index.row()));
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == Path)
            return path;
        if (index.column() == Reason)
            return file.reason;
        return {}; // the delegate draws the reveal button

    case Qt::ToolTipRole:
        return index.column() == Reveal ? tr("Show %1 in the file manager").arg(path) : path;
    case Qt::AccessibleTextRole:
        return index.column() == Reveal ? tr("Show in file manager") : QVariant();
    default:
        return {};
    }
}

QVariant NotTrashedTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Path:
        return tr("Item");
    case Reason:
        return tr("Why it stays");
    default:
        return QString();
    }
}
