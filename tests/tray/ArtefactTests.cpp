// Writes the pictures a person checks by eye: the starter keys as the pad receives them, four
// times their size, and the tray mark at eight times.
#include "Ruvola/pad/KeyArt.hpp"
#include "Ruvola/tray/StatusIconArt.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

namespace ruvola {
namespace {

const QString folder = QStringLiteral(RUVOLA_ARTEFACTS_DIR);

TEST(Artefacts, StarterKeysAndTrayMark) {
    ASSERT_TRUE(QDir().mkpath(folder));
    const BindingsFile& starter = starterBindings::file();
    for (const int rotation : {0, starter.settings.rotation}) {
        // Laid out as on the pad: keys 1–3 on top, 4–6 below.
        QImage sheet(3 * 256, 2 * 256, QImage::Format_RGB32);
        sheet.fill(Qt::gray);
        QPainter painter(&sheet);
        for (const PadBinding& binding : starter.bindings) {
            if (binding.control.kind() == PadControl::Kind::key && binding.apps.empty()) {
                const auto bytes = KeyArt::jpeg(binding, rotation);
                ASSERT_TRUE(bytes);
                const int index = binding.control.number() - 1;
                painter.drawImage(QRect(index % 3 * 256, index / 3 * 256, 248, 248),
                                  QImage::fromData(bytes->data(), static_cast<int>(bytes->size())));
            }
        }
        painter.end();
        EXPECT_TRUE(sheet.save(folder + QStringLiteral("/keys-rotation%1.png").arg(rotation)));
    }
    using StatusIconArt::Mood;
    EXPECT_TRUE(StatusIconArt::image(Mood::connected, 8).save(folder + "/tray-connected.png"));
    EXPECT_TRUE(StatusIconArt::image(Mood::searching, 8).save(folder + "/tray-searching.png"));
}

} // namespace
} // namespace ruvola
