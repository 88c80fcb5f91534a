#include "scan/DDCustomView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

DDCustomView::DDCustomView(QWidget* parent) : QWidget(parent) {}

QColor DDCustomView::borderColor()
{
    return QColor(167, 167, 167);
}

void DDCustomView::setHighlighted(bool highlighted)
{
    if (m_highlighted == highlighted)
        return;
    m_highlighted = highlighted;
    update();
}

void DDCustomView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_highlighted) {
        QColor tint = palette().color(QPalette::Highlight);
        tint.setAlpha(28);
        QPainterPath inside;
        inside.addRoundedRect(QRectF(rect()).adjusted(3.5, 3.5, -2.5, -2.5), 8, 8);
        painter.fillPath(inside, tint);
    }
    drawBorder(painter, event->rect());
}

void DDCustomView::drawBorder(QPainter& painter, const QRect& rect)
{
    // A strip of a resize: the frame outside it is still on screen.
    if (height() > rect.height())
        return;
    const QRectF frame(rect.x() + 2.0, rect.y() + 2.0, rect.width() - 3.0, rect.height() - 3.0);
    QPen pen(borderColor(), 3.0);
    // Qt counts dashes in line widths: 10 on, 5 off, starting 1 point in.
    pen.setDashPattern({10.0 / 3.0, 5.0 / 3.0});
    pen.setDashOffset(1.0 / 3.0);
    pen.setCapStyle(Qt::FlatCap);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame, 10.0, 10.0);
}
