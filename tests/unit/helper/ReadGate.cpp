#include "tests/unit/helper/ReadGate.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/fanotify.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kLimitMs = 30000;

FileDescriptor openEvents() {
    return FileDescriptor(::fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY | O_CLOEXEC));
}

} // namespace

ReadGate::ReadGate(const std::string& file, std::function<void(pid_t)> meanwhile) : m_events(openEvents()) {
    EXPECT_EQ(::fanotify_mark(m_events.get(), FAN_MARK_ADD, FAN_ACCESS_PERM, AT_FDCWD, file.c_str()), 0)
        << "errno " << errno;
    m_thread = std::thread([this, action = std::move(meanwhile)] { waitForReader(action); });
}

ReadGate::~ReadGate() {
    m_thread.join();
}

bool ReadGate::isAllowed() {
    return static_cast<bool>(openEvents());
}

void ReadGate::waitForReader(const std::function<void(pid_t)>& meanwhile) {
    pollfd watched{m_events.get(), POLLIN, 0};
    fanotify_event_metadata event{};
    if (::poll(&watched, 1, kLimitMs) == 1 && ::read(m_events.get(), &event, sizeof event) == sizeof event) {
        const FileDescriptor file(event.fd);
        meanwhile(event.pid);
    } else {
        ADD_FAILURE() << "nobody has read the file, errno " << errno;
    }
    m_events.reset(); // lets everybody go on
}
