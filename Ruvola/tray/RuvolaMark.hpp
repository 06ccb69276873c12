#pragma once

#include <QPainterPath>

class QRectF;

/// Ruvola's mark: a bowl with a rim and a foot, and a pair of chopsticks resting in it. Drawn
/// upright on the largest square that fits the rectangle, centred.
namespace ruvola::RuvolaMark {

/// The whole mark as one path, to be filled with the nonzero rule.
QPainterPath path(const QRectF& rect);

/// The chopsticks alone, already stroked into an outline.
QPainterPath chopsticks(const QRectF& rect);

} // namespace ruvola::RuvolaMark
