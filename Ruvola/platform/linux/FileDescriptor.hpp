#pragma once

namespace ruvola::platform {

/// Owns a file descriptor and closes it with the object; -1 holds none.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor();

    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace ruvola::platform
