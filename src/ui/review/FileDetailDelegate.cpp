#include "review/FileDetailDelegate.h"

#include <QApplication>
#include <QPainter>

FileDetailDelegate::FileDetailDelegate(int folderRole, QObject* parent)
    : QStyledItemDelegate(parent), m_folderRole(folderRole)
{}

void FileDetailDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QString name = opt.text;
    const QString folder = index.data(m_folderRole).toString();
    opt.text.clear();
    const QStyle* style = opt.widget ? opt.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, opt.widget);

    const QRect text =
        style->subElementRect(QStyle::SE_ItemViewItemText, &opt, opt.widget).adjusted(2, 2, -2, -2);
    const bool selected = opt.state & QStyle::State_Selected;
    const QPalette::ColorGroup group =
        opt.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
    QColor main = opt.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    QColor sub = main;
    sub.setAlphaF(0.6f);

    painter->save();
    const int half = text.height() / 2;
    painter->setPen(main);
    painter->setFont(opt.font);
    painter->drawText(text.adjusted(0, 0, 0, -half), Qt::AlignLeft | Qt::AlignBottom,
                      opt.fontMetrics.elidedText(name, Qt::ElideMiddle, text.width()));
    QFont small = opt.font;
    small.setPointSizeF(small.pointSizeF() * 0.85);
    painter->setFont(small);
    painter->setPen(sub);
    painter->drawText(text.adjusted(0, half, 0, 0), Qt::AlignLeft | Qt::AlignTop,
                      QFontMetrics(small).elidedText(folder, Qt::ElideLeft, text.width()));
    painter->restore();
}

QSize FileDetailDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(option.fontMetrics.height() * 2 + 8);
    return size;
}
