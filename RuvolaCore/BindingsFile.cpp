#include "BindingsFile.hpp"

#include "BindingsReader.hpp"
#include "Overloaded.hpp"
#include "Unicode.hpp"
#include "Url.hpp"

#include <algorithm>
#include <unordered_set>

namespace ruvola {
namespace {

using nlohmann::json;

constexpr std::string_view invalidJSON = "bindings.json isn't valid JSON";
constexpr std::string_view noBindingsList = "bindings.json has no \"bindings\" list";
constexpr std::string_view boundTwice = ": bound twice; the first one wins";

// Deeper documents are refused before parsing so that hostile input can't exhaust the stack or
// memory; no real bindings file comes near it.
constexpr int maximumNesting = 512;

bool nestsTooDeeply(std::string_view bytes) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (char c : bytes) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maximumNesting) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

BindingsFile documentProblem(std::string_view problem) {
    return BindingsFile{{}, {std::string(problem)}, {}};
}

// What the accepted bindings already claim: a control with no "when" list, or a control for one
// application. Looked up by hash, so a file of many bindings reads in linear time.
class Claims {
public:
    // Claims what `binding` needs; false, claiming nothing, when an earlier binding has any of it.
    bool claim(const PadBinding& binding) {
        if (binding.apps.empty()) {
            return plain_.insert(binding.control).second;
        }
        const std::string control = binding.control.configName() + '\n';
        if (std::any_of(binding.apps.begin(), binding.apps.end(),
                        [&](const std::string& app) { return perApp_.contains(control + app); })) {
            return false;
        }
        for (const std::string& app : binding.apps) {
            perApp_.insert(control + app);
        }
        return true;
    }

private:
    std::unordered_set<PadControl> plain_;
    std::unordered_set<std::string> perApp_;
};

} // namespace

BindingsFile BindingsFile::parse(std::string_view bytes) {
    // A NUL byte is never valid JSON, and the reader would stop at it, ignoring what follows.
    if (bytes.find('\0') != std::string_view::npos || nestsTooDeeply(bytes)) {
        return documentProblem(invalidJSON);
    }
    json document;
    try {
        document = json::parse(bytes, nullptr, false);
    } catch (const std::exception&) {
        return documentProblem(invalidJSON);
    }
    if (document.is_discarded() || !document.is_object()) {
        return documentProblem(invalidJSON);
    }
    const auto list = document.find("bindings");
    if (list == document.end() || !list->is_array() ||
        !std::all_of(list->begin(), list->end(),
                     [](const json& entry) { return entry.is_object(); })) {
        return documentProblem(noBindingsList);
    }

    BindingsFile file;
    if (const auto settings = document.find("settings");
        settings != document.end() && settings->is_object()) {
        file.settings = bindingsReader::settings(*settings, file.problems);
    }
    Claims claims;
    std::size_t position = 0;
    for (const json& entry : *list) {
        ++position;
        if (const auto enabled = entry.find("enabled");
            enabled != entry.end() && enabled->is_boolean() && !enabled->get<bool>()) {
            continue;
        }
        const auto control = entry.find("control");
        const std::string label = control != entry.end() && control->is_string()
                                      ? control->get<std::string>()
                                      : "entry " + std::to_string(position);
        try {
            PadBinding binding = bindingsReader::binding(entry);
            if (!claims.claim(binding)) {
                file.problems.push_back(label + std::string(boundTwice));
            } else {
                file.bindings.push_back(std::move(binding));
            }
        } catch (const bindingsReader::BindingProblem& problem) {
            file.problems.push_back(label + ": " + problem.message);
        } catch (const std::exception& error) {
            file.problems.push_back(label + ": " + error.what());
        }
    }
    return file;
}

const BindingsFile& BindingsFile::defaults() {
    static const BindingsFile file{
        {PadBinding{PadControl::knob(Knob::middle),
                    "Volume",
                    {},
                    PadAction::system(SystemKey::mute),
                    PadAction::system(SystemKey::volumedown),
                    PadAction::system(SystemKey::volumeup)}},
        {},
        {},
    };
    return file;
}

const PadBinding* BindingsFile::binding(const PadControl& control,
                                        std::span<const std::string> frontmost) const {
    std::unordered_set<std::string> inFront;
    for (const std::string& identifier : frontmost) {
        inFront.insert(unicode::lowercased(identifier));
    }
    const PadBinding* plain = nullptr;
    for (const PadBinding& candidate : bindings) {
        if (candidate.control != control) {
            continue;
        }
        if (candidate.apps.empty()) {
            plain = plain != nullptr ? plain : &candidate;
        } else if (std::any_of(candidate.apps.begin(), candidate.apps.end(),
                               [&](const std::string& app) { return inFront.contains(app); })) {
            return &candidate;
        }
    }
    return plain;
}

const std::optional<PadAction>& PadBinding::action(const PadInput& input) const {
    static const std::optional<PadAction> none;
    return std::visit(Overloaded{
                          [&](const PadInput::Key& key) -> const auto& {
                              return key.pressed ? press : none;
}
, [&](const PadInput::Button& button) -> const auto& {
    return button.pressed ? press : none;
}
, [&](const PadInput::KnobPress& knobPress) -> const auto& {
    return knobPress.pressed ? press : none;
}
, [&](const PadInput::KnobTurn& turn) -> const auto& {
    return turn.delta < 1 ? turnLeft : turnRight;
}
,
} // namespace ruvola
,
                      input.event);
}

Result<HTTPRequest, RequestProblem> BindingsFile::request(const PadAction& action,
                                                          std::string_view title) const {
    const auto problem = [](std::string_view text) { return RequestProblem{std::string(text)}; };
    if (const auto* http = action.as<PadAction::Http>()) {
        return http->request;
    }
    if (const auto* roku = action.as<PadAction::Roku>()) {
        if (settings.roku.empty()) {
            return problem("no Roku address in the settings");
        }
        const std::string port = settings.roku.find(':') == std::string::npos ? ":8060" : "";
        const bool isKey = roku->command.kind == RokuCommand::Kind::key;
        auto address = url::permissive("http://" + settings.roku + port + "/" +
                                       (isKey ? "keypress/" : "launch/") + roku->command.value);
        if (!address) {
            return problem("the Roku address isn't usable");
        }
        return HTTPRequest{std::move(*address), "POST"};
    }
    if (const auto* homeAssistant = action.as<PadAction::HomeAssistant>()) {
        constexpr std::string_view noAddress = "no Home Assistant address in the settings";
        auto address =
            url::permissive(settings.homeAssistant + "/api/webhook/" + homeAssistant->webhookID);
        if (settings.homeAssistant.empty() || !address) {
            return problem(noAddress);
        }
        return HTTPRequest{std::move(*address), "POST"};
    }
    if (const auto* ntfy = action.as<PadAction::Ntfy>()) {
        auto address = url::permissive(std::string(ntfyBaseURL) + settings.ntfy);
        if (settings.ntfy.empty() || !address) {
            return problem("no ntfy topic in the settings");
        }
        return HTTPRequest{
            std::move(*address), "POST", ntfy->message, {{"Title", std::string(title)}}};
    }
    return problem("isn't a web request");
}

} // namespace ruvola
