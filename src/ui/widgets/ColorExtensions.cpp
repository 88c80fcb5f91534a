#include "widgets/ColorExtensions.h"

namespace {
QColor shifted(const QColor& color, float delta)
{
    const QColor rgb = color.toRgb();
    return QColor::fromRgbF(float(rgb.redF()) + delta, float(rgb.greenF()) + delta,
                            float(rgb.blueF()) + delta, 1.0f);
}
} // namespace

QColor lightenColorByValue(const QColor& color, float value)
{
    return shifted(color, value);
}

QColor darkenColorByValue(const QColor& color, float value)
{
    return shifted(color, -value);
}

bool isLightColor(const QColor& color)
{
    const QColor rgb = color.toRgb();
    return (rgb.redF() + rgb.greenF() + rgb.blueF()) / 3.0 > 0.8;
}
