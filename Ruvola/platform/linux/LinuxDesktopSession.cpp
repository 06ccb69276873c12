#include "Ruvola/platform/linux/LinuxDesktopSession.hpp"

#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/x11/X11Display.hpp"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariant>

#include <cstdlib>
#include <string>
#include <utility>

namespace ruvola::platform {

namespace {

constexpr char watcherService[] = "org.kde.StatusNotifierWatcher";

// A StatusNotifier watcher with a host behind it: the tray of Plasma, waybar, AppIndicator.
bool statusNotifierHost() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(watcherService)) {
        return false;
    }
    // One property read: asked every few seconds while there is no tray, so no introspection.
    const QDBusMessage reply =
        bus.call(QDBusMessage::createMethodCall(watcherService, "/StatusNotifierWatcher",
                                                "org.freedesktop.DBus.Properties", "Get")
                 << QString(watcherService) << QString("IsStatusNotifierHostRegistered"));
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty() &&
           reply.arguments().first().value<QDBusVariant>().variant().toBool();
}

// The XEmbed tray of an X11 panel: the owner of the screen's system tray selection.
bool x11SystemTray() {
    const auto x = X11Display::open();
    if (!x) {
        return false;
    }
    const std::string name = "_NET_SYSTEM_TRAY_S" + std::to_string(x->screen());
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
        x->get(),
        xcb_intern_atom(x->get(), 1, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr);
    if (atom == nullptr) {
        return false;
    }
    xcb_get_selection_owner_reply_t* owner = xcb_get_selection_owner_reply(
        x->get(), xcb_get_selection_owner(x->get(), atom->atom), nullptr);
    const bool owned = owner != nullptr && owner->owner != XCB_WINDOW_NONE;
    std::free(owner);
    std::free(atom);
    return owned;
}

} // namespace

LinuxDesktopSession::LinuxDesktopSession(std::string description, Abilities abilities, bool x11Tray,
                                         std::shared_ptr<WaylandConnection> connection)
    : description_(std::move(description)), abilities_(std::move(abilities)), x11Tray_(x11Tray),
      connection_(std::move(connection)) {}

std::string LinuxDesktopSession::description() const {
    return usable() ? description_ : "no graphical session";
}

bool LinuxDesktopSession::usable() const {
    return abilities_ && (!connection_ || !connection_->lost());
}

std::vector<DesktopSession::Ability> LinuxDesktopSession::abilities() const {
    // Without a session the one line that says so is enough.
    return usable() ? abilities_() : std::vector<Ability>{};
}

bool LinuxDesktopSession::hasTray() const {
    return statusNotifierHost() || (x11Tray_ && x11SystemTray());
}

void LinuxDesktopSession::onLost(std::function<void(const std::string& sentence)> listener) {
    if (!connection_) {
        return; // an X server going away ends the toolkit's session, and the program with it
    }
    connection_->onLost([listener = std::move(listener)] {
        listener("The Wayland compositor went away; windows, keystrokes and typed text are off");
    });
    // A connection nobody reads from would never notice.
    connection_->serve();
}

} // namespace ruvola::platform
