#include "Ruvola/tray/StatusIconArt.hpp"

#include "Ruvola/tray/RuvolaMark.hpp"

#include <QPainter>
#include <QPixmap>

namespace ruvola::StatusIconArt {
namespace {

constexpr int side = 18;
constexpr double inset = 1.62;
constexpr float searchingAlpha = 0.35f;

} // namespace

QImage image(Mood mood, int scale) {
    QImage picture(side * scale, side * scale, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);

    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor ink(Qt::black);
    ink.setAlphaF(mood == Mood::connected ? 1.0f : searchingAlpha);
    painter.setBrush(ink);
    const QRectF area = QRectF(0, 0, side, side).adjusted(inset, inset, -inset, -inset);
    painter.drawPath(RuvolaMark::path(area));
    return picture;
}

QIcon icon(Mood mood) {
    QIcon result;
    for (const int scale : {1, 2}) {
        result.addPixmap(QPixmap::fromImage(image(mood, scale)));
    }
    result.setIsMask(true);
    return result;
}

} // namespace ruvola::StatusIconArt
