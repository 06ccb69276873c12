#include "BindingsReader.hpp"

#include "Unicode.hpp"
#include "Url.hpp"

#include <cmath>
#include <cstdint>

namespace ruvola::bindingsReader {
namespace {

using nlohmann::json;

constexpr std::string_view notAControl =
    "isn't a control (key 1\u20136, button 1\u20133, left/middle/right knob)";
constexpr std::string_view needsControl = "needs a \"control\"";
constexpr std::string_view badWhen = "\"when\" is an app name or a list of them";
constexpr std::string_view badColor = "\"color\" is #rrggbb";
constexpr std::string_view badTurn = "\"turn\" is volume or brightness";
constexpr std::string_view knobNeedsAction =
    "a knob needs \"turn\", \"left\", \"right\" or \"press\"";
constexpr std::string_view badRoku =
    "\"roku\" is a remote key (\"VolumeUp\") or {\"launch\": app ID}";
constexpr std::string_view badHomeAssistant = "\"homeassistant\" is a webhook ID";
constexpr std::string_view badHttp = "\"http\" needs an http(s) URL, or {\"url\": \u2026}";
constexpr std::string_view badBrightness = "settings: brightness is 0\u2013100";
constexpr std::string_view badRotation = "settings: rotation is 0, 90, 180 or 270";

[[noreturn]] void fail(std::string message) {
    throw BindingProblem{std::move(message)};
}

const json* member(const json& object, std::string_view key) {
    if (!object.is_object()) {
        return nullptr;
    }
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

const std::string* text(const json* value) {
    return value != nullptr && value->is_string() ? value->get_ptr<const std::string*>() : nullptr;
}

const std::string* nonEmptyText(const json* value) {
    const std::string* string = text(value);
    return string != nullptr && !string->empty() ? string : nullptr;
}

std::string joined(const std::vector<std::string_view>& pieces, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            out += separator;
        }
        out += pieces[i];
    }
    return out;
}

// A whole number in [lowest, highest]; an integral float such as 50.0 counts, a fraction doesn't.
std::optional<int> integerWithin(const json& value, int lowest, int highest) {
    double number = 0;
    if (value.is_number_unsigned()) {
        number = static_cast<double>(value.get<std::uint64_t>());
    } else if (value.is_number_integer()) {
        number = static_cast<double>(value.get<std::int64_t>());
    } else if (value.is_number_float()) {
        number = value.get<double>();
        if (!std::isfinite(number) || std::floor(number) != number) {
            return std::nullopt;
        }
    } else {
        return std::nullopt;
    }
    if (number < lowest || number > highest) {
        return std::nullopt;
    }
    return static_cast<int>(number);
}

bool isHexColor(std::string_view color) {
    if (color.size() != 7 || color.front() != '#') {
        return false;
    }
    for (char c : color.substr(1)) {
        const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (!hex) {
            return false;
        }
    }
    return true;
}

// The text as an http(s) URL, percent-encoded where it has to be, or nothing.
std::optional<std::string> httpURL(std::string_view text) {
    auto address = url::permissive(text);
    const auto scheme = address ? url::scheme(*address) : std::nullopt;
    if (!scheme || !scheme->starts_with("http")) {
        return std::nullopt;
    }
    return address;
}

// A Roku key or app ID: non-empty and free of "/", since it becomes one path segment.
const std::string* rokuSegment(const json* value) {
    const std::string* string = nonEmptyText(value);
    return string != nullptr && string->find('/') == std::string::npos ? string : nullptr;
}

RokuCommand rokuCommand(const json& value) {
    if (const std::string* key = rokuSegment(&value)) {
        return RokuCommand::key(*key);
    }
    if (const std::string* appID = rokuSegment(member(value, "launch"))) {
        return RokuCommand::launch(*appID);
    }
    fail(std::string(badRoku));
}

std::vector<std::string> whenApps(const json* when) {
    std::vector<std::string> apps;
    if (when == nullptr) {
        return apps;
    }
    if (when->is_string()) {
        apps.push_back(unicode::lowercased(when->get_ref<const std::string&>()));
        return apps;
    }
    if (!when->is_array() || when->empty()) {
        fail(std::string(badWhen));
    }
    for (const json& app : *when) {
        if (!app.is_string()) {
            fail(std::string(badWhen));
        }
        apps.push_back(unicode::lowercased(app.get_ref<const std::string&>()));
    }
    return apps;
}

bool holdsAnyActionKey(const json& object) {
    for (std::string_view key : actionKeys) {
        if (member(object, key) != nullptr) {
            return true;
        }
    }
    return false;
}

void readKnobActions(const json& object, PadBinding& binding) {
    if (const std::string* turnText = text(member(object, "turn"))) {
        const auto turn = knobTurns::fromRawValue(*turnText);
        if (!turn) {
            fail(std::string(badTurn));
        }
        binding.turnLeft = PadAction::system(knobTurns::down(*turn));
        binding.turnRight = PadAction::system(knobTurns::up(*turn));
    }
    if (const json* left = member(object, "left"); left != nullptr && left->is_object()) {
        binding.turnLeft = action(*left);
    }
    if (const json* right = member(object, "right"); right != nullptr && right->is_object()) {
        binding.turnRight = action(*right);
    }
    if (const json* press = member(object, "press"); press != nullptr && press->is_object()) {
        binding.press = action(*press);
    }
    if (!binding.press && holdsAnyActionKey(object)) {
        binding.press = action(object);
    }
    if (!binding.turnLeft && !binding.turnRight && !binding.press) {
        fail(std::string(knobNeedsAction));
    }
}

} // namespace

PadAction action(const json& object) {
    std::vector<std::string_view> present;
    for (std::string_view key : actionKeys) {
        if (member(object, key) != nullptr) {
            present.push_back(key);
        }
    }
    if (present.empty()) {
        fail("needs one action: " + joined({actionKeys.begin(), actionKeys.end()}, ", "));
    }
    if (present.size() > 1) {
        fail("has more than one action (" + joined(present, ", ") + ")");
    }
    const std::string_view key = present.front();
    const json& value = *member(object, key);
    if (key == "http") {
        return PadAction::http(httpRequest(&value));
    }
    if (key == "roku") {
        return PadAction::roku(rokuCommand(value));
    }
    const std::string* payload = nonEmptyText(&value);
    if (payload == nullptr) {
        fail("\"" + std::string(key) + "\" needs a string");
    }
    // The kinds whose text is taken as it is.
    static constexpr std::pair<std::string_view, PadAction (*)(std::string)> plainTexts[] = {
        {"shell", PadAction::shell},         {"open", PadAction::open},
        {"keystroke", PadAction::keystroke}, {"text", PadAction::text},
        {"shortcut", PadAction::shortcut},   {"ntfy", PadAction::ntfy},
    };
    for (const auto& [name, make] : plainTexts) {
        if (key == name) {
            return make(*payload);
        }
    }
    if (key == "homeassistant") {
        if (payload->find('/') != std::string::npos) {
            fail(std::string(badHomeAssistant));
        }
        return PadAction::homeAssistant(*payload);
    }
    const auto systemKey = systemKeys::fromRawValue(unicode::lowercased(*payload));
    if (!systemKey) {
        std::vector<std::string_view> names;
        for (SystemKey candidate : systemKeys::allCases) {
            names.push_back(systemKeys::rawValue(candidate));
        }
        fail("\"system\" is one of " + joined(names, ", "));
    }
    return PadAction::system(*systemKey);
}

HTTPRequest httpRequest(const json* value) {
    if (const std::string* address = text(value); address != nullptr) {
        if (auto url = httpURL(*address)) {
            return HTTPRequest{std::move(*url)};
        }
    }
    const std::string* address = text(value != nullptr ? member(*value, "url") : nullptr);
    auto url = address != nullptr ? httpURL(*address) : std::nullopt;
    if (!url) {
        fail(std::string(badHttp));
    }
    HTTPRequest request{std::move(*url)};
    if (const std::string* method = text(member(*value, "method"))) {
        request.method = *method;
    }
    for (char& c : request.method) {
        c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
    }
    if (const std::string* body = text(member(*value, "body"))) {
        request.body = *body;
    }
    if (const json* headers = member(*value, "headers");
        headers != nullptr && headers->is_object()) {
        std::map<std::string, std::string> fields;
        bool allTexts = true;
        for (const auto& [name, field] : headers->items()) {
            allTexts = allTexts && field.is_string();
            if (allTexts) {
                fields.emplace(name, field.get<std::string>());
            }
        }
        if (allTexts) {
            request.headers = std::move(fields);
        }
    }
    return request;
}

PadBinding binding(const json& object) {
    const std::string* controlName = text(member(object, "control"));
    if (controlName == nullptr) {
        fail(std::string(needsControl));
    }
    const auto control = PadControl::fromConfigName(*controlName);
    if (!control) {
        fail(std::string(notAControl));
    }
    PadBinding binding{*control, {}};
    binding.apps = whenApps(member(object, "when"));
    const std::string* name = text(member(object, "name"));
    binding.name = name != nullptr ? *name : control->description();
    if (const std::string* icon = text(member(object, "icon"));
        icon != nullptr && !unicode::trimmedWhitespace(*icon).empty()) {
        binding.icon = *icon;
    }
    if (const std::string* color = text(member(object, "color"))) {
        if (!isHexColor(*color)) {
            fail(std::string(badColor));
        }
        binding.color = *color;
    }
    if (control->isKnob()) {
        readKnobActions(object, binding);
    } else {
        binding.press = action(object);
    }
    return binding;
}

LayoutSettings settings(const json& object, std::vector<std::string>& problems) {
    LayoutSettings settings;
    if (const json* brightness = member(object, "brightness")) {
        if (const auto level = integerWithin(*brightness, 0, 100)) {
            settings.brightness = *level;
        } else {
            problems.emplace_back(badBrightness);
        }
    }
    if (const json* rotation = member(object, "rotation")) {
        const auto degrees = integerWithin(*rotation, 0, 359);
        if (degrees && *degrees % 90 == 0) {
            settings.rotation = *degrees;
        } else {
            problems.emplace_back(badRotation);
        }
    }
    const std::pair<std::string_view, std::string*> addresses[] = {
        {"ntfy", &settings.ntfy},
        {"roku", &settings.roku},
        {"homeassistant", &settings.homeAssistant},
    };
    for (const auto& [key, field] : addresses) {
        if (const json* value = member(object, key)) {
            if (const std::string* string = text(value)) {
                *field = *string;
            } else {
                problems.push_back("settings: " + std::string(key) + " isn't usable");
            }
        }
    }
    while (!settings.homeAssistant.empty() && settings.homeAssistant.back() == '/') {
        settings.homeAssistant.pop_back();
    }
    return settings;
}

} // namespace ruvola::bindingsReader
