#include "scan/RemoveButtonDelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPainter>

namespace {
constexpr int kButtonSize = 16;
}

QRect RemoveButtonDelegate::buttonRect(const QRect& cell) const
{
    QRect r(0, 0, kButtonSize, kButtonSize);
    r.moveCenter(cell.center());
    return r;
}

void RemoveButtonDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const
{
    QStyleOptionViewItem base = option;
    initStyleOption(&base, index);
    base.text.clear();
    base.icon = QIcon();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &base, painter, widget);

    const QRect button = buttonRect(option.rect);
    bool hover = false;
    if (const auto* view = qobject_cast<const QAbstractItemView*>(widget);
        view && (option.state & QStyle::State_MouseOver))
        hover = button.contains(view->viewport()->mapFromGlobal(QCursor::pos()));
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QColor fill = hover ? QColor(204, 64, 64) : QColor(176, 176, 176);
    if (option.state & QStyle::State_Selected && !hover)
        fill = option.palette.color(QPalette::HighlightedText).darker(130);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawEllipse(QRectF(button).adjusted(0.5, 0.5, -0.5, -0.5));
    QPen cross(Qt::white, 1.8);
    cross.setCapStyle(Qt::RoundCap);
    painter->setPen(cross);
    const QRectF c = QRectF(button).adjusted(5, 5, -5, -5);
    painter->drawLine(c.topLeft(), c.bottomRight());
    painter->drawLine(c.topRight(), c.bottomLeft());
    painter->restore();
}

QSize RemoveButtonDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize s = QStyledItemDelegate::sizeHint(option, index);
    return s.expandedTo(QSize(kButtonSize + 12, kButtonSize + 8));
}
