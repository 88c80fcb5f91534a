#pragma once

#include <QRect>
#include <QSizeF>

// The arithmetic of the preferences window's pane switch, kept apart from the widgets so it
// can be checked without a display.
namespace PreferencesWindowGeometry {

// Seconds that the window takes to resize from one pane to the next: 0.05 s per 100 points
// of the larger change of width or height, never below 0.1 s. Single precision throughout,
// so the values match the original animation timing exactly (0.1 up to 200 points, 0.3 for 600).
float resizeAnimationDuration(const QSizeF& previous, const QSizeF& next);

// The content rectangle of the given size that keeps the current top edge and horizontal
// centre (screen coordinates grow downward, so the top is y).
QRect contentRectKeepingTopAndCentre(const QRect& current, const QSize& size);

} // namespace PreferencesWindowGeometry
