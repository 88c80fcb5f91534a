#include "scan/ScanIcons.h"

#include <QPainter>
#include <QPainterPath>

namespace ScanIcons {

namespace {

QPixmap blank(int size, qreal dpr)
{
    QPixmap pm(QSize(size, size) * dpr);
    pm.setDevicePixelRatio(dpr);
    pm.fill(Qt::transparent);
    return pm;
}

} // namespace

QPixmap dropFolder(int size, const QColor& color, qreal devicePixelRatio)
{
    QPixmap pm = blank(size, devicePixelRatio);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    // Back of the folder with its tab.
    QPainterPath back;
    back.moveTo(0.08 * s, 0.26 * s);
    back.lineTo(0.38 * s, 0.26 * s);
    back.lineTo(0.45 * s, 0.34 * s);
    back.lineTo(0.92 * s, 0.34 * s);
    back.lineTo(0.92 * s, 0.86 * s);
    back.lineTo(0.08 * s, 0.86 * s);
    back.closeSubpath();
    QColor light = color;
    light.setAlphaF(0.55);
    p.fillPath(back, light);
    // Front panel.
    QPainterPath front;
    front.addRoundedRect(QRectF(0.08 * s, 0.40 * s, 0.84 * s, 0.46 * s), 0.04 * s, 0.04 * s);
    p.fillPath(front, color);
    // Arrow into the folder.
    QPen pen(Qt::white, qMax<qreal>(2.0, 0.06 * s));
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    p.setPen(pen);
    p.drawLine(QPointF(0.5 * s, 0.48 * s), QPointF(0.5 * s, 0.76 * s));
    p.drawPolyline(
        QPolygonF{QPointF(0.38 * s, 0.65 * s), QPointF(0.5 * s, 0.77 * s), QPointF(0.62 * s, 0.65 * s)});
    return pm;
}

QIcon plus(const QColor& color)
{
    QIcon icon;
    for (int size : {16, 24, 32}) {
        QPixmap pm = blank(size, 1.0);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        QPen pen(color, qMax(2.0, size / 8.0));
        pen.setCapStyle(Qt::RoundCap);
        p.setPen(pen);
        const qreal m = size * 0.2;
        p.drawLine(QPointF(size / 2.0, m), QPointF(size / 2.0, size - m));
        p.drawLine(QPointF(m, size / 2.0), QPointF(size - m, size / 2.0));
        icon.addPixmap(pm);
    }
    return icon;
}

QPixmap magnifier(int size, const QColor& color, qreal devicePixelRatio)
{
    QPixmap pm = blank(size, devicePixelRatio);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    QColor page = color;
    page.setAlphaF(0.25);
    p.setPen(Qt::NoPen);
    p.setBrush(page);
    p.drawRoundedRect(QRectF(0.14 * s, 0.08 * s, 0.52 * s, 0.68 * s), 0.05 * s, 0.05 * s);
    QPen pen(color, qMax<qreal>(2.0, 0.07 * s));
    pen.setCapStyle(Qt::RoundCap);
    p.setPen(pen);
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(0.52 * s, 0.50 * s), 0.2 * s, 0.2 * s);
    pen.setWidthF(qMax<qreal>(3.0, 0.1 * s));
    p.setPen(pen);
    p.drawLine(QPointF(0.67 * s, 0.65 * s), QPointF(0.86 * s, 0.84 * s));
    return pm;
}

QIcon photoLibrary()
{
    QIcon icon;
    for (int size : {16, 20, 24, 32, 48}) {
        QPixmap pm = blank(size, 1.0);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        const qreal s = size;
        const QRectF frame(0.06 * s, 0.14 * s, 0.88 * s, 0.72 * s);
        p.setPen(QPen(QColor(90, 110, 130), qMax<qreal>(1.0, s / 24.0)));
        p.setBrush(QColor(214, 234, 248));
        p.drawRoundedRect(frame, 0.08 * s, 0.08 * s);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(245, 176, 65));
        p.drawEllipse(QPointF(0.70 * s, 0.34 * s), 0.08 * s, 0.08 * s);
        QPainterPath hills;
        hills.moveTo(frame.left() + 1, frame.bottom() - 1);
        hills.lineTo(0.34 * s, 0.44 * s);
        hills.lineTo(0.52 * s, 0.66 * s);
        hills.lineTo(0.66 * s, 0.54 * s);
        hills.lineTo(frame.right() - 1, frame.bottom() - 1);
        hills.closeSubpath();
        p.setBrush(QColor(88, 160, 96));
        p.drawPath(hills);
        icon.addPixmap(pm);
    }
    return icon;
}

} // namespace ScanIcons
