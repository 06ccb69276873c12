#include "Ruvola/platform/linux/x11/EwmhConnection.hpp"

#include <cstdlib>
#include <string_view>

namespace ruvola::platform {

std::unique_ptr<EwmhConnection> EwmhConnection::open(const X11Connection& x) {
    const int screen = x.screen();
    std::unique_ptr<EwmhConnection> opened(new EwmhConnection(x));
    xcb_connection_t* connection = opened->connection;
    xcb_intern_atom_cookie_t* cookies = xcb_ewmh_init_atoms(connection, &opened->ewmh);
    constexpr std::string_view changeState = "WM_CHANGE_STATE";
    const auto changeStateCookie = xcb_intern_atom(
        connection, 0, static_cast<std::uint16_t>(changeState.size()), changeState.data());
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_init_atoms_replies(&opened->ewmh, cookies, &error) == 0) {
        std::free(error);
        xcb_discard_reply(connection, changeStateCookie.sequence);
        return nullptr;
    }
    opened->atomsInterned_ = true;
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(connection, changeStateCookie, &error);
    std::free(error);
    if (atom == nullptr || screen < 0 || screen >= opened->ewmh.nb_screens) {
        std::free(atom);
        return nullptr;
    }
    opened->wmChangeState = atom->atom;
    std::free(atom);
    opened->screen = screen;
    opened->root = opened->ewmh.screens[screen]->root;
    return opened;
}

EwmhConnection::~EwmhConnection() {
    if (atomsInterned_) {
        xcb_ewmh_connection_wipe(&ewmh);
    }
}

SharedEwmhConnection::SharedEwmhConnection() = default;
SharedEwmhConnection::~SharedEwmhConnection() {
    ewmh_.reset(); // before the connection it was made on
}

bool SharedEwmhConnection::use(const std::function<void(EwmhConnection&)>& use) {
    const std::scoped_lock lock(mutex_);
    const X11Connection* x = display_.connection();
    if (x == nullptr) {
        ewmh_.reset();
        return false;
    }
    if (!ewmh_ || serial_ != x->serial()) {
        ewmh_ = EwmhConnection::open(*x);
        serial_ = x->serial();
    }
    if (!ewmh_) {
        return false;
    }
    use(*ewmh_);
    return true;
}

} // namespace ruvola::platform
