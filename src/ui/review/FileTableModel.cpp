#include "review/FileTableModel.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/ReviewModel.h"
#include "util/CommonFuncs.h"

#include <QFile>

QString FileTableModel::columnIdentifier(int column)
{
    switch (column) {
    case StateColumn:
        return QStringLiteral("idState");
    case DetailColumn:
        return QStringLiteral("idDetail");
    case DateColumn:
        return QStringLiteral("idDate");
    case SizeColumn:
        return QStringLiteral("idSize");
    default:
        return QStringLiteral("idShowInFinder");
    }
}

FileTableModel::FileTableModel(ReviewModel* review, QObject* parent)
    : QAbstractTableModel(parent), m_review(review)
{}

void FileTableModel::setGroup(DuplicateGroup* group)
{
    beginResetModel();
    m_group = group;
    m_files = group ? group->filteredChildren : std::vector<FileInfoNode*>();
    endResetModel();
}

FileInfoNode* FileTableModel::fileAt(int row) const
{
    return row >= 0 && size_t(row) < m_files.size() ? m_files[size_t(row)] : nullptr;
}

void FileTableModel::refreshMarks()
{
    if (!m_files.empty())
        Q_EMIT dataChanged(index(0, StateColumn), index(rowCount() - 1, StateColumn), {Qt::CheckStateRole});
}

void FileTableModel::toggleMark(int row)
{
    if (const FileInfoNode* file = fileAt(row))
        setData(index(row, StateColumn), file->state ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

int FileTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_files.size());
}

int FileTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FileTableModel::data(const QModelIndex& index, int role) const
{
    const FileInfoNode* file = fileAt(index.row());
    if (!file || index.parent().isValid())
        return {};
    if (role == PathRole)
        return file->filePath;
    const QString path = QFile::decodeName(file->filePath);
    switch (index.column()) {
    case StateColumn:
        if (role == Qt::CheckStateRole)
            return file->state ? Qt::Checked : Qt::Unchecked;
        if (role == RawValueRole)
            return file->state;
        if (role == Qt::AccessibleTextRole)
            return file->state ? tr("Marked") : tr("Not marked");
        break;
    case DetailColumn: {
        const QString name = QFile::decodeName(file->fileName());
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return name;
        if (role == FolderRole)
            return path.left(path.lastIndexOf(QLatin1Char('/')));
        if (role == Qt::ToolTipRole)
            return path;
        if (role == RawValueRole)
            return name.toLower();
        break;
    }
    case DateColumn:
        if (role == Qt::DisplayRole)
            return CommonFuncs::getDateTimeStringFromDate(CommonFuncs::dateFromSeconds(file->createDate));
        if (role == RawValueRole)
            return file->createDate;
        break;
    case SizeColumn:
        if (role == Qt::DisplayRole)
            return CommonFuncs::getSizeInUnits(file->fileSize);
        if (role == RawValueRole)
            return qulonglong(file->fileSize);
        if (role == Qt::TextAlignmentRole)
            return int(Qt::AlignRight | Qt::AlignVCenter);
        break;
    case RevealColumn:
        if (role == Qt::ToolTipRole || role == Qt::AccessibleTextRole)
            return tr("Show in file manager");
        break;
    default:
        break;
    }
    return {};
}

bool FileTableModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    FileInfoNode* file = fileAt(index.row());
    if (!file || index.column() != StateColumn || role != Qt::CheckStateRole)
        return false;
    const bool checked = value.toInt() == Qt::Checked;
    // The review may refuse (the last unmarked file of a group) and says so itself.
    m_review->updateNodeState(file, checked);
    Q_EMIT dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}

Qt::ItemFlags FileTableModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == StateColumn)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

QVariant FileTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case DetailColumn:
        return tr("Name");
    case DateColumn:
        return tr("Created");
    case SizeColumn:
        return tr("Size");
    default:
        return QString();
    }
}
