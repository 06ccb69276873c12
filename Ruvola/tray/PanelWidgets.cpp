#include "Ruvola/tray/PanelWidgets.hpp"

#include "Ruvola/tray/PanelSymbols.hpp"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace ruvola::panel {

// ---- ToggleView ----------------------------------------------------------------------------

namespace {
constexpr int switchWidth = 32;
constexpr int switchHeight = 18;
} // namespace

ToggleView::ToggleView(const PanelEntry::Toggle& toggle, QWidget* parent)
    : QAbstractButton(parent) {
    setText(QString::fromStdString(toggle.title));
    setCheckable(true);
    setChecked(toggle.isOn);
    setEnabled(toggle.enabled);
    if (toggle.toolTip) {
        setToolTip(QString::fromStdString(*toggle.toolTip));
    }
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize ToggleView::sizeHint() const {
    return {300, std::max(28, fontMetrics().height() + 10)};
}

bool ToggleView::hitButton(const QPoint& position) const {
    return rect().contains(position);
}

void ToggleView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) {
        p.setOpacity(0.4);
    }
    const QPalette& pal = palette();
    const QRectF track(width() - metrics::content - switchWidth, (height() - switchHeight) / 2.0,
                       switchWidth, switchHeight);
    p.setFont(font());
    p.setPen(pal.color(QPalette::WindowText));
    const int labelRoom = static_cast<int>(track.left()) - 8 - metrics::content;
    p.drawText(QRect(metrics::content, 0, labelRoom, height()), Qt::AlignLeft | Qt::AlignVCenter,
               fontMetrics().elidedText(text(), Qt::ElideRight, labelRoom));

    const QColor off = withAlpha(pal.color(QPalette::WindowText), 60);
    p.setPen(Qt::NoPen);
    p.setBrush(isChecked() ? pal.color(QPalette::Active, QPalette::Highlight) : off);
    p.drawRoundedRect(track, switchHeight / 2.0, switchHeight / 2.0);
    const double knob = switchHeight - 4;
    const double knobX = isChecked() ? track.right() - 2 - knob : track.left() + 2;
    p.setBrush(QColor(255, 255, 255));
    p.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
    p.drawEllipse(QRectF(knobX, track.top() + 2, knob, knob));
    if (hasFocus()) {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(pal.color(QPalette::Highlight), 1.5));
        p.drawRoundedRect(track.adjusted(-2, -2, 2, 2), switchHeight / 2.0 + 2,
                          switchHeight / 2.0 + 2);
    }
}

// ---- KeyStripView --------------------------------------------------------------------------

namespace {
constexpr int bodyPadding = 6;
constexpr int stripMargin = 4;
const QColor padBody(0x2a, 0x2a, 0x2d);
const QColor blankKey(0x0e, 0x0e, 0x10);
} // namespace

KeyStripView::KeyStripView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("keyStrip"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("Screen keys"));
}

void KeyStripView::setImages(const std::array<QImage, 6>& images) {
    images_ = images;
    update();
}

QRect KeyStripView::bodyRect() const {
    return {metrics::label, stripMargin, 3 * keySide + 2 * gap + 2 * bodyPadding,
            2 * keySide + gap + 2 * bodyPadding};
}

QRect KeyStripView::keyRect(int index) const {
    const QRect body = bodyRect();
    return {body.left() + bodyPadding + index % 3 * (keySide + gap),
            body.top() + bodyPadding + index / 3 * (keySide + gap), keySide, keySide};
}

QSize KeyStripView::sizeHint() const {
    return {300, bodyRect().height() + 2 * stripMargin};
}

void KeyStripView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.setPen(Qt::NoPen);
    p.setBrush(padBody);
    p.drawRoundedRect(QRectF(bodyRect()), 9, 9);
    for (int index = 0; index < 6; ++index) {
        const QRectF key = keyRect(index);
        QPainterPath shape;
        shape.addRoundedRect(key, 5, 5);
        p.fillPath(shape, blankKey);
        const QImage& image = images_[static_cast<std::size_t>(index)];
        if (!image.isNull()) {
            p.save();
            p.setClipPath(shape);
            p.drawImage(key, image);
            p.restore();
        }
        p.strokePath(shape, QPen(QColor(255, 255, 255, 28), 1));
    }
}

// ---- RuleView ------------------------------------------------------------------------------

RuleView::RuleView(int extraTop, QWidget* parent) : QWidget(parent), extraTop_(extraTop) {
    setFixedHeight(9 + extraTop);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void RuleView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const int y = extraTop_ + 4;
    p.fillRect(QRect(metrics::content, y, width() - 2 * metrics::content, 1),
               withAlpha(palette().color(QPalette::WindowText), 45));
}

} // namespace ruvola::panel
