#pragma once

#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct wl_seat;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

namespace ruvola::platform {

class WaylandConnection;

/// The toplevels (windows) a wlroots compositor reports through the foreign toplevel protocol,
/// as of each one's last complete report. Reports arrive on the main thread; the table is read,
/// and requests on its handles sent, from any thread under `mutex`. When the compositor goes
/// away the table empties.
class WlrToplevels : public std::enable_shared_from_this<WlrToplevels> {
public:
    using Handle = zwlr_foreign_toplevel_handle_v1;

    struct Toplevel {
        std::uint64_t order;           ///< when it was first seen
        bool done = false;             ///< its first report is complete
        std::string appId{};           ///< as of the last complete report
        bool activated = false;        ///< as of the last complete report
        bool minimized = false;        ///< as of the last complete report
        std::uint64_t activatedAt = 0; ///< when it last became active; later ones are in front
        std::string pendingAppId{};
        bool pendingActivated = false;
        bool pendingMinimized = false;
    };

    /// Binds the compositor's toplevel manager and learns the current toplevels before it
    /// returns; null when the compositor doesn't offer it. Windows of `ownAppId` never count as
    /// the front one. Main thread.
    static std::shared_ptr<WlrToplevels> follow(std::shared_ptr<WaylandConnection> connection,
                                                std::string ownAppId);

    ~WlrToplevels();
    WlrToplevels(const WlrToplevels&) = delete;
    WlrToplevels& operator=(const WlrToplevels&) = delete;

    WaylandConnection& connection() const { return *connection_; }
    /// The seat to activate windows with; null when the compositor has none.
    wl_seat* seat() const { return seat_; }
    /// sway's IPC when this runs in sway.
    const std::optional<SwayIpc>& sway() const { return sway_; }

    /// The app id of the application in front: that of the window made active last, or, while
    /// it is one of Ruvola's own, of the application in front before it. None when no window is
    /// active.
    std::optional<std::string> front();

    /// The app ids with windows, each once, in the order their first windows appeared.
    std::vector<std::string> applications();

    /// Calls `use(handle, toplevel)` for each reported toplevel of the application `appId`, then
    /// `after()`, all under `mutex`; false when it has none.
    template <typename Use, typename After = void (*)()>
    bool forEachOf(
        const std::string& appId, Use use, After after = [] {}) {
        const std::lock_guard lock(mutex);
        bool any = false;
        for (auto& [handle, toplevel] : toplevels_) {
            if (toplevel.done && toplevel.appId == appId) {
                use(handle, toplevel);
                any = true;
            }
        }
        after();
        return any;
    }

    /// Calls `listener` on the main thread after each report; gives an id for `unlisten`.
    int listen(std::function<void()> listener);
    void unlisten(int id) { listeners_.erase(id); }

    std::mutex mutex;
    /// sway containers that were tiled before they were hidden, to tile again when shown.
    std::set<std::int64_t> tiledWhenHidden;

private:
    struct Events; // the protocol's listeners

    WlrToplevels(std::shared_ptr<WaylandConnection> connection,
                 zwlr_foreign_toplevel_manager_v1* manager, std::string ownAppId);
    std::optional<std::string> frontKey() const;
    void changed();
    void forget();

    const std::shared_ptr<WaylandConnection> connection_;
    zwlr_foreign_toplevel_manager_v1* manager_;
    const std::string ownAppId_;
    const std::optional<SwayIpc> sway_;
    wl_seat* seat_ = nullptr;

    std::map<Handle*, Toplevel> toplevels_;
    std::uint64_t seen_ = 0;
    std::uint64_t activations_ = 0;
    std::optional<std::string> lastForeign_; ///< the last application in front but Ruvola

    std::map<int, std::function<void()>> listeners_; ///< main thread only
    int nextListener_ = 0;
};

} // namespace ruvola::platform
