#pragma once

#include "Ruvola/tray/PanelModel.hpp"

#include <QAbstractButton>
#include <QImage>
#include <QWidget>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QLineEdit;
class QPainter;
class QRectF;

/// The pieces the status panel is built from. Rows are drawn by hand so that they look like menu
/// items; the panel itself decides what happens when one is used.
namespace ruvola::panel {

/// Horizontal measures shared by the pieces so that their texts line up.
namespace metrics {
/// The selection highlight stops this far short of the panel's edges.
constexpr int inset = 5;
/// From the highlight's edge to the first thing drawn in a row.
constexpr int padding = 9;
constexpr int indent = 16;
constexpr int symbol = 16;
constexpr int symbolGap = 6;
constexpr int content = inset + padding;
/// Where a top-level row's label starts when it has a symbol.
constexpr int label = content + symbol + symbolGap;
} // namespace metrics

/// `font` made `factor` times as large, however its size was given.
QFont scaledFont(QFont font, double factor);

/// Draws the symbol called `name` (e.g. "square.grid.3x2.fill") filling `box` in `ink`, from
/// shapes of our own or the desktop's icon theme; false when neither knows the name.
bool drawSymbol(QPainter& painter, const std::string& name, const QRectF& box, const QColor& ink);
bool canDrawSymbol(const std::string& name);
/// The first of `symbol` and then `fallbacks` that can be drawn.
std::optional<std::string> pickSymbol(const std::optional<std::string>& symbol,
                                      const std::vector<std::string>& fallbacks);

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

/// A labelled on/off switch spanning the panel's width.
class ToggleView final : public QAbstractButton {
public:
    explicit ToggleView(const PanelEntry::Toggle& toggle, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& position) const override;
};

/// The six screen keys as the pad shows them: 1 2 3 on top, 4 5 6 below.
class KeyStripView final : public QWidget {
public:
    static constexpr int keySide = 40;
    static constexpr int gap = 5;

    explicit KeyStripView(QWidget* parent = nullptr);
    /// A null image shows a dark, blank key.
    void setImages(const std::array<QImage, 6>& images);
    /// Where key `index` (0…5) is drawn.
    QRect keyRect(int index) const;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRect bodyRect() const;

    std::array<QImage, 6> images_;
};

/// A thin horizontal rule; `extraTop` sets a group of footer rows apart.
class RuleView final : public QWidget {
public:
    explicit RuleView(int extraTop, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int extraTop_ = 0;
};

} // namespace ruvola::panel
