#pragma once

#include "tests/unit/common/ipc/ProcessTest.h"

#include <functional>
#include <string>
#include <sys/types.h>

/// Tests with users that exist for one process and its children: it sees a user and a group database of its
/// own, mounted over the system's in a mount namespace of its own. Skipped where that isn't allowed.
///
///   user           id     home             groups
///   root           0      /                0
///   mero_user      54321  /home/mero_user  54322, 54324, 54325
///   mero_homeless  54323  none             54322, 54326
///   mero_wheel     54327  /                54326
/// The group "admin" is 54325 and has mero_user; "wheel" is 54326 and has mero_homeless, while mero_wheel has
/// it as primary group. Both have "somebody", who is no user.
class PrivateUsersTest : public ProcessTest {
protected:
    void SetUp() override;

    /// Runs checks in such a process, which is root's.
    /// @param groups  lines of the group database; null for those told above.
    void withPrivateUsers(const std::function<void()>& checks, const char* groups = nullptr) const;
    /// A copy of the child program that all users may run. They may also write to the private folder then.
    [[nodiscard]] std::string publicTool() const;
};

inline constexpr uid_t kPrivateUser = 54321;
inline constexpr uid_t kPrivateHomeless = 54323;
inline constexpr gid_t kPrivateGroup = 54322;
inline constexpr gid_t kPrivateExtraGroup = 54324;
inline constexpr gid_t kPrivateAdminGroup = 54325;
inline constexpr gid_t kPrivateWheelGroup = 54326;
