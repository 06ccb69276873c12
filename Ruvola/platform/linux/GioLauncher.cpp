#include "Ruvola/platform/linux/GioLauncher.hpp"

#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Processes.hpp"
#include "Ruvola/platform/linux/DesktopEntries.hpp"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QString>

#include <cstdlib>
#include <filesystem>

namespace ruvola::platform {

ActionCompletion GioLauncher::launch(const std::string& name, const ApplicationMatch& matches) {
    return entries_.launch(name, matches);
}

ActionCompletion GioLauncher::reopen(const RunningApplication& application) {
    if (application.desktopEntry.empty()) {
        return ActionCompletion::succeeded();
    }
    return entries_.launchFile(application.desktopEntry);
}

bool GioLauncher::isFileManager(const RunningApplication& application) {
    return !application.desktopEntry.empty() && application.identifier == entries_.fileManagerId();
}

ActionCompletion GioLauncher::open(const std::string& pathOrAddress) {
    const QString opener = QStandardPaths::findExecutable("xdg-open");
    if (opener.isEmpty()) {
        return ActionCompletion::failed(
            {ActionFailure::CouldNotLaunch{"xdg-open is not installed"}});
    }
    return processes_.run(opener.toStdString(), {pathOrAddress});
}

ActionCompletion GioLauncher::runShortcut(const std::string& name) {
    // The XDG rules say a relative value is to be ignored.
    const char* data = std::getenv("XDG_DATA_HOME");
    const std::filesystem::path folder =
        data != nullptr && std::filesystem::path(data).is_absolute()
            ? std::filesystem::path(data)
            : installation_.homeDirectory() / ".local/share";
    return processes_.run((folder / "ruvola/shortcuts" / name).string(), {});
}

void GioLauncher::relaunch() {
    // The new copy starts a second after this one has gone, so it can take the pad.
    QProcess::startDetached(
        "/bin/sh", {"-c", "sleep 1; exec \"$0\"", QCoreApplication::applicationFilePath()});
}

} // namespace ruvola::platform
