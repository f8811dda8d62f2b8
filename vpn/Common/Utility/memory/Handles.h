#pragma once

#include <cstdio>
#include <dirent.h>
#include <memory>
#include <unistd.h>
#include <utility>

/// Calls a C release function on the pointer that a std::unique_ptr lets go.
template <auto Release> struct Releaser {
    template <typename T> void operator()(T* p) const noexcept { static_cast<void>(Release(p)); }
};

/// An open stdio stream. Where the result of fclose matters, release() it and close it by hand.
using FileHandle = std::unique_ptr<std::FILE, Releaser<&std::fclose>>;

/// An open folder stream.
using DirHandle = std::unique_ptr<DIR, Releaser<&::closedir>>;

/// An open file descriptor; -1 is none. Movable, closed at the end of its life.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        reset(std::exchange(other.m_fd, -1));
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const noexcept { return m_fd; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_fd >= 0; }
    /// Gives the descriptor away; the caller closes it.
    [[nodiscard]] int release() noexcept { return std::exchange(m_fd, -1); }
    /// Closes the descriptor held and takes over another.
    void reset(int fd = -1) noexcept {
        if (m_fd >= 0) {
            static_cast<void>(::close(m_fd));
        }
        m_fd = fd;
    }

private:
    int m_fd = -1;
};
