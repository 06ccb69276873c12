#include "Ruvola/platform/linux/wayland/WlrWindows.hpp"

#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/wayland/WlrToplevels.hpp"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

namespace ruvola::platform {

namespace {

using Handle = WlrToplevels::Handle;

/// Follows the front application's app id, told by the table after each report.
class WlrFrontmostWatcher final : public FrontmostWatcher {
public:
    explicit WlrFrontmostWatcher(std::shared_ptr<WlrToplevels> toplevels)
        : toplevels_(std::move(toplevels)) {}

    ~WlrFrontmostWatcher() override {
        if (id_ >= 0) {
            toplevels_->unlisten(id_);
        }
    }

    WlrFrontmostWatcher(const WlrFrontmostWatcher&) = delete;
    WlrFrontmostWatcher& operator=(const WlrFrontmostWatcher&) = delete;

    bool start(std::function<void()> changed) override {
        if (toplevels_->connection().lost()) {
            return false;
        }
        changed_ = std::move(changed);
        if (id_ < 0) {
            front_ = toplevels_->front();
            settle_.setSingleShot(true);
            settle_.setInterval(noneSettles);
            settle_.callOnTimeout([this] {
                if (!toplevels_->front() && front_) {
                    front_.reset();
                    report();
                }
            });
            id_ = toplevels_->listen([this] { check(); });
            toplevels_->connection().serve();
        }
        return true;
    }

private:
    void check() {
        std::optional<std::string> front = toplevels_->front();
        if (!front) {
            if (front_ && !settle_.isActive()) {
                settle_.start(); // focus between two windows, or nothing left in front
            }
        } else {
            settle_.stop();
            if (front != front_) {
                front_ = std::move(front);
                report();
            }
        }
    }

    void report() {
        const auto callback = changed_; // a copy, as the callback may destroy this watcher
        if (callback) {
            callback();
        }
    }

    std::shared_ptr<WlrToplevels> toplevels_;
    std::function<void()> changed_;
    std::optional<std::string> front_;
    int id_ = -1;
    /// No active window counts only once it has lasted this long: focus passes through none on
    /// its way from one window to the next.
    static constexpr std::chrono::milliseconds noneSettles{250};
    QTimer settle_;
};

/// One sway command per container (each with its own criteria, so no app id is ever quoted).
template <typename Command>
std::string commandsFor(const std::vector<SwayIpc::View>& views, Command command) {
    std::string commands;
    for (const SwayIpc::View& view : views) {
        if (std::string one = command(view); !one.empty()) {
            commands += (commands.empty() ? "" : "; ") + one;
        }
    }
    return commands;
}

std::string criteria(const SwayIpc::View& view) {
    return "[con_id=" + std::to_string(view.id) + "] ";
}

} // namespace

std::unique_ptr<WlrWindows> WlrWindows::make(std::shared_ptr<WaylandConnection> connection,
                                             DesktopEntries& entries, std::string ownAppId) {
    auto toplevels = WlrToplevels::follow(std::move(connection), std::move(ownAppId));
    if (!toplevels) {
        return nullptr;
    }
    return std::unique_ptr<WlrWindows>(new WlrWindows(std::move(toplevels), entries));
}

WlrWindows::WlrWindows(std::shared_ptr<WlrToplevels> toplevels, DesktopEntries& entries)
    : toplevels_(std::move(toplevels)), entries_(entries) {}

WlrWindows::~WlrWindows() = default;

std::unique_ptr<FrontmostWatcher> WlrWindows::makeWatcher() {
    return std::make_unique<WlrFrontmostWatcher>(toplevels_);
}

RunningApplication WlrWindows::describe(const std::string& appId) {
    const auto entry = entries_.forWindowClass(appId, appId);
    return RunningApplication{
        .name = appId,
        .identifier = entry ? entry->id : appId,
        .desktopEntry = entry ? entry->path : std::string(),
        .pid = 0, // the protocol doesn't tell
        .key = appId,
    };
}

std::optional<RunningApplication> WlrWindows::frontmost() {
    const std::optional<std::string> appId = toplevels_->front();
    if (!appId) {
        return std::nullopt;
    }
    return describe(*appId);
}

std::vector<RunningApplication> WlrWindows::running() {
    std::vector<RunningApplication> applications;
    for (const std::string& appId : toplevels_->applications()) {
        applications.push_back(describe(appId));
    }
    return applications;
}

bool WlrWindows::hide(const RunningApplication& application) {
    const bool any = toplevels_->forEachOf(application.key, [](Handle* handle, const auto&) {
        zwlr_foreign_toplevel_handle_v1_set_minimized(handle);
    });
    if (!any) {
        return false;
    }
    toplevels_->connection().flush();
    // sway ignores minimising: its scratchpad is its way of putting windows out of sight.
    const auto& sway = toplevels_->sway();
    if (const auto views = sway ? sway->views() : std::nullopt) {
        std::vector<std::int64_t> tiled;
        const std::string commands = commandsFor(*views, [&](const SwayIpc::View& view) {
            if (view.appId != application.key || view.hidden) {
                return std::string();
            }
            if (!view.floating) {
                tiled.push_back(view.id);
            }
            return criteria(view) + "move scratchpad";
        });
        if (!commands.empty() && sway->run(commands)) {
            const std::lock_guard lock(toplevels_->mutex);
            toplevels_->tiledWhenHidden.insert(tiled.begin(), tiled.end());
        }
    }
    return true;
}

bool WlrWindows::activate(const RunningApplication& application) {
    // Out of sway's scratchpad first, so that the window activated last stays in front.
    const auto& sway = toplevels_->sway();
    if (const auto views = sway ? sway->views() : std::nullopt) {
        std::set<std::int64_t> tiled;
        {
            const std::lock_guard lock(toplevels_->mutex);
            tiled = toplevels_->tiledWhenHidden;
        }
        const std::string commands = commandsFor(*views, [&](const SwayIpc::View& view) {
            if (view.appId != application.key || !view.hidden) {
                return std::string();
            }
            return criteria(view) + "focus" +
                   (tiled.contains(view.id) ? "; " + criteria(view) + "floating disable" : "");
        });
        if (!commands.empty()) {
            sway->run(commands);
        }
    }
    // Every window shown again, and the one in front last (else the first) made active.
    Handle* chosen = nullptr;
    std::uint64_t latest = 0;
    const bool any = toplevels_->forEachOf(
        application.key,
        [&](Handle* handle, const WlrToplevels::Toplevel& toplevel) {
            zwlr_foreign_toplevel_handle_v1_unset_minimized(handle);
            if (chosen == nullptr || toplevel.activatedAt > latest) {
                chosen = handle;
                latest = toplevel.activatedAt;
            }
        },
        [&] {
            if (chosen != nullptr && toplevels_->seat() != nullptr) {
                zwlr_foreign_toplevel_handle_v1_activate(chosen, toplevels_->seat());
            }
        });
    if (!any) {
        return false;
    }
    toplevels_->connection().flush();
    return true;
}

bool WlrWindows::hasVisibleWindow(const RunningApplication& application) {
    bool visible = false;
    toplevels_->forEachOf(application.key, [&](Handle*, const WlrToplevels::Toplevel& toplevel) {
        visible = visible || !toplevel.minimized;
    });
    if (!visible) {
        return false;
    }
    const auto& sway = toplevels_->sway();
    if (const auto views = sway ? sway->views() : std::nullopt) {
        return std::ranges::any_of(*views, [&](const SwayIpc::View& view) {
            return view.appId == application.key && !view.hidden;
        });
    }
    return true;
}

} // namespace ruvola::platform
