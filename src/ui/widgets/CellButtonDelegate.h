#pragma once

#include <QStyledItemDelegate>

// A button drawn in a table cell by one delegate for all rows (no widget per row): subclasses
// paint it and say where it sits; a left click released inside it reports the row.
class CellButtonDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // The button inside a cell.
    virtual QRect buttonRect(const QRect& cell) const = 0;

Q_SIGNALS:
    void buttonClicked(int row);
};
