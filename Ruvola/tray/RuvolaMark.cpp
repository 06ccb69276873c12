#include "Ruvola/tray/RuvolaMark.hpp"

#include <QPainterPathStroker>
#include <QPolygonF>
#include <QRectF>
#include <QTransform>

#include <algorithm>

namespace ruvola::RuvolaMark {
namespace {

constexpr double stickWidth = 0.085;

// The mark is designed in a unit square with y pointing up; Qt's y points down, so the square
// is flipped onto its place.
QTransform placement(const QRectF& rect) {
    const double s = std::min(rect.width(), rect.height());
    const QPointF centre = rect.center();
    return QTransform(s, 0, 0, -s, centre.x() - s / 2, centre.y() + s / 2);
}

QPainterPath sticks(const QTransform& transform, double s) {
    QPainterPath lines;
    lines.moveTo(0.36, 0.44);
    lines.lineTo(0.8, 0.95);
    lines.moveTo(0.5, 0.44);
    lines.lineTo(0.95, 0.83);
    QPainterPathStroker stroker;
    stroker.setWidth(stickWidth * s);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    stroker.setMiterLimit(1);
    return stroker.createStroke(transform.map(lines));
}

// Twice the signed area of the first closed outline: its sign says which way the path winds.
double winding(const QPainterPath& path) {
    const QList<QPolygonF> outlines = path.toSubpathPolygons();
    if (outlines.isEmpty()) {
        return 0;
    }
    const QPolygonF& points = outlines.front();
    double area = 0;
    for (qsizetype i = 0; i < points.size(); ++i) {
        const QPointF& a = points[i];
        const QPointF& b = points[(i + 1) % points.size()];
        area += a.x() * b.y() - b.x() * a.y();
    }
    return area;
}

} // namespace

QPainterPath chopsticks(const QRectF& rect) {
    return sticks(placement(rect), std::min(rect.width(), rect.height()));
}

QPainterPath path(const QRectF& rect) {
    const QTransform transform = placement(rect);

    QPainterPath bowl;
    bowl.moveTo(0.1, 0.5);
    bowl.cubicTo(0.1, 0.29, 0.28, 0.15, 0.5, 0.15);
    bowl.cubicTo(0.72, 0.15, 0.9, 0.29, 0.9, 0.5);
    bowl.closeSubpath();

    QPainterPath body = bowl;
    body.addRoundedRect(QRectF(0.05, 0.47, 0.9, 0.09), 0.045, 0.045);
    body.addRoundedRect(QRectF(0.36, 0.08, 0.28, 0.1), 0.03, 0.03);

    const QPainterPath placed = transform.map(body);
    QPainterPath mark = chopsticks(rect);
    // The stroker may wind the sticks against the bowl; the nonzero fill would then cut them out
    // where they overlap it.
    if ((winding(mark) < 0) != (winding(placed) < 0)) {
        mark = mark.toReversed();
    }
    mark.addPath(placed);
    mark.setFillRule(Qt::WindingFill);
    return mark;
}

} // namespace ruvola::RuvolaMark
