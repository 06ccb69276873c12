#include "Ruvola/platform/linux/GioDesktop.hpp"

#include "Ruvola/platform/linux/Session.hpp"

#include <array>
#include <gio/gio.h>
#include <memory>
#include <string>

namespace ruvola::platform {

namespace {

struct GFreeDeleter {
    void operator()(gchar* text) const { g_free(text); }
};
struct GObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using GText = std::unique_ptr<gchar, GFreeDeleter>;
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectDeleter>;

GObjectPtr<GAppInfo> defaultApplication(const char* contentType) {
    return GObjectPtr<GAppInfo>(g_app_info_get_default_for_type(contentType, FALSE));
}

/// The application for this file's type, else the one for plain text.
GObjectPtr<GAppInfo> editorFor(const std::string& path) {
    // By name only: the file's contents are the editor's business, and reading them could block.
    const GText contentType(g_content_type_guess(path.c_str(), nullptr, 0, nullptr));
    if (contentType) {
        if (auto application = defaultApplication(contentType.get())) {
            return application;
        }
    }
    return defaultApplication("text/plain");
}

bool launch(GAppInfo* application, GFile* file) {
    GList files{};
    files.data = file;
    return g_app_info_launch(application, &files, nullptr, nullptr) != FALSE;
}

void startXdgOpen(const std::string& path) {
    std::string program = "xdg-open";
    std::string argument = path;
    std::array<gchar*, 3> arguments{program.data(), argument.data(), nullptr};
    // Without DO_NOT_REAP_CHILD GLib detaches the child, so it leaves no zombie behind.
    const auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDIN_FROM_DEV_NULL |
                                 G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    g_spawn_async(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, nullptr, nullptr);
}

} // namespace

void GioDesktop::openInEditor(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(file, error);
    const std::string path = (error ? file : absolute).string();
    const GObjectPtr<GFile> location(g_file_new_for_path(path.c_str()));

    if (const auto editor = editorFor(path); editor && launch(editor.get(), location.get())) {
        return;
    }
    const GText uri(g_file_get_uri(location.get()));
    if (uri && g_app_info_launch_default_for_uri(uri.get(), nullptr, nullptr) != FALSE) {
        return;
    }
    startXdgOpen(path);
}

bool GioDesktop::sessionAvailable() const {
    return sessionReachable();
}

} // namespace ruvola::platform
