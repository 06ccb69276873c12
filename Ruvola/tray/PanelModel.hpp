#pragma once

#include <QColor>

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace ruvola {

struct PanelEntry;

/// A small line under a row's label.
struct PanelDetail {
    std::string symbol;
    std::string text;
    std::optional<QColor> tint = std::nullopt;
};

/// A push button in a line of buttons.
struct PanelButton {
    std::string title;
    bool enabled = true;
    std::optional<std::string> toolTip = std::nullopt;
    std::function<void()> action;
};

/// A row label that can be edited in place.
struct PanelNameEdit {
    std::string value;
    std::string placeholder;
    std::function<void(const std::string&)> onCommit;
};

/// A selectable row, possibly expandable. `id` keeps its expansion and selection across
/// refreshes.
struct PanelRow {
    std::string id;
    std::string text;
    /// A symbol drawn before the label, by name; the fallbacks are tried when it is unknown.
    std::optional<std::string> symbol = std::nullopt;
    std::vector<std::string> symbolFallbacks = {};
    bool isCurrent = false;
    std::vector<PanelDetail> details = {};
    /// Entries shown when the row is expanded; a row with any shows a disclosure chevron.
    std::vector<PanelEntry> expansion = {};
    std::optional<bool> isChecked = std::nullopt;
    bool enabled = true;
    std::optional<std::string> toolTip = std::nullopt;
    std::function<void()> action = {};
    std::optional<std::string> trailing = std::nullopt;
    bool isHeader = false;
    std::optional<PanelNameEdit> editingName = std::nullopt;
    bool isFootLink = false;
    std::function<void()> doubleClickAction = {};
};

/// One line of the status panel, computed afresh from the application's state each time the
/// panel is shown or refreshed.
struct PanelEntry {
    struct Title {
        std::string text;
    };
    struct Toggle {
        std::string title;
        bool isOn = false;
        bool enabled = true;
        std::optional<std::string> toolTip = std::nullopt;
        std::function<void()> action;
    };
    struct Buttons {
        std::vector<PanelButton> buttons;
    };
    struct Text {
        std::string text;
        bool secondary = false;
    };
    struct Separator {};
    struct FooterSeparator {};
    struct Spacer {};

    using Value =
        std::variant<Title, PanelRow, Toggle, Buttons, Text, Separator, FooterSeparator, Spacer>;
    Value value;

    template <typename Case>
    requires std::is_constructible_v<Value, Case&&> PanelEntry(Case&& entry)
        : value(std::forward<Case>(entry)) {}

    template <typename Case>
    const Case* as() const {
        return std::get_if<Case>(&value);
    }
};

} // namespace ruvola
