#include "Ruvola/platform/linux/x11/EwmhFrontmostWatcher.hpp"

#include "Ruvola/platform/linux/x11/EwmhClients.hpp"

#include <QSocketNotifier>

#include <cstdlib>
#include <utility>

namespace ruvola::platform {

EwmhFrontmostWatcher::EwmhFrontmostWatcher() = default;

EwmhFrontmostWatcher::~EwmhFrontmostWatcher() {
    notifier_.reset(); // before the connection whose descriptor it watches
    connection_.reset();
}

bool EwmhFrontmostWatcher::start(std::function<void()> changed) {
    notifier_.reset();
    connection_.reset();
    x11_ = X11Display::open();
    if (!x11_ || !(connection_ = EwmhConnection::open(*x11_))) {
        return false;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_->connection, connection_->root, XCB_CW_EVENT_MASK,
                                 &mask);
    // Read after selecting, so no change falls between the two; the events already queued are
    // in what was read.
    key_ = activeKey();
    connection_->discardEvents();
    changed_ = std::move(changed);
    settle_.setSingleShot(true);
    settle_.setInterval(noneSettles);
    settle_.callOnTimeout([this] {
        if (!connection_->broken() && activeKey().empty() && !key_.empty()) {
            key_.clear();
            const auto callback = changed_;
            callback();
        }
    });
    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_->connection),
                                                  QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readEvents(); });
    return true;
}

std::string EwmhFrontmostWatcher::activeKey() {
    const auto active = ewmh::activeClient(*connection_);
    return active ? ewmh::keyOf(active->windowClass) : std::string();
}

void EwmhFrontmostWatcher::readEvents() {
    xcb_connection_t* connection = connection_->connection;
    bool changed = false;
    // Reading the active window's class waits for replies, queueing the events that come
    // meanwhile; they are read in the next turn, until a turn finds the queue empty.
    for (;;) {
        bool activeMoved = false;
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            // A closed window may leave the active window property as it was: the list of
            // windows changes all the same.
            if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY) {
                const xcb_atom_t atom = reinterpret_cast<xcb_property_notify_event_t*>(event)->atom;
                activeMoved = activeMoved || atom == connection_->ewmh._NET_ACTIVE_WINDOW ||
                              atom == connection_->ewmh._NET_CLIENT_LIST;
            }
            std::free(event);
        }
        if (!activeMoved || connection_->broken()) {
            break;
        }
        std::string key = activeKey();
        if (key.empty() && !key_.empty()) {
            settle_.start(); // a window manager between two windows, or nothing left in front
        } else if (!key.empty()) {
            settle_.stop();
            if (key != key_) {
                key_ = std::move(key);
                changed = true;
            }
        }
    }
    if (connection_->broken()) {
        notifier_->setEnabled(false); // the server went away; its descriptor stays readable
    }
    if (changed && changed_) {
        const auto callback = changed_; // a copy, as the callback may destroy this watcher
        callback();
    }
}

} // namespace ruvola::platform
