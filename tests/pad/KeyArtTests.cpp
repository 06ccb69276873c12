#include "Ruvola/pad/KeyArt.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <QImage>
#include <QTransform>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace ruvola {
namespace {

PadBinding key(std::optional<std::string> icon, std::string name) {
    return PadBinding{.control = PadControl::key(1), .name = name, .icon = icon};
}

QImage upright(const std::string& icon, const std::string& name,
               const std::optional<std::string>& color = std::nullopt) {
    return KeyArt::drawUpright(icon, name, color).value_or(QImage());
}

// The smallest rectangle holding every pixel that passes `test`.
QRect extent(const QImage& image, const std::function<bool(QRgb)>& test) {
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            found |= test(image.pixel(x, y)) ? QRect(x, y, 1, 1) : QRect();
        }
    }
    return found;
}

int difference(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

// Emoji colours; text in white or grey ink is never this far from grey.
bool saturated(QRgb p) {
    return std::max({qRed(p), qGreen(p), qBlue(p)}) - std::min({qRed(p), qGreen(p), qBlue(p)}) > 24;
}

TEST(KeyArt, OnlySpacesAndTabsCountAsBlank) {
    EXPECT_FALSE(KeyArt::jpeg(key(std::nullopt, ""), 0));
    EXPECT_FALSE(KeyArt::jpeg(key(" ", " \t "), 90));
    EXPECT_TRUE(KeyArt::jpeg(key(std::nullopt, "\n\n"), 0));
    const QImage bare = upright("", "\n\n", "#336699");
    EXPECT_TRUE(extent(bare, [](QRgb p) { return p != qRgb(0x33, 0x66, 0x99); }).isEmpty());
}

TEST(KeyArt, InkContrastsWithTheBackground) {
    const QRgb standard = qRgb(0x1c, 0x1c, 0x1e), dark = qRgb(17, 17, 17),
               white = qRgb(255, 255, 255);
    const struct {
        std::optional<std::string> color;
        QRgb background, ink;
    } cases[] = {{std::nullopt, standard, white},
                 {"#FFFFFF", white, dark},
                 {"#777777", qRgb(0x77, 0x77, 0x77), white},
                 {"#bbbbbb", qRgb(0xbb, 0xbb, 0xbb), dark},
                 {"#ff0000", qRgb(255, 0, 0), white},
                 {"#00FF00", qRgb(0, 255, 0), dark},
                 {"#12345", standard, white},
                 {"red", standard, white},
                 {"#12345g", standard, white},
                 {"#0x1234", standard, white}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.color.value_or("no colour"));
        const QImage image = upright("", "H", c.color);
        EXPECT_EQ(image.pixel(0, 0), c.background);
        EXPECT_FALSE(extent(image, [&](QRgb p) { return difference(p, c.ink) <= 8; }).isEmpty());
    }
}

TEST(KeyArt, EmojiInColourCentredAboveTheName) {
    const auto centre = [](const QRect& r) { return (r.top() + r.bottom() + 1) / 2.0; };
    for (const std::string icon : {"\U0001F3B5", "\u23EF\uFE0F"}) {
        SCOPED_TRACE(icon);
        const QRect withName = extent(upright(icon, "Play"), saturated);
        const QRect alone = extent(upright(icon, ""), saturated);
        EXPECT_GE(alone.height(), 20);
        EXPECT_EQ(alone.size(), withName.size());
        EXPECT_NEAR(centre(withName), 26, 1);
        EXPECT_NEAR(centre(alone) - centre(withName), 7, 0.5);
    }
}

TEST(KeyArt, WideTextShrinksToFitCentred) {
    // The rows to look at: the icon's, the name's under an icon, or the whole key.
    for (const auto& [icon, name, top] :
         {std::tuple{"WWWWW", "", 0}, {"\U0001F3B5", "Screenshots", 44}, {"", "Lights Off", 0}}) {
        SCOPED_TRACE(std::string(icon) + "|" + name);
        const QImage rows = upright(icon, name).copy(0, top, 64, 64 - top);
        const QRect ink = extent(rows, [](QRgb p) { return qGray(p) > 128; });
        EXPECT_LE(ink.width(), 58);
        EXPECT_NEAR(ink.left(), 63 - ink.right(), 2);
    }
}

TEST(KeyArt, WrapTakesTheLargestSizeThatFits) {
    const QString many = "one two three four five six seven eight nine ten eleven twelve";
    const QString word = "Pneumonoultramicroscopicsilicovolcanoconiosis";
    const struct {
        QString name;
        std::vector<QString> lines;
        int size;
    } cases[] = {{"Aa Bb Cc Dd", {"Aa Bb", "Cc Dd"}, 16},
                 {"Aa\nBb", {"Aa Bb"}, 16},
                 {"Brightness Up", {"Brightness", "Up"}, 11},
                 {many, {many}, 8},
                 {word, {word}, 8},
                 {"\n", {}, 16}};
    for (const auto& c : cases) {
        const KeyArt::Wrapped wrapped = KeyArt::wrap(c.name);
        EXPECT_EQ(wrapped.lines, c.lines) << c.name.toStdString();
        EXPECT_EQ(wrapped.size, c.size) << c.name.toStdString();
    }
}

TEST(KeyArt, JpegIsTheUprightPictureTurnedClockwise) {
    const QImage picture = upright("\U0001F3B5", "Play");
    // Mean channel difference from the picture turned clockwise by `angle` on screen.
    const auto distance = [&](const QImage& image, int angle) {
        const QImage turned = picture.transformed(QTransform().rotate(angle));
        long total = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                total += difference(image.pixel(x, y), turned.pixel(x, y));
            }
        }
        return static_cast<double>(total) / (64 * 64);
    };
    for (const int rotation : {0, 90}) {
        const auto bytes = KeyArt::jpeg(key("\U0001F3B5", "Play"), rotation);
        ASSERT_TRUE(bytes);
        EXPECT_LT(bytes->size(), 3072u);
        const QImage decoded = QImage::fromData(bytes->data(), static_cast<int>(bytes->size()));
        ASSERT_EQ(decoded.size(), QSize(64, 64));
        EXPECT_LT(distance(decoded, rotation), 4) << rotation;
        EXPECT_GT(distance(decoded, rotation + 180), 10) << rotation;
    }
}

} // namespace
} // namespace ruvola
