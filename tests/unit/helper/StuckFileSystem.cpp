#include "tests/unit/helper/StuckFileSystem.h"

#include "tests/support/InChild.h"
#include "tests/support/PrivateMounts.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr int kLimitMs = 30000;
using Question = std::array<char, 2UL * FUSE_MIN_READ_BUFFER>;

/// The kernel doesn't ask anything else before it has been greeted.
struct Greeting {
    fuse_out_header header;
    fuse_init_out content;
};

bool take(int device, fuse_in_header& headerOut) {
    pollfd watched{device, POLLIN, 0};
    Question question{};
    if (::poll(&watched, 1, kLimitMs) != 1 || ::read(device, question.data(), question.size()) <= 0) {
        return false;
    }
    std::memcpy(&headerOut, question.data(), sizeof headerOut);
    return true;
}

} // namespace

StuckFileSystem::StuckFileSystem(const std::string& folder)
    : m_folder(folder), m_device(::open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
    const std::string options = std::string("fd=")
                                    .append(std::to_string(m_device.get()))
                                    .append(",rootmode=40000,user_id=0,group_id=0,allow_other");
    EXPECT_EQ(::mount("stuck", folder.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()), 0)
        << "errno " << errno;
    fuse_in_header question{};
    EXPECT_TRUE(take(m_device.get(), question));
    EXPECT_EQ(question.opcode, static_cast<uint32_t>(FUSE_INIT));
    Greeting greeting{};
    greeting.header.len = sizeof greeting;
    greeting.header.unique = question.unique;
    greeting.content.major = FUSE_KERNEL_VERSION;
    greeting.content.minor = FUSE_KERNEL_MINOR_VERSION;
    greeting.content.max_write = FUSE_MIN_READ_BUFFER;
    EXPECT_EQ(::write(m_device.get(), &greeting, sizeof greeting), static_cast<ssize_t>(sizeof greeting))
        << "errno " << errno;
}

StuckFileSystem::~StuckFileSystem() {
    abandon();
    EXPECT_EQ(::umount2(m_folder.c_str(), MNT_DETACH), 0) << "errno " << errno;
}

bool StuckFileSystem::takeQuestion() const {
    fuse_in_header question{};
    return take(m_device.get(), question);
}

void withStuckFolder(const std::string& folder,
                     const std::function<void(StuckFileSystem&, const std::string&)>& checks) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0 || !allowsMounts()) {
        GTEST_SKIP() << "this environment allows no file systems that a program answers for";
    }
    inChild([&] {
        ASSERT_TRUE(makeMountsPrivate()) << "errno " << errno;
        StuckFileSystem stuck(folder);
        checks(stuck, folder + "/request.xml");
    });
}
