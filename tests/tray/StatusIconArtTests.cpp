#include "Ruvola/tray/RuvolaMark.hpp"
#include "Ruvola/tray/StatusIconArt.hpp"

#include <QImage>
#include <QRectF>
#include <gtest/gtest.h>

namespace ruvola {
namespace {

using StatusIconArt::Mood;

constexpr int scale = 8;

TEST(StatusIconArt, MarkStandsUprightInTheInsetSquare) {
    const QImage image = StatusIconArt::image(Mood::connected, scale);
    ASSERT_EQ(image.size(), QSize(18 * scale, 18 * scale));
    const QRectF inset(1.62, 1.62, 14.76, 14.76);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                ASSERT_TRUE(inset.contains(QPointF(x + 0.5, y + 0.5) / scale)) << x << "," << y;
            }
        }
    }
    // Points of the mark's square, y up: foot, bowl, rim, the sticks' tips and where a stick
    // dips into the bowl, then the empty corners.
    const struct {
        double x, y;
        int alpha;
    } points[] = {{0.5, 0.13, 255}, {0.5, 0.3, 255},   {0.5, 0.5, 255},
                  {0.8, 0.94, 255}, {0.94, 0.82, 255}, {0.37, 0.45, 255},
                  {0.5, 0.87, 0},   {0.2, 0.9, 0},     {0.2, 0.1, 0}};
    for (const auto& p : points) {
        const QPointF at = inset.bottomLeft() + QPointF(p.x, -p.y) * inset.width();
        EXPECT_EQ(qAlpha(image.pixel((at * scale).toPoint())), p.alpha) << p.x << "," << p.y;
    }
}

TEST(StatusIconArt, SearchingOnlyFadesTheInk) {
    const QImage connected = StatusIconArt::image(Mood::connected, scale);
    const QImage searching = StatusIconArt::image(Mood::searching, scale);
    for (int y = 0; y < connected.height(); ++y) {
        for (int x = 0; x < connected.width(); ++x) {
            const QRgb faded = searching.pixel(x, y);
            ASSERT_EQ(faded & 0xffffff, 0u);
            ASSERT_NEAR(qAlpha(faded), qAlpha(connected.pixel(x, y)) * 0.35, 1) << x << "," << y;
        }
    }
    const QIcon icon = StatusIconArt::icon(Mood::searching);
    EXPECT_TRUE(icon.isMask());
    EXPECT_EQ(icon.availableSizes(), (QList<QSize>{QSize(18, 18), QSize(36, 36)}));
}

TEST(RuvolaMark, KeepsItsProportionsCentredInTheRectangle) {
    const QRectF square(100, 0, 100, 100);
    const QRectF mark = RuvolaMark::path(square).boundingRect();
    EXPECT_EQ(RuvolaMark::path(QRectF(0, 0, 300, 100)).boundingRect(), mark);
    EXPECT_EQ(RuvolaMark::path(QRectF(100, -50, 100, 200)).boundingRect(), mark);
    // Round caps 0.085 wide reach half that beyond the sticks' ends: at the top, near the left.
    const QRectF sticks = RuvolaMark::chopsticks(square).boundingRect();
    EXPECT_NEAR(sticks.left(), 100 + 36 - 4.25, 0.01);
    EXPECT_NEAR(sticks.top(), 100 - 95 - 4.25, 0.01);
}

} // namespace
} // namespace ruvola
