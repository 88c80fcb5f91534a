#pragma once

#include "widgets/CellButtonDelegate.h"

// Paints a small round remove button in a cell and reports a click on it.
class RemoveButtonDelegate : public CellButtonDelegate
{
public:
    using CellButtonDelegate::CellButtonDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    QRect buttonRect(const QRect& cell) const override;
};
