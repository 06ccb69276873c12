#include "Ruvola/pad/KeyArt.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <QImage>
#include <QTransform>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <tuple>

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
                 {"#12345g", standard, white}};
    for (const auto& c : cases) {
        const QImage image = upright("", "H", c.color);
        EXPECT_EQ(image.pixel(0, 0), c.background) << c.color.value_or("none");
        EXPECT_FALSE(extent(image, [&](QRgb p) { return difference(p, c.ink) <= 8; }).isEmpty())
            << c.color.value_or("none");
    }
}

TEST(KeyArt, TextTooWideForOneLineWrapsOrShrinksToFitCentred) {
    // The rows to look at: the icon's, the name's under an icon, or the whole key.
    for (const auto& [icon, name, top] : {std::tuple{"WWWWW", "", 0},
                                          {"\U0001F3B5", "Screenshots", 44},
                                          {"", "Lights Off", 0},
                                          {"", "Brightness Up", 0}}) {
        const QImage rows = upright(icon, name).copy(0, top, 64, 64 - top);
        const QRect ink = extent(rows, [](QRgb p) { return qGray(p) > 128; });
        EXPECT_TRUE(!ink.isEmpty() && ink.width() <= 58) << name;
        EXPECT_NEAR(ink.left(), 63 - ink.right(), 2) << name;
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
    // Every starter key can be drawn, small enough for the pad.
    for (const PadBinding& binding : starterBindings::file().bindings) {
        if (binding.control.kind() == PadControl::Kind::key) {
            const auto bytes = KeyArt::jpeg(binding, 90);
            EXPECT_TRUE(bytes && bytes->size() < 3072u) << binding.name;
        }
    }
    for (const int rotation : {0, 90}) {
        const auto bytes = KeyArt::jpeg(key("\U0001F3B5", "Play"), rotation);
        ASSERT_TRUE(bytes);
        const QImage decoded = QImage::fromData(bytes->data(), static_cast<int>(bytes->size()));
        ASSERT_EQ(decoded.size(), QSize(64, 64));
        EXPECT_LT(distance(decoded, rotation), 4) << rotation;
        EXPECT_GT(distance(decoded, rotation + 180), 10) << rotation;
    }
}

} // namespace
} // namespace ruvola
