#include "widgets/LinkButton.h"

#include "widgets/ColorExtensions.h"
#include "widgets/DrawnImages.h"

#include <QPainter>

LinkButton::LinkButton(QWidget* parent) : QAbstractButton(parent)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void LinkButton::setTitle(const QString& title)
{
    m_color = Qt::black;
    m_blueDefault = false;
    setText(title);
    updateGeometry();
}

void LinkButton::setTitle(const QString& title, qreal fontSize, bool bold, const QColor& color)
{
    m_blueDefault = !color.isValid();
    m_color = color.isValid() ? color : QColor(Qt::blue);
    QFont face = font();
    face.setPixelSize(qMax(1, qRound(fontSize)));
    face.setBold(bold);
    setFont(face);
    setText(title);
    updateGeometry();
}

QColor LinkButton::titleColor() const
{
    if (isLightColor(palette().color(QPalette::Window)))
        return m_color;
    // On a dark window black becomes the window's text colour and the default blue a light blue.
    if (m_color == QColor(Qt::black))
        return palette().color(QPalette::WindowText);
    return m_blueDefault ? QColor(120, 180, 255) : m_color;
}

QSize LinkButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    return QSize(metrics.horizontalAdvance(text()) + 6, metrics.height() + 4);
}

void LinkButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QFont face = font();
    face.setUnderline(true);
    painter.setFont(face);
    QColor color = titleColor();
    if (!isEnabled())
        color.setAlphaF(0.5);
    else if (isDown())
        color = color.darker(140);
    painter.setPen(color);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (hasFocus())
        DrawnImages::drawFocusRing(painter, rect(), palette(), 3.0);
}
