#pragma once

#include "Ruvola/cli/UniversalCLI.hpp"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ruvola {

class PadConnection;

namespace platform {
class DesktopSession;
class Platform;
} // namespace platform

/// Ruvola's own commands and doctor checks, beside the universal ones.
namespace RuvolaCLI {

/// watch and check, for the help text.
std::span<const CLICommandHelp> commandHelp();

/// The result of one of Ruvola's own commands, or nothing when the first argument is not one.
std::optional<CLIResult> handleCLI(const std::vector<std::string>& arguments,
                                   platform::Platform& platform);

/// Makes `connection` print, through `print`, one line per status report ("connected: …" or
/// "waiting for a pad…") and one per input ("key 1  press").
void watch(PadConnection& connection, std::function<void(const std::string&)> print);

/// Ruvola's checks for doctor: the pad, the desktop session and what can be done in it, the
/// routes of system keys, and the tray.
std::vector<DiagnosticCheck> diagnosticChecks(platform::Platform& platform);

/// Doctor's lines for the desktop session: which it is, then one per ability.
std::vector<DiagnosticCheck> sessionChecks(const platform::DesktopSession& session);

/// Doctor's lines for the system keys, media keys and brightness: what each will go through.
std::vector<DiagnosticCheck> keyRouteChecks(platform::Platform& platform);

} // namespace RuvolaCLI

} // namespace ruvola
