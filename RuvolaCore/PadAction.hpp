#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace ruvola {

/// A media or system key, in the fixed order used in messages.
enum class SystemKey : std::uint8_t {
    volumeup,
    volumedown,
    mute,
    playpause,
    next,
    previous,
    brightnessup,
    brightnessdown,
};

namespace systemKeys {
inline constexpr std::array<SystemKey, 8> allCases{
    SystemKey::volumeup, SystemKey::volumedown, SystemKey::mute,         SystemKey::playpause,
    SystemKey::next,     SystemKey::previous,   SystemKey::brightnessup, SystemKey::brightnessdown,
};
std::string_view rawValue(SystemKey key);
/// Exact, case-sensitive match of one of the eight raw values.
std::optional<SystemKey> fromRawValue(std::string_view text);
} // namespace systemKeys

/// The shorthand with which a knob turns the volume or the display brightness.
enum class KnobTurn : std::uint8_t { volume, brightness };

namespace knobTurns {
std::string_view rawValue(KnobTurn turn);
std::optional<KnobTurn> fromRawValue(std::string_view text);
/// The system key for a turn to the left.
SystemKey down(KnobTurn turn);
/// The system key for a turn to the right.
SystemKey up(KnobTurn turn);
} // namespace knobTurns

/// A web request: an absolute http(s) address, the method upper-cased, an optional body and
/// header fields.
struct HTTPRequest {
    std::string url;
    std::string method = "GET";
    std::optional<std::string> body = std::nullopt;
    std::map<std::string, std::string> headers = {};

    bool operator==(const HTTPRequest&) const = default;
};

/// A Roku remote key ("VolumeUp", "Power") or the launch of a channel by its app ID.
struct RokuCommand {
    enum class Kind : std::uint8_t { key, launch };
    Kind kind;
    std::string value;

    static RokuCommand key(std::string name) { return {Kind::key, std::move(name)}; }
    static RokuCommand launch(std::string appID) { return {Kind::launch, std::move(appID)}; }

    bool operator==(const RokuCommand&) const = default;
};

/// What a control does when it is used: one of ten kinds, each with its payload.
struct PadAction {
    struct Shell {
        std::string command;
        bool operator==(const Shell&) const = default;
    };
    struct Open {
        std::string target;
        bool operator==(const Open&) const = default;
    };
    struct Keystroke {
        std::string specification;
        bool operator==(const Keystroke&) const = default;
    };
    struct Text {
        std::string text;
        bool operator==(const Text&) const = default;
    };
    struct System {
        SystemKey key;
        bool operator==(const System&) const = default;
    };
    struct Shortcut {
        std::string name;
        bool operator==(const Shortcut&) const = default;
    };
    struct Http {
        HTTPRequest request;
        bool operator==(const Http&) const = default;
    };
    struct Roku {
        RokuCommand command;
        bool operator==(const Roku&) const = default;
    };
    struct HomeAssistant {
        std::string webhookID;
        bool operator==(const HomeAssistant&) const = default;
    };
    struct Ntfy {
        std::string message;
        bool operator==(const Ntfy&) const = default;
    };

    using Value = std::variant<Shell, Open, Keystroke, Text, System, Shortcut, Http, Roku,
                               HomeAssistant, Ntfy>;
    Value value;

    static PadAction shell(std::string command) { return {Shell{std::move(command)}}; }
    static PadAction open(std::string target) { return {Open{std::move(target)}}; }
    static PadAction keystroke(std::string spec) { return {Keystroke{std::move(spec)}}; }
    static PadAction text(std::string text) { return {Text{std::move(text)}}; }
    static PadAction system(SystemKey key) { return {System{key}}; }
    static PadAction shortcut(std::string name) { return {Shortcut{std::move(name)}}; }
    static PadAction http(HTTPRequest request) { return {Http{std::move(request)}}; }
    static PadAction roku(RokuCommand command) { return {Roku{std::move(command)}}; }
    static PadAction homeAssistant(std::string id) { return {HomeAssistant{std::move(id)}}; }
    static PadAction ntfy(std::string message) { return {Ntfy{std::move(message)}}; }

    template <typename Case>
    const Case* as() const {
        return std::get_if<Case>(&value);
    }

    /// The one-line form used in log lines and the status panel: "$ ls", "send cmd c",
    /// "type \"hi\"", "playpause", "POST http://…".
    std::string description() const;

    bool operator==(const PadAction&) const = default;
};

/// The ten keys that select an action in a bindings object, in the order used for detection and
/// in messages.
inline constexpr std::array<std::string_view, 10> actionKeys{
    "shell",    "open", "keystroke", "text",          "system",
    "shortcut", "http", "roku",      "homeassistant", "ntfy",
};

} // namespace ruvola
