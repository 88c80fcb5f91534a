#include "scan/ElidedLabel.h"

#include <QPainter>
#include <QStyle>

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setTextFormat(Qt::PlainText);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return QSize(40, fontMetrics().height());
}

QSize ElidedLabel::sizeHint() const
{
    return QSize(fontMetrics().horizontalAdvance(text()), fontMetrics().height());
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect r = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, r.width());
    style()->drawItemText(&painter, r, int(alignment()) | Qt::TextSingleLine, palette(), isEnabled(), shown,
                          foregroundRole());
}
