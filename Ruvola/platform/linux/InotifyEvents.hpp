#pragma once

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>

namespace ruvola::platform {

/// Reads every event queued on the non-blocking inotify `descriptor` and hands each to `visit`
/// with the name of the entry it is about (empty when it is about the watched directory itself).
template <typename Visit>
void readInotifyEvents(int descriptor, Visit visit) {
    alignas(inotify_event) std::array<char, 16 * 1024> buffer;
    for (;;) {
        const ssize_t length = ::read(descriptor, buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            return; // EAGAIN: drained
        }
        const auto end = static_cast<std::size_t>(length);
        std::size_t offset = 0;
        while (offset + sizeof(inotify_event) <= end) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + offset, sizeof event);
            std::string_view name(buffer.data() + offset + sizeof event, event.len);
            name = name.substr(0, name.find('\0'));
            offset += sizeof event + event.len;
            visit(event, name);
        }
    }
}

} // namespace ruvola::platform
