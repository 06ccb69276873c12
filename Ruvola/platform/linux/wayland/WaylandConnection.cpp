#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"

#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <wayland-client.h>

namespace ruvola::platform {

namespace {

void announced(void* data, wl_registry*, std::uint32_t name, const char* interface,
               std::uint32_t version) {
    static_cast<std::vector<WaylandConnection::Global>*>(data)->push_back(
        {name, interface, version});
}

void withdrawn(void* data, wl_registry*, std::uint32_t name) {
    auto& globals = *static_cast<std::vector<WaylandConnection::Global>*>(data);
    std::erase_if(globals, [name](const auto& global) { return global.name == name; });
}

constexpr wl_registry_listener registryListener{announced, withdrawn};

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::open() {
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return nullptr;
    }
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(display));
    if (!connection->roundtrip()) {
        return nullptr;
    }
    return connection;
}

WaylandConnection::WaylandConnection(wl_display* display) : display_(display) {
    registry_ = wl_display_get_registry(display_);
    wl_registry_add_listener(registry_, &registryListener, &globals_);
}

WaylandConnection::~WaylandConnection() {
    notifier_.reset();
    if (seat_ != nullptr) {
        wl_seat_destroy(seat_);
    }
    wl_registry_destroy(registry_);
    wl_display_disconnect(display_);
}

bool WaylandConnection::offers(std::string_view interface) const {
    return std::any_of(globals_.begin(), globals_.end(),
                       [&](const Global& global) { return global.interface == interface; });
}

void* WaylandConnection::bind(const wl_interface& interface, std::uint32_t version) {
    const auto global = std::find_if(globals_.begin(), globals_.end(), [&](const Global& offered) {
        return offered.interface == interface.name;
    });
    if (global == globals_.end() || lost()) {
        return nullptr;
    }
    return wl_registry_bind(
        registry_, global->name, &interface,
        std::min({version, global->version, static_cast<std::uint32_t>(interface.version)}));
}

wl_seat* WaylandConnection::seat() {
    if (seat_ == nullptr) {
        // Version 1 is all a seat is needed for here: naming it to the compositor.
        seat_ = static_cast<wl_seat*>(bind(wl_seat_interface, 1));
    }
    return seat_;
}

void WaylandConnection::serve() {
    if (notifier_ || lost()) {
        return;
    }
    notifier_ =
        std::make_unique<QSocketNotifier>(wl_display_get_fd(display_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { readEvents(); });
    // Whatever arrived before the notifier existed is read now.
    readEvents();
}

void WaylandConnection::readEvents() {
    while (wl_display_prepare_read(display_) != 0) {
        wl_display_dispatch_pending(display_);
    }
    wl_display_flush(display_);
    // Never blocks: the socket is read without waiting, and only what is there is taken.
    if (wl_display_read_events(display_) != 0 && errno != EAGAIN) {
        noticeLoss();
        return;
    }
    if (wl_display_dispatch_pending(display_) < 0) {
        noticeLoss();
    }
}

bool WaylandConnection::roundtrip() {
    if (lost() || wl_display_roundtrip(display_) < 0) {
        noticeLoss();
        return false;
    }
    return true;
}

bool WaylandConnection::flush() {
    if (lost()) {
        return false;
    }
    // A full buffer (EAGAIN) is sent later by the main loop's next read.
    return wl_display_flush(display_) >= 0 || errno == EAGAIN;
}

bool WaylandConnection::lost() const {
    return wl_display_get_error(display_) != 0;
}

void WaylandConnection::noticeLoss() {
    if (lossNoticed_ || !lost()) {
        return;
    }
    lossNoticed_ = true;
    if (notifier_) {
        notifier_->setEnabled(false);
    }
    for (const auto& listener : lostListeners_) {
        listener();
    }
}

} // namespace ruvola::platform
