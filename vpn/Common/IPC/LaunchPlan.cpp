#include "Common/IPC/LaunchPlan.h"

#include "Common/IPC/PasswordEntry.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/ReturnCodes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kExitProgramMissing = 238;
constexpr int kExitProgramNotRun = 239;
constexpr int kExitNotSetUp = 255;

/// The name of an entry "NAME=value" or "NAME".
std::string_view nameOf(std::string_view entry) {
    return entry.substr(0, entry.find('='));
}

/// putenv on an environment that is not ours.
void putEntry(std::vector<char*>& environment, char* entry) {
    const std::string_view name = nameOf(entry);
    const auto isSame = [name](const char* other) { return nameOf(other) == name; };
    if (std::strchr(entry, '=') == nullptr) {
        std::erase_if(environment, isSame);
        return;
    }
    const auto former = std::find_if(environment.begin(), environment.end(), isSame);
    if (former == environment.end()) {
        environment.push_back(entry);
    } else {
        *former = entry;
    }
}

/// All by which the program can have been told of a path.
std::string instructionOf(const ProcessLaunchInfo& info, const std::string& program,
                          const std::vector<char*>& arguments) {
    std::string instruction = program;
    for (const char* const text : arguments) {
        instruction.append("\n").append(text == nullptr ? "" : text);
    }
    for (const char* const path : {info.m_pszOutputFile, info.m_pszWorkingDirectory}) {
        instruction.append("\n").append(path == nullptr ? "" : path);
    }
    return instruction;
}

} // namespace

LaunchPlan::LaunchPlan(const ProcessLaunchInfo& info, std::string program,
                       const std::vector<char*>& arguments)
    : m_info(info),
      m_view(instructionOf(info, program, arguments)), m_setup{.discardOutput = info.m_bDiscardOutput,
                                                               .ownGroup = info.m_bEndWithCaller,
                                                               .endWithCaller =
                                                                   info.m_bEndWithCaller && !info.m_bDetach,
                                                               .view = impersonates() ? nullptr : &m_view},
      m_program(std::move(program)), m_arguments(arguments) {
    m_arguments.push_back(nullptr);
}

uint32_t LaunchPlan::prepare() {
    if (impersonates()) {
        if (const uint32_t code = lookUpUser(); code != 0) {
            return code;
        }
    }
    makeEnvironment();
    return 0;
}

bool LaunchPlan::impersonates() const {
    return m_info.m_bImpersonate && m_info.m_pszUserName != nullptr;
}

uint32_t LaunchPlan::lookUpUser() {
    const PasswordEntry entry(m_info.m_pszUserName);
    if (entry.get() == nullptr) {
        // Here, as the child may not log.
        ZRN_LOG_CODE_TEXT('E', "getpwnam", entry.getError(), "error: %s; username: %s",
                          std::strerror(entry.getError()), m_info.m_pszUserName);
        // Without a display the child ends for it.
        return m_info.m_pszDisplay == nullptr ? 0 : PROCESS_API_ERROR_NO_USER_TOKEN;
    }
    m_identity = identityOf(entry);
    if (m_info.m_pszDisplay != nullptr) {
        m_displayEntries.push_back(std::string("DISPLAY=").append(m_info.m_pszDisplay));
        m_displayEntries.push_back(
            std::string("XAUTHORITY=").append(m_identity->home).append("/.Xauthority"));
    }
    return 0;
}

void LaunchPlan::makeEnvironment() {
    if (impersonates()) {
        for (std::string& entry : m_displayEntries) {
            m_environment.push_back(entry.data());
        }
    } else {
        for (char** entry = childVariables(); entry != nullptr && *entry != nullptr; ++entry) {
            m_environment.push_back(*entry);
        }
    }
    for (char** entry = m_info.m_ppszEnvironment; entry != nullptr && *entry != nullptr; ++entry) {
        putEntry(m_environment, *entry);
    }
    m_environment.push_back(nullptr);
}

uint32_t LaunchPlan::start(int32_t& processIdOut) {
    const pid_t caller = ::getpid();
    const pid_t child = forkChild();
    if (child < 0) {
        ZRN_LOG_ERRNO('E', "fork");
        return PROCESS_API_ERROR_UNKNOWN;
    }
    if (child == 0) {
        runChild(caller);
    }
    if (m_info.m_bDetach) {
        return reapMiddleChild(child);
    }
    if (m_setup.ownGroup) {
        completeOwnGroup(child);
    }
    processIdOut = child;
    return 0;
}

/// The child between us and a detached program ends at once, with the errno of its own fork as exit code.
uint32_t LaunchPlan::reapMiddleChild(pid_t child) const {
    int status = 0;
    if (reapChild(child, status, 0) != child) {
        ZRN_LOG_ERRNO('E', "waitpid");
        return 0; // where children are reaped unseen; the program is taken to have been started
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
        ZRN_LOG_CODE('E', "fork", WEXITSTATUS(status));
        return PROCESS_API_ERROR_UNKNOWN;
    }
    return 0;
}

// Runs between fork and exec, where another thread may have held any lock: what it does is async-signal-safe
// and allocates nothing. In this order: the second fork of a detached program, groups, group and user, the
// child's setup (behind the user, whose change would undo part of it), the folder, the program.
void LaunchPlan::runChild(pid_t parent) noexcept {
    if (m_info.m_bDetach) {
        const pid_t program = ::fork();
        if (program != 0) {
            ::_exit(program > 0 ? 0 : errno);
        }
    }
    if ((impersonates() && !(m_identity && becomeUser(*m_identity))) || !prepareChild(m_setup, parent)) {
        ::_exit(kExitNotSetUp);
    }
    if (m_info.m_pszWorkingDirectory != nullptr) {
        // Without that folder the program runs in the usual one.
        [[maybe_unused]] const int outcome = ::chdir(m_info.m_pszWorkingDirectory);
    }
    ::environ = m_environment.data(); // before the search, which goes by the child's PATH
    ::execvp(m_program.c_str(), m_arguments.data());
    ::_exit(errno == ENOENT ? kExitProgramMissing : kExitProgramNotRun);
}
