#pragma once

#include "widgets/CellButtonDelegate.h"

// A small button in a table cell that asks to show the row's file in the file manager.
class RevealButtonDelegate : public CellButtonDelegate
{
public:
    using CellButtonDelegate::CellButtonDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QRect buttonRect(const QRect& cell) const override;
};
