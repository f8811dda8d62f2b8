#pragma once

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>
#include <vector>

/// The descriptors that this process has open, by number.
inline std::set<int> descriptorNumbers() {
    std::set<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        found.insert(std::stoi(entry.path().filename()));
    }
    // The one through which the folder was read has gone.
    std::erase_if(found, [](int fd) { return ::fcntl(fd, F_GETFD) == -1; });
    return found;
}

/// The descriptor that is opened next. Select overlooks those that are much higher than what is open.
inline int closedDescriptor() {
    const std::set<int> open = descriptorNumbers();
    int fd = 1;
    while (open.contains(fd)) {
        ++fd;
    }
    return fd;
}

/// Changes how many descriptors this process may have, for as long as the object lives.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t descriptors) {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &m_former), 0);
        rlimit limit = m_former;
        limit.rlim_cur = descriptors;
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0) << "the system allows " << m_former.rlim_max;
    }
    ~DescriptorLimit() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &m_former), 0); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit m_former{};
};

/// A limit at which no descriptor can be opened, and one which leaves room behind what select can take.
constexpr rlim_t kNoDescriptors = 0;
constexpr rlim_t kManyDescriptors = 4096;

/// Takes every descriptor that select could hold.
inline std::vector<FileDescriptor> takeSmallDescriptors() {
    std::vector<FileDescriptor> taken;
    do {
        taken.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!taken.back()) {
            ADD_FAILURE() << "open failed with errno " << errno;
            break;
        }
    } while (taken.back().get() < FD_SETSIZE);
    return taken;
}

/// A pipe for a test's own use.
struct TestPipe {
    TestPipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        readEnd.reset(ends[0]);
        writeEnd.reset(ends[1]);
    }
    void fill() const { EXPECT_EQ(::write(writeEnd.get(), "a", 1), 1); }
    void drain() const {
        char taken = '\0';
        EXPECT_EQ(::read(readEnd.get(), &taken, 1), 1);
    }

    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};
