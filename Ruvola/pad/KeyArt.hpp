#pragma once

#include <QImage>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QColor;
class QPainter;
class QPointF;
class QTextLayout;

namespace ruvola {
struct PadBinding;
}

/// The picture a screen key shows: drawn from a binding's icon, name and colour, and encoded as
/// the JPEG the pad takes. Pure functions; they need a QGuiApplication for fonts.
namespace ruvola::KeyArt {

/// The key's whole picture, turned clockwise by `rotation` degrees, as JPEG bytes; nothing when
/// the key has nothing to show (the key is then cleared) or an encoding step failed.
std::optional<std::vector<std::uint8_t>> jpeg(const PadBinding& binding, int rotation);

/// The unrotated 64×64 picture. `color` is "#rrggbb"; anything else means the default
/// background.
std::optional<QImage> drawUpright(const std::string& icon, const std::string& name,
                                  const std::optional<std::string>& color);

struct Wrapped {
    std::vector<QString> lines;
    int size = 0;
};

/// Breaks a name shown without an icon into at most three lines at the largest size from 16
/// down to 8 that fits; otherwise the whole name on one line at 8.
Wrapped wrap(const QString& name);

/// WCAG relative luminance of an sRGB colour with components in 0…1.
double luminance(double r, double g, double b);

/// One line of text typeset in the key font at a pixel size, with its typographic bounds.
class Line final {
public:
    Line(const QString& text, int size);
    ~Line();
    Line(Line&&) noexcept;
    Line& operator=(Line&&) noexcept;

    double width() const { return width_; }
    double ascent() const;
    /// Below the baseline, counted positive.
    double descent() const;

    /// Draws the line in `ink` with the left end of its baseline at `baseline`.
    void draw(QPainter& painter, const QPointF& baseline, const QColor& ink) const;

private:
    struct Glyphs;
    // Fitting needs only widths; the glyphs cost as much again, so they are taken on first use.
    const Glyphs& glyphs() const;

    std::unique_ptr<QTextLayout> layout_;
    mutable std::unique_ptr<Glyphs> glyphs_;
    double width_ = 0;
};

/// The family the key text is set in: the desktop's general font when it has a real semibold
/// face, else a common family that does.
QString fontFamily();

} // namespace ruvola::KeyArt
