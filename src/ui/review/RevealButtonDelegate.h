#pragma once

#include <QStyledItemDelegate>

// Paints a push button with the cell's text and reports a click on it (one delegate for all
// rows, no widget per row).
class RevealButtonDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // The button inside a cell.
    static QRect buttonRect(const QRect& cell);

Q_SIGNALS:
    void revealClicked(int row);
};
