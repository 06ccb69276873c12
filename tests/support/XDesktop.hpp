#pragma once

#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QProcess>
#include <gtest/gtest.h> // before Xlib, whose macros clash with its names

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>
#include <chrono>
#include <optional>
#include <poll.h>
#include <utility>
#include <vector>

namespace ruvola::testing {

/// A key press as a window got it: its keysym and the modifiers that matter to shortcuts.
using ReceivedKey = std::pair<KeySym, unsigned int>;

/// A private X desktop: Xvfb, openbox unless none is wanted, and the test's own Xlib connection
/// with a focused window that records the keys it gets.
class XDesktop {
public:
    ~XDesktop() { stop(); }

    /// Starts it all; false when something did not come up.
    bool start(bool windowManager) {
        if (!server_.start(windowManager) ||
            (display_ = XOpenDisplay(server_.display().c_str())) == nullptr) {
            return false;
        }
        window_ = XCreateSimpleWindow(display_, root(), 0, 0, 200, 100, 0, 0, 0);
        XSelectInput(display_, window_, KeyPressMask);
        XMapWindow(display_, window_);
        if (windowManager && !managerListens()) {
            return false;
        }
        XSync(display_, False);
        XSetInputFocus(display_, window_, RevertToParent, CurrentTime);
        // Xlib loads its keymap on first use; loaded later, it misses the changes queued before.
        XKeysymToKeycode(display_, XK_a);
        XSync(display_, False);
        return true;
    }

    void stop() {
        if (display_ != nullptr) {
            XCloseDisplay(display_); // before its server goes, which Xlib would not survive
            display_ = nullptr;
        }
        successor_.kill();
        successor_.waitForFinished();
        server_.stop();
    }

    /// Kills the window manager, as when it crashes; with `replace`, a new one takes over.
    bool killWindowManager(bool replace) {
        const auto check = property(root(), "_NET_SUPPORTING_WM_CHECK");
        server_.stopWindowManager();
        // The server drops a dead client's windows only once it has noticed the client is gone.
        if (!check.empty() && !waitUntil([&] { return !isChild(check.front()); })) {
            return false;
        }
        if (replace) {
            successor_.start("openbox", {"--sm-disable"});
            return successor_.waitForStarted() && managerListens();
        }
        return true;
    }

    const std::string& display() const { return server_.display(); }

    /// The next `count` presses of keys other than modifiers, fewer when they don't come soon.
    /// Read while input is being sent, as borrowed keycodes are readable only until given back.
    std::vector<ReceivedKey> presses(std::size_t count) {
        using namespace std::chrono;
        std::vector<ReceivedKey> received;
        const auto deadline = steady_clock::now() + 5s;
        while (received.size() < count && steady_clock::now() < deadline) {
            while (received.size() < count && XPending(display_) > 0) {
                XEvent event;
                XNextEvent(display_, &event);
                if (event.type == MappingNotify) {
                    XRefreshKeyboardMapping(&event.xmapping);
                } else if (event.type == KeyPress) {
                    KeySym keysym = NoSymbol;
                    char text[16];
                    XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
                    if (!IsModifierKey(keysym)) {
                        received.push_back({keysym, event.xkey.state & (ShiftMask | ControlMask |
                                                                        Mod1Mask | Mod4Mask)});
                    }
                }
            }
            pollfd readable{ConnectionNumber(display_), POLLIN, 0};
            poll(&readable, 1, 50);
        }
        return received;
    }

    /// Whether the server soon has every key up.
    bool allKeysUp() {
        return waitUntil([&] {
            char keys[32];
            XQueryKeymap(display_, keys);
            return std::all_of(std::begin(keys), std::end(keys), [](char bits) { return !bits; });
        });
    }

    std::vector<unsigned long> property(Window window, const char* name) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        std::vector<unsigned long> values;
        if (XGetWindowProperty(display_, window, atom(name), 0, 1024, False, AnyPropertyType, &type,
                               &format, &count, &after, &data) == Success &&
            data != nullptr && format == 32) {
            const auto* longs = reinterpret_cast<const unsigned long*>(data);
            values.assign(longs, longs + count);
        }
        XFree(data);
        return values;
    }

    /// Sets the active window behind the window manager's back.
    void setActive(Window window) {
        const long value = static_cast<long>(window);
        XChangeProperty(display_, root(), atom("_NET_ACTIVE_WINDOW"), XA_WINDOW, 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(&value), 1);
        XSync(display_, False);
    }

private:
    /// Whether the window manager handles events. openbox claims the screen before its event loop
    /// runs, and a window mapped in between waits for the next event to reach it, so the root is
    /// poked until the recording window is managed.
    bool managerListens() {
        using namespace std::chrono_literals;
        return waitUntil(
            [&] {
                const long poke = 1;
                XChangeProperty(display_, root(), atom("RUVOLA_TEST_POKE"), XA_CARDINAL, 32,
                                PropModeReplace, reinterpret_cast<const unsigned char*>(&poke), 1);
                XSync(display_, False);
                return std::ranges::count(property(root(), "_NET_CLIENT_LIST"), window_) > 0;
            },
            10s);
    }

    bool isChild(Window window) {
        Window rootWindow = None, parent = None, *children = nullptr;
        unsigned int count = 0;
        XQueryTree(display_, root(), &rootWindow, &parent, &children, &count);
        const bool found = std::find(children, children + count, window) != children + count;
        XFree(children);
        return found;
    }

    Atom atom(const char* name) { return XInternAtom(display_, name, False); }
    Window root() const { return DefaultRootWindow(display_); }

    XServer server_;
    QProcess successor_;
    Display* display_ = nullptr;
    Window window_ = None;
};

} // namespace ruvola::testing
