#include "Ruvola/actions/ActionRunner.hpp"

#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/Brightness.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/MediaPlayers.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "RuvolaCore/Overloaded.hpp"

namespace ruvola {

using Tap = platform::SystemKeys::Tap;

namespace {

// The title of notifications the program sends.
constexpr std::string_view productName = "Ruvola";

} // namespace

ActionRunner::ActionRunner(Logging& logger, platform::Platform& platform,
                           std::chrono::milliseconds networkTimeout)
    : logger_(logger), access_(platform.inputAccess()), systemKeys_(platform.systemKeys()),
      mediaPlayers_(platform.mediaPlayers()), brightness_(platform.brightness()),
      volume_(logger, access_, systemKeys_, platform.systemVolume()),
      network_(logger, networkTimeout),
      house_(platform.processes(), platform.syntheticInput(), platform.windows(),
             platform.launcher(), [&logger](const std::string& line) { logger.info(line); }) {}

ActionRunner::~ActionRunner() = default;

std::string ActionRunner::logName(const PadBinding& binding) {
    return binding.control.description() + " (" + binding.name + ")";
}

void ActionRunner::run(const PadAction& action, const PadBinding& binding,
                       const std::optional<WebRequest>& request) {
    const std::string name = logName(binding);
    const auto sendRequest = [&] {
        if (!request) {
            return;
        }
        if (request->ok()) {
            network_.send(request->value(), name);
        } else {
            logger_.warning(name + ": " + request->error().description);
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
        volume_.changeVolume(true);
        return;
    case SystemKey::volumedown:
        volume_.changeVolume(false);
        return;
    case SystemKey::mute:
        volume_.toggleMute();
        return;
    case SystemKey::brightnessup:
    case SystemKey::brightnessdown:
        if (brightness_.step(key == SystemKey::brightnessup)) {
            return;
        }
        break;
    default:
        if (mediaPlayers_.send(key)) {
            return;
        }
    }
    // Without a player or a brightness service to take it, the key itself.
    if (checkAccess(name)) {
        if (const auto tap = volume_.tap()) {
            systemKeys_.press(key, false, *tap);
        }
    }
}

} // namespace ruvola
