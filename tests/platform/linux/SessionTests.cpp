#include "Ruvola/platform/linux/Session.hpp"

#include <gtest/gtest.h>

#include <map>

namespace ruvola::platform {
namespace {

TEST(Session, IsTakenFromTheSessionTypeElseFromTheDisplaysSet) {
    using Kind = Session::Kind;
    using Variables = std::map<std::string, std::string>;
    const std::vector<std::pair<Variables, Session>> cases{
        {{}, {Kind::none, "", false}},
        {{{"DISPLAY", ":0"}}, {Kind::x11, "", true}},
        {{{"XDG_SESSION_TYPE", "x11"}, {"DISPLAY", ":1"}, {"XDG_CURRENT_DESKTOP", "XFCE"}},
         {Kind::x11, "XFCE", true}},
        {{{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_CURRENT_DESKTOP", "sway"}},
         {Kind::wayland, "sway", false}},
        // XWayland: a Wayland session whose X display the X11 backends serve.
        {{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}, {"XDG_CURRENT_DESKTOP", "GNOME"}},
         {Kind::wayland, "GNOME", true}},
        // A text console with a forwarded X display.
        {{{"XDG_SESSION_TYPE", "tty"}, {"DISPLAY", "localhost:10"}}, {Kind::x11, "", true}},
        {{{"XDG_SESSION_TYPE", "tty"}, {"XDG_CURRENT_DESKTOP", "KDE"}}, {Kind::none, "", false}},
        {{{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}, {Kind::none, "", false}},
    };
    for (const auto& [variables, expected] : cases) {
        const Session session = Session::detect([&](const char* name) {
            const auto found = variables.find(name);
            return found == variables.end() || found->second.empty() ? std::nullopt
                                                                     : std::optional(found->second);
        });
        EXPECT_EQ(session, expected) << ::testing::PrintToString(variables);
    }
}

} // namespace
} // namespace ruvola::platform
