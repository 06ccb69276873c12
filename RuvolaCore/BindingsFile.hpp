#pragma once

#include "PadAction.hpp"
#include "PadControl.hpp"
#include "PadInput.hpp"
#include "Result.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ruvola {

/// The "settings" block of the bindings file.
struct LayoutSettings {
    int brightness = 50;
    int rotation = 90;
    std::string ntfy;
    std::string roku;
    std::string homeAssistant;

    bool operator==(const LayoutSettings&) const = default;
};

/// One control's binding: what it shows and what it does.
struct PadBinding {
    PadControl control;
    std::string name;
    /// The "when" list, lower-cased; empty means always.
    std::vector<std::string> apps = {};
    std::optional<PadAction> press = std::nullopt;
    std::optional<PadAction> turnLeft = std::nullopt;
    std::optional<PadAction> turnRight = std::nullopt;
    std::optional<std::string> icon = std::nullopt;
    std::optional<std::string> color = std::nullopt;

    /// The action an input runs: the press action on a press, none on a release, and the
    /// left or right turn action for a knob turn.
    const std::optional<PadAction>& action(const PadInput& input) const;

    bool operator==(const PadBinding&) const = default;
};

/// Why a network action can't be turned into a web request.
struct RequestProblem {
    std::string description;
    bool operator==(const RequestProblem&) const = default;
};

/// The parsed bindings file: accepted bindings in file order, one sentence per problem, and the
/// settings.
struct BindingsFile {
    std::vector<PadBinding> bindings;
    std::vector<std::string> problems;
    LayoutSettings settings;

    /// Reads the file's bytes. Never fails: every fault becomes one problem and the rest of the
    /// file still takes effect.
    static BindingsFile parse(std::string_view bytes);

    /// The document in effect when there is neither a store nor a preview: the middle knob as
    /// volume.
    static const BindingsFile& defaults();

    /// The binding for a control while the named application is in front: a matching "when"
    /// binding beats a plain one. Points into `bindings`.
    const PadBinding* binding(const PadControl& control,
                              std::span<const std::string> frontmost) const;

    /// The ready web request of a network action, using the settings' addresses.
    Result<HTTPRequest, RequestProblem> request(const PadAction& action,
                                                std::string_view title) const;

    bool operator==(const BindingsFile&) const = default;
};

/// The public ntfy service; a topic is appended to it.
inline constexpr std::string_view ntfyBaseURL = "https://ntfy.sh/";

} // namespace ruvola
