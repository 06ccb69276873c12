#include "Ruvola/RuvolaApplication.hpp"

#include "Ruvola/actions/ActionRunner.hpp"
#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/DesktopSession.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Launcher.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <QCoreApplication>
#include <QPointer>
#include <QSettings>
#include <QTimer>

namespace ruvola {

namespace {

constexpr const char* fineVolumeStepsKey = "fineVolumeSteps";

// The title of notifications the program sends.
constexpr std::string_view productName = "Ruvola";

// Only network actions need the bindings document, for its addresses.
std::optional<ActionRunner::WebRequest> webRequest(const PadAction& action,
                                                   const BindingsFile& file) {
    if (action.as<PadAction::Http>() == nullptr && action.as<PadAction::Roku>() == nullptr &&
        action.as<PadAction::HomeAssistant>() == nullptr &&
        action.as<PadAction::Ntfy>() == nullptr) {
        return std::nullopt;
    }
    return file.request(action, productName);
}

} // namespace

RuvolaApplication::RuvolaApplication(platform::Platform& platform, QSettings& settings,
                                     PadConnection::Status previewStatus,
                                     std::optional<BindingsFile> previewBindings)
    : platform_(platform), settings_(settings), padStatus_(std::move(previewStatus)),
      previewBindings_(std::move(previewBindings)) {}

RuvolaApplication::~RuvolaApplication() = default;

void RuvolaApplication::info(const std::string& message) const {
    if (logger_ != nullptr) {
        logger_->info(message);
    }
}

void RuvolaApplication::start(Logging& logger) {
    logger_ = &logger;
    readFrontmost();

    runner_ = std::make_unique<ActionRunner>(logger, platform_);
    runner_->volume().setFineVolumeSteps(settings_.value(fineVolumeStepsKey, false).toBool());

    store_ = std::make_unique<BindingsStore>(
        BindingsStore::url(platform_.installation().homeDirectory()), logger,
        platform_.makeDirectoryWatcher(), &platform_.desktop());
    store_->load();
    store_->startWatching();
    store_->onChange = [this] { bindingsChanged(); };

    pad_ = std::make_unique<PadConnection>(platform_.makeHidManager());
    pad_->brightness = store_->file().settings.brightness;
    pad_->onStatus = [this](const PadConnection::Status& status) { padStatusChanged(status); };
    pad_->onInput = [this](const PadInput& input) { handle(input); };
    pad_->onLog = [this](const std::string& line) { info(line); };
    pad_->onStarted = [this] {
        screens_.forget();
        updateScreens();
    };

    frontmostWatcher_ = platform_.makeFrontmostWatcher();
    frontmostWatcher_->start([this] { frontmostChanged(); });
    // A display server that goes away takes the frontmost application with it.
    platform_.session().onLost([self = QPointer(this)](const std::string& sentence) {
        if (self) {
            self->logger_->warning(sentence);
            self->frontmostChanged();
        }
    });
    wakeWatcher_ = platform_.makeWakeWatcher();
    wakeWatcher_->start([this] { wokeFromSleep(); });
    // The change is announced before it is complete: look again a moment later.
    accessWatcher_ = platform_.makeAccessWatcher();
    accessWatcher_->start(
        [this] { QTimer::singleShot(accessRecheckDelay, this, [this] { noteAccessChange(); }); });

    const bool trusted = platform_.inputAccess().isTrusted();
    lastKnownAccess_ = trusted;
    info(trusted
             ? "Input access allowed: system keys and keystrokes on"
             : "No input access yet: volume falls back to the sound server, keystrokes are off");
}

void RuvolaApplication::stop() {
    frontmostWatcher_.reset();
    wakeWatcher_.reset();
    accessWatcher_.reset();
    if (pad_) {
        pad_->shutdown();
    }
}

void RuvolaApplication::wokeFromSleep() {
    info("Woke from sleep; restarting the pad");
    if (pad_) {
        pad_->restart();
    }
}

void RuvolaApplication::frontmostChanged() {
    readFrontmost();
    emit changed();
    updateScreens();
}

void RuvolaApplication::readFrontmost() {
    frontmost_.clear();
    if (const auto frontmost = platform_.windows().frontmost()) {
        for (const std::string* text : {&frontmost->name, &frontmost->identifier}) {
            if (!text->empty()) {
                frontmost_.push_back(*text);
            }
        }
    }
}

const BindingsFile& RuvolaApplication::currentBindings() const {
    if (store_) {
        return store_->file();
    }
    return previewBindings_ ? *previewBindings_ : BindingsFile::defaults();
}

bool RuvolaApplication::fineVolumeSteps() const {
    return settings_.value(fineVolumeStepsKey, false).toBool();
}

void RuvolaApplication::setFineVolumeSteps(bool fine) {
    settings_.setValue(fineVolumeStepsKey, fine);
    if (runner_) {
        runner_->volume().setFineVolumeSteps(fine);
    }
    emit changed();
}

void RuvolaApplication::editBindings() {
    if (store_) {
        store_->edit();
    }
}

void RuvolaApplication::handle(const PadInput& input) {
    const PadControl control = input.control();
    if (lastControl_ != control) {
        lastControl_ = control;
        emit changed();
    }
    const BindingsFile& file = currentBindings();
    const PadBinding* binding = file.binding(control, frontmost_);
    if (binding == nullptr) {
        return;
    }
    const std::optional<PadAction>& action = binding->action(input);
    if (!action || !runner_) {
        return; // releases and empty slots run nothing
    }
    runner_->run(*action, *binding, webRequest(*action, file));
}

void RuvolaApplication::padStatusChanged(const PadConnection::Status& status) {
    padStatus_ = status;
    if (status.connected) {
        info("Connected to " + status.connected->model.name + ", firmware " +
             status.connected->firmware.value_or("unknown"));
        screens_.forget();
    } else {
        info("Pad disconnected");
        screens_.clear();
    }
    emit changed();
    updateScreens();
}

void RuvolaApplication::bindingsChanged() {
    emit changed();
    const int brightness = currentBindings().settings.brightness;
    if (pad_ && pad_->brightness != brightness) {
        pad_->brightness = brightness;
        pad_->send(PadProtocol::brightness(brightness));
    }
    updateScreens();
}

void RuvolaApplication::updateScreens() {
    if (!pad_ || !padStatus_.connected) {
        return;
    }
    screens_.update(*pad_, currentBindings(), frontmost_);
}

void RuvolaApplication::noteAccessChange() {
    const bool trusted = platform_.inputAccess().isTrusted();
    const bool differs = lastKnownAccess_ && *lastKnownAccess_ != trusted;
    lastKnownAccess_ = trusted;
    if (!differs) {
        return;
    }
    info(trusted ? "Input access allowed" : "Input access removed");
    emit changed();
    if (trusted) {
        relaunchToApplyAccess();
    }
}

void RuvolaApplication::relaunchToApplyAccess() {
    info("Relaunching so the desktop applies the new input access");
    platform_.launcher().relaunch();
    QCoreApplication::quit();
}

} // namespace ruvola
