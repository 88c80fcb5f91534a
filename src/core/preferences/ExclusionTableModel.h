#pragma once

#include <QAbstractTableModel>
#include <QPointer>

class ExclusionList;

// One column, "idPath": every excluded folder in full, in stored order.
class ExclusionTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { ColumnPath = 0, ColumnCount };
    static inline const QString kPathColumnIdentifier = QStringLiteral("idPath");
    // Header role that answers a column's identifier.
    static constexpr int ColumnIdentifierRole = Qt::UserRole + 1;

    explicit ExclusionTableModel(ExclusionList* list, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    QPointer<ExclusionList> m_list;
};
