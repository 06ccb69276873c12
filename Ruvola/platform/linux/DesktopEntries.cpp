#include "Ruvola/platform/linux/DesktopEntries.hpp"

#include <array>
#include <cstring>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>
#include <string_view>

namespace ruvola::platform {

namespace {

// How long a window class's entry, and the index of StartupWMClass, is trusted; entries
// installed meanwhile are seen after that.
constexpr auto freshFor = std::chrono::seconds(30);
// Window classes come and go; forgetting them all now and then keeps the cache small.
constexpr std::size_t maxLookups = 256;

struct GFreeDeleter {
    void operator()(gchar* text) const { g_free(text); }
};
struct GObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct GErrorDeleter {
    void operator()(GError* error) const { g_error_free(error); }
};
using GText = std::unique_ptr<gchar, GFreeDeleter>;
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectDeleter>;

// Started applications are nobody's children (GLib reaps the intermediate process) and write to
// /dev/null, so that nothing of theirs is tied to Ruvola.
constexpr auto detached =
    static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDIN_FROM_DEV_NULL |
                             G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);

std::string withoutSuffix(const char* id) {
    constexpr std::string_view suffix = ".desktop";
    std::string text = id != nullptr ? id : "";
    if (text.ends_with(suffix)) {
        text.resize(text.size() - suffix.size());
    }
    return text;
}

std::optional<DesktopEntries::Entry> entryOf(GDesktopAppInfo* application) {
    const char* id = g_app_info_get_id(G_APP_INFO(application));
    const char* path = g_desktop_app_info_get_filename(application);
    if (id == nullptr || path == nullptr) {
        return std::nullopt;
    }
    return DesktopEntries::Entry{withoutSuffix(id), path};
}

std::string lowered(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return text;
}

ActionCompletion couldNotLaunch(std::string reason) {
    return ActionCompletion::failed({ActionFailure::CouldNotLaunch{std::move(reason)}});
}

ActionCompletion failedWith(GError* error, const std::string& fallback) {
    const GErrorPtr owned(error);
    return couldNotLaunch(error != nullptr ? error->message : fallback);
}

ActionCompletion start(GAppInfo* application) {
    GError* error = nullptr;
    const bool started = G_IS_DESKTOP_APP_INFO(application)
                             ? g_desktop_app_info_launch_uris_as_manager(
                                   G_DESKTOP_APP_INFO(application), nullptr, nullptr, detached,
                                   nullptr, nullptr, nullptr, nullptr, &error) != FALSE
                             : g_app_info_launch(application, nullptr, nullptr, &error) != FALSE;
    if (started) {
        return ActionCompletion::succeeded();
    }
    const char* name = g_app_info_get_name(application);
    return failedWith(error, std::string("could not start ") + (name != nullptr ? name : "it"));
}

ActionCompletion startProgram(const std::string& path) {
    std::string program = path;
    std::array<gchar*, 2> arguments{program.data(), nullptr};
    GError* error = nullptr;
    if (g_spawn_async(nullptr, arguments.data(), nullptr, detached, nullptr, nullptr, nullptr,
                      &error) != FALSE) {
        return ActionCompletion::succeeded();
    }
    return failedWith(error, "could not start " + path);
}

} // namespace

std::optional<DesktopEntries::Entry>
DesktopEntries::forWindowClass(const std::string& instance, const std::string& windowClass) {
    const std::scoped_lock lock(mutex_);
    const auto now = Clock::now();
    auto key = std::make_pair(instance, windowClass);
    if (const auto found = lookups_.find(key);
        found != lookups_.end() && now - found->second.made < freshFor) {
        return found->second.entry;
    }
    if (lookups_.size() >= maxLookups) {
        lookups_.clear();
    }
    auto entry = lookUp(instance, windowClass);
    lookups_[std::move(key)] = Lookup{entry, now};
    return entry;
}

std::optional<DesktopEntries::Entry> DesktopEntries::lookUp(const std::string& instance,
                                                            const std::string& windowClass) {
    for (const std::string& name :
         {windowClass, instance, lowered(windowClass), lowered(instance)}) {
        if (name.empty() || name.find('/') != std::string::npos) {
            continue;
        }
        const GObjectPtr<GDesktopAppInfo> application(
            g_desktop_app_info_new((name + ".desktop").c_str()));
        if (application) {
            if (auto entry = entryOf(application.get())) {
                return entry;
            }
        }
    }
    // Reading every entry is the slow part, so it is done at most once in a while.
    const auto now = Clock::now();
    if (!indexed_ || now - *indexed_ >= freshFor) {
        indexStartupClasses(now);
    }
    for (const std::string& name : {windowClass, instance}) {
        if (const auto found = byStartupClass_.find(name); found != byStartupClass_.end()) {
            return found->second;
        }
    }
    return std::nullopt;
}

void DesktopEntries::indexStartupClasses(Clock::time_point now) {
    byStartupClass_.clear();
    GList* all = g_app_info_get_all();
    for (GList* item = all; item != nullptr; item = item->next) {
        auto* application = static_cast<GAppInfo*>(item->data);
        if (!G_IS_DESKTOP_APP_INFO(application)) {
            continue;
        }
        const char* startupClass =
            g_desktop_app_info_get_startup_wm_class(G_DESKTOP_APP_INFO(application));
        if (startupClass != nullptr) {
            if (auto entry = entryOf(G_DESKTOP_APP_INFO(application))) {
                // The first one wins, as GIO lists the user's entries before the system's.
                byStartupClass_.emplace(startupClass, std::move(*entry));
            }
        }
    }
    g_list_free_full(all, g_object_unref);
    indexed_ = now;
}

std::string DesktopEntries::fileManagerId() const {
    const GObjectPtr<GAppInfo> application(
        g_app_info_get_default_for_type("inode/directory", FALSE));
    return application ? withoutSuffix(g_app_info_get_id(application.get())) : std::string();
}

ActionCompletion DesktopEntries::launch(const std::string& name,
                                        const ApplicationMatch& matches) const {
    GObjectPtr<GAppInfo> chosen;
    GList* all = g_app_info_get_all();
    for (GList* item = all; item != nullptr && !chosen; item = item->next) {
        auto* application = static_cast<GAppInfo*>(item->data);
        if (g_app_info_should_show(application) == FALSE) {
            continue;
        }
        const std::string id = withoutSuffix(g_app_info_get_id(application));
        // The display name may be the longer X-GNOME-FullName; people may use either.
        const char* displayName = g_app_info_get_display_name(application);
        const char* plainName = g_app_info_get_name(application);
        if ((displayName != nullptr && matches(displayName, id)) ||
            (plainName != nullptr &&
             (displayName == nullptr || std::strcmp(plainName, displayName) != 0) &&
             matches(plainName, id))) {
            chosen.reset(static_cast<GAppInfo*>(g_object_ref(application)));
        }
    }
    g_list_free_full(all, g_object_unref);
    if (chosen) {
        return start(chosen.get());
    }

    const GText program(name.empty() ? nullptr : g_find_program_in_path(name.c_str()));
    if (program) {
        return startProgram(program.get());
    }
    return couldNotLaunch("no application called \"" + name + "\"");
}

ActionCompletion DesktopEntries::launchFile(const std::string& path) const {
    const GObjectPtr<GDesktopAppInfo> application(
        g_desktop_app_info_new_from_filename(path.c_str()));
    if (!application) {
        return couldNotLaunch("can't read the desktop entry " + path);
    }
    return start(G_APP_INFO(application.get()));
}

} // namespace ruvola::platform
