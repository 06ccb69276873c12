#include "Ruvola/cli/RuvolaCLI.hpp"

#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/pad/PadConnection.hpp"
#include "Ruvola/platform/Brightness.hpp"
#include "Ruvola/platform/DesktopSession.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/MediaPlayers.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/SystemKeys.hpp"
#include "RuvolaCore/Overloaded.hpp"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace ruvola {
namespace {

const std::array<CLICommandHelp, 2> commands{{
    {"watch", "print every key, button and knob by its bindings.json name; ctrl-C stops"},
    {"check", "validate ~/.config/ruvola/bindings.json"},
}};

CLIResult check(platform::Platform& platform) {
    NullLogger silent;
    BindingsStore store(BindingsStore::url(platform.installation().homeDirectory()), silent,
                        nullptr, nullptr);
    std::error_code error;
    if (!std::filesystem::exists(store.url(), error)) {
        return {0, "no " + store.url().string() + "; using the defaults\n", {}};
    }
    store.load();
    const BindingsFile& file = store.file();
    CLIResult result{0, std::to_string(file.bindings.size()) + " bindings\n", {}};
    for (const std::string& problem : file.problems) {
        result.exitCode = 1;
        result.standardError += "\u2717 " + problem + "\n";
    }
    return result;
}

std::string inputLine(const PadInput& input) {
    const auto pressOrRelease = [](bool pressed) { return pressed ? "press" : "release"; };
    const std::string event = std::visit(
        Overloaded{
            [&](const PadInput::Key& key) -> std::string { return pressOrRelease(key.pressed); },
            [&](const PadInput::Button& button) -> std::string {
                return pressOrRelease(button.pressed);
            },
            [&](const PadInput::KnobPress& press) -> std::string {
                return pressOrRelease(press.pressed);
            },
            [](const PadInput::KnobTurn& turn) -> std::string {
                return turn.delta > 0 ? "right" : "left";
            },
        },
        input.event);
    return input.control().configName() + "  " + event;
}

// Runs until ctrl-C, which is a normal end.
CLIResult watchUntilInterrupted(platform::Platform& platform) {
    int argc = 1;
    char name[] = "ruvola";
    char* argv[] = {name, nullptr};
    QCoreApplication application(argc, argv);
    std::signal(SIGINT, [](int) { std::_Exit(0); });
    PadConnection connection(platform.makeHidManager());
    RuvolaCLI::watch(connection, [](const std::string& line) {
        std::fputs((line + "\n").c_str(), stdout);
        std::fflush(stdout);
    });
    QCoreApplication::exec();
    return {0, {}, {}};
}

} // namespace

void RuvolaCLI::watch(PadConnection& connection, std::function<void(const std::string&)> print) {
    connection.onStatus = [print](const PadConnection::Status& status) {
        if (!status.connected) {
            print("waiting for a pad\u2026");
            return;
        }
        const auto& firmware = status.connected->firmware;
        print("connected: " + status.connected->model.name + " (" +
              (firmware ? *firmware : "firmware unknown") + ")");
    };
    connection.onInput = [print](const PadInput& input) { print(inputLine(input)); };
}

std::span<const CLICommandHelp> RuvolaCLI::commandHelp() {
    return commands;
}

std::optional<CLIResult> RuvolaCLI::handleCLI(const std::vector<std::string>& arguments,
                                              platform::Platform& platform) {
    const std::string& command = arguments.front();
    if (command == "check") {
        return check(platform);
    }
    if (command == "watch") {
        return watchUntilInterrupted(platform);
    }
    return std::nullopt;
}

std::vector<DiagnosticCheck> RuvolaCLI::diagnosticChecks(platform::Platform& platform) {
    // The buses are asked through the toolkit, which wants an application object.
    int argc = 1;
    char name[] = "ruvola";
    char* argv[] = {name, nullptr};
    std::optional<QCoreApplication> application;
    if (QCoreApplication::instance() == nullptr) {
        application.emplace(argc, argv);
    }
    const auto pads = platform.hidDiscovery().attached(PadConnection::supportedPads());
    std::vector<DiagnosticCheck> checks{
        {"pad", !pads.empty(), "a supported pad is plugged in",
         "plug in a Soomfon Stream Controller SE (CN002)"},
    };
    // Being plugged in is not enough on Linux: the pad's node must be ours to open.
    if (!pads.empty()) {
        const bool accessible =
            std::any_of(pads.begin(), pads.end(),
                        [](const platform::HidPresence& pad) { return pad.accessible; });
        checks.push_back(
            {"pad access", accessible, "allowed to talk to the pad",
             "install Ruvola's udev rule for the pad (70-ruvola-pad.rules, put in place "
             "by cmake --install) and plug the pad in again"});
    }
    for (DiagnosticCheck& check : sessionChecks(platform.session())) {
        checks.push_back(std::move(check));
    }
    for (DiagnosticCheck& check : keyRouteChecks(platform)) {
        checks.push_back(std::move(check));
    }
    const bool tray = platform.session().hasTray();
    checks.push_back({"tray", tray, "tray: the status icon shows in the desktop's tray",
                      "no tray on this desktop, so the panel opens as a window at start and each "
                      "time Ruvola is launched again; for an icon, run a StatusNotifier host (on "
                      "GNOME the AppIndicator extension)"});
    return checks;
}

// The session and its backend, then what can be done in it, one line each.
std::vector<DiagnosticCheck> RuvolaCLI::sessionChecks(const platform::DesktopSession& session) {
    std::vector<DiagnosticCheck> checks{
        {"desktop", session.usable(), "desktop: " + session.description(),
         "no graphical session: start Ruvola inside a desktop session (X11 or Wayland)"},
    };
    for (const platform::DesktopSession::Ability& ability : session.abilities()) {
        checks.push_back({ability.name, ability.available, ability.name + ": " + ability.detail,
                          ability.remedy});
    }
    return checks;
}

// What becomes of a media or brightness key: the desktop's own service where there is one, else
// the key, through the first tap that can post.
std::vector<DiagnosticCheck> RuvolaCLI::keyRouteChecks(platform::Platform& platform) {
    // Players and services answer on an event loop; a moment is enough for the bus's own.
    platform::MediaPlayers& players = platform.mediaPlayers();
    const std::string brightness = platform.brightness().route();
    QEventLoop loop;
    QTimer::singleShot(std::chrono::milliseconds(300), &loop, &QEventLoop::quit);
    loop.exec();

    platform::SystemKeys& keys = platform.systemKeys();
    const auto& taps = platform::SystemKeys::allTaps;
    const auto tap =
        std::find_if(taps.begin(), taps.end(), [&](auto t) { return keys.canPost(t); });
    const bool posts = tap != taps.end();
    const std::string through = posts ? "through " + keys.describe(*tap) : "";
    const std::string remedy = platform.inputAccess().remedy();
    const int count = players.count();
    const std::string media = count > 0 ? std::string(players.name()) + " \u2014 " +
                                              std::to_string(count) +
                                              (count == 1 ? " player" : " players")
                                        : "no player now; keys " + through;
    return {
        {"system keys", posts, "system keys: " + through, remedy},
        {"media keys", count > 0 || posts, "media keys: " + media,
         "no player now, and no way to press keys: start a media player, or " + remedy},
        {"brightness", !brightness.empty() || posts,
         "brightness: " +
             (brightness.empty() ? "no desktop service or backlight; keys " + through : brightness),
         "no backlight and no desktop service, and no way to press keys: " + remedy},
    };
}

} // namespace ruvola
