#include "tests/unit/common/ipc/PrivateUsers.h"

#include "tests/support/InChild.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kUsers = "root:x:0:0:root:/:/bin/sh\n"
                               "mero_user:x:54321:54322:A user:/home/mero_user:/bin/sh\n"
                               "mero_homeless:x:54323:54322:A user::/bin/sh\n"
                               "mero_wheel:x:54327:54326:A user:/:/bin/sh\n";
constexpr const char* kGroups = "root:x:0:\n"
                                "mero_group:x:54322:\n"
                                "mero_extra:x:54324:mero_user\n"
                                "admin:x:54325:somebody,mero_user\n"
                                "wheel:x:54326:mero_homeless,somebody\n";

/// Nothing that is mounted from here on is seen by anybody else.
bool leaveMountNamespace() {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mountOver(const std::string& content, const std::string& draft, const char* file) {
    std::ofstream(draft) << content;
    return ::mount(draft.c_str(), file, nullptr, MS_BIND, nullptr) == 0;
}

/// Tries it in another process.
bool canHavePrivateUsers() {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool can =
            leaveMountNamespace() && ::mount("/etc/passwd", "/etc/passwd", nullptr, MS_BIND, nullptr) == 0;
        ::_exit(can ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

} // namespace

void PrivateUsersTest::SetUp() {
    if (!canHavePrivateUsers()) {
        GTEST_SKIP() << "mounting in a namespace of its own needs root's rights";
    }
}

void PrivateUsersTest::withPrivateUsers(const std::function<void()>& checks, const char* groups) const {
    inChild([&] {
        ASSERT_TRUE(leaveMountNamespace()) << "errno " << errno;
        ASSERT_TRUE(mountOver(kUsers, path("passwd"), "/etc/passwd")) << "errno " << errno;
        ASSERT_TRUE(mountOver(groups == nullptr ? kGroups : groups, path("group"), "/etc/group"))
            << "errno " << errno;
        checks();
    });
}

std::string PrivateUsersTest::publicTool() const {
    std::string tool = path("tool");
    if (!exists("tool")) {
        fs::permissions(path(), fs::perms::all);
        fs::copy_file(childProgram(), tool);
        fs::permissions(tool, fs::perms::all);
    }
    return tool;
}
