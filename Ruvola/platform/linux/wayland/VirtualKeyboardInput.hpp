#pragma once

#include "Ruvola/platform/SyntheticInput.hpp"

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

struct wl_display;
struct wl_event_queue;
struct zwp_virtual_keyboard_v1;

namespace ruvola::platform {

class TextKeymap;
class WaylandConnection;

/// Key events sent through a virtual keyboard of the compositor (wlroots compositors such as
/// sway offer one). The keyboard's keymap is made for what is sent: the keys a chord can use, or
/// the characters of the text being typed, so any character can be typed whatever the user's
/// layout. Calls take turns, so texts never interleave; each waits until the compositor has
/// handled what it sent, on a queue of its own so the main loop is never involved. A call that
/// needs another keymap first waits until 150 ms after the last key, as X clients on XWayland
/// read a new keymap only when they next look a key up.
class VirtualKeyboardInput final : public SyntheticInput {
public:
    /// Null when the compositor offers no virtual keyboard or no seat. Main thread.
    static std::unique_ptr<VirtualKeyboardInput>
    make(std::shared_ptr<WaylandConnection> connection);

    ~VirtualKeyboardInput() override;
    VirtualKeyboardInput(const VirtualKeyboardInput&) = delete;
    VirtualKeyboardInput& operator=(const VirtualKeyboardInput&) = delete;

    bool post(const Chord& chord) override;
    bool type(const std::string& utf8) override;

private:
    VirtualKeyboardInput(std::shared_ptr<WaylandConnection> connection,
                         zwp_virtual_keyboard_v1* keyboard);

    bool begin();
    bool use(const TextKeymap& keymap);
    void key(std::uint32_t evdev, bool down);
    void modifiers(std::uint32_t depressed);
    bool settle();

    std::shared_ptr<WaylandConnection> connection_;
    wl_display* display_;
    zwp_virtual_keyboard_v1* keyboard_;
    wl_event_queue* queue_;
    wl_display* wrapper_; // the display's requests, with their events put on queue_
    std::mutex mutex_;
    std::unique_ptr<TextKeymap> keymap_;
    std::chrono::steady_clock::time_point readyAt_;
    std::chrono::steady_clock::time_point lastKeyAt_;
};

} // namespace ruvola::platform
