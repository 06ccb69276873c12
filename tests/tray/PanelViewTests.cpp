// The status panel's widgets, used as a person would: clicks, keys, and a look at the result.
#include "Ruvola/tray/PanelRowView.hpp"
#include "Ruvola/tray/PanelWidgets.hpp"
#include "Ruvola/tray/StatusPanel.hpp"
#include "support/EventLoop.hpp"

#include <QApplication>
#include <QTest>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace ruvola {
namespace {

using ruvola::testing::waitUntil;

PanelEntry row(std::string id, std::function<void()> action, bool enabled = true,
               std::vector<PanelEntry> expansion = {}) {
    return {PanelRow{.id = id,
                     .text = "Row " + id,
                     .expansion = std::move(expansion),
                     .enabled = enabled,
                     .action = std::move(action)}};
}

// A content view on show, fed from `model`, noting each change of its size.
struct Panel {
    std::vector<PanelEntry> model;
    std::vector<bool> resizes;
    PanelContentView view{[this] { return model; },
                          [this](bool animated) { resizes.push_back(animated); }};

    explicit Panel(std::vector<PanelEntry> entries) : model(std::move(entries)) {
        view.resize(PanelContentView::preferredWidth, 400);
        view.show();
        refresh();
    }
    void refresh() {
        view.refresh();
        settle();
    }
    // New widgets are shown and laid out from the event loop.
    void settle() {
        QApplication::processEvents();
        view.resize(PanelContentView::preferredWidth, view.sizeHint().height());
        QApplication::processEvents();
    }
    panel::RowView* rowView(const std::string& id) const {
        return dynamic_cast<panel::RowView*>(view.findChild<QWidget*>(QString::fromStdString(id)));
    }
    void click(const std::string& id) { QTest::mouseClick(rowView(id), Qt::LeftButton); }
};

TEST(PanelContentView, KeysAndClicksReachEnabledRowsAndStateFollowsRowIds) {
    std::map<std::string, int> ran; // how often each row's action ran
    std::function<void()> refresh;
    // "a"'s action refreshes the panel, as most do.
    std::vector<PanelEntry> model = {
        row("a",
            [&] {
                ++ran["a"];
                refresh();
            }),
        row(
            "b", [&] { ++ran["b"]; }, false),
        row("group", {}, true, {row("c", {}), row("d", {}, false), row("e", {})})};
    Panel panel(model);
    refresh = [&] { panel.refresh(); };
    bool hideRequested = false;
    panel.view.onHideRequested = [&] { hideRequested = true; };

    const struct {
        Qt::Key key;
        std::optional<std::string> selected;
        bool expanded;
    } steps[] = {
        {Qt::Key_Down, "a", false},     {Qt::Key_Down, "group", false}, // past disabled "b"
        {Qt::Key_Right, "group", true}, {Qt::Key_Down, "c", true},
        {Qt::Key_Down, "e", true},      {Qt::Key_Down, "e", true}, // stays at the end
        {Qt::Key_Left, "group", true},  {Qt::Key_Left, "group", false},
        {Qt::Key_Down, "group", false}, {Qt::Key_Up, "a", false},
    };
    for (const auto& step : steps) {
        QTest::keyClick(&panel.view, step.key);
        EXPECT_EQ(panel.view.selectedId(), step.selected) << QTest::toString(step.key);
        EXPECT_EQ(panel.view.isExpanded("group"), step.expanded) << QTest::toString(step.key);
    }
    panel.click("b");
    QTest::keyClick(&panel.view, Qt::Key_Return);
    // Actions run in order from the event loop: once "a" ran, "b" would have too.
    EXPECT_TRUE(waitUntil([&] { return ran["a"] == 1; }) && ran["b"] == 0);
    QTest::keyClick(&panel.view, Qt::Key_Escape);
    EXPECT_TRUE(hideRequested);

    panel.resizes.clear();
    panel.click("group");
    EXPECT_EQ(panel.resizes, std::vector<bool>{true});
    panel.settle();
    panel.view.select("e");
    // Everything moves and changes except the ids.
    panel.model = {row("new", {}), row("group", {}, true, {row("c0", {}), row("e", {})})};
    panel.refresh();
    EXPECT_TRUE(panel.view.isExpanded("group") && panel.rowView("e")->isSelected());
    // A row that goes away is forgotten: back again, it starts collapsed.
    panel.model = {row("a", {})};
    panel.refresh();
    EXPECT_EQ(panel.view.selectedId(), std::nullopt);
    panel.model = {row("group", {}, true, {row("e", {})})};
    panel.refresh();
    EXPECT_FALSE(panel.view.isExpanded("group"));
}

TEST(StatusPanelController, PlacesThePanelUnderItsIconWithinTheScreen) {
    const QRect screen(0, 30, 1000, 700); // below a 30 px top bar
    const struct {
        const char* where;
        QRect anchor;
        int height;
        QRect frame;
    } cases[] = {
        {"under the icon, centred", {500, 5, 20, 20}, 400, {359, 30, 302, 400}},
        {"kept off the right edge", {970, 5, 20, 20}, 400, {692, 30, 302, 400}},
        {"kept off the left edge", {0, 5, 20, 20}, 400, {6, 30, 302, 400}},
        {"above an icon at the bottom", {500, 705, 20, 20}, 400, {359, 301, 302, 400}},
        {"at the top right without an icon", {}, 400, {692, 36, 302, 400}},
        {"never taller than the screen", {}, 2000, {692, 36, 302, 688}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(StatusPanelController::placement(c.anchor, {302, c.height}, screen), c.frame)
            << c.where;
    }
}

} // namespace
} // namespace ruvola
