#pragma once

#include "Ruvola/tray/PanelModel.hpp"

#include <QImage>
#include <QWidget>

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

class QVBoxLayout;

namespace ruvola {

namespace panel {
class KeyStripView;
class RowView;
} // namespace panel

/// The status panel's content, built from the entries a provider returns. Expansion and
/// selection belong to rows by id, so they survive a refresh that replaces every entry.
///
/// Actions run from the event loop just after the click or key that asked for them, never from
/// inside the widget that was used, so an action may refresh or replace the panel.
class PanelContentView final : public QWidget {
public:
    using Provider = std::function<std::vector<PanelEntry>()>;
    /// Told that the preferred size changed; `animated` when the user caused it.
    using ResizeCallback = std::function<void(bool animated)>;

    static constexpr int preferredWidth = 300;

    PanelContentView(Provider provider, ResizeCallback onResize, QWidget* parent = nullptr);
    ~PanelContentView() override;

    /// Asks the provider for the entries again and shows them.
    void refresh();

    /// Shows the pictures on the pad's screen keys, in order 1…6, under the first row (the
    /// pad's); a null image is a blank key.
    void setKeyImages(const std::array<QImage, 6>& images);
    /// Takes the key pictures away, e.g. while no pad is connected.
    void clearKeyImages();

    const std::optional<std::string>& selectedId() const { return selected_; }
    /// Selects an enabled, visible row; anything else clears the selection.
    void select(const std::optional<std::string>& id);
    bool isExpanded(const std::string& id) const { return expanded_.contains(id); }
    void setExpanded(const std::string& id, bool expanded, bool animated = false);

    /// Escape was pressed.
    std::function<void()> onHideRequested;

    QSize sizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void rebuild(bool animated);
    void addEntries(const std::vector<PanelEntry>& entries, int depth, const std::string& parentId);
    void addRow(const PanelRow& row, int depth, const std::string& parentId);
    void addKeyStrip();
    void place(QWidget* widget, int index = -1);
    void rowClicked(std::string id);
    void rowDoubleClicked(std::string id);
    void activate(const std::string& id);
    void moveSelection(int step);
    void showSelection();
    void post(std::function<void()> work);
    panel::RowView* visibleRow(const std::string& id) const;
    const PanelRow* findRow(const std::string& id) const;

    Provider provider_;
    ResizeCallback onResize_;
    std::vector<PanelEntry> entries_;
    std::set<std::string> expanded_;
    std::optional<std::string> selected_;
    std::optional<std::array<QImage, 6>> keyImages_;

    QVBoxLayout* layout_ = nullptr;
    /// The rows on show, top to bottom, expanded children included.
    std::vector<panel::RowView*> rows_;
    std::map<std::string, std::string> parentOf_;
    panel::KeyStripView* keyStrip_ = nullptr;
    QSize lastHint_;
};

} // namespace ruvola
