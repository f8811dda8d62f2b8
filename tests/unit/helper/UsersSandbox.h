#pragma once

#include "Common/IPC/UserIdentity.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utility>
#include <vector>

inline constexpr uid_t kUser = 65534;
inline constexpr gid_t kUserGroup = 65534;

/// A user without any rights.
inline UserIdentity ordinaryUser(std::vector<gid_t> groups = {kUserGroup}) {
    return {.user = kUser, .group = kUserGroup, .groups = std::move(groups), .name = "somebody", .home = "/"};
}

/// A private folder that is open to all, for tests that become another user.
class UsersSandbox : public Sandbox {
protected:
    void SetUp() override {
        if (!runsAsRoot()) {
            GTEST_SKIP() << "becoming another user needs root's rights";
        }
        ASSERT_EQ(::chmod(path().c_str(), 0755), 0);
    }
};
