#include "Ruvola/platform/linux/PulseSystemVolume.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <pulse/pulseaudio.h>

namespace ruvola::platform {

namespace {

using Clock = std::chrono::steady_clock;

// The server resolves this name at each request, so the sink is always the current default.
constexpr const char* defaultSink = "@DEFAULT_SINK@";

struct Sink {
    std::uint32_t index = 0;
    pa_cvolume volume{};
    bool muted = false;
};

// A private main loop and connection for the length of one call. Nothing outlives the call, so
// a server that restarts or goes away needs no reconnection logic; a call costs a few
// milliseconds on a local socket.
class Session {
public:
    explicit Session(std::chrono::milliseconds bound)
        : deadline_(Clock::now() + bound), loop_(pa_mainloop_new()) {
        if (loop_ == nullptr) {
            return;
        }
        context_ = pa_context_new(pa_mainloop_get_api(loop_), "Ruvola");
        if (context_ == nullptr ||
            pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            return;
        }
        runUntil([this] {
            const pa_context_state_t state = pa_context_get_state(context_);
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        });
        ready_ = pa_context_get_state(context_) == PA_CONTEXT_READY;
    }

    ~Session() {
        if (context_ != nullptr) {
            pa_context_disconnect(context_);
            pa_context_unref(context_);
        }
        if (loop_ != nullptr) {
            pa_mainloop_free(loop_);
        }
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    pa_context* context() const { return ready_ ? context_ : nullptr; }

    /// Runs `operation` to its end; true when it completed. One cut short by the deadline is
    /// cancelled, so its callback never writes to the caller's finished frame.
    bool finish(pa_operation* operation) {
        if (operation == nullptr) {
            return false;
        }
        runUntil([&] {
            return pa_operation_get_state(operation) != PA_OPERATION_RUNNING ||
                   !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
        });
        const pa_operation_state_t state = pa_operation_get_state(operation);
        if (state == PA_OPERATION_RUNNING) {
            pa_operation_cancel(operation);
        }
        pa_operation_unref(operation);
        return state == PA_OPERATION_DONE;
    }

    std::optional<Sink> defaultSinkInfo() {
        if (context() == nullptr) {
            return std::nullopt;
        }
        std::optional<Sink> sink;
        const auto onInfo = [](pa_context*, const pa_sink_info* info, int, void* data) {
            if (info != nullptr) {
                *static_cast<std::optional<Sink>*>(data) =
                    Sink{info->index, info->volume, info->mute != 0};
            }
        };
        const bool done =
            finish(pa_context_get_sink_info_by_name(context_, defaultSink, onInfo, &sink));
        return done ? sink : std::nullopt;
    }

    /// Runs `start(context, callback, userdata)` and reports whether the server said it succeeded.
    template <typename Start>
    bool succeeds(Start start) {
        if (context() == nullptr) {
            return false;
        }
        bool success = false;
        const auto onResult = [](pa_context*, int result, void* data) {
            *static_cast<bool*>(data) = result != 0;
        };
        return finish(start(context_, onResult, &success)) && success;
    }

private:
    template <typename Done>
    void runUntil(Done done) {
        while (!done()) {
            const auto left =
                std::chrono::duration_cast<std::chrono::microseconds>(deadline_ - Clock::now());
            if (left.count() <= 0 ||
                pa_mainloop_prepare(loop_, static_cast<int>(left.count())) < 0 ||
                pa_mainloop_poll(loop_) < 0 || pa_mainloop_dispatch(loop_) < 0) {
                return;
            }
        }
    }

    Clock::time_point deadline_;
    pa_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool ready_ = false;
};

} // namespace

PulseSystemVolume::PulseSystemVolume(std::chrono::milliseconds bound) : bound_(bound) {}

std::optional<double> PulseSystemVolume::volume() {
    Session session(bound_);
    const std::optional<Sink> sink = session.defaultSinkInfo();
    if (!sink) {
        return std::nullopt;
    }
    return std::min(1.0, static_cast<double>(pa_cvolume_avg(&sink->volume)) / PA_VOLUME_NORM);
}

bool PulseSystemVolume::setVolume(double level) {
    if (std::isnan(level)) {
        return false;
    }
    Session session(bound_);
    // The channel count comes from the sink itself; setting by index keeps to that same sink.
    const std::optional<Sink> sink = session.defaultSinkInfo();
    if (!sink) {
        return false;
    }
    pa_cvolume volume{};
    pa_cvolume_set(
        &volume, sink->volume.channels,
        static_cast<pa_volume_t>(std::lround(std::clamp(level, 0.0, 1.0) * PA_VOLUME_NORM)));
    return session.succeeds([&](pa_context* context, pa_context_success_cb_t callback, void* data) {
        return pa_context_set_sink_volume_by_index(context, sink->index, &volume, callback, data);
    });
}

std::optional<bool> PulseSystemVolume::isMuted() {
    Session session(bound_);
    const std::optional<Sink> sink = session.defaultSinkInfo();
    return sink ? std::optional<bool>(sink->muted) : std::nullopt;
}

bool PulseSystemVolume::setMuted(bool muted) {
    Session session(bound_);
    return session.succeeds([&](pa_context* context, pa_context_success_cb_t callback, void* data) {
        return pa_context_set_sink_mute_by_name(context, defaultSink, muted ? 1 : 0, callback,
                                                data);
    });
}

} // namespace ruvola::platform
