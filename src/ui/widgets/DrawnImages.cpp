#include "widgets/DrawnImages.h"

#include <QHash>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <cmath>
#include <memory>

namespace {

// Renderers are kept per name: every repaint of every button reuses them.
QSvgRenderer* renderer(const QString& name)
{
    static QHash<QString, std::shared_ptr<QSvgRenderer>> cache;
    if (name.isEmpty())
        return nullptr;
    auto it = cache.find(name);
    if (it == cache.end()) {
        auto svg = std::make_shared<QSvgRenderer>(QStringLiteral(":/images/%1.svg").arg(name));
        it = cache.insert(name, svg->isValid() ? svg : nullptr);
    }
    return it->get();
}

// A cap's length along the drawing direction, from its image's proportions.
qreal capLength(QSvgRenderer* svg, qreal across, bool vertical)
{
    if (!svg)
        return 0;
    const QSizeF size = svg->viewBoxF().size();
    if (size.isEmpty())
        return 0;
    return vertical ? across * size.height() / size.width() : across * size.width() / size.height();
}

} // namespace

void DrawnImages::drawThreePart(QPainter& painter, const QRectF& rect, const QString& start,
                                const QString& middle, const QString& end, bool vertical)
{
    QSvgRenderer* first = renderer(start);
    QSvgRenderer* mid = renderer(middle);
    QSvgRenderer* last = renderer(end);
    const qreal across = vertical ? rect.width() : rect.height();
    const qreal along = vertical ? rect.height() : rect.width();
    // Caps never overlap: on a very short control each takes at most half. Whole pixels keep
    // their inner edges sharp, so no seam shows against the middle.
    const qreal a = std::floor(qMin(capLength(first, across, vertical), along / 2));
    const qreal b = std::floor(qMin(capLength(last, across, vertical), along / 2));
    auto part = [&](qreal from, qreal length) {
        return vertical ? QRectF(rect.left(), rect.top() + from, rect.width(), length)
                        : QRectF(rect.left() + from, rect.top(), length, rect.height());
    };
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    // The middle reaches under the caps by a hair so no seam shows between the parts.
    if (mid && along - a - b > 0) {
        const qreal overlap = (a > 0 || b > 0) ? 0.5 : 0.0;
        mid->render(&painter, part(qMax(0.0, a - overlap), along - a - b + 2 * overlap));
    }
    if (first && a > 0)
        first->render(&painter, part(0, a));
    if (last && b > 0)
        last->render(&painter, part(along - b, b));
    painter.restore();
}

void DrawnImages::drawFocusRing(QPainter& painter, const QRectF& rect, const QPalette& palette, qreal radius)
{
    // The highlight ring with a light line inside it, so it shows on dark and light faces alike.
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette.color(QPalette::Highlight), 2.0));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius, radius);
    painter.setPen(QPen(QColor(255, 255, 255, 230), 1.5));
    painter.drawRoundedRect(rect.adjusted(2.75, 2.75, -2.75, -2.75), qMax(0.0, radius - 2),
                            qMax(0.0, radius - 2));
    painter.restore();
}
