#pragma once

#include "Ruvola/tray/PanelModel.hpp"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QLineEdit;

/// The pieces the status panel is built from. Rows are drawn by hand so that they look like menu
/// items; the panel itself decides what happens when one is used.
namespace ruvola::panel {

/// One selectable row. Reports use through its callbacks and never acts on its own.
class RowView final : public QWidget {
public:
    RowView(const PanelRow& row, int depth, bool expanded, QWidget* parent = nullptr);

    const std::string& id() const { return row_.id; }
    bool isExpandable() const { return expandable_; }
    void setSelected(bool selected);
    bool isSelected() const { return selected_; }
    /// Stops reporting anything: the row is on its way out, though still under the mouse or
    /// holding the focus for a moment.
    void retire() { retired_ = true; }
    /// The in-place editor of the label, for rows that have one.
    QLineEdit* nameField() const { return nameField_; }

    std::function<void()> onClicked;
    std::function<void()> onDoubleClicked;
    /// The mouse moved over the row; not sent when rows come and go under a resting mouse.
    std::function<void()> onHovered;
    std::function<void()> onLeft;
    /// The editor's text once editing ends with a change.
    std::function<void(const std::string&)> onNameCommitted;
    /// Escape in the editor: focus goes back to the panel.
    std::function<void()> onNameAbandoned;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    struct Geometry;
    Geometry measure() const;
    int lineHeight() const;
    int detailHeight() const;
    void report(const std::function<void()>& callback) const;

    PanelRow row_;
    std::optional<std::string> symbol_;
    std::vector<std::optional<std::string>> detailSymbols_;
    int depth_ = 0;
    bool expandable_ = false;
    bool expanded_ = false;
    bool selected_ = false;
    bool pressed_ = false;
    bool releaseEndsDoubleClick_ = false;
    bool retired_ = false;
    QLineEdit* nameField_ = nullptr;
};

} // namespace ruvola::panel
