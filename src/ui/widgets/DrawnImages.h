#pragma once

#include <QRectF>
#include <QString>

class QPainter;
class QPalette;

// Drawing helpers shared by the drawn controls. Images are named without folder or suffix and
// come from ":/images/<name>.svg", so they stay sharp at every scale.
namespace DrawnImages {

// Draws start cap, stretched middle and end cap across rect: side by side (caps as wide as
// their image's proportions at the rect's height) or, when vertical, stacked. Missing images
// leave their part empty.
void drawThreePart(QPainter& painter, const QRectF& rect, const QString& start, const QString& middle,
                   const QString& end, bool vertical = false);

// The keyboard focus ring of a drawn control, just inside rect.
void drawFocusRing(QPainter& painter, const QRectF& rect, const QPalette& palette, qreal radius = 4.0);

} // namespace DrawnImages
