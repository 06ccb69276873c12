#pragma once

#include <string>

namespace ruvola::platform {

/// The screen's brightness, stepped through the desktop's own service where there is one, which
/// needs no permission and shows the desktop's on-screen display as its own keys do.
///
/// Contract:
/// - `step` moves the brightness one step up or down through the first route the session has
///   now: the desktop's power service (GNOME's, then KDE Plasma's), else logind on the session's
///   backlight device. It returns true once the step is on its way, false when there is no route;
///   the caller then posts the brightness key instead. A step that fails later is silent.
/// - Through GNOME's service a step is GNOME's own; otherwise it is a sixteenth of the range, at
///   least one unit, kept within the range. Steps taken faster than the route answers add up:
///   none is lost.
/// - `step` and `route` are called on the main thread and return quickly; they never wait for
///   the desktop, and the route's answers arrive on the main thread's event loop.
class Brightness {
public:
    virtual ~Brightness() = default;

    virtual bool step(bool up) = 0;

    /// Which route a step would take now, for a reader: "GNOME power service", "KDE power
    /// management" or "logind (intel_backlight)"; empty when there is none.
    virtual std::string route() = 0;
};

} // namespace ruvola::platform
