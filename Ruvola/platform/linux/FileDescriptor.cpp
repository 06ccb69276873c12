#include "Ruvola/platform/linux/FileDescriptor.hpp"

#include <unistd.h>
#include <utility>

namespace ruvola::platform {

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)) {}

FileDescriptor::~FileDescriptor() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

} // namespace ruvola::platform
