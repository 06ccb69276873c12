#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"

#include "Ruvola/platform/linux/FileDescriptor.hpp"
#include "Ruvola/platform/linux/KeySymbols.hpp"
#include "Ruvola/platform/linux/wayland/TextKeymap.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringDecoder>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client.h>

namespace ruvola::platform {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using keySymbols::KeySym;

constexpr auto keyHold = 12ms;
// A new keyboard gives a headless seat its keyboard; clients bind to it only once told, and keys
// sent before then are lost.
constexpr auto keyboardSettle = 200ms;
// X clients on XWayland read a changed keymap when they next look a key up, so keys sent just
// before a change would be read with the new one.
constexpr auto keymapSettle = 150ms;
// Characters sent between waits for the compositor, then a pause for the client to read them:
// a compositor drops a client whose socket it fills (4 KiB, about 170 key events), so a busy
// client must never be sent much at once.
constexpr std::size_t pacedCharacters = 16;
constexpr auto pacePause = 1200us;
// How long the compositor may take to handle what was sent before it counts as gone.
constexpr auto answerBound = 3s;

std::uint32_t timestamp() {
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
            .count());
}

// Every key a chord can name, in one keymap, so chords in a row never change it.
const TextKeymap& chordKeymap() {
    static const TextKeymap keymap = [] {
        std::vector<KeySym> keysyms;
        for (const auto& key : keySymbols::keys()) {
            keysyms.push_back(key.keysym);
        }
        return TextKeymap(distinctKeySyms(keysyms));
    }();
    return keymap;
}

// The keymap in an anonymous file, with the terminating NUL the compositor's parser reads to.
FileDescriptor keymapFile(const std::string& text) {
    FileDescriptor fd(::memfd_create("ruvola-keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const char* data = text.c_str();
    std::size_t left = text.size() + 1;
    while (fd.get() >= 0 && left > 0) {
        const ssize_t written = ::write(fd.get(), data, left);
        if (written < 0 && errno != EINTR) {
            return FileDescriptor(-1);
        }
        if (written > 0) {
            data += written;
            left -= static_cast<std::size_t>(written);
        }
    }
    ::fcntl(fd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE);
    return fd;
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

void noteDone(void* data, wl_callback*, std::uint32_t) {
    *static_cast<bool*>(data) = true;
}

constexpr wl_callback_listener doneListener{noteDone};

} // namespace

std::unique_ptr<VirtualKeyboardInput>
VirtualKeyboardInput::make(std::shared_ptr<WaylandConnection> connection) {
    if (!connection || connection->lost()) {
        return nullptr;
    }
    wl_seat* seat = connection->seat();
    auto* manager = static_cast<zwp_virtual_keyboard_manager_v1*>(
        seat != nullptr ? connection->bind(zwp_virtual_keyboard_manager_v1_interface, 1) : nullptr);
    if (manager == nullptr) {
        return nullptr;
    }
    zwp_virtual_keyboard_v1* keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, seat);
    zwp_virtual_keyboard_manager_v1_destroy(manager);
    std::unique_ptr<VirtualKeyboardInput> input(
        new VirtualKeyboardInput(std::move(connection), keyboard));
    // The compositor needs a keymap before the first key.
    if (!input->use(chordKeymap()) || !input->connection_->roundtrip()) {
        return nullptr;
    }
    return input;
}

VirtualKeyboardInput::VirtualKeyboardInput(std::shared_ptr<WaylandConnection> connection,
                                           zwp_virtual_keyboard_v1* keyboard)
    : connection_(std::move(connection)), display_(connection_->display()), keyboard_(keyboard),
      queue_(wl_display_create_queue(display_)),
      wrapper_(static_cast<wl_display*>(wl_proxy_create_wrapper(display_))),
      readyAt_(Clock::now() + keyboardSettle) {
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper_), queue_);
}

VirtualKeyboardInput::~VirtualKeyboardInput() {
    zwp_virtual_keyboard_v1_destroy(keyboard_);
    wl_proxy_wrapper_destroy(wrapper_);
    wl_event_queue_destroy(queue_);
    connection_->flush();
}

bool VirtualKeyboardInput::post(const Chord& chord) {
    const KeySym keysym = keySymbols::forKeyCode(chord.keyCode);
    if (keysym == keySymbols::none) {
        return false;
    }
    const std::scoped_lock turn(mutex_);
    if (!begin() || (!keymap_->holds({&keysym, 1}) && !use(chordKeymap()))) {
        return false;
    }
    const std::uint32_t code = *keymap_->evdev(keysym);
    const auto held = keySymbols::modifiers();
    for (const auto& modifier : held) {
        if ((chord.modifiers & modifier.flag) != 0) {
            key(modifier.evdev, true);
        }
    }
    // Sent too, for compositors that don't work the modifiers out from the keys.
    modifiers(TextKeymap::modifierMask(chord.modifiers));
    key(code, true);
    if (!connection_->flush()) {
        return false;
    }
    std::this_thread::sleep_for(keyHold);
    key(code, false);
    for (auto modifier = held.rbegin(); modifier != held.rend(); ++modifier) {
        if ((chord.modifiers & modifier->flag) != 0) {
            key(modifier->evdev, false);
        }
    }
    modifiers(0);
    return settle();
}

bool VirtualKeyboardInput::type(const std::string& utf8) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(QByteArrayView(utf8));
    if (decoder.hasError()) {
        return false;
    }
    std::vector<KeySym> keysyms;
    for (const char32_t character : text.toUcs4()) {
        if (const KeySym keysym = keySymbols::forCharacter(character); keysym != keySymbols::none) {
            keysyms.push_back(keysym);
        }
    }
    const std::scoped_lock turn(mutex_);
    if (!begin()) {
        return false;
    }
    for (const auto run : keymapRuns(keysyms)) {
        const std::vector<KeySym> distinct = distinctKeySyms(run);
        if (!keymap_->holds(distinct) && !use(TextKeymap(distinct))) {
            return false;
        }
        std::size_t sent = 0;
        for (const KeySym keysym : run) {
            const std::uint32_t code = *keymap_->evdev(keysym);
            key(code, true);
            key(code, false);
            if (++sent % pacedCharacters == 0) {
                if (!settle()) {
                    return false;
                }
                std::this_thread::sleep_for(pacePause);
            }
        }
    }
    return keysyms.empty() || settle();
}

bool VirtualKeyboardInput::begin() {
    std::this_thread::sleep_until(readyAt_);
    return !connection_->lost();
}

bool VirtualKeyboardInput::use(const TextKeymap& keymap) {
    std::this_thread::sleep_until(lastKeyAt_ + keymapSettle);
    const FileDescriptor file = keymapFile(keymap.text());
    if (file.get() < 0) {
        return false;
    }
    // The request carries a copy of the descriptor; ours closes on return.
    zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.get(),
                                   static_cast<std::uint32_t>(keymap.text().size() + 1));
    keymap_ = std::make_unique<TextKeymap>(keymap);
    return true;
}

void VirtualKeyboardInput::key(std::uint32_t evdev, bool down) {
    zwp_virtual_keyboard_v1_key(keyboard_, timestamp(), evdev,
                                down ? WL_KEYBOARD_KEY_STATE_PRESSED
                                     : WL_KEYBOARD_KEY_STATE_RELEASED);
    lastKeyAt_ = Clock::now();
}

void VirtualKeyboardInput::modifiers(std::uint32_t depressed) {
    zwp_virtual_keyboard_v1_modifiers(keyboard_, depressed, 0, 0, 0);
}

bool VirtualKeyboardInput::settle() {
    bool done = false;
    wl_callback* callback = wl_display_sync(wrapper_);
    wl_callback_add_listener(callback, &doneListener, &done);
    const auto deadline = Clock::now() + answerBound;
    const int fd = wl_display_get_fd(display_);
    // The main thread may read the socket too; the client library hands each thread the events
    // of its own queue.
    while (!done && wl_display_get_error(display_) == 0) {
        if (wl_display_prepare_read_queue(display_, queue_) != 0) {
            if (wl_display_dispatch_queue_pending(display_, queue_) < 0) {
                break;
            }
            continue;
        }
        pollfd ready{fd, POLLIN, 0};
        while (wl_display_flush(display_) < 0 && errno == EAGAIN) {
            pollfd writable{fd, POLLOUT, 0};
            if (::poll(&writable, 1, millisecondsUntil(deadline)) <= 0) {
                break;
            }
        }
        const int polled = ::poll(&ready, 1, millisecondsUntil(deadline));
        if (polled > 0) {
            if (wl_display_read_events(display_) < 0) {
                break;
            }
        } else {
            wl_display_cancel_read(display_);
            if (polled == 0 || errno != EINTR) {
                break;
            }
        }
    }
    wl_callback_destroy(callback);
    return done;
}

} // namespace ruvola::platform
