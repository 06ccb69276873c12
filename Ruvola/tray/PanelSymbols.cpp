#include "Ruvola/tray/PanelSymbols.hpp"

#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QRectF>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <string_view>
#include <utility>

namespace ruvola::panel {
namespace {

// Shapes are drawn on a 16×16 grid into a layer of their own, so that cut-outs (the notch of a
// filled dial, the mark in a filled triangle) clear to transparency rather than to a colour.
using Glyph = void (*)(QPainter&, const QColor&, bool filled);

void stroke(QPainter& p, const QColor& ink, double width = 1.3) {
    p.setPen(QPen(ink, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
}

void fill(QPainter& p, const QColor& ink) {
    p.setPen(Qt::NoPen);
    p.setBrush(ink);
}

// Draws `draw` in ink, or cut out of what is there when `cut`.
template <typename Draw>
void mark(QPainter& p, bool cut, Draw draw) {
    if (cut) {
        p.setCompositionMode(QPainter::CompositionMode_Clear);
    }
    draw();
    p.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void shape(QPainter& p, const QColor& ink, bool filled, const QPainterPath& path) {
    filled ? fill(p, ink) : stroke(p, ink);
    p.drawPath(path);
}

QPainterPath roundedRect(const QRectF& rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

QPainterPath disc() {
    QPainterPath path;
    path.addEllipse(QRectF(1.5, 1.5, 13, 13));
    return path;
}

void grid(QPainter& p, const QColor& ink, bool filled, int columns, int rows) {
    constexpr double gapSize = 1.5;
    const double cell = columns == 3 ? 4.0 : 6.25;
    const double left = (16 - columns * cell - (columns - 1) * gapSize) / 2;
    const double top = (16 - rows * cell - (rows - 1) * gapSize) / 2;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const QRectF key(left + column * (cell + gapSize), top + row * (cell + gapSize), cell,
                             cell);
            if (filled) {
                fill(p, ink);
                p.drawRoundedRect(key, 1, 1);
            } else {
                stroke(p, ink, 1.1);
                p.drawRoundedRect(key.adjusted(0.55, 0.55, -0.55, -0.55), 0.8, 0.8);
            }
        }
    }
}

// A knob: a disc with a pointer at `degrees` clockwise from straight up.
void dial(QPainter& p, const QColor& ink, bool filled, double degrees) {
    shape(p, ink, filled, disc());
    const double radians = degrees * std::numbers::pi / 180;
    const QPointF tip(8 + 4 * std::sin(radians), 8 - 4 * std::cos(radians));
    mark(p, filled, [&] {
        stroke(p, ink, 1.7);
        p.drawLine(QPointF(8, 8), tip);
    });
}

void check(QPainter& p, const QColor& ink, double scale, bool cut) {
    mark(p, cut, [&] {
        stroke(p, ink, 1.8);
        const QPointF centre(8, 8);
        const auto at = [&](double x, double y) { return centre + QPointF(x, y) * scale; };
        p.drawPolyline(QPolygonF({at(-5, 0.5), at(-1.5, 4), at(5, -3.5)}));
    });
}

void cross(QPainter& p, const QColor& ink, double half, bool cut) {
    mark(p, cut, [&] {
        stroke(p, ink, 1.7);
        p.drawLine(QPointF(8 - half, 8 - half), QPointF(8 + half, 8 + half));
        p.drawLine(QPointF(8 + half, 8 - half), QPointF(8 - half, 8 + half));
    });
}

// A vertical bar with a dot: "!" when the dot is below, "i" when above.
void exclamation(QPainter& p, const QColor& ink, double top, double bottom, double dot, bool cut) {
    mark(p, cut, [&] {
        stroke(p, ink, 1.7);
        p.drawLine(QPointF(8, top), QPointF(8, bottom));
        fill(p, ink);
        p.drawEllipse(QPointF(8, dot), 1.0, 1.0);
    });
}

void plusOrMinus(QPainter& p, const QColor& ink, bool plus, double half, bool cut) {
    mark(p, cut, [&] {
        stroke(p, ink, 1.7);
        p.drawLine(QPointF(8 - half, 8), QPointF(8 + half, 8));
        if (plus) {
            p.drawLine(QPointF(8, 8 - half), QPointF(8, 8 + half));
        }
    });
}

void speaker(QPainter& p, const QColor& ink, bool filled, int waves) {
    QPainterPath body;
    body.addPolygon(
        QPolygonF({{1.5, 5.8}, {4.3, 5.8}, {8, 2.5}, {8, 13.5}, {4.3, 10.2}, {1.5, 10.2}}));
    body.closeSubpath();
    shape(p, ink, filled, body);
    stroke(p, ink);
    for (int wave = 1; wave <= waves; ++wave) {
        const double radius = 1.2 + 2.3 * wave;
        p.drawArc(QRectF(6 - radius, 8 - radius, 2 * radius, 2 * radius), -50 * 16, 100 * 16);
    }
}

const std::map<std::string_view, Glyph>& glyphs() {
    static const std::map<std::string_view, Glyph> table = {
        {"square.grid.3x2", [](QPainter& p, const QColor& c, bool f) { grid(p, c, f, 3, 2); }},
        {"square.grid.2x2", [](QPainter& p, const QColor& c, bool f) { grid(p, c, f, 2, 2); }},
        {"square", [](QPainter& p, const QColor& c,
                      bool f) { shape(p, c, f, roundedRect(QRectF(2, 2, 12, 12), 3)); }},
        {"app", [](QPainter& p, const QColor& c,
                   bool f) { shape(p, c, f, roundedRect(QRectF(1.5, 1.5, 13, 13), 3.5)); }},
        {"circle", [](QPainter& p, const QColor& c, bool f) { shape(p, c, f, disc()); }},
        {"capsule", [](QPainter& p, const QColor& c,
                       bool f) { shape(p, c, f, roundedRect(QRectF(1, 4.5, 14, 7), 3.5)); }},
        {"dial", [](QPainter& p, const QColor& c, bool f) { dial(p, c, f, 0); }},
        {"dial.low", [](QPainter& p, const QColor& c, bool f) { dial(p, c, f, -60); }},
        {"dial.medium", [](QPainter& p, const QColor& c, bool f) { dial(p, c, f, 0); }},
        {"dial.high", [](QPainter& p, const QColor& c, bool f) { dial(p, c, f, 60); }},
        {"checkmark", [](QPainter& p, const QColor& c, bool) { check(p, c, 1.1, false); }},
        {"checkmark.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             check(p, c, 0.7, f);
         }},
        {"xmark", [](QPainter& p, const QColor& c, bool) { cross(p, c, 4.5, false); }},
        {"xmark.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             cross(p, c, 2.6, f);
         }},
        {"plus", [](QPainter& p, const QColor& c, bool) { plusOrMinus(p, c, true, 5.5, false); }},
        {"minus", [](QPainter& p, const QColor& c, bool) { plusOrMinus(p, c, false, 5.5, false); }},
        {"plus.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             plusOrMinus(p, c, true, 3.3, f);
         }},
        {"minus.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             plusOrMinus(p, c, false, 3.3, f);
         }},
        {"exclamationmark.triangle",
         [](QPainter& p, const QColor& c, bool f) {
             QPainterPath triangle;
             triangle.addPolygon(QPolygonF({{8, 1.8}, {15, 14.2}, {1, 14.2}}));
             triangle.closeSubpath();
             f ? fill(p, c) : stroke(p, c);
             p.setPen(QPen(c, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
             p.drawPath(triangle);
             exclamation(p, c, 6.3, 9.4, 11.8, f);
         }},
        {"exclamationmark.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             exclamation(p, c, 4.6, 8.6, 11.2, f);
         }},
        {"info.circle",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, disc());
             exclamation(p, c, 7.4, 11.4, 4.8, f);
         }},
        {"play",
         [](QPainter& p, const QColor& c, bool f) {
             QPainterPath triangle;
             triangle.addPolygon(QPolygonF({{4, 2.5}, {13.5, 8}, {4, 13.5}}));
             triangle.closeSubpath();
             shape(p, c, f, triangle);
         }},
        {"pause",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, roundedRect(QRectF(3.5, 2.5, 3.2, 11), 1));
             shape(p, c, f, roundedRect(QRectF(9.3, 2.5, 3.2, 11), 1));
         }},
        {"stop", [](QPainter& p, const QColor& c,
                    bool f) { shape(p, c, f, roundedRect(QRectF(3, 3, 10, 10), 1.5)); }},
        {"bolt",
         [](QPainter& p, const QColor& c, bool f) {
             QPainterPath bolt;
             bolt.addPolygon(QPolygonF(
                 {{9.5, 1}, {3, 9.2}, {7.4, 9.2}, {6.5, 15}, {13, 6.8}, {8.6, 6.8}, {9.5, 1}}));
             shape(p, c, f, bolt);
         }},
        {"gearshape",
         [](QPainter& p, const QColor& c, bool) {
             fill(p, c);
             for (int tooth = 0; tooth < 8; ++tooth) {
                 p.save();
                 p.translate(8, 8);
                 p.rotate(45.0 * tooth);
                 p.drawRoundedRect(QRectF(-1.4, -7.4, 2.8, 3.6), 0.6, 0.6);
                 p.restore();
             }
             p.drawEllipse(QPointF(8, 8), 5.4, 5.4);
             mark(p, true, [&] { p.drawEllipse(QPointF(8, 8), 2.1, 2.1); });
         }},
        {"keyboard",
         [](QPainter& p, const QColor& c, bool f) {
             shape(p, c, f, roundedRect(QRectF(0.8, 3.3, 14.4, 9.4), 2));
             mark(p, f, [&] {
                 fill(p, c);
                 for (int row = 0; row < 2; ++row) {
                     for (int key = 0; key < 4; ++key) {
                         p.drawRect(QRectF(2.9 + 2.8 * key, 5.2 + 2.4 * row, 1.6, 1.4));
                     }
                 }
                 p.drawRect(QRectF(4.5, 10.1, 7, 1.3));
             });
         }},
        {"speaker", [](QPainter& p, const QColor& c, bool f) { speaker(p, c, f, 0); }},
        {"speaker.wave.1", [](QPainter& p, const QColor& c, bool f) { speaker(p, c, f, 1); }},
        {"speaker.wave.2", [](QPainter& p, const QColor& c, bool f) { speaker(p, c, f, 2); }},
        {"speaker.wave.3", [](QPainter& p, const QColor& c, bool f) { speaker(p, c, f, 3); }},
        {"speaker.slash",
         [](QPainter& p, const QColor& c, bool f) {
             speaker(p, c, f, 0);
             stroke(p, c);
             p.drawLine(QPointF(10, 5.5), QPointF(14.5, 10.5));
             p.drawLine(QPointF(14.5, 5.5), QPointF(10, 10.5));
         }},
        {"arrow.clockwise",
         [](QPainter& p, const QColor& c, bool) {
             stroke(p, c, 1.5);
             p.drawArc(QRectF(2.5, 3, 11, 11), 80 * 16, 290 * 16);
             fill(p, c);
             p.drawPolygon(QPolygonF({{7.2, 0.9}, {11.2, 3.4}, {7.2, 5.9}}));
         }},
        {"power",
         [](QPainter& p, const QColor& c, bool) {
             stroke(p, c, 1.6);
             p.drawArc(QRectF(2, 2.5, 12, 12), 125 * 16, -250 * 16);
             p.drawLine(QPointF(8, 1.5), QPointF(8, 7.5));
         }},
        {"moon",
         [](QPainter& p, const QColor& c, bool) {
             fill(p, c);
             p.drawEllipse(QRectF(1.5, 1.5, 13, 13));
             mark(p, true, [&] { p.drawEllipse(QRectF(6, -1, 12, 12)); });
         }},
    };
    return table;
}

// Names the desktop's icon theme may know for symbols that have no shape of our own.
const std::map<std::string_view, const char*>& themeNames() {
    static const std::map<std::string_view, const char*> table = {
        {"doc.text", "text-x-generic"},     {"folder", "folder"},
        {"globe", "applications-internet"}, {"terminal", "utilities-terminal"},
        {"magnifyingglass", "edit-find"},   {"trash", "user-trash"},
        {"pencil", "document-edit"},        {"link", "insert-link"},
        {"lock", "system-lock-screen"},     {"questionmark.circle", "help-about"},
        {"sun.max", "weather-clear"},       {"camera", "camera-photo"},
        {"mic", "audio-input-microphone"},  {"display", "video-display"},
        {"envelope", "mail-unread"},        {"calendar", "x-office-calendar"},
    };
    return table;
}

struct SymbolName {
    std::string_view base;
    bool filled = false;
};

SymbolName parse(std::string_view name) {
    constexpr std::string_view suffix = ".fill";
    if (name.size() > suffix.size() && name.ends_with(suffix)) {
        return {name.substr(0, name.size() - suffix.size()), true};
    }
    return {name, false};
}

QIcon themeIcon(std::string_view base) {
    const auto found = themeNames().find(base);
    if (found == themeNames().end() || !QIcon::hasThemeIcon(QString::fromLatin1(found->second))) {
        return {};
    }
    return QIcon::fromTheme(QString::fromLatin1(found->second));
}

} // namespace

QFont scaledFont(QFont font, double factor) {
    if (font.pointSizeF() > 0) {
        font.setPointSizeF(font.pointSizeF() * factor);
    } else {
        font.setPixelSize(std::max(1, static_cast<int>(std::lround(font.pixelSize() * factor))));
    }
    return font;
}

bool canDrawSymbol(const std::string& name) {
    const SymbolName parsed = parse(name);
    return glyphs().contains(parsed.base) || !themeIcon(parsed.base).isNull();
}

bool drawSymbol(QPainter& painter, const std::string& name, const QRectF& box, const QColor& ink) {
    const SymbolName parsed = parse(name);
    if (const auto glyph = glyphs().find(parsed.base); glyph != glyphs().end()) {
        // As many pixels as the symbol covers on the device, however the painter is scaled.
        const QTransform toDevice = painter.deviceTransform();
        const double ratio = std::max(1.0, std::hypot(toDevice.m11(), toDevice.m12()));
        QImage layer(static_cast<int>(std::ceil(box.width() * ratio)),
                     static_cast<int>(std::ceil(box.height() * ratio)),
                     QImage::Format_ARGB32_Premultiplied);
        layer.setDevicePixelRatio(ratio);
        layer.fill(Qt::transparent);
        QPainter onLayer(&layer);
        onLayer.setRenderHint(QPainter::Antialiasing);
        onLayer.scale(box.width() / 16, box.height() / 16);
        glyph->second(onLayer, ink, parsed.filled);
        onLayer.end();
        painter.drawImage(box.topLeft(), layer);
        return true;
    }
    const QIcon icon = themeIcon(parsed.base);
    if (icon.isNull()) {
        return false;
    }
    icon.paint(&painter, box.toAlignedRect());
    return true;
}

std::optional<std::string> pickSymbol(const std::optional<std::string>& symbol,
                                      const std::vector<std::string>& fallbacks) {
    if (symbol && canDrawSymbol(*symbol)) {
        return symbol;
    }
    for (const std::string& fallback : fallbacks) {
        if (canDrawSymbol(fallback)) {
            return fallback;
        }
    }
    return std::nullopt;
}

QColor withAlpha(QColor color, int alpha) {
    color.setAlpha(alpha);
    return color;
}

void drawChevron(QPainter& p, const QPointF& centre, bool down, const QColor& ink) {
    constexpr double half = 3.2;
    const QPolygonF arrow =
        down ? QPolygonF({centre + QPointF(-half, -half / 2), centre + QPointF(0, half / 2),
                          centre + QPointF(half, -half / 2)})
             : QPolygonF({centre + QPointF(-half / 2, -half), centre + QPointF(half / 2, 0),
                          centre + QPointF(-half / 2, half)});
    stroke(p, ink, 1.5);
    p.drawPolyline(arrow);
}

void drawCheck(QPainter& p, const QColor& ink) {
    check(p, ink, 1.0, false);
}

} // namespace ruvola::panel
