#pragma once

#include "Ruvola/pad/PadConnection.hpp"
#include "Ruvola/tray/PanelModel.hpp"

#include <QIcon>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ruvola {

struct BindingsFile;

/// The part of the driver's state the status panel shows.
struct PanelState {
    std::string appName;
    PadConnection::Status pad;
    const BindingsFile& bindings;
    std::vector<std::string> frontmost;
    std::optional<PadControl> lastControl;
    /// How to grant input access, while it is missing.
    std::optional<std::string> accessRemedy;
    bool fineVolumeSteps = false;
    /// Where the bindings file lives, shown as the edit link's tip.
    std::string bindingsPath;
};

/// What the panel's buttons do.
struct PanelActions {
    std::function<void()> grantAccess;
    std::function<void()> toggleFineVolumeSteps;
    std::function<void()> editBindings;
};

/// The status panel's lines and the tray icon's look, built afresh from the driver's state.
namespace PanelContent {

std::vector<PanelEntry> entries(const PanelState& state, const PanelActions& actions);

QIcon statusIcon(const PadConnection::Status& pad);

/// What the status icon says of itself (its tool tip and accessible text): whether, and which,
/// pad is connected.
std::string statusDescription(const std::string& name, const PadConnection::Status& pad);

} // namespace PanelContent

} // namespace ruvola
