#pragma once

#include <QImage>

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace ruvola {

class PadConnection;
struct BindingsFile;

/// What each of the pad's six screen keys shows, and the pictures it was sent. Sends only what
/// changed: a drawn picture or a clear per key whose look changed, then one refresh.
class KeyScreens final {
public:
    /// Brings the pad's keys in line with `file` while `frontmost` is in front.
    void update(PadConnection& pad, const BindingsFile& file,
                std::span<const std::string> frontmost);

    /// The pad lost what it showed, as after a restart: the next update sends every key.
    void forget();
    /// The pad has gone: its pictures too.
    void clear();

    /// The pictures the keys were last sent, decoded and upright as the user sees them; null for
    /// a cleared key.
    std::array<QImage, 6> images() const;

private:
    std::map<int, std::string> screensShowing_;
    std::array<std::vector<std::uint8_t>, 6> keyPictures_;
    int rotation_ = 0;
};

} // namespace ruvola
