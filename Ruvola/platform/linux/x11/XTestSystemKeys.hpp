#pragma once

#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/x11/X11Display.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace ruvola::platform {

/// System keys posted with XTest as their XF86 keysyms on the display named by `$DISPLAY`,
/// through one connection kept open until it breaks or `$DISPLAY` changes. A key missing from the
/// display's keymap is not posted: the desktop grabs keys by keycode, so one bound on the spot
/// would arrive before the desktop had read the new keymap.
class XTestSystemKeys final : public SessionKeys {
public:
    XTestSystemKeys();

    void press(SystemKey key, bool fine) override;
    bool available() override;
    std::string name() const override { return "XTest"; }

private:
    /// The connection, when it reaches a server with XTest.
    const X11Connection* ready();
    void readKeymap(const X11Connection& x);
    std::optional<std::uint8_t> keycodeFor(std::uint32_t keysym, bool shifted) const;

    X11Display display_;
    std::uint64_t serial_ = 0; ///< of the connection the state below is for
    bool xtest_ = false;
    bool keymapStale_ = true;
    std::uint8_t firstKeycode_ = 0;
    std::size_t width_ = 0;
    std::vector<std::uint32_t> keysyms_;
};

} // namespace ruvola::platform
