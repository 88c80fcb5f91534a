#pragma once

#include <QColor>
#include <QRectF>

class QFont;
class QPainter;

// The drawing of a CFMButton: a rounded border filled with one colour and an inset inside
// filled with another, darker while pressed, and a centred title. Unset (invalid) colours fall
// back to the defaults of the getters.
class CFMButtonCell
{
public:
    void setButtonInsideColor(const QColor& inside, const QColor& disableInside, const QColor& enableText,
                              const QColor& disableText, const QColor& borderEn, const QColor& borderDis,
                              double roundedRadius, int fontSize, bool fontPropertyIsLight, bool isBlold,
                              double outerLineWidth);

    // The inside colour for the enabled or disabled look.
    QColor getColorForButtonType(bool enabled) const;
    QColor getBorderColorEnable() const;
    QColor getBorderColorDisable() const;
    QColor getEnableButtonTextColor() const;
    QColor getDisableButtonTextColor() const;

    double roundedRadius() const { return m_roundedRadius; }
    double outerWidth() const { return m_outerWidth; }
    int textFontSize() const { return m_textFontSize; }
    bool isLightFont() const { return m_isLightFont; }
    bool isBoldFont() const { return m_isBoldFont; }

    void drawBezelWithFrame(QPainter& painter, const QRectF& frame, bool enabled, bool highlighted) const;
    // Draws title centred in frame; returns the rectangle the text took.
    QRectF drawTitle(QPainter& painter, const QString& title, const QFont& font, const QRectF& frame,
                     bool enabled) const;

private:
    QColor m_btnInsideColor;
    QColor m_btnDisInsideColor;
    QColor m_btnBorderColorEnableState;
    QColor m_btnBorderColorDisableState;
    QColor m_textColorEnableState;
    QColor m_textColorDisableState;
    double m_roundedRadius = 4.0;
    double m_outerWidth = 1.0;
    int m_textFontSize = 0;
    bool m_isLightFont = false;
    bool m_isBoldFont = false;
};
