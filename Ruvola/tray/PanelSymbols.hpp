#pragma once

#include <QColor>
#include <QFont>

#include <optional>
#include <string>
#include <vector>

class QPainter;
class QPointF;
class QRectF;

/// The status panel's symbols, drawn from shapes of our own or the desktop's icon theme, and the
/// measures and inks its pieces share.
namespace ruvola::panel {

/// Horizontal measures shared by the pieces so that their texts line up.
namespace metrics {
/// The selection highlight stops this far short of the panel's edges.
constexpr int inset = 5;
/// From the highlight's edge to the first thing drawn in a row.
constexpr int padding = 9;
constexpr int indent = 16;
constexpr int symbol = 16;
constexpr int symbolGap = 6;
constexpr int content = inset + padding;
/// Where a top-level row's label starts when it has a symbol.
constexpr int label = content + symbol + symbolGap;
} // namespace metrics

/// `font` made `factor` times as large, however its size was given.
QFont scaledFont(QFont font, double factor);

/// Draws the symbol called `name` (e.g. "square.grid.3x2.fill") filling `box` in `ink`, from
/// shapes of our own or the desktop's icon theme; false when neither knows the name.
bool drawSymbol(QPainter& painter, const std::string& name, const QRectF& box, const QColor& ink);
bool canDrawSymbol(const std::string& name);
/// The first of `symbol` and then `fallbacks` that can be drawn.
std::optional<std::string> pickSymbol(const std::optional<std::string>& symbol,
                                      const std::vector<std::string>& fallbacks);

/// `color` with its alpha channel set to `alpha` (0…255).
QColor withAlpha(QColor color, int alpha);
/// A check mark on the symbols' 16-unit grid, as the painter is scaled.
void drawCheck(QPainter& p, const QColor& ink);
/// A disclosure chevron centred on `centre`, pointing down or right.
void drawChevron(QPainter& p, const QPointF& centre, bool down, const QColor& ink);

} // namespace ruvola::panel
