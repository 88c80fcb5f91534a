#include "widgets/CFMButtonCell.h"

#include "widgets/ColorExtensions.h"

#include <QFont>
#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace {
const QColor kDefaultInside(220, 255, 255);
const QColor kDefaultEnabled(69, 162, 255);
const QColor kDefaultDisabled(185, 185, 185);

QColor orDefault(const QColor& color, const QColor& fallback)
{
    return color.isValid() ? color : fallback;
}
} // namespace

void CFMButtonCell::setButtonInsideColor(const QColor& inside, const QColor& disableInside,
                                         const QColor& enableText, const QColor& disableText,
                                         const QColor& borderEn, const QColor& borderDis,
                                         double roundedRadius, int fontSize, bool fontPropertyIsLight,
                                         bool isBlold, double outerLineWidth)
{
    m_roundedRadius = roundedRadius;
    m_btnInsideColor = inside;
    m_btnDisInsideColor = disableInside;
    m_textColorEnableState = enableText;
    m_textColorDisableState = disableText;
    m_btnBorderColorEnableState = borderEn;
    m_btnBorderColorDisableState = borderDis;
    m_textFontSize = fontSize;
    m_isBoldFont = isBlold;
    m_isLightFont = fontPropertyIsLight;
    m_outerWidth = outerLineWidth;
}

QColor CFMButtonCell::getColorForButtonType(bool enabled) const
{
    return orDefault(enabled ? m_btnInsideColor : m_btnDisInsideColor, kDefaultInside);
}

QColor CFMButtonCell::getBorderColorEnable() const
{
    return orDefault(m_btnBorderColorEnableState, kDefaultEnabled);
}

QColor CFMButtonCell::getBorderColorDisable() const
{
    return orDefault(m_btnBorderColorDisableState, kDefaultDisabled);
}

QColor CFMButtonCell::getEnableButtonTextColor() const
{
    return orDefault(m_textColorEnableState, kDefaultEnabled);
}

QColor CFMButtonCell::getDisableButtonTextColor() const
{
    return orDefault(m_textColorDisableState, kDefaultDisabled);
}

void CFMButtonCell::drawBezelWithFrame(QPainter& painter, const QRectF& frame, bool enabled,
                                       bool highlighted) const
{
    const QColor inside = getColorForButtonType(enabled);
    auto rounded = [this](const QRectF& r) {
        QPainterPath path;
        path.addRoundedRect(r, m_roundedRadius, m_roundedRadius);
        return path;
    };

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(rounded(frame));
    painter.fillRect(frame, enabled ? getBorderColorEnable() : getBorderColorDisable());
    painter.restore();

    const QRectF inner = frame.adjusted(m_outerWidth, m_outerWidth, -m_outerWidth, -m_outerWidth);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(rounded(inner));
    QLinearGradient fill(inner.bottomLeft(), inner.topLeft());
    fill.setColorAt(0.0, highlighted ? darkenColorByValue(inside, 0.1f) : inside);
    fill.setColorAt(1.0, inside);
    painter.fillRect(inner, fill);
    painter.restore();
}

QRectF CFMButtonCell::drawTitle(QPainter& painter, const QString& title, const QFont& font,
                                const QRectF& frame, bool enabled) const
{
    painter.save();
    QFont face = font;
    if (m_textFontSize > 0)
        face.setPixelSize(m_textFontSize);
    if (m_isLightFont)
        face.setWeight(QFont::Light);
    if (m_isBoldFont)
        face.setBold(true);
    // A title wider than a narrow window's button shrinks rather than being cut off.
    const qreal room = frame.width() - 2 * (m_roundedRadius / 2 + m_outerWidth + 4);
    const qreal wide = QFontMetricsF(face).horizontalAdvance(title);
    if (wide > room && room > 0 && face.pixelSize() > 0)
        face.setPixelSize(qMax(10, int(face.pixelSize() * room / wide)));
    painter.setFont(face);
    painter.setPen(enabled ? getEnableButtonTextColor() : getDisableButtonTextColor());
    QRectF used;
    painter.drawText(frame, Qt::AlignCenter | Qt::TextWordWrap, title, &used);
    painter.restore();
    return used;
}
