#pragma once

#include <functional>

namespace ruvola::platform {

/// Tells the application, on the main thread, that something it can't ask about cheaply may have
/// changed, so that it looks again. What is watched is up to each kind of notifier.
///
/// Contract:
/// - `notify` is called from the event loop of the thread that called `start` (the main one).
/// - `start` returns false when there is nothing to watch; the notifier then stays silent.
/// - Destroying the notifier stops the calls and releases every handle.
class Notifier {
public:
    virtual ~Notifier() = default;

    virtual bool start(std::function<void()> notify) = 0;
};

} // namespace ruvola::platform
