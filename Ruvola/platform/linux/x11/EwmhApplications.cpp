#include "Ruvola/platform/linux/x11/EwmhApplications.hpp"

#include <QSocketNotifier>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

// xcb rather than Xlib throughout: Xlib's I/O error handler ends the process when the server
// goes away, xcb only marks the connection broken.

namespace ruvola::platform {

/// A connection to an X display with the EWMH atoms interned.
class EwmhConnection {
public:
    static std::unique_ptr<EwmhConnection> open(const std::string& display) {
        int screen = 0;
        std::unique_ptr<EwmhConnection> opened(
            new EwmhConnection(xcb_connect(display.c_str(), &screen)));
        if (opened->broken()) {
            return nullptr;
        }
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
        xcb_intern_atom_reply_t* atom =
            xcb_intern_atom_reply(connection, changeStateCookie, &error);
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

    ~EwmhConnection() {
        if (atomsInterned_) {
            xcb_ewmh_connection_wipe(&ewmh);
        }
        xcb_disconnect(connection); // also frees one that failed
    }

    EwmhConnection(const EwmhConnection&) = delete;
    EwmhConnection& operator=(const EwmhConnection&) = delete;

    bool broken() const { return xcb_connection_has_error(connection) != 0; }

    /// Drops queued events and errors without waiting. Reading is also how a server that went
    /// away is noticed, before anything is written to it.
    void discardEvents() {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            std::free(event);
        }
    }

    xcb_connection_t* connection;
    xcb_ewmh_connection_t ewmh{};
    int screen = 0;
    xcb_window_t root = XCB_WINDOW_NONE;
    xcb_atom_t wmChangeState = XCB_ATOM_NONE;

private:
    explicit EwmhConnection(xcb_connection_t* opened) : connection(opened) {}

    bool atomsInterned_ = false;
};

namespace {

struct WindowClass {
    std::string instance;
    std::string name;
};

struct Client {
    xcb_window_t window;
    WindowClass windowClass;
    std::int64_t pid;
};

struct WindowState {
    bool normal;
    bool viewable;
    bool hidden;
};

std::string keyOf(const WindowClass& windowClass) {
    return windowClass.instance + '\n' + windowClass.name;
}

// Each reader takes its reply, or the error it got, so nothing piles up in the event queue.

xcb_window_t windowFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_window_reply(&x.ewmh, cookie, &window, &error) == 0) {
        window = XCB_WINDOW_NONE;
    }
    std::free(error);
    return window;
}

std::vector<xcb_window_t> windowsFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    std::vector<xcb_window_t> windows;
    xcb_ewmh_get_windows_reply_t list;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_windows_reply(&x.ewmh, cookie, &list, &error) != 0) {
        windows.assign(list.windows, list.windows + list.windows_len);
        xcb_ewmh_get_windows_reply_wipe(&list);
    }
    std::free(error);
    return windows;
}

std::vector<xcb_atom_t> atomsFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    std::vector<xcb_atom_t> atoms;
    xcb_ewmh_get_atoms_reply_t list;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_atoms_reply(&x.ewmh, cookie, &list, &error) != 0) {
        atoms.assign(list.atoms, list.atoms + list.atoms_len);
        xcb_ewmh_get_atoms_reply_wipe(&list);
    }
    std::free(error);
    return atoms;
}

std::optional<WindowClass> classFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    xcb_icccm_get_wm_class_reply_t reply;
    xcb_generic_error_t* error = nullptr;
    if (xcb_icccm_get_wm_class_reply(x.connection, cookie, &reply, &error) == 0) {
        std::free(error);
        return std::nullopt;
    }
    WindowClass windowClass{reply.instance_name, reply.class_name};
    xcb_icccm_get_wm_class_reply_wipe(&reply);
    return windowClass;
}

std::int64_t pidFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    std::uint32_t pid = 0;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_wm_pid_reply(&x.ewmh, cookie, &pid, &error) == 0) {
        pid = 0;
    }
    std::free(error);
    return pid;
}

// A window manager runs when the root names a check window that names itself; a killed one
// leaves its other root properties behind, stale. Callers ask in two halves, so that the check
// shares their own two round trips.
class ManagerCheck {
public:
    explicit ManagerCheck(EwmhConnection& x)
        : x_(x), cookie_(xcb_ewmh_get_supporting_wm_check(&x.ewmh, x.root)) {}
    ~ManagerCheck() {
        if (pending_) {
            xcb_discard_reply(x_.connection, cookie_.sequence);
        }
    }
    ManagerCheck(const ManagerCheck&) = delete;
    ManagerCheck& operator=(const ManagerCheck&) = delete;

    /// Reads the root's answer and asks the window it names; false when it names none.
    bool askWindow() {
        window_ = take();
        if (window_ == XCB_WINDOW_NONE) {
            return false;
        }
        cookie_ = xcb_ewmh_get_supporting_wm_check(&x_.ewmh, window_);
        pending_ = true;
        return true;
    }

    bool running() { return window_ != XCB_WINDOW_NONE && take() == window_; }

private:
    xcb_window_t take() {
        pending_ = false;
        return windowFrom(x_, cookie_);
    }

    EwmhConnection& x_;
    xcb_get_property_cookie_t cookie_;
    bool pending_ = true;
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

std::optional<Client> activeClient(EwmhConnection& x) {
    ManagerCheck manager(x);
    const auto activeCookie = xcb_ewmh_get_active_window(&x.ewmh, x.screen);
    const bool named = manager.askWindow();
    const xcb_window_t active = windowFrom(x, activeCookie);
    if (!named || active == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    const auto classCookie = xcb_icccm_get_wm_class(x.connection, active);
    const auto pidCookie = xcb_ewmh_get_wm_pid(&x.ewmh, active);
    const bool managed = manager.running();
    auto windowClass = classFrom(x, classCookie);
    const std::int64_t pid = pidFrom(x, pidCookie);
    if (!managed || !windowClass) {
        return std::nullopt;
    }
    return Client{active, std::move(*windowClass), pid};
}

/// The managed windows with a WM_CLASS, in the window manager's order.
std::vector<Client> listClients(EwmhConnection& x) {
    ManagerCheck manager(x);
    const auto listCookie = xcb_ewmh_get_client_list(&x.ewmh, x.screen);
    const bool named = manager.askWindow();
    const std::vector<xcb_window_t> windows = windowsFrom(x, listCookie);
    if (!named) {
        return {};
    }
    std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        cookies.emplace_back(xcb_icccm_get_wm_class(x.connection, window),
                             xcb_ewmh_get_wm_pid(&x.ewmh, window));
    }
    const bool managed = manager.running();
    std::vector<Client> clients;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        auto windowClass = classFrom(x, cookies[index].first);
        const std::int64_t pid = pidFrom(x, cookies[index].second);
        if (windowClass) {
            clients.push_back({windows[index], std::move(*windowClass), pid});
        }
    }
    return managed ? clients : std::vector<Client>{};
}

std::vector<xcb_window_t> windowsOf(const std::vector<Client>& clients, const std::string& key) {
    std::vector<xcb_window_t> windows;
    for (const Client& client : clients) {
        if (keyOf(client.windowClass) == key) {
            windows.push_back(client.window);
        }
    }
    return windows;
}

std::vector<WindowState> statesOf(EwmhConnection& x, const std::vector<xcb_window_t>& windows) {
    struct Cookies {
        xcb_get_property_cookie_t type;
        xcb_get_property_cookie_t state;
        xcb_get_window_attributes_cookie_t attributes;
    };
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        cookies.push_back({xcb_ewmh_get_wm_window_type(&x.ewmh, window),
                           xcb_ewmh_get_wm_state(&x.ewmh, window),
                           xcb_get_window_attributes(x.connection, window)});
    }
    std::vector<WindowState> states;
    for (const Cookies& cookie : cookies) {
        const std::vector<xcb_atom_t> types = atomsFrom(x, cookie.type);
        const std::vector<xcb_atom_t> flags = atomsFrom(x, cookie.state);
        xcb_generic_error_t* error = nullptr;
        xcb_get_window_attributes_reply_t* attributes =
            xcb_get_window_attributes_reply(x.connection, cookie.attributes, &error);
        std::free(error);
        states.push_back({
            .normal =
                types.empty() || std::ranges::count(types, x.ewmh._NET_WM_WINDOW_TYPE_NORMAL) > 0,
            .viewable = attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE,
            .hidden = std::ranges::count(flags, x.ewmh._NET_WM_STATE_HIDDEN) > 0,
        });
        std::free(attributes);
    }
    return states;
}

void sendToRoot(EwmhConnection& x, xcb_window_t window, xcb_atom_t type, std::uint32_t value) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    message.data.data32[0] = value;
    xcb_send_event(x.connection, 0, x.root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

RunningApplication describe(const Client& client, DesktopEntries& entries) {
    const WindowClass& windowClass = client.windowClass;
    const auto entry = entries.forWindowClass(windowClass.instance, windowClass.name);
    return RunningApplication{
        .name = windowClass.name.empty() ? windowClass.instance : windowClass.name,
        .identifier = entry ? entry->id : windowClass.instance,
        .desktopEntry = entry ? entry->path : std::string(),
        .pid = client.pid,
        .key = keyOf(windowClass),
    };
}

} // namespace

EwmhApplications::EwmhApplications() = default;
EwmhApplications::~EwmhApplications() = default;

EwmhConnection* EwmhApplications::connection() {
    const char* variable = std::getenv("DISPLAY");
    const std::string display = variable != nullptr ? variable : "";
    if (connection_) {
        connection_->discardEvents();
        if (connection_->broken() || display != display_) {
            connection_.reset();
        }
    }
    if (!connection_ && !display.empty()) {
        connection_ = EwmhConnection::open(display);
        display_ = display;
    }
    return connection_.get();
}

std::optional<RunningApplication> EwmhApplications::frontmost() {
    std::optional<Client> active;
    {
        const std::scoped_lock lock(mutex_);
        if (EwmhConnection* x = connection()) {
            active = activeClient(*x);
        }
    }
    if (!active) {
        return std::nullopt;
    }
    return describe(*active, entries_);
}

std::vector<RunningApplication> EwmhApplications::running() {
    std::vector<Client> clients;
    {
        const std::scoped_lock lock(mutex_);
        if (EwmhConnection* x = connection()) {
            clients = listClients(*x);
        }
    }
    std::vector<RunningApplication> applications;
    std::unordered_set<std::string> seen;
    for (const Client& client : clients) {
        if (seen.insert(keyOf(client.windowClass)).second) {
            applications.push_back(describe(client, entries_));
        }
    }
    return applications;
}

bool EwmhApplications::hide(const RunningApplication& application) {
    const std::scoped_lock lock(mutex_);
    EwmhConnection* x = connection();
    if (x == nullptr) {
        return false;
    }
    const std::vector<xcb_window_t> windows = windowsOf(listClients(*x), application.key);
    for (const xcb_window_t window : windows) {
        sendToRoot(*x, window, x->wmChangeState, XCB_ICCCM_WM_STATE_ICONIC);
    }
    xcb_flush(x->connection);
    return !windows.empty();
}

bool EwmhApplications::activate(const RunningApplication& application) {
    const std::scoped_lock lock(mutex_);
    EwmhConnection* x = connection();
    if (x == nullptr) {
        return false;
    }
    const std::vector<xcb_window_t> windows = windowsOf(listClients(*x), application.key);
    if (windows.empty()) {
        return false;
    }
    const auto stackingCookie = xcb_ewmh_get_client_list_stacking(&x->ewmh, x->screen);
    const std::vector<WindowState> states = statesOf(*x, windows);
    const std::vector<xcb_window_t> stacking = windowsFrom(*x, stackingCookie);

    // The one to activate: its topmost normal window, else its topmost one.
    xcb_window_t chosen = windows.front();
    std::optional<std::pair<bool, std::ptrdiff_t>> best;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const auto place = std::ranges::find(stacking, windows[index]);
        const auto rank = std::make_pair(states[index].normal, place - stacking.begin());
        if (place != stacking.end() && (!best || rank > *best)) {
            best = rank;
            chosen = windows[index];
        }
    }
    // Mapping an iconified window asks the window manager to show it again.
    for (std::size_t index = 0; index < windows.size(); ++index) {
        if (states[index].hidden && windows[index] != chosen) {
            xcb_map_window(x->connection, windows[index]);
        }
    }
    xcb_ewmh_request_change_active_window(&x->ewmh, x->screen, chosen,
                                          XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER, XCB_CURRENT_TIME,
                                          XCB_WINDOW_NONE);
    xcb_flush(x->connection);
    return true;
}

bool EwmhApplications::hasVisibleWindow(const RunningApplication& application) {
    const std::scoped_lock lock(mutex_);
    EwmhConnection* x = connection();
    if (x == nullptr) {
        return false;
    }
    const std::vector<WindowState> states =
        statesOf(*x, windowsOf(listClients(*x), application.key));
    return std::ranges::any_of(states, [](const WindowState& state) {
        return state.normal && state.viewable && !state.hidden;
    });
}

bool EwmhApplications::isFileManager(const RunningApplication& application) {
    return !application.desktopEntry.empty() && application.identifier == entries_.fileManagerId();
}

ActionCompletion EwmhApplications::launch(const std::string& name,
                                          const ApplicationMatch& matches) {
    return entries_.launch(name, matches);
}

ActionCompletion EwmhApplications::reopen(const RunningApplication& application) {
    if (application.desktopEntry.empty()) {
        return ActionCompletion::succeeded();
    }
    return entries_.launchFile(application.desktopEntry);
}

EwmhFrontmostWatcher::EwmhFrontmostWatcher() = default;

EwmhFrontmostWatcher::~EwmhFrontmostWatcher() {
    notifier_.reset(); // before the connection whose descriptor it watches
}

bool EwmhFrontmostWatcher::start(std::function<void()> changed) {
    notifier_.reset();
    connection_.reset();
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0' || !(connection_ = EwmhConnection::open(display))) {
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
    const auto active = activeClient(*connection_);
    return active ? keyOf(active->windowClass) : std::string();
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
