#include "Printers.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

// Byte for byte: two-space indent, blank lines between the knobs, the screen keys and the
// buttons, and U+FE0F after the first two icons; and it reads without a problem.
TEST(StarterBindings, IsLaidOutForPeopleToEditAndReadsWithoutProblems) {
    EXPECT_EQ(starterBindings::text(), R"starter({
  "_comment": "Ruvola reloads this file when you save. It's the same layout format as Cobbleset, the standalone pad, so a layout moves between them. Controls: key 1–6 (screen keys: 1 2 3 on top, 4 5 6 below), button 1–3, left knob, middle knob, right knob; press one with the Ruvola panel open to see its name. One action per control: open, shell, keystroke, text, system (volumeup, volumedown, mute, playpause, next, previous, brightnessup, brightnessdown), shortcut (a Shortcuts.app name), http (a URL, or {url, method, body, headers}), roku (a remote key like Power, or {launch: app id}; needs settings.roku), homeassistant (a webhook id; needs settings.homeassistant), ntfy (a message; needs settings.ntfy). Knobs take turn (volume or brightness), left, right and press. Screen keys show icon (an emoji) above name, on color (#rrggbb). Give a binding a when list of app names, like when: [Spotify], to use it only while one of them is in front; enabled: false switches one off.",
  "settings": { "brightness": 60, "rotation": 90, "roku": "", "homeassistant": "", "ntfy": "" },
  "bindings": [
    { "control": "middle knob", "name": "Volume", "turn": "volume", "press": { "system": "mute" } },
    { "control": "right knob", "name": "Tracks", "left": { "system": "previous" }, "right": { "system": "next" },
      "press": { "system": "playpause" } },
    { "control": "left knob", "name": "Brightness", "turn": "brightness", "enabled": false },

    { "control": "key 1", "name": "Play", "icon": "⏯️", "color": "#2c2c2e", "system": "playpause" },
    { "control": "key 2", "name": "Next", "icon": "⏭️", "color": "#2c2c2e", "system": "next" },
    { "control": "key 3", "name": "Spotify", "icon": "🎵", "color": "#1db954", "open": "Spotify" },
    { "control": "key 3", "when": ["Spotify"], "name": "Like", "icon": "💚", "color": "#121212",
      "keystroke": "alt shift b" },
    { "control": "key 4", "name": "Screenshot", "icon": "📸", "color": "#0a84ff", "keystroke": "cmd shift 4" },
    { "control": "key 5", "name": "Lock", "icon": "🔒", "color": "#3a3a3c", "shell": "pmset displaysleepnow" },
    { "control": "key 6", "name": "TV", "icon": "📺", "color": "#6f1ab1", "roku": "Power" },

    { "control": "button 1", "name": "Lights Off", "shortcut": "Lights Off", "enabled": false },
    { "control": "button 2", "name": "Buzz My Phone", "ntfy": "Hello from Ruvola", "enabled": false }
  ]
}
)starter");
    EXPECT_EQ(starterBindings::file().problems, std::vector<std::string>{});
    EXPECT_EQ(starterBindings::file(), BindingsFile::parse(starterBindings::text()));
}

} // namespace
} // namespace ruvola
