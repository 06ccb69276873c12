#pragma once

#include "Ruvola/tray/PanelModel.hpp"

#include <QAbstractButton>
#include <QImage>
#include <QWidget>

#include <array>

/// The status panel's small pieces besides its rows.
namespace ruvola::panel {

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
