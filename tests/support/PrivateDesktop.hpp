#pragma once

#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace ruvola::testing {

/// A private desktop for the process, to be made before GIO first reads one (GIO reads it once):
/// desktop entries, mimeapps.list, a program on PATH, and no session bus, so GIO's launch notice
/// fails at once instead of starting one. Every application it starts appends "ID PARENT-PID" to
/// `started.log` in the folder, then runs `window` with the entry's arguments:
/// - alpha.desktop: windows of class (alpha-bin, Alpha), known by the lower-cased class;
/// - org.example.Beta.desktop: (beta, Beta), known by its StartupWMClass;
/// - files.desktop: (files, Files), the handler of folders;
/// - ruvola-path-app on PATH: (delta, Delta), with no entry; (gamma, Gamma) has none either.
inline const std::filesystem::path& privateDesktop(const std::string& window) {
    namespace fs = std::filesystem;
    static const QTemporaryDir root;
    static const fs::path folder = [&] {
        const fs::path base = root.path().toStdString();
        for (const char* child : {"applications", "system", "bin"}) {
            fs::create_directories(base / child);
        }
        // openbox needs a theme from the data folders; GIO the MIME database.
        fs::create_directory_symlink("/usr/share/themes", base / "system/themes");
        fs::create_directory_symlink("/usr/share/mime", base / "system/mime");
        const auto script = [&](const fs::path& path, const std::string& body) {
            std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
            fs::permissions(path, fs::perms::owner_all);
        };
        script(base / "start", "echo \"$1 $PPID\" >>\"${0%/*}/started.log\"\nshift\nexec \"" +
                                   window + "\" \"$@\"");
        script(base / "bin/ruvola-path-app",
               "exec \"" + (base / "start").string() + "\" delta --class Delta --instance delta");
        const auto entry = [&](const std::string& id, const std::string& keys) {
            std::ofstream(base / "applications" / (id + ".desktop"))
                << "[Desktop Entry]\nType=Application\n"
                << keys << "\n";
        };
        const std::string start = "Exec=" + (base / "start").string() + " ";
        entry("alpha", "Name=Alpha\n" + start + "alpha --class Alpha --instance alpha-bin");
        entry("org.example.Beta", "Name=Beta Viewer\nStartupWMClass=Beta\n" + start +
                                      "beta --class Beta --instance beta");
        entry("files", "Name=Files\n" + start + "files --class Files --instance files");
        std::ofstream(base / "mimeapps.list")
            << "[Default Applications]\ninode/directory=files.desktop\n";
        for (const char* variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
            setenv(variable, base.c_str(), 1);
        }
        for (const char* variable : {"XDG_DATA_DIRS", "XDG_CONFIG_DIRS"}) {
            setenv(variable, (base / "system").c_str(), 1);
        }
        setenv("PATH", ((base / "bin").string() + ":" + std::getenv("PATH")).c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (base / "no-bus").string()).c_str(), 1);
        unsetenv("XDG_CURRENT_DESKTOP");
        return base;
    }();
    return folder;
}

} // namespace ruvola::testing
