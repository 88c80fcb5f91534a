#include "review/RevealButtonDelegate.h"

#include <QApplication>
#include <QPainter>

QRect RevealButtonDelegate::buttonRect(const QRect& cell) const
{
    const int side = qMin(cell.height() - 8, 24);
    QRect r(0, 0, side, side);
    r.moveCenter(cell.center());
    return r;
}

void RevealButtonDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    QStyleOptionToolButton button;
    button.rect = buttonRect(option.rect);
    button.state = QStyle::State_Enabled | QStyle::State_Raised | QStyle::State_AutoRaise;
    button.icon = style->standardIcon(QStyle::SP_DirOpenIcon);
    button.iconSize = button.rect.size() - QSize(6, 6);
    button.toolButtonStyle = Qt::ToolButtonIconOnly;
    button.palette = option.palette;
    style->drawComplexControl(QStyle::CC_ToolButton, &button, painter, widget);
}

QSize RevealButtonDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return {32, 24};
}
