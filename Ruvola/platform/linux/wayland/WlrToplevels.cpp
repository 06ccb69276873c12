#include "Ruvola/platform/linux/wayland/WlrToplevels.hpp"

#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"

#include <algorithm>
#include <utility>
#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

namespace ruvola::platform {

struct WlrToplevels::Events {
    static WlrToplevels& of(void* data) { return *static_cast<WlrToplevels*>(data); }

    /// The toplevel `handle` stands for, under the table's mutex; null once it was closed.
    static Toplevel* find(WlrToplevels& table, Handle* handle) {
        const auto found = table.toplevels_.find(handle);
        return found == table.toplevels_.end() ? nullptr : &found->second;
    }

    static void titled(void*, Handle*, const char*) {}
    static void entered(void*, Handle*, wl_output*) {}
    static void left(void*, Handle*, wl_output*) {}
    static void parented(void*, Handle*, Handle*) {}

    static void named(void* data, Handle* handle, const char* appId) {
        const std::lock_guard lock(of(data).mutex);
        if (Toplevel* toplevel = find(of(data), handle)) {
            toplevel->pendingAppId = appId;
        }
    }

    static void stated(void* data, Handle* handle, wl_array* states) {
        const std::lock_guard lock(of(data).mutex);
        if (Toplevel* toplevel = find(of(data), handle)) {
            const auto* begin = static_cast<const std::uint32_t*>(states->data);
            const auto* end = begin + states->size / sizeof(std::uint32_t);
            const auto holds = [&](std::uint32_t state) {
                return std::find(begin, end, state) != end;
            };
            toplevel->pendingActivated = holds(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
            toplevel->pendingMinimized = holds(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED);
        }
    }

    /// A report is complete: only now does it count, as it comes in parts.
    static void done(void* data, Handle* handle) {
        WlrToplevels& table = of(data);
        {
            const std::lock_guard lock(table.mutex);
            Toplevel* toplevel = find(table, handle);
            if (toplevel == nullptr) {
                return;
            }
            if (toplevel->pendingActivated && !toplevel->activated) {
                toplevel->activatedAt = ++table.activations_;
            }
            toplevel->done = true;
            toplevel->appId = toplevel->pendingAppId;
            toplevel->activated = toplevel->pendingActivated;
            toplevel->minimized = toplevel->pendingMinimized;
            if (toplevel->activated && toplevel->appId != table.ownAppId_) {
                table.lastForeign_ = toplevel->appId;
            }
        }
        table.changed();
    }

    static void closed(void* data, Handle* handle) {
        WlrToplevels& table = of(data);
        {
            const std::lock_guard lock(table.mutex);
            table.toplevels_.erase(handle);
            zwlr_foreign_toplevel_handle_v1_destroy(handle);
        }
        table.changed();
    }

    static constexpr zwlr_foreign_toplevel_handle_v1_listener handleListener{
        titled, named, entered, left, stated, done, closed, parented};

    static void appeared(void* data, zwlr_foreign_toplevel_manager_v1*, Handle* handle) {
        WlrToplevels& table = of(data);
        const std::lock_guard lock(table.mutex);
        table.toplevels_.emplace(handle, Toplevel{.order = ++table.seen_});
        zwlr_foreign_toplevel_handle_v1_add_listener(handle, &Events::handleListener, &table);
    }

    static void finished(void* data, zwlr_foreign_toplevel_manager_v1* manager) {
        WlrToplevels& table = of(data);
        const std::lock_guard lock(table.mutex);
        zwlr_foreign_toplevel_manager_v1_destroy(manager);
        table.manager_ = nullptr;
    }

    static constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener{appeared, finished};
};

std::shared_ptr<WlrToplevels> WlrToplevels::follow(std::shared_ptr<WaylandConnection> connection,
                                                   std::string ownAppId) {
    if (!connection) {
        return nullptr;
    }
    // Version 3 at most: what this code knows of the protocol.
    auto* manager = static_cast<zwlr_foreign_toplevel_manager_v1*>(
        connection->bind(zwlr_foreign_toplevel_manager_v1_interface, 3));
    if (manager == nullptr) {
        return nullptr;
    }
    std::shared_ptr<WlrToplevels> table(new WlrToplevels(connection, manager, std::move(ownAppId)));
    zwlr_foreign_toplevel_manager_v1_add_listener(manager, &Events::managerListener, table.get());
    connection->onLost([weak = std::weak_ptr(table)] {
        if (const auto alive = weak.lock()) {
            alive->forget();
        }
    });
    // The first round brings the toplevels, the second any report that came in parts.
    connection->roundtrip();
    connection->roundtrip();
    return table;
}

WlrToplevels::WlrToplevels(std::shared_ptr<WaylandConnection> connection,
                           zwlr_foreign_toplevel_manager_v1* manager, std::string ownAppId)
    : connection_(std::move(connection)), manager_(manager), ownAppId_(std::move(ownAppId)),
      sway_(SwayIpc::fromEnvironment()) {
    // Bound now, on the main thread, as windows may be activated from any other.
    seat_ = connection_->seat();
}

WlrToplevels::~WlrToplevels() {
    const std::lock_guard lock(mutex);
    for (const auto& entry : toplevels_) {
        zwlr_foreign_toplevel_handle_v1_destroy(entry.first);
    }
    if (manager_ != nullptr) {
        zwlr_foreign_toplevel_manager_v1_stop(manager_);
        zwlr_foreign_toplevel_manager_v1_destroy(manager_);
    }
    connection_->flush();
}

std::optional<std::string> WlrToplevels::front() {
    const std::lock_guard lock(mutex);
    return frontKey();
}

std::optional<std::string> WlrToplevels::frontKey() const {
    const Toplevel* front = nullptr;
    for (const auto& [handle, toplevel] : toplevels_) {
        // Focus moving reports two windows, in either order: the one activated last wins.
        if (toplevel.done && toplevel.activated &&
            (front == nullptr || toplevel.activatedAt > front->activatedAt)) {
            front = &toplevel;
        }
    }
    if (front == nullptr) {
        return std::nullopt;
    }
    if (front->appId != ownAppId_) {
        return front->appId;
    }
    if (lastForeign_ && std::ranges::any_of(toplevels_, [&](const auto& entry) {
            return entry.second.done && entry.second.appId == *lastForeign_;
        })) {
        return lastForeign_;
    }
    return std::nullopt;
}

std::vector<std::string> WlrToplevels::applications() {
    std::vector<std::pair<std::uint64_t, std::string>> firstSeen;
    {
        const std::lock_guard lock(mutex);
        std::map<std::string, std::uint64_t> first;
        for (const auto& [handle, toplevel] : toplevels_) {
            if (toplevel.done) {
                const auto [place, added] = first.emplace(toplevel.appId, toplevel.order);
                place->second = std::min(place->second, toplevel.order);
            }
        }
        for (const auto& [appId, order] : first) {
            firstSeen.emplace_back(order, appId);
        }
    }
    std::ranges::sort(firstSeen);
    std::vector<std::string> appIds;
    appIds.reserve(firstSeen.size());
    for (auto& entry : firstSeen) {
        appIds.push_back(std::move(entry.second));
    }
    return appIds;
}

int WlrToplevels::listen(std::function<void()> listener) {
    const int id = nextListener_++;
    listeners_.emplace(id, std::move(listener));
    return id;
}

void WlrToplevels::changed() {
    // A listener may drop the last owner of this table.
    const std::shared_ptr<WlrToplevels> keep = shared_from_this();
    std::vector<int> ids;
    for (const auto& entry : listeners_) {
        ids.push_back(entry.first);
    }
    for (const int id : ids) {
        // A listener may stop another while it is told.
        if (const auto listener = listeners_.find(id); listener != listeners_.end()) {
            const auto call = listener->second;
            call();
        }
    }
}

void WlrToplevels::forget() {
    {
        const std::lock_guard lock(mutex);
        for (const auto& entry : toplevels_) {
            zwlr_foreign_toplevel_handle_v1_destroy(entry.first);
        }
        toplevels_.clear();
    }
    changed();
}

} // namespace ruvola::platform
