#include "Ruvola/RuvolaApplication.hpp"

#include "Ruvola/actions/ActionRunner.hpp"
#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/pad/KeyArt.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Launcher.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "Ruvola/tray/StatusIconArt.hpp"
#include "RuvolaCore/Overloaded.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <QCoreApplication>
#include <QPointer>
#include <QSettings>
#include <QTimer>
#include <QTransform>

namespace ruvola {

namespace {

constexpr const char* fineVolumeStepsKey = "fineVolumeSteps";
constexpr const char* askedForAccessKey = "askedForAccess";
constexpr const char* fineVolumeStepsHelp =
    "Each click of a volume knob moves a quarter step, like Shift-Option with the volume keys.";

std::string signature(const PadBinding* binding, int rotation) {
    if (binding == nullptr) {
        return {};
    }
    return binding->icon.value_or("") + "|" + binding->name + "|" + binding->color.value_or("") +
           "|" + std::to_string(rotation);
}

std::string symbolOf(const PadControl& control) {
    if (control.isKnob()) {
        return "dial.medium.fill";
    }
    return control.kind() == PadControl::Kind::key ? "square.fill" : "circle.fill";
}

} // namespace

RuvolaApplication::RuvolaApplication(platform::Platform& platform, QSettings& settings,
                                     PadConnection::Status previewStatus,
                                     std::optional<BindingsFile> previewBindings)
    : platform_(platform), settings_(settings), padStatus_(std::move(previewStatus)),
      previewBindings_(std::move(previewBindings)) {}

RuvolaApplication::~RuvolaApplication() = default;

void RuvolaApplication::info(const std::string& message) const {
    if (context_ && context_->logger != nullptr) {
        context_->logger->info(message);
    }
}

void RuvolaApplication::start(ApplicationContext context) {
    context_ = std::move(context);
    Logging& logger = *context_->logger;

    runner_ = std::make_unique<ActionRunner>(logger, platform_);
    runner_->setFineVolumeSteps(settings_.value(fineVolumeStepsKey, false).toBool());

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
        screensShowing_.clear();
        updateScreens();
    };

    frontmostWatcher_ = platform_.makeFrontmostWatcher();
    frontmostWatcher_->start([this] { frontmostChanged(); });
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
    refresh();
    updateScreens();
}

const BindingsFile& RuvolaApplication::currentBindings() const {
    if (store_) {
        return store_->file();
    }
    return previewBindings_ ? *previewBindings_ : BindingsFile::defaults();
}

std::vector<std::string> RuvolaApplication::frontmostIdentifiers() const {
    std::vector<std::string> identifiers;
    if (const auto frontmost = platform_.windows().frontmost()) {
        for (const std::string* text : {&frontmost->name, &frontmost->identifier}) {
            if (!text->empty()) {
                identifiers.push_back(*text);
            }
        }
    }
    return identifiers;
}

void RuvolaApplication::handle(const PadInput& input) {
    const PadControl control = input.control();
    if (lastControl_ != control) {
        lastControl_ = control;
        refresh();
    }
    const BindingsFile& file = currentBindings();
    const PadBinding* binding = file.binding(control, frontmostIdentifiers());
    if (binding == nullptr) {
        return;
    }
    const std::optional<PadAction>& action = binding->action(input);
    if (!action || !runner_) {
        return; // releases and empty slots run nothing
    }
    runner_->run(*action, *binding, file);
}

void RuvolaApplication::padStatusChanged(const PadConnection::Status& status) {
    padStatus_ = status;
    if (status.connected) {
        info("Connected to " + status.connected->model.name + ", firmware " +
             status.connected->firmware.value_or("unknown"));
        screensShowing_.clear();
    } else {
        info("Pad disconnected");
    }
    refresh();
    updateScreens();
}

void RuvolaApplication::bindingsChanged() {
    refresh();
    const int brightness = currentBindings().settings.brightness;
    if (pad_ && pad_->brightness != brightness) {
        pad_->brightness = brightness;
        pad_->send(PadProtocol::brightness(brightness));
    }
    updateScreens();
}

void RuvolaApplication::refresh() {
    if (context_ && context_->refreshHost) {
        context_->refreshHost();
    }
}

void RuvolaApplication::updateScreens() {
    if (!pad_ || !padStatus_.connected) {
        return;
    }
    const std::vector<std::string> frontmost = frontmostIdentifiers();
    const BindingsFile& file = currentBindings();
    const int rotation = file.settings.rotation;
    bool changed = false;
    for (int key = 1; key <= 6; ++key) {
        const PadBinding* binding = file.binding(PadControl::key(key), frontmost);
        std::string wanted = signature(binding, rotation);
        const auto showing = screensShowing_.find(key);
        if (wanted == (showing == screensShowing_.end() ? "" : showing->second)) {
            continue;
        }
        std::vector<std::uint8_t>& picture = keyPictures_[static_cast<std::size_t>(key - 1)];
        picture.clear();
        if (binding != nullptr) {
            if (auto jpeg = KeyArt::jpeg(*binding, rotation)) {
                picture = std::move(*jpeg);
            }
        }
        if (picture.empty()) {
            pad_->send(PadProtocol::clearKey(key));
        } else {
            pad_->sendKeyImage(key, picture);
        }
        screensShowing_[key] = std::move(wanted);
        changed = true;
    }
    if (changed) {
        pad_->send(PadProtocol::refresh());
    }
}

std::array<QImage, 6> RuvolaApplication::keyImages() const {
    std::array<QImage, 6> images;
    if (!padStatus_.connected) {
        return images;
    }
    const int rotation = currentBindings().settings.rotation;
    for (std::size_t index = 0; index < images.size(); ++index) {
        const std::vector<std::uint8_t>& jpeg = keyPictures_[index];
        if (!jpeg.empty()) {
            // Turned back, so they stand as they do on the pad in front of the user.
            images[index] = QImage::fromData(jpeg.data(), static_cast<int>(jpeg.size()), "JPEG")
                                .transformed(QTransform().rotate(-rotation));
        }
    }
    return images;
}

void RuvolaApplication::noteAccessChange() {
    const bool trusted = platform_.inputAccess().isTrusted();
    const bool changed = lastKnownAccess_ && *lastKnownAccess_ != trusted;
    lastKnownAccess_ = trusted;
    if (!changed) {
        return;
    }
    info(trusted ? "Input access allowed" : "Input access removed");
    refresh();
    if (trusted) {
        relaunchToApplyAccess();
    }
}

void RuvolaApplication::relaunchToApplyAccess() {
    info("Relaunching so the desktop applies the new input access");
    platform_.launcher().relaunch();
    QCoreApplication::quit();
}

std::string RuvolaApplication::statusDescription() const {
    const std::string name = context_ ? context_->identity.name : AppIdentity{}.name;
    if (padStatus_.connected) {
        return name + ", " + padStatus_.connected->model.name + " connected";
    }
    return name + ", no pad connected";
}

QIcon RuvolaApplication::statusIcon() const {
    return StatusIconArt::icon(padStatus_.connected ? StatusIconArt::Mood::connected
                                                    : StatusIconArt::Mood::searching);
}

std::vector<PanelEntry> RuvolaApplication::panelContent() {
    std::vector<PanelEntry> entries;
    const std::string name = context_ ? context_->identity.name : AppIdentity{}.name;
    entries.push_back({PanelEntry::Title{name}});

    const int brightness = currentBindings().settings.brightness;
    if (padStatus_.connected) {
        entries.push_back({PanelRow{
            .id = "pad",
            .text = padStatus_.connected->model.name,
            .symbol = "square.grid.3x2.fill",
            .symbolFallbacks = {"square.grid.3x2", "keyboard"},
            .isCurrent = true,
            .details = {{"cpu", "Firmware " + padStatus_.connected->firmware.value_or("unknown")},
                        {"sun.max", "Brightness " + std::to_string(brightness) + "%"}},
        }});
    } else {
        entries.push_back({PanelRow{
            .id = "pad",
            .text = "No Pad Connected",
            .symbol = "square.grid.3x2",
            .details = {{"cable.connector", "Plug in a Soomfon Stream Controller SE"}},
            .enabled = false,
        }});
    }

    platform::InputAccess& access = platform_.inputAccess();
    if (!access.isTrusted()) {
        entries.push_back({PanelEntry::Separator{}});
        entries.push_back({PanelEntry::Text{"Access Needed", false}});
        entries.push_back({PanelEntry::Text{
            "For the system volume overlay and keystroke bindings, " + access.remedy() + ".",
            true}});
        QPointer<RuvolaApplication> self(this);
        entries.push_back({PanelEntry::Buttons{{PanelButton{
            .title = "Grant Access…",
            .action =
                [self] {
                    if (!self || !self->context_) {
                        return;
                    }
                    self->settings_.setValue(askedForAccessKey, true);
                    if (self->context_->showAccessHelp) {
                        self->context_->showAccessHelp();
                    }
                    if (self->context_ && self->context_->hidePanel) {
                        self->context_->hidePanel();
                    }
                },
        }}}});
    }

    entries.push_back({PanelEntry::Separator{}});
    entries.push_back({controlsGroup()});
    entries.push_back({PanelEntry::FooterSeparator{}});

    QPointer<RuvolaApplication> self(this);
    entries.push_back({PanelEntry::Toggle{
        .title = "Fine Volume Steps",
        .isOn = settings_.value(fineVolumeStepsKey, false).toBool(),
        .toolTip = fineVolumeStepsHelp,
        .action =
            [self] {
                if (!self) {
                    return;
                }
                const bool fine = !self->settings_.value(fineVolumeStepsKey, false).toBool();
                self->settings_.setValue(fineVolumeStepsKey, fine);
                if (self->runner_) {
                    self->runner_->setFineVolumeSteps(fine);
                }
                self->refresh();
            },
    }});
    entries.push_back({PanelRow{
        .id = "edit-bindings",
        .text = "Edit Bindings…",
        .toolTip = BindingsStore::url(platform_.installation().homeDirectory()).string(),
        .action =
            [self] {
                if (!self) {
                    return;
                }
                if (self->context_ && self->context_->hidePanel) {
                    self->context_->hidePanel();
                }
                if (self->store_) {
                    self->store_->edit();
                }
            },
        .isFootLink = true,
    }});
    return entries;
}

PanelRow RuvolaApplication::controlsGroup() {
    const std::vector<std::string> frontmost = frontmostIdentifiers();
    const BindingsFile& file = currentBindings();

    std::vector<PanelEntry> expansion;
    for (const std::string& problem : file.problems) {
        expansion.push_back({PanelEntry::Text{"⚠ " + problem, false}});
    }
    std::size_t bound = 0;
    for (const PadControl& control : PadControl::all()) {
        const PadBinding* binding = file.binding(control, frontmost);
        if (binding == nullptr) {
            continue;
        }
        ++bound;
        std::vector<PanelDetail> details;
        const auto describe = [&](const char* symbol, const std::optional<PadAction>& action) {
            if (action) {
                details.push_back({symbol, action->description()});
            }
        };
        describe("hand.tap", binding->press);
        describe("arrow.counterclockwise", binding->turnLeft);
        describe("arrow.clockwise", binding->turnRight);
        PanelRow row;
        row.id = "control-" + control.configName();
        row.text = control.description() + " — " + binding->name;
        row.symbol = symbolOf(control);
        row.isCurrent = lastControl_ == control;
        row.details = std::move(details);
        expansion.emplace_back(std::move(row));
    }

    std::string touched = "Touch a control on the pad to see its name.";
    if (lastControl_) {
        touched = "Last touched: " + lastControl_->description();
        if (file.binding(*lastControl_, frontmost) == nullptr) {
            touched += " (unbound)";
        }
    }
    expansion.push_back({PanelEntry::Text{touched, true}});

    return PanelRow{
        .id = "controls",
        .text = "Controls",
        .expansion = std::move(expansion),
        .trailing = file.problems.empty() ? std::to_string(bound) + " Set"
                                          : std::to_string(file.problems.size()) + " to Fix",
        .isHeader = true,
    };
}

} // namespace ruvola
