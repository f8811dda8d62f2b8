#pragma once

#include <cstdint>
#include <pwd.h>
#include <string>

/// Switches the whole process to another user, so that no other thread may rely on who it is meanwhile.
/// Groups are switched before the user, each step is checked and its failure logged.
class CUnixImpersonate {
public:
    /// @param userName  null is the empty name, which nobody has.
    explicit CUnixImpersonate(const char* userName);
    /// Goes back if Start has succeeded and Stop has not since.
    ~CUnixImpersonate();
    CUnixImpersonate(const CUnixImpersonate&) = delete;
    CUnixImpersonate& operator=(const CUnixImpersonate&) = delete;

    /// Each of these returns 0, GLOBAL_ERROR_UNEXPECTED or GLOBAL_ERROR_NULL_POINTER. After a failure midway
    /// some of the identity may have been switched: whoever started as root has to end the process then.

    /// Takes over the user's groups and effective ids.
    [[nodiscard]] uint32_t Start();
    /// Takes back the effective ids and the groups of the real user.
    [[nodiscard]] uint32_t Stop();
    /// For callers outside of this system: takes over the user's groups and all ids, for good.
    [[nodiscard]] uint32_t PermanentlyBecomeUser();

    /// For callers outside of this system: whose process it is.
    /// @param userNameOut  the name of the user whose process it is; set on success only.
    /// @return 0, GLOBAL_ERROR_BAD_HANDLE for a process that isn't there, GLOBAL_ERROR_UNEXPECTED for a user
    /// without a name, or GLOBAL_ERROR_NULL_POINTER.
    [[nodiscard]] static uint32_t GetUsernameOwningProcess(int pid, std::string& userNameOut);
    /// For callers outside of this system: whether the member list of the group "admin" or "wheel" has the
    /// user; primary groups don't count.
    [[nodiscard]] static bool isUserAdministrator(const char* userName);

private:
    [[nodiscard]] uint32_t switchUser(const char* operation, bool permanent);
    [[nodiscard]] uint32_t impersonate(const passwd* entry, bool permanent);

    std::string m_userName;
    bool m_bStarted = false;
};
