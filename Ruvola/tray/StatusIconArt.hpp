#pragma once

#include <QIcon>
#include <QImage>

/// The tray's monochrome picture of Ruvola's mark: solid while a pad is connected, faded while
/// searching for one.
namespace ruvola::StatusIconArt {

enum class Mood { connected, searching };

/// The 18×18 picture at `scale` device pixels per point: black ink on a transparent ground.
QImage image(Mood mood, int scale = 1);

/// The picture at 1× and 2×, marked as a mask so the tray may tint it.
QIcon icon(Mood mood);

} // namespace ruvola::StatusIconArt
