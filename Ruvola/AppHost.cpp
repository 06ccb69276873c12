#include "Ruvola/AppHost.hpp"

#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/cli/RuvolaCLI.hpp"
#include "Ruvola/host/BuildIdentity.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/host/SingleInstance.hpp"
#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/tray/MenubarHost.hpp"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace ruvola {
namespace {

// A failed write (a closed pipe, a full disk) never changes the command's outcome.
void write(const std::string& text, std::FILE* stream) {
    if (!text.empty()) {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fflush(stream);
    }
}

int runApplication(const AppIdentity& identity, platform::Platform& platform, bool loginLaunch,
                   int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QString::fromStdString(identity.name));
    // Its windows' app id on Wayland, which names its desktop entry.
    QGuiApplication::setDesktopFileName(QString::fromStdString(identity.bundleIdentifier));

    SingleInstance instance(identity.slug);
    if (!instance.claim()) {
        return 0; // the running copy was asked to show itself
    }
    FileLogger logger(platform.installation().logDirectory() / "Ruvola.log");
    logger.prepareFile();
    // Beside the bindings folder, not in it: changing a setting must not reload the bindings.
    QSettings settings(QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
                           .filePath(QString::fromStdString(identity.slug + ".conf")),
                       QSettings::IniFormat);

    RuvolaApplication driver(platform, settings);
    MenubarHost host(driver, logger, identity, platform, settings, loginLaunch);
    instance.onReopen = [&host] { host.reopen(); };
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [&host] { host.terminate(); });

    // Asked to end from outside, the program ends as on Quit: the pad blanked and let go.
    const std::unique_ptr<platform::Notifier> stop = platform.makeStopWatcher();
    stop->start([] { QCoreApplication::quit(); });
    QTimer::singleShot(0, &host, [&host] { host.launch(); });
    return QApplication::exec();
}

} // namespace

CLIResult AppHost::routeCLI(const AppIdentity& identity, const std::vector<std::string>& arguments,
                            platform::Platform& platform) {
    const std::string first = arguments.empty() ? "help" : arguments.front();
    const std::string helpText = UniversalCLI::help(identity, RuvolaCLI::commandHelp());
    if (first == "help" || first == "--help" || first == "-h") {
        return {0, helpText, {}};
    }
    if (first == "version" || first == "--version" || first == "-v") {
        return {0, UniversalCLI::version(identity), {}};
    }
    if (first == "doctor") {
        const platform::Installation& installation = platform.installation();
        const BundleInfo bundle{installation.bundleIdentifier(), installation.bundleRemedy()};
        return UniversalCLI::doctor(identity, RuvolaCLI::diagnosticChecks(platform), bundle);
    }
    if (auto result = RuvolaCLI::handleCLI(arguments, platform)) {
        return std::move(*result);
    }
    return {2, helpText, "error: unknown command: " + first + "\n"};
}

std::optional<CLIResult> AppHost::launchRefusal(const AppIdentity& identity) {
    const auto violations = identity.violations();
    if (violations.empty()) {
        return std::nullopt;
    }
    CLIResult refusal{2, {}, {}};
    for (const ContractViolation& violation : violations) {
        refusal.standardError += violation.description() + "\n";
    }
    return refusal;
}

int AppHost::run(int argc, char** argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const AppIdentity identity = buildIdentity();
    const auto platform = platform::makePlatform();
    // The desktop's autostart entry marks its launches; they are launches like any other.
    const bool loginLaunch = arguments == std::vector<std::string>{loginLaunchArgument};
    if (loginLaunch) {
        arguments.clear();
    }
    const CLIResult result = [&] {
        if (arguments.empty()) {
            if (auto refusal = launchRefusal(identity)) {
                return std::move(*refusal);
            }
            if (!platform->desktop().sessionAvailable()) {
                return CLIResult{1,
                                 {},
                                 identity.slug +
                                     ": the tray application needs a desktop session, and none "
                                     "was found (DISPLAY or WAYLAND_DISPLAY). The command line "
                                     "works without one: " +
                                     identity.slug + " help\n"};
            }
            return CLIResult{runApplication(identity, *platform, loginLaunch, argc, argv), {}, {}};
        }
        return routeCLI(identity, arguments, *platform);
    }();
    write(result.standardOutput, stdout);
    write(result.standardError, stderr);
    return result.exitCode;
}

} // namespace ruvola
