#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ruvola::platform {

/// A client of sway's IPC socket (`man sway-ipc`), for what the Wayland window list protocol
/// can't do on sway: hiding windows (sway ignores requests to minimise) and telling which are
/// hidden. Each call opens its own connection, so it may be made from any thread.
class SwayIpc {
public:
    /// One window in sway's tree.
    struct View {
        std::int64_t id;   ///< sway's container id, for `[con_id=…]` criteria
        std::string appId; ///< the Wayland app id; for an XWayland window its WM_CLASS class
        bool hidden;       ///< in the scratchpad, out of sight
        bool floating;
    };

    /// The sway `$SWAYSOCK` names; none when it is not set.
    static std::optional<SwayIpc> fromEnvironment();

    explicit SwayIpc(std::string socketPath) : socketPath_(std::move(socketPath)) {}

    /// Runs sway commands (`;` between them); false when sway can't be reached or refuses one.
    bool run(const std::string& commands) const;

    /// Every window sway manages; none when sway can't be reached.
    std::optional<std::vector<View>> views() const;

private:
    /// Sends one message and gives the payload of its reply; none on any failure.
    std::optional<std::string> request(std::uint32_t type, std::string_view payload) const;

    std::string socketPath_;
};

} // namespace ruvola::platform
