#pragma once

#include <QAbstractTableModel>
#include <QFileIconProvider>
#include <QHash>
#include <QIcon>

class ScanList;

// The scan list as a table: tick box, the item with its icon, and the remove button column.
// Ticking goes through ScanList::selectDeselectPath, so the list saves itself.
class ScanListModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { TickColumn = 0, PathColumn = 1, RemoveColumn = 2, ColumnCount = 3 };
    enum Role { RawValueRole = Qt::UserRole + 1 }; // the path bytes, or the state number

    explicit ScanListModel(ScanList* list, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    QIcon iconFor(const QByteArray& path) const;

    ScanList* m_list;
    QFileIconProvider m_iconProvider;
    mutable QHash<QByteArray, QIcon> m_icons;
};
