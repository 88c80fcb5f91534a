#include "widgets/CFMButton.h"

#include "widgets/DrawnImages.h"

#include <QPainter>

CFMButton::CFMButton(QWidget* parent) : QAbstractButton(parent)
{
    init();
}

CFMButton::CFMButton(const QString& title, QWidget* parent) : QAbstractButton(parent)
{
    setText(title);
    init();
}

void CFMButton::init()
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
}

void CFMButton::setButtonInsideColor(const QColor& inside, const QColor& disableInside,
                                     const QColor& enableText, const QColor& disableText,
                                     const QColor& borderEn, const QColor& borderDis, double roundedRadius,
                                     int fontSize, bool fontPropertyIsLight, bool isBlold,
                                     double outerLineWidth)
{
    m_cell.setButtonInsideColor(inside, disableInside, enableText, disableText, borderEn, borderDis,
                                roundedRadius, fontSize, fontPropertyIsLight, isBlold, outerLineWidth);
    update();
}

QSize CFMButton::sizeHint() const
{
    QFont face = font();
    if (m_cell.textFontSize() > 0)
        face.setPixelSize(m_cell.textFontSize());
    const QFontMetrics metrics(face);
    return QSize(metrics.horizontalAdvance(text()) + 32, metrics.height() + 16);
}

void CFMButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRectF frame = rect();
    m_cell.drawBezelWithFrame(painter, frame, isEnabled(), isDown());
    m_cell.drawTitle(painter, text(), font(), frame, isEnabled());
    if (hasFocus())
        DrawnImages::drawFocusRing(painter, frame.adjusted(1, 1, -1, -1), palette(), m_cell.roundedRadius());
}
