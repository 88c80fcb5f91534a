#include "preferences/PreferencesIcons.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QTransform>
#include <cmath>
#include <functional>

namespace {

// Every picture is drawn on a 64-point square and scaled to each pixmap size.
QIcon drawnIcon(const std::function<void(QPainter&)>& draw)
{
    QIcon icon;
    for (int side : {16, 24, 32, 48, 64, 128}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(side / 64.0, side / 64.0);
        draw(painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void drawGear(QPainter& p)
{
    const QPointF centre(32, 32);
    QPainterPath gear;
    gear.addEllipse(centre, 20, 20);
    const int teeth = 8;
    for (int i = 0; i < teeth; ++i) {
        QPainterPath tooth;
        tooth.addRoundedRect(QRectF(-5.5, -29, 11, 14), 2, 2);
        QTransform t;
        t.translate(centre.x(), centre.y());
        t.rotate(360.0 * i / teeth);
        gear = gear.united(t.map(tooth));
    }
    QPainterPath hole;
    hole.addEllipse(centre, 8, 8);
    gear = gear.subtracted(hole);

    QLinearGradient fill(0, 4, 0, 60);
    fill.setColorAt(0, QColor(0x9a, 0xa3, 0xad));
    fill.setColorAt(1, QColor(0x5b, 0x63, 0x6c));
    p.setPen(QPen(QColor(0x3f, 0x45, 0x4c), 1.5));
    p.setBrush(fill);
    p.drawPath(gear);

    p.setPen(QPen(QColor(255, 255, 255, 90), 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(centre, 14, 14);
}

void drawExcludedFolder(QPainter& p)
{
    // Folder: a tab on the back sheet, the front sheet over it.
    QPainterPath back;
    back.moveTo(6, 14);
    back.lineTo(24, 14);
    back.lineTo(29, 19);
    back.lineTo(56, 19);
    back.lineTo(56, 50);
    back.lineTo(6, 50);
    back.closeSubpath();
    p.setPen(QPen(QColor(0x2f, 0x6d, 0xb5), 1.5));
    p.setBrush(QColor(0x6f, 0xa8, 0xe8));
    p.drawPath(back);

    QLinearGradient front(0, 24, 0, 52);
    front.setColorAt(0, QColor(0x9c, 0xc8, 0xf5));
    front.setColorAt(1, QColor(0x5b, 0x98, 0xdf));
    p.setBrush(front);
    p.drawRoundedRect(QRectF(6, 24, 50, 27), 2.5, 2.5);

    // The "not here" sign in the lower right corner.
    const QPointF sign(46, 46);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawEllipse(sign, 15, 15);
    p.setPen(QPen(QColor(0xd0, 0x2b, 0x2b), 4.5));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(sign, 11, 11);
    const double r = 11 * std::sqrt(0.5);
    p.drawLine(QPointF(sign.x() - r, sign.y() - r), QPointF(sign.x() + r, sign.y() + r));
}

} // namespace

namespace PreferencesIcons {

QIcon general()
{
    return drawnIcon(drawGear);
}

QIcon exclusions()
{
    return drawnIcon(drawExcludedFolder);
}

} // namespace PreferencesIcons
