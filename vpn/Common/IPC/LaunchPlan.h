#pragma once

#include "Common/IPC/ProcessLaunchInfo.h"
#include "Common/IPC/UserIdentity.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/ChildView.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// All that the child of a launch needs, made before the fork: behind it nothing may be allocated or looked
/// up. Views the strings of the launch.
class LaunchPlan {
public:
    /// @param program  path or name of the program's file.
    LaunchPlan(const ProcessLaunchInfo& info, std::string program, const std::vector<char*>& arguments);
    LaunchPlan(const LaunchPlan&) = delete;
    LaunchPlan& operator=(const LaunchPlan&) = delete;

    /// Looks up the user and makes the environment. Throws std::bad_alloc only.
    /// @return 0 or PROCESS_API_ERROR_NO_USER_TOKEN.
    [[nodiscard]] uint32_t prepare();
    /// Starts the program.
    /// @param processIdOut  set for a program that isn't detached.
    /// @return 0 or PROCESS_API_ERROR_UNKNOWN.
    [[nodiscard]] uint32_t start(int32_t& processIdOut);

private:
    [[nodiscard]] bool impersonates() const;
    [[nodiscard]] uint32_t lookUpUser();
    void makeEnvironment();
    [[nodiscard]] uint32_t reapMiddleChild(pid_t child) const;
    [[noreturn]] void runChild(pid_t parent) noexcept;

    const ProcessLaunchInfo& m_info;
    ChildView m_view;
    ChildSetup m_setup;
    std::string m_program;
    /// Ended by null, as the environment.
    std::vector<char*> m_arguments;
    /// Whom an impersonated child becomes; none for a user that doesn't exist.
    std::optional<UserIdentity> m_identity;
    /// What an impersonated child finds its display by; m_environment views the texts.
    std::vector<std::string> m_displayEntries;
    std::vector<char*> m_environment;
};
