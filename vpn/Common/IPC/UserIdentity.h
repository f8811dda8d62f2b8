#pragma once

#include "Common/IPC/PasswordEntry.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// Who a user is, as the user database says.
struct UserIdentity {
    uid_t user = 0;
    gid_t group = 0;
    /// All groups of the user, `group` among them.
    std::vector<gid_t> groups;
    std::string name;
    /// Home folder; "/" if the user database has none.
    std::string home;
};

/// @return nothing if there is no such entry.
[[nodiscard]] std::optional<UserIdentity> identityOf(const PasswordEntry& entry);

/// Makes this process the user's for good: groups, then group, then user, each of them checked. For a child
/// between fork and its end: async-signal-safe.
/// @return false if any of it failed; the process must leave by _exit then.
[[nodiscard]] bool becomeUser(const UserIdentity& identity) noexcept;
