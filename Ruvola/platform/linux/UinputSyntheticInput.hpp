#pragma once

#include "Ruvola/platform/SyntheticInput.hpp"
#include "Ruvola/platform/linux/FileDescriptor.hpp"

#include <chrono>
#include <memory>
#include <mutex>
#include <string_view>

namespace ruvola::platform {

/// Chords sent through a keyboard device made with uinput, for Wayland compositors that offer no
/// virtual keyboard. The device has the keys of a US keyboard, so a chord names a key by its
/// place, and the user's layout says what it gives. It types no text: without a keymap of its own
/// it can't reach characters the layout lacks.
class UinputSyntheticInput final : public SyntheticInput {
public:
    /// The device's name.
    static constexpr std::string_view deviceName = "Ruvola chord keyboard";

    /// Whether `/dev/uinput` can be written now.
    static bool available();

    /// Null when `/dev/uinput` can't be written or refuses the device.
    static std::unique_ptr<UinputSyntheticInput> make();

    bool post(const Chord& chord) override;

    /// Always false: text is not typed this way.
    bool type(const std::string& utf8) override;

private:
    explicit UinputSyntheticInput(FileDescriptor device);

    FileDescriptor device_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point readyAt_;
};

} // namespace ruvola::platform
