#include "Ruvola/pad/KeyArt.hpp"

#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <QBuffer>
#include <QColor>
#include <QFont>
#include <QFontDatabase>
#include <QGlyphRun>
#include <QImageWriter>
#include <QPainter>
#include <QPointF>
#include <QRawFont>
#include <QRectF>
#include <QStringList>
#include <QTextLayout>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

namespace ruvola::KeyArt {
namespace {

constexpr int side = PadProtocol::keyImageSize;
constexpr std::uint32_t defaultBackground = 0x1c1c1e;
const QColor darkInk(17, 17, 17);
const QColor lightInk(255, 255, 255);
constexpr double darkBackgroundThreshold = 0.45;
constexpr int jpegQuality = 92;

constexpr double iconMaximumWidth = 56;
constexpr double textMaximumWidth = 58;
constexpr double iconCentreWithName = 26;
constexpr double iconCentreAlone = 33;
constexpr double nameCentre = 53;
constexpr double linePitch = 1.15;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::uint32_t backgroundRGB(const std::optional<std::string>& color) {
    if (!color || color->size() != 7 || color->front() != '#') {
        return defaultBackground;
    }
    const std::string_view digits = std::string_view(*color).substr(1);
    std::uint32_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return defaultBackground;
    }
    return value;
}

// The pieces of the text between whitespace characters, line breaks included.
QStringList wordsOf(const QString& text) {
    QStringList words;
    QString word;
    for (const QChar c : text) {
        if (!c.isSpace()) {
            word += c;
        } else if (!word.isEmpty()) {
            words.push_back(std::exchange(word, QString()));
        }
    }
    if (!word.isEmpty()) {
        words.push_back(word);
    }
    return words;
}

bool hasSemibold(const QString& family) {
    const QStringList styles = QFontDatabase::styles(family);
    for (const QString& style : styles) {
        if (QFontDatabase::weight(family, style) == QFont::DemiBold &&
            !QFontDatabase::italic(family, style)) {
            return true;
        }
    }
    return false;
}

QFont keyFont(int size) {
    QFont font(fontFamily());
    font.setWeight(QFont::DemiBold);
    font.setPixelSize(size);
    // Design advances, so that fitting doesn't depend on the hinting of the desktop.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

// Wide enough for any text, small enough for Qt's fixed-point layout.
constexpr double unlimitedWidth = 1e6;

// Text set on one line: a line break there shows as a space rather than ending the line.
QString oneLine(QString text) {
    for (QChar& c : text) {
        if (c == u'\n' || c == u'\r' || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator) {
            c = u' ';
        }
    }
    return text;
}

// The baseline, from the top, that puts the line's typographic centre `centre` pixels from the
// top.
double baselineFor(const Line& line, double centre) {
    return centre + (line.ascent() - line.descent()) / 2;
}

void drawCentred(QPainter& painter, const Line& line, double centre, const QColor& ink) {
    line.draw(painter, QPointF((side - line.width()) / 2, baselineFor(line, centre)), ink);
}

// The first size from `largest` down to `smallest` at which `text` is at most `maximum` wide,
// stepping by `step`; the smallest when none is.
Line fitted(const QString& text, int largest, int smallest, int step, double maximum) {
    Line line(text, largest);
    for (int size = largest; line.width() > maximum && size > smallest;) {
        size -= step;
        line = Line(text, size);
    }
    return line;
}

} // namespace

QString fontFamily() {
    static const QString family = [] {
        const QString general = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
        for (const QString& candidate :
             {general, QStringLiteral("Open Sans"), QStringLiteral("Noto Sans")}) {
            if (hasSemibold(candidate)) {
                return candidate;
            }
        }
        // Bold stands in for semibold.
        return general;
    }();
    return family;
}

struct Line::Glyphs {
    QList<QGlyphRun> runs;
    double ascent = 0;
    double descent = 0;
    // Where Qt puts the baseline below the layout's top.
    double layoutAscent = 0;
};

Line::Line(const QString& text, int size) : layout_(std::make_unique<QTextLayout>(oneLine(text))) {
    layout_->setFont(keyFont(size));
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout_->setTextOption(option);
    layout_->beginLayout();
    QTextLine line = layout_->createLine();
    if (line.isValid()) {
        line.setLineWidth(unlimitedWidth);
        line.setPosition(QPointF(0, 0));
        width_ = line.horizontalAdvance();
    }
    layout_->endLayout();
}

Line::~Line() = default;
Line::Line(Line&&) noexcept = default;
Line& Line::operator=(Line&&) noexcept = default;

const Line::Glyphs& Line::glyphs() const {
    if (glyphs_) {
        return *glyphs_;
    }
    glyphs_ = std::make_unique<Glyphs>();
    const QTextLine line = layout_->lineAt(0);
    if (!line.isValid()) {
        return *glyphs_;
    }
    glyphs_->layoutAscent = line.ascent();
    glyphs_->runs = layout_->glyphRuns();
    // Qt's line always counts the requested font, even when fallback fonts drew every glyph; the
    // bounds of the fonts actually used centre an emoji alone on its line.
    glyphs_->ascent = glyphs_->runs.isEmpty() ? line.ascent() : 0;
    glyphs_->descent = glyphs_->runs.isEmpty() ? line.descent() : 0;
    for (const QGlyphRun& run : glyphs_->runs) {
        glyphs_->ascent = std::max(glyphs_->ascent, run.rawFont().ascent());
        glyphs_->descent = std::max(glyphs_->descent, run.rawFont().descent());
    }
    return *glyphs_;
}

double Line::ascent() const {
    return glyphs().ascent;
}

double Line::descent() const {
    return glyphs().descent;
}

void Line::draw(QPainter& painter, const QPointF& baseline, const QColor& ink) const {
    const Glyphs& typeset = glyphs();
    painter.setPen(ink);
    // Drawing the runs rather than the layout spares Qt measuring the glyphs again.
    const QPointF origin(baseline.x(), baseline.y() - typeset.layoutAscent);
    for (const QGlyphRun& run : typeset.runs) {
        painter.drawGlyphRun(origin, run);
    }
}

double luminance(double r, double g, double b) {
    const auto linear = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(r) + 0.7152 * linear(g) + 0.0722 * linear(b);
}

Wrapped wrap(const QString& name) {
    const QStringList words = wordsOf(name);
    for (int size = 16; size >= 8; --size) {
        std::vector<QString> lines;
        QString current;
        double currentWidth = 0;
        bool fits = true;
        const auto close = [&] {
            if (!current.isEmpty()) {
                fits = fits && currentWidth <= textMaximumWidth;
                lines.push_back(current);
            }
        };
        for (const QString& word : words) {
            const bool first = current.isEmpty();
            const QString candidate = first ? word : current + u' ' + word;
            const double width = Line(candidate, size).width();
            if (width <= textMaximumWidth) {
                current = candidate;
                currentWidth = width;
            } else {
                close();
                current = word;
                currentWidth = first ? width : Line(word, size).width();
            }
        }
        close();
        if (fits && lines.size() <= 3) {
            return {std::move(lines), size};
        }
    }
    return {{name}, 8};
}

std::optional<QImage> drawUpright(const std::string& icon, const std::string& name,
                                  const std::optional<std::string>& color) {
    QImage image(side, side, QImage::Format_RGB32);
    if (image.isNull()) {
        return std::nullopt;
    }
    const std::uint32_t rgb = backgroundRGB(color);
    const QColor background(static_cast<int>((rgb >> 16) & 0xff),
                            static_cast<int>((rgb >> 8) & 0xff), static_cast<int>(rgb & 0xff));
    image.fill(background);
    const QColor& ink = luminance(background.redF(), background.greenF(), background.blueF()) >
                                darkBackgroundThreshold
                            ? darkInk
                            : lightInk;

    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing |
                           QPainter::SmoothPixmapTransform);
    const QString iconText = QString::fromStdString(icon);
    const QString nameText = QString::fromStdString(name);
    if (!iconText.isEmpty()) {
        const Line iconLine = fitted(iconText, 30, 10, 2, iconMaximumWidth);
        drawCentred(painter, iconLine, nameText.isEmpty() ? iconCentreAlone : iconCentreWithName,
                    ink);
        if (!nameText.isEmpty()) {
            drawCentred(painter, fitted(nameText, 11, 7, 1, textMaximumWidth), nameCentre, ink);
        }
    } else {
        const Wrapped wrapped = wrap(nameText);
        const double count = static_cast<double>(wrapped.lines.size());
        for (std::size_t i = 0; i < wrapped.lines.size(); ++i) {
            const double centre =
                side / 2.0 + wrapped.size * linePitch * (static_cast<double>(i) - (count - 1) / 2);
            drawCentred(painter, Line(wrapped.lines[i], wrapped.size), centre, ink);
        }
    }
    painter.end();
    return image;
}

std::optional<std::vector<std::uint8_t>> jpeg(const PadBinding& binding, int rotation) {
    const std::string icon(trimmed(binding.icon.value_or(std::string())));
    const std::string name(trimmed(binding.name));
    if (icon.empty() && name.empty()) {
        return std::nullopt;
    }
    const std::optional<QImage> upright = drawUpright(icon, name, binding.color);
    if (!upright) {
        return std::nullopt;
    }

    QImage turned(side, side, QImage::Format_RGB32);
    if (turned.isNull()) {
        return std::nullopt;
    }
    turned.fill(Qt::black);
    {
        QPainter painter(&turned);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.translate(side / 2.0, side / 2.0);
        // Qt's y axis points down, so a positive angle already turns clockwise on the key.
        painter.rotate(rotation);
        painter.drawImage(QRectF(-side / 2.0, -side / 2.0, side, side), *upright);
    }

    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly)) {
        return std::nullopt;
    }
    QImageWriter writer(&buffer, "jpg");
    writer.setQuality(jpegQuality);
    if (!writer.write(turned)) {
        return std::nullopt;
    }
    return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

} // namespace ruvola::KeyArt
