#include "Ruvola/tray/PanelContent.hpp"

#include "Ruvola/tray/StatusIconArt.hpp"
#include "RuvolaCore/BindingsFile.hpp"

namespace ruvola {

namespace {

constexpr const char* fineVolumeStepsHelp =
    "Each click of a volume knob moves a quarter step, like Shift-Option with the volume keys.";

std::string symbolOf(const PadControl& control) {
    if (control.isKnob()) {
        return "dial.medium.fill";
    }
    return control.kind() == PadControl::Kind::key ? "square.fill" : "circle.fill";
}

PanelRow controlsGroup(const PanelState& state) {
    const std::vector<std::string>& frontmost = state.frontmost;
    const BindingsFile& file = state.bindings;
    const std::optional<PadControl>& lastControl = state.lastControl;

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
        row.isCurrent = lastControl == control;
        row.details = std::move(details);
        expansion.emplace_back(std::move(row));
    }

    std::string touched = "Touch a control on the pad to see its name.";
    if (lastControl) {
        touched = "Last touched: " + lastControl->description();
        if (file.binding(*lastControl, frontmost) == nullptr) {
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

} // namespace

std::vector<PanelEntry> PanelContent::entries(const PanelState& state,
                                              const PanelActions& actions) {
    const PadConnection::Status& padStatus = state.pad;
    std::vector<PanelEntry> entries;
    entries.push_back({PanelEntry::Title{state.appName}});

    const int brightness = state.bindings.settings.brightness;
    if (padStatus.connected) {
        entries.push_back({PanelRow{
            .id = "pad",
            .text = padStatus.connected->model.name,
            .symbol = "square.grid.3x2.fill",
            .symbolFallbacks = {"square.grid.3x2", "keyboard"},
            .isCurrent = true,
            .details = {{"cpu", "Firmware " + padStatus.connected->firmware.value_or("unknown")},
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

    if (state.accessRemedy) {
        entries.push_back({PanelEntry::Separator{}});
        entries.push_back({PanelEntry::Text{"Access Needed", false}});
        entries.push_back({PanelEntry::Text{
            "For the system volume overlay and keystroke bindings, " + *state.accessRemedy + ".",
            true}});
        entries.push_back({PanelEntry::Buttons{{PanelButton{
            .title = "Grant Access…",
            .action = actions.grantAccess,
        }}}});
    }

    entries.push_back({PanelEntry::Separator{}});
    entries.push_back({controlsGroup(state)});
    entries.push_back({PanelEntry::FooterSeparator{}});

    entries.push_back({PanelEntry::Toggle{
        .title = "Fine Volume Steps",
        .isOn = state.fineVolumeSteps,
        .toolTip = fineVolumeStepsHelp,
        .action = actions.toggleFineVolumeSteps,
    }});
    entries.push_back({PanelRow{
        .id = "edit-bindings",
        .text = "Edit Bindings…",
        .toolTip = state.bindingsPath,
        .action = actions.editBindings,
        .isFootLink = true,
    }});
    return entries;
}

QIcon PanelContent::statusIcon(const PadConnection::Status& pad) {
    return StatusIconArt::icon(pad.connected ? StatusIconArt::Mood::connected
                                             : StatusIconArt::Mood::searching);
}

std::string PanelContent::statusDescription(const std::string& name,
                                            const PadConnection::Status& pad) {
    return pad.connected ? name + ", " + pad.connected->model.name + " connected"
                         : name + ", no pad connected";
}

} // namespace ruvola
