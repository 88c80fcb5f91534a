#pragma once

#include <QColor>

// Each of red, green and blue raised by value (0..1 scale), alpha 1; no clamping, so the
// result may leave the 0..1 range and the painter decides how that looks.
QColor lightenColorByValue(const QColor& color, float value);
// Each of red, green and blue lowered by value, alpha 1; no clamping.
QColor darkenColorByValue(const QColor& color, float value);
// Light when the mean of red, green and blue exceeds 0.8 (a grey is its own mean).
bool isLightColor(const QColor& color);
