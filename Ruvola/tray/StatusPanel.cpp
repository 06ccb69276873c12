#include "Ruvola/tray/StatusPanel.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace ruvola {
namespace {

constexpr int border = 1;
/// Keeps the popup off the screen's edges.
constexpr int margin = 6;
/// Between the icon and the popup.
constexpr int gap = 4;
/// A press outside closes the popup before the tray icon sees its click.
constexpr std::chrono::milliseconds reopenGuard{300};
constexpr int glideMilliseconds = 160;

constexpr Qt::WindowFlags popupFlags = Qt::Popup | Qt::FramelessWindowHint;

// On Wayland a window can't be placed by its client: a popup needs a parent window to hang from,
// which a tray icon is not.
bool popupsCanBePlaced() {
    return !QGuiApplication::platformName().startsWith("wayland");
}

} // namespace

class StatusPanelController::Window final : public QWidget {
public:
    explicit Window(std::function<void()> onHide)
        : QWidget(nullptr, popupFlags), onHide_(std::move(onHide)) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().color(QPalette::Window));
        QColor edge = palette().color(QPalette::WindowText);
        edge.setAlpha(70);
        painter.setPen(edge);
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }

    void hideEvent(QHideEvent* event) override {
        QWidget::hideEvent(event);
        onHide_();
    }

private:
    std::function<void()> onHide_;
};

StatusPanelController::StatusPanelController()
    : window_(std::make_unique<Window>([this] {
          animation_->stop();
          sinceHidden_.start();
          if (onHidden) {
              onHidden();
          }
      })) {
    auto* layout = new QVBoxLayout(window_.get());
    layout->setContentsMargins(border, border, border, border);
    // The popup's size is the content's, set by position(); nothing else may hold it larger.
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    scroll_ = new QScrollArea(window_.get());
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(scroll_);
    animation_ = new QPropertyAnimation(window_.get(), "geometry", window_.get());
    animation_->setDuration(glideMilliseconds);
    animation_->setEasingCurve(QEasingCurve::OutCubic);
}

StatusPanelController::~StatusPanelController() {
    onHidden = nullptr;
    window_->hide();
    setContent(nullptr);
}

void StatusPanelController::show(PanelContentView* content, const QRect& anchor) {
    setWindowed(!popupsCanBePlaced());
    setContent(content);
    if (!content_) {
        return;
    }
    // Before the refresh, whose change of size may ask to be placed at anchor().
    anchor_ = anchor;
    content_->refresh();
    content_->select(std::nullopt);
    position(anchor, false);
    window_->show();
    window_->raise();
    window_->activateWindow();
    content_->setFocus(Qt::PopupFocusReason);
}

void StatusPanelController::showAsWindow(PanelContentView* content) {
    setWindowed(true);
    setContent(content);
    if (!content_) {
        return;
    }
    content_->refresh();
    content_->select(std::nullopt);
    position(QRect(), false);
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void StatusPanelController::setWindowed(bool windowed) {
    if (windowed == windowed_) {
        return;
    }
    windowed_ = windowed;
    window_->hide();
    window_->setWindowFlags(windowed ? Qt::Window : popupFlags);
    window_->setWindowTitle(QGuiApplication::applicationDisplayName());
}

void StatusPanelController::toggle(PanelContentView* content, const QRect& anchor) {
    if (isVisible()) {
        hide();
    } else if (!sinceHidden_.isValid() || sinceHidden_.elapsed() > reopenGuard.count()) {
        show(content, anchor);
    }
    sinceHidden_.invalidate();
}

void StatusPanelController::hide() {
    window_->hide();
}

bool StatusPanelController::isVisible() const {
    return window_->isVisible();
}

void StatusPanelController::setContent(PanelContentView* content) {
    if (content == content_) {
        return;
    }
    if (content_) {
        content_->onHideRequested = nullptr;
        scroll_->takeWidget();
    }
    content_ = content;
    if (content_) {
        content_->onHideRequested = [this] { hide(); };
        scroll_->setWidget(content_);
    }
}

void StatusPanelController::position(const QRect& anchor, bool animated) {
    anchor_ = anchor;
    if (!content_) {
        return;
    }
    QScreen* screen = anchor.isEmpty() ? nullptr : QGuiApplication::screenAt(anchor.center());
    const QRect known = screen ? anchor : QRect();
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    if (!screen) {
        return;
    }
    const QSize wanted(PanelContentView::preferredWidth + 2 * border,
                       content_->sizeHint().height() + 2 * border);
    const QRect target = placement(known, wanted, screen->availableGeometry());
    animation_->stop();
    if (windowed_) {
        // The desktop places the window; a fixed size keeps tiling compositors from tiling it.
        window_->setFixedSize(target.size());
        return;
    }
    window_->setMinimumSize(0, 0);
    window_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    if (animated && window_->isVisible() && target != window_->geometry()) {
        animation_->setStartValue(window_->geometry());
        animation_->setEndValue(target);
        animation_->start();
    } else {
        window_->setGeometry(target);
    }
}

QWidget* StatusPanelController::window() const {
    return window_.get();
}

QRect StatusPanelController::placement(const QRect& anchor, const QSize& size,
                                       const QRect& available) {
    const int height = std::min(size.height(), available.height() - 2 * margin);
    QRect frame(0, 0, size.width(), height);
    if (anchor.isEmpty()) {
        frame.moveTopRight(QPoint(available.right() - margin, available.top() + margin));
        return frame;
    }
    int x = anchor.left() + anchor.width() / 2 - size.width() / 2;
    int y = anchor.bottom() + 1 + gap;
    // An icon in a panel at the bottom of the screen opens upwards.
    if (y + height > available.bottom() + 1 && anchor.top() - gap - height >= available.top()) {
        y = anchor.top() - gap - height;
    }
    x = std::max(available.left() + margin,
                 std::min(x, available.right() + 1 - margin - size.width()));
    y = std::max(available.top(), std::min(y, available.bottom() + 1 - height));
    frame.moveTopLeft(QPoint(x, y));
    return frame;
}

} // namespace ruvola
