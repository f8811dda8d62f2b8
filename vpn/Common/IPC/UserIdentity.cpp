#include "Common/IPC/UserIdentity.h"

#include <algorithm>
#include <grp.h>
#include <unistd.h>

namespace {

constexpr int kUsualGroupCount = 32;

/// The groups that the user database gives a user, `group` among them.
std::vector<gid_t> groupsOf(const char* userName, gid_t group) {
    int count = kUsualGroupCount;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    while (::getgrouplist(userName, group, groups.data(), &count) < 0) {
        // It tells how many there are, which may have become more by the next look.
        groups.resize(std::max(static_cast<std::size_t>(count), groups.size() + 1));
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace

std::optional<UserIdentity> identityOf(const PasswordEntry& entry) {
    if (entry.get() == nullptr) {
        return std::nullopt;
    }
    const passwd& user = *entry.get();
    const bool hasHome = user.pw_dir != nullptr && *user.pw_dir != '\0';
    return UserIdentity{.user = user.pw_uid,
                        .group = user.pw_gid,
                        .groups = groupsOf(user.pw_name, user.pw_gid),
                        .name = user.pw_name,
                        .home = hasHome ? user.pw_dir : "/"};
}

bool becomeUser(const UserIdentity& identity) noexcept {
    return ::setgroups(identity.groups.size(), identity.groups.data()) == 0 &&
           ::setgid(identity.group) == 0 && ::setuid(identity.user) == 0;
}
