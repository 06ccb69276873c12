#include "Ruvola/pad/KeyScreens.hpp"

#include "Ruvola/pad/KeyArt.hpp"
#include "Ruvola/pad/PadConnection.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <QTransform>

namespace ruvola {

namespace {

std::string signature(const PadBinding* binding, int rotation) {
    if (binding == nullptr) {
        return {};
    }
    return binding->icon.value_or("") + "|" + binding->name + "|" + binding->color.value_or("") +
           "|" + std::to_string(rotation);
}

} // namespace

void KeyScreens::update(PadConnection& pad, const BindingsFile& file,
                        std::span<const std::string> frontmost) {
    const int rotation = file.settings.rotation;
    rotation_ = rotation;
    bool changed = false;
    for (int key = 1; key <= 6; ++key) {
        const PadBinding* binding = file.binding(PadControl::key(key), frontmost);
        std::string wanted = signature(binding, rotation);
        const auto showing = screensShowing_.find(key);
        if (wanted == (showing == screensShowing_.end() ? "" : showing->second)) {
            continue;
        }
        std::vector<std::uint8_t>& picture = keyPictures_[static_cast<std::size_t>(key - 1)];
        picture.clear();
        if (binding != nullptr) {
            if (auto jpeg = KeyArt::jpeg(*binding, rotation)) {
                picture = std::move(*jpeg);
            }
        }
        if (picture.empty()) {
            pad.send(PadProtocol::clearKey(key));
        } else {
            pad.sendKeyImage(key, picture);
        }
        screensShowing_[key] = std::move(wanted);
        changed = true;
    }
    if (changed) {
        pad.send(PadProtocol::refresh());
    }
}

void KeyScreens::forget() {
    screensShowing_.clear();
}

void KeyScreens::clear() {
    screensShowing_.clear();
    for (std::vector<std::uint8_t>& picture : keyPictures_) {
        picture.clear();
    }
}

std::array<QImage, 6> KeyScreens::images() const {
    std::array<QImage, 6> images;
    for (std::size_t index = 0; index < images.size(); ++index) {
        const std::vector<std::uint8_t>& jpeg = keyPictures_[index];
        if (!jpeg.empty()) {
            // Turned back, so they stand as they do on the pad in front of the user.
            images[index] = QImage::fromData(jpeg.data(), static_cast<int>(jpeg.size()), "JPEG")
                                .transformed(QTransform().rotate(-rotation_));
        }
    }
    return images;
}

} // namespace ruvola
