#include "Ruvola/tray/PanelContent.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

using Strings = std::vector<std::string>;

// Each line as a person reads it, expansions included; "*" marks the current row.
void read(const std::vector<PanelEntry>& entries, Strings& lines) {
    for (const PanelEntry& entry : entries) {
        if (const auto* row = entry.as<PanelRow>()) {
            lines.push_back(row->text + (row->trailing ? " · " + *row->trailing : "") +
                            (row->isCurrent ? " *" : ""));
            read(row->expansion, lines);
        } else if (const auto* text = entry.as<PanelEntry::Text>()) {
            lines.push_back(text->text);
        } else if (const auto* toggle = entry.as<PanelEntry::Toggle>()) {
            lines.push_back(toggle->title + (toggle->isOn ? " on" : " off"));
        }
    }
}

TEST(PanelContent, FollowsThePadTheBindingsTheFrontmostApplicationAndAccess) {
    const BindingsFile file = BindingsFile::parse(R"({"bindings": [
      {"control": "key 1", "name": "Play", "system": "playpause"},
      {"control": "key 1", "when": ["Editor"], "name": "Save", "keystroke": "cmd s"}]})");
    const BindingsFile broken = BindingsFile::parse(R"({"bindings": [{"control": "key 9"}]})");
    const PadConnection::Status pad{PadConnection::Status::Connected{{"Pad", 1, 2}, "2.1"}};
    const auto lines = [](const PanelState& state) {
        Strings got;
        read(PanelContent::entries(state, {}), got);
        return got;
    };
    EXPECT_EQ(lines({"Ruvola", {}, file, {}, {}, {}, false, "/b.json"}),
              (Strings{"No Pad Connected", "Controls · 1 Set", "Key 1 — Play",
                       "Touch a control on the pad to see its name.", "Fine Volume Steps off",
                       "Edit Bindings…"}));
    EXPECT_EQ(lines({"Ruvola", pad, file, {"Editor"}, PadControl::key(1), {}, true, ""}),
              (Strings{"Pad *", "Controls · 1 Set", "Key 1 — Save *", "Last touched: Key 1",
                       "Fine Volume Steps on", "Edit Bindings…"}));
    EXPECT_EQ(
        lines({"Ruvola", pad, broken, {}, PadControl::key(2), "grant it", false, ""}),
        (Strings{"Pad *", "Access Needed",
                 "For the system volume overlay and keystroke bindings, grant it.",
                 "Controls · 1 to Fix", "⚠ " + broken.problems.front(),
                 "Last touched: Key 2 (unbound)", "Fine Volume Steps off", "Edit Bindings…"}));
}

} // namespace
} // namespace ruvola
