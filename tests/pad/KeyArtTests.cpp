#include "Ruvola/pad/KeyArt.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <QImage>
#include <QTransform>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace ruvola {
namespace {

PadBinding key(std::optional<std::string> icon, std::string name) {
    return PadBinding{.control = PadControl::key(1), .name = name, .icon = icon};
}

int difference(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

bool anyPixelNear(const QImage& image, QRgb colour) {
    for (int i = 0; i < 64 * 64; ++i) {
        if (difference(image.pixel(i % 64, i / 64), colour) <= 8) {
            return true;
        }
    }
    return false;
}

TEST(KeyArt, InkContrastsWithTheBackground) {
    const QRgb standard = qRgb(0x1c, 0x1c, 0x1e), dark = qRgb(17, 17, 17),
               white = qRgb(255, 255, 255);
    const struct {
        std::optional<std::string> color;
        QRgb background, ink;
    } cases[] = {{std::nullopt, standard, white},
                 {"#777777", qRgb(0x77, 0x77, 0x77), white},
                 {"#bbbbbb", qRgb(0xbb, 0xbb, 0xbb), dark},
                 {"#12345g", standard, white}};
    for (const auto& c : cases) {
        const QImage image = KeyArt::drawUpright("", "H", c.color).value_or(QImage());
        EXPECT_EQ(image.pixel(0, 0), c.background) << c.color.value_or("none");
        EXPECT_TRUE(anyPixelNear(image, c.ink)) << c.color.value_or("none");
    }
}

TEST(KeyArt, JpegIsTheUprightPictureTurnedClockwise) {
    const QImage picture = KeyArt::drawUpright("\U0001F3B5", "Play", {}).value_or(QImage());
    // Mean channel difference from the picture turned clockwise by `angle` on screen.
    const auto distance = [&](const QImage& image, int angle) {
        const QImage turned = picture.transformed(QTransform().rotate(angle));
        long total = 0;
        for (int i = 0; i < 64 * 64; ++i) {
            total += difference(image.pixel(i % 64, i / 64), turned.pixel(i % 64, i / 64));
        }
        return static_cast<double>(total) / (64 * 64);
    };
    // Only spaces and tabs are blank; every starter key can be drawn, small enough for the pad.
    EXPECT_FALSE(KeyArt::jpeg(key(" ", " \t "), 90));
    EXPECT_TRUE(KeyArt::jpeg(key(std::nullopt, "\n\n"), 0));
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

// A name takes up to three lines at the largest size; a fourth makes the text smaller.
TEST(KeyArt, NamesWrapOntoThreeLinesBeforeTheyShrink) {
    const auto wrapped = [](const char* name) {
        KeyArt::Wrapped result = KeyArt::wrap(name);
        return std::pair(result.lines, result.size);
    };
    using Lines = std::vector<QString>;
    EXPECT_EQ(wrapped("Mute The Mic"), std::pair(Lines{"Mute", "The", "Mic"}, 16));
    EXPECT_EQ(wrapped("Left Right Up Down"), std::pair(Lines{"Left", "Right Up", "Down"}, 14));
}

} // namespace
} // namespace ruvola
