#include "preferences/PreferencesWindowGeometry.h"

#include <algorithm>
#include <cmath>

namespace PreferencesWindowGeometry {

float resizeAnimationDuration(const QSizeF& previous, const QSizeF& next)
{
    const float dW = float(std::fabs(next.width() - previous.width()));
    const float dH = float(std::fabs(next.height() - previous.height()));
    const float duration = (std::max(dW, dH) / 100.0f) * 0.05f;
    return std::max(0.1f, duration);
}

QRect contentRectKeepingTopAndCentre(const QRect& current, const QSize& size)
{
    const int x = current.x() + int(std::lround((current.width() - size.width()) * 0.5));
    return QRect(QPoint(x, current.y()), size);
}

} // namespace PreferencesWindowGeometry
