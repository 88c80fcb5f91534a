#include "scan/ScanListModel.h"

#include "scan/ScanIcons.h"
#include "scan/ScanList.h"
#include "util/PathUtils.h"

#include <QFile>
#include <QFileInfo>
#include <QPalette>

ScanListModel::ScanListModel(ScanList* list, QObject* parent) : QAbstractTableModel(parent), m_list(list)
{
    connect(list, &ScanList::rowsAboutToBeReset, this, [this] { beginResetModel(); });
    connect(list, &ScanList::rowsReset, this, [this] { endResetModel(); });
    connect(list, &ScanList::statesChanged, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0, TickColumn), index(rowCount() - 1, TickColumn), {Qt::CheckStateRole});
    });
    m_iconProvider.setOptions(QFileIconProvider::DontUseCustomDirectoryIcons);
}

int ScanListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_list->count();
}

int ScanListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QIcon ScanListModel::iconFor(const QByteArray& path) const
{
    auto it = m_icons.constFind(path);
    if (it != m_icons.constEnd())
        return *it;
    QIcon icon;
    const QString ext = PathUtils::lowerExtension(path);
    if (ext == QLatin1String("photoslibrary") || ext == QLatin1String("photolibrary") ||
        ext == QLatin1String("aplibrary") || ext == QLatin1String("migratedphotolibrary"))
        icon = ScanIcons::photoLibrary();
    else
        icon = m_iconProvider.icon(QFileInfo(QFile::decodeName(path)));
    if (icon.isNull())
        icon = m_iconProvider.icon(PathUtils::isDirectory(path) ? QFileIconProvider::Folder
                                                                : QFileIconProvider::File);
    m_icons.insert(path, icon);
    return icon;
}

QVariant ScanListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_list->count())
        return {};
    const FilePathNode& node = m_list->arrPathNodes()[size_t(index.row())];
    switch (index.column()) {
    case TickColumn:
        if (role == Qt::CheckStateRole)
            return node.state == 1 ? Qt::Checked : Qt::Unchecked;
        if (role == RawValueRole)
            return node.state;
        if (role == Qt::ToolTipRole)
            return node.state == 1 ? tr("Included in the next scan") : tr("Left out of the next scan");
        break;
    case PathColumn:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return PathUtils::toDisplay(node.filePath);
        if (role == Qt::DecorationRole)
            return iconFor(node.filePath);
        if (role == RawValueRole)
            return node.filePath;
        if (role == Qt::ForegroundRole && node.state != 1)
            return QPalette().brush(QPalette::Disabled, QPalette::Text);
        break;
    case RemoveColumn:
        if (role == Qt::ToolTipRole)
            return tr("Remove from the scan list");
        break;
    default:
        break;
    }
    return {};
}

bool ScanListModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.column() != TickColumn || role != Qt::CheckStateRole)
        return false;
    const bool wantTicked = value.value<Qt::CheckState>() == Qt::Checked;
    const bool ticked = m_list->arrPathNodes()[size_t(index.row())].state == 1;
    if (wantTicked != ticked)
        m_list->selectDeselectPath(index.row());
    Q_EMIT dataChanged(this->index(index.row(), TickColumn), this->index(index.row(), PathColumn));
    return true;
}

Qt::ItemFlags ScanListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == TickColumn)
        f |= Qt::ItemIsUserCheckable;
    return f;
}

QVariant ScanListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case TickColumn:
        return QString();
    case PathColumn:
        return tr("Item");
    default:
        return QString();
    }
}
