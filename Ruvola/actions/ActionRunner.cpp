#include "Ruvola/actions/ActionRunner.hpp"

#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/SystemVolume.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/Overloaded.hpp"

#include <QTimer>

#include <algorithm>

namespace ruvola {

using Tap = platform::SystemKeys::Tap;

namespace {

constexpr double volumeStep = 1.0 / 16;
constexpr double fineVolumeStep = 1.0 / 64;

// The title of notifications the program sends.
constexpr std::string_view productName = "Ruvola";

} // namespace

ActionRunner::ActionRunner(Logging& logger, platform::Platform& platform,
                           std::chrono::milliseconds networkTimeout)
    : logger_(logger), access_(platform.inputAccess()), systemKeys_(platform.systemKeys()),
      volume_(platform.systemVolume()), network_(logger, networkTimeout),
      house_(platform.processes(), platform.syntheticInput(), platform.windows(),
             platform.launcher(), [&logger](const std::string& line) { logger.info(line); }) {}

ActionRunner::~ActionRunner() = default;

std::string ActionRunner::logName(const PadBinding& binding) {
    return binding.control.description() + " (" + binding.name + ")";
}

void ActionRunner::run(const PadAction& action, const PadBinding& binding,
                       const BindingsFile& file) {
    const std::string name = logName(binding);
    const auto sendRequest = [&] {
        const auto request = file.request(action, productName);
        if (request.ok()) {
            network_.send(request.value(), name);
        } else {
            logger_.warning(name + ": " + request.error().description);
        }
    };
    std::visit(
        Overloaded{
            [&](const PadAction::Shell& shell) {
                house_.run({HouseAction::Shell{shell.command}}, name);
            },
            [&](const PadAction::Open& open) {
                house_.run({HouseAction::Open{open.target}}, name);
            },
            [&](const PadAction::Keystroke& keystroke) {
                if (!checkAccess(name)) {
                    return;
                }
                const auto trigger = KeySpec::parse(keystroke.specification);
                const Chord* chord = trigger.ok() ? trigger.value().singleChord() : nullptr;
                if (chord == nullptr) {
                    logger_.warning(name + ": \"" + keystroke.specification +
                                    "\" isn't a single chord");
                    return;
                }
                house_.run({HouseAction::Keystroke{*chord}}, name);
            },
            [&](const PadAction::Text& text) {
                if (checkAccess(name)) {
                    house_.run({HouseAction::Text{text.text}}, name);
                }
            },
            [&](const PadAction::System& system) { runSystemKey(system.key, name); },
            [&](const PadAction::Shortcut& shortcut) { house_.runShortcut(shortcut.name, name); },
            [&](const PadAction::Http&) { sendRequest(); },
            [&](const PadAction::Roku&) { sendRequest(); },
            [&](const PadAction::HomeAssistant&) { sendRequest(); },
            [&](const PadAction::Ntfy&) { sendRequest(); },
        },
        action.value);
}

bool ActionRunner::checkAccess(const std::string& name) {
    if (access_.isTrusted()) {
        return true;
    }
    if (!warnedAboutAccess_) {
        warnedAboutAccess_ = true;
        logger_.warning(name + ": " + access_.refusal());
    }
    return false;
}

void ActionRunner::runSystemKey(SystemKey key, const std::string& name) {
    switch (key) {
    case SystemKey::volumeup:
        changeVolume(true);
        return;
    case SystemKey::volumedown:
        changeVolume(false);
        return;
    case SystemKey::mute:
        toggleMute();
        return;
    default:
        // Brightness and media keys have nothing to fall back on.
        if (checkAccess(name)) {
            systemKeys_.press(key, false, tap_);
        }
    }
}

void ActionRunner::changeVolume(bool up) {
    if (access_.isTrusted() && volumeKeysWork_ != false) {
        if (const std::optional<double> before = volume_.volume()) {
            systemKeys_.press(up ? SystemKey::volumeup : SystemKey::volumedown, fineVolumeSteps_,
                              tap_);
            // At either end a working key leaves the level where it is: nothing to learn.
            if (!volumeKeysWork_ && (up ? *before < 1.0 : *before > 0.0)) {
                verifyVolumeKey(up, *before);
            }
            return;
        }
    }
    stepVolumeDirectly(up);
}

void ActionRunner::verifyVolumeKey(bool up, double before) {
    QTimer::singleShot(verificationDelay, this, [this, up, before] {
        if (volumeKeysWork_) {
            return; // settled by an earlier check
        }
        const std::optional<double> level = volume_.volume();
        if (!level || *level != before) {
            volumeKeysWork_ = true;
            logger_.info("System volume keys work via the " +
                         std::string(platform::SystemKeys::name(tap_)) +
                         " tap: the system's own overlay shows");
            return;
        }
        const auto& taps = platform::SystemKeys::allTaps;
        const auto next = std::find(taps.begin(), taps.end(), tap_) + 1;
        if (next != taps.end()) {
            logger_.warning(systemKeys_.systemName() + " ignored the volume key via the " +
                            std::string(platform::SystemKeys::name(tap_)) + " tap; trying " +
                            std::string(platform::SystemKeys::name(*next)));
            tap_ = *next;
            systemKeys_.press(up ? SystemKey::volumeup : SystemKey::volumedown, fineVolumeSteps_,
                              tap_);
            verifyVolumeKey(up, before);
            return;
        }
        volumeKeysWork_ = false;
        logger_.warning(systemKeys_.systemName() +
                        " ignored the system volume keys; setting the level directly instead");
        stepVolumeDirectly(up);
    });
}

void ActionRunner::stepVolumeDirectly(bool up) {
    const std::optional<double> level = volume_.volume();
    if (!level) {
        return;
    }
    const double step = fineVolumeSteps_ ? fineVolumeStep : volumeStep;
    volume_.setVolume(std::clamp(up ? *level + step : *level - step, 0.0, 1.0));
    // Raising the volume unmutes, as the keyboard's key does; lowering it never touches mute.
    if (up && volume_.isMuted().value_or(false)) {
        volume_.setMuted(false);
    }
}

void ActionRunner::toggleMute() {
    const bool wasMuted = volume_.isMuted().value_or(false);
    if (!access_.isTrusted() || volumeKeysWork_ == false) {
        volume_.setMuted(!wasMuted);
        return;
    }
    systemKeys_.press(SystemKey::mute, false, tap_);
    QTimer::singleShot(verificationDelay, this, [this, wasMuted] {
        if (volume_.isMuted().value_or(false) == wasMuted) {
            logger_.warning(systemKeys_.systemName() +
                            " ignored the system mute key; muting directly instead");
            volume_.setMuted(!wasMuted);
        }
    });
}

} // namespace ruvola
