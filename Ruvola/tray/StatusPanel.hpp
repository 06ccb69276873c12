#pragma once

#include "Ruvola/tray/PanelContentView.hpp"

#include <QElapsedTimer>
#include <QPointer>
#include <QRect>

#include <functional>
#include <memory>

class QPropertyAnimation;
class QScrollArea;
class QWidget;

namespace ruvola {

/// Shows a PanelContentView in a frameless popup under the tray icon. Like a menu, the popup
/// closes on a click anywhere else and on Escape. Where there is no tray icon to hang it from, or
/// the toolkit can't place a popup (Wayland, where the compositor places windows), it is a window
/// of fixed size instead, which tiling compositors float. The content stays its owner's: the
/// controller only holds it while showing it.
class StatusPanelController final {
public:
    StatusPanelController();
    ~StatusPanelController();
    StatusPanelController(const StatusPanelController&) = delete;
    StatusPanelController& operator=(const StatusPanelController&) = delete;

    /// Refreshes `content` and shows it below `anchor`, the tray icon's geometry; an empty or
    /// off-screen anchor puts the panel at the top right of the screen.
    void show(PanelContentView* content, const QRect& anchor);
    /// Shows `content` in a window with a title bar, wherever the desktop puts it.
    void showAsWindow(PanelContentView* content);
    /// For the tray icon's click: hides a showing panel, and shows a hidden one unless it was
    /// closed a moment ago, by the press of this same click outside the popup.
    void toggle(PanelContentView* content, const QRect& anchor);
    void hide();
    bool isVisible() const;
    /// Whether it shows as a window rather than a popup.
    bool windowed() const { return windowed_; }

    /// Also points the content's onHideRequested at hide().
    void setContent(PanelContentView* content);
    PanelContentView* content() const { return content_; }

    /// Fits the popup to the content's preferred size at `anchor`; `animated` glides it there
    /// when it is showing.
    void position(const QRect& anchor, bool animated);
    const QRect& anchor() const { return anchor_; }

    QWidget* window() const;

    /// The popup closed, whatever closed it.
    std::function<void()> onHidden;

    /// Where a popup of `size` goes for an icon at `anchor` (empty when not known) on a screen
    /// whose area free of panels and docks is `available`.
    static QRect placement(const QRect& anchor, const QSize& size, const QRect& available);

private:
    class Window;

    void setWindowed(bool windowed);

    std::unique_ptr<Window> window_;
    QScrollArea* scroll_ = nullptr;
    QPropertyAnimation* animation_ = nullptr;
    QPointer<PanelContentView> content_;
    QRect anchor_;
    QElapsedTimer sinceHidden_;
    bool windowed_ = false;
};

} // namespace ruvola
