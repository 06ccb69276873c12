// Any bytes as a key image: framed into reports and written to the virtual pad, they come back
// whole, and decoding them never crashes whatever they hold.
#include "FuzzCheck.hpp"
#include "RuvolaCore/PadProtocol.hpp"
#include "fakes/VirtualPad.hpp"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

using namespace ruvola;
using fuzzing::check;

namespace {

struct Harness {
    testing::VirtualPad pad;
    std::unique_ptr<platform::HidManager> manager = pad.manager();
    platform::HidDevice* device = nullptr;
};

Harness* harness = nullptr;

void write(const PadProtocol::Report& report) {
    check(harness->device->write(report) == 0, "the pad takes every report");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication application(*argc, *argv);
    // The reader complains about every broken input; thousands a second drown the log.
    QLoggingCategory::setFilterRules("qt.gui.imageio*=false");
    harness = new Harness;
    harness->manager->start({{0x1500, 0x3001, PadProtocol::usagePage}},
                            [](platform::HidDevice& device) { harness->device = &device; }, {});
    QCoreApplication::processEvents();
    check(harness->device != nullptr, "the virtual pad is found");

    // Loads the JPEG reader once, so its lasting allocations aren't taken for a leak of an input.
    QImage sample(8, 8, QImage::Format_RGB32);
    sample.fill(Qt::red);
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    check(sample.save(&buffer, "JPEG"), "Qt writes JPEG");
    check(QImage::fromData(jpeg, "JPEG").width() == 8, "Qt reads JPEG");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> jpeg(data, size);
    const int key = 1 + static_cast<int>(size % 6);
    testing::VirtualPad& pad = harness->pad;
    pad.received.clear();
    pad.violations.clear();

    const auto reports = PadProtocol::keyImage(key, jpeg);
    const std::size_t chunks =
        (size + PadProtocol::outputReportSize - 1) / PadProtocol::outputReportSize;
    check(reports.size() == 1 + chunks, "a header, then one report per started 1024 bytes");
    for (const auto& report : reports) {
        write(report);
    }
    const std::string arrived = "BAT " + std::to_string(key) + " " + std::to_string(size);
    check(pad.received == std::vector<std::string>{arrived}, "the pad took one whole image");
    check(pad.lastImage == std::vector<std::uint8_t>(jpeg.begin(), jpeg.end()),
          "the pad put the bytes back together as sent");
    const bool decoded = pad.violations.empty();
    check(decoded || pad.violations == std::vector<std::string>{"key " + std::to_string(key) +
                                                                " image isn't a JPEG"},
          "the only fault of an image is not being a JPEG");

    write(PadProtocol::refresh());
    check(pad.key(key).has_value() == decoded, "a decoded image is shown after a refresh");
    write(PadProtocol::clearKey(key));
    write(PadProtocol::refresh());
    check(!pad.key(key).has_value(), "a cleared key shows nothing");
    return 0;
}
