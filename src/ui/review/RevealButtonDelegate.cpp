#include "review/RevealButtonDelegate.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

QRect RevealButtonDelegate::buttonRect(const QRect& cell)
{
    return cell.adjusted(4, 2, -4, -2);
}

void RevealButtonDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const
{
    QStyleOptionViewItem base = option;
    initStyleOption(&base, index);
    const QString text = base.text;
    base.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &base, painter, widget);

    QStyleOptionButton button;
    button.rect = buttonRect(option.rect);
    button.text = text;
    button.state = QStyle::State_Enabled | QStyle::State_Raised;
    button.palette = option.palette;
    button.fontMetrics = option.fontMetrics;
    style->drawControl(QStyle::CE_PushButton, &button, painter, widget);
}

QSize RevealButtonDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize text = option.fontMetrics.size(Qt::TextSingleLine, index.data().toString());
    return QSize(text.width() + 32, text.height() + 12);
}

bool RevealButtonDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
                                       const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton &&
            buttonRect(option.rect).contains(mouse->position().toPoint())) {
            Q_EMIT revealClicked(index.row());
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}
