#include "Common/IPC/UnixImpersonate.h"

#include "Common/IPC/DatabaseLookUp.h"
#include "Common/IPC/PasswordEntry.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/text/StringUtils.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <grp.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// Logs the system call that has just failed, in the name of the caller.
uint32_t logFailedCall(const char* function, uint32_t line, const char* call) {
    const int failure = errno;
    logReturnCode(function, __FILE__, line, 'E', call, static_cast<uint32_t>(failure), std::strerror(failure),
                  nullptr);
    return GLOBAL_ERROR_UNEXPECTED;
}

uint32_t logUnknownUser(const char* function, uint32_t line, int failure, const std::string& userName) {
    const std::string description =
        CStringUtils::formatString("error: %s; username: %s", std::strerror(failure), userName.c_str());
    logReturnCode(function, __FILE__, line, 'E', "getpwnam", static_cast<uint32_t>(failure),
                  description.c_str(), nullptr);
    return GLOBAL_ERROR_UNEXPECTED;
}

bool groupHasMember(const char* groupName, std::string_view userName) {
    std::vector<char> texts;
    group entry{};
    group* pFound = nullptr;
    const int failure = lookUp(texts, [&](char* buffer, std::size_t size) {
        return ::getgrnam_r(groupName, &entry, buffer, size, &pFound);
    });
    if (failure != 0 || pFound == nullptr || pFound->gr_mem == nullptr) {
        return false;
    }
    for (char** member = pFound->gr_mem; *member != nullptr; ++member) {
        if (userName == *member) {
            return true;
        }
    }
    return false;
}

} // namespace

CUnixImpersonate::CUnixImpersonate(const char* userName) : m_userName(userName == nullptr ? "" : userName) {}

CUnixImpersonate::~CUnixImpersonate() {
    if (!m_bStarted) {
        return;
    }
    if (const uint32_t code = Stop(); code != 0) {
        ZRN_LOG_CODE('E', "CUnixImpersonate::Stop", code);
    }
}

uint32_t CUnixImpersonate::Start() {
    const uint32_t code = switchUser(__func__, false);
    m_bStarted = m_bStarted || code == 0;
    return code;
}

uint32_t CUnixImpersonate::PermanentlyBecomeUser() {
    return switchUser(__func__, true);
}

/// @param operation  in whose name failures are logged.
uint32_t CUnixImpersonate::switchUser(const char* operation, bool permanent) {
    const PasswordEntry entry(m_userName.c_str());
    if (entry.get() == nullptr) {
        return logUnknownUser(operation, __LINE__, entry.getError(), m_userName);
    }
    const uint32_t code = impersonate(entry.get(), permanent);
    if (code != 0) {
        ZRN_LOG_CODE_FOR(operation, 'E', "CUnixImpersonate::impersonate", code, nullptr);
    }
    return code;
}

uint32_t CUnixImpersonate::Stop() {
    const PasswordEntry entry(::getuid());
    if (entry.get() == nullptr) {
        errno = entry.getError();
        return logFailedCall(__func__, __LINE__, "getpwuid");
    }
    if (::setegid(entry.get()->pw_gid) != 0) {
        return logFailedCall(__func__, __LINE__, "setregid");
    }
    if (::seteuid(entry.get()->pw_uid) != 0) {
        return logFailedCall(__func__, __LINE__, "seteuid");
    }
    if (::initgroups(entry.get()->pw_name, entry.get()->pw_gid) != 0) {
        return logFailedCall(__func__, __LINE__, "initgroups");
    }
    m_bStarted = false;
    return 0;
}

uint32_t CUnixImpersonate::impersonate(const passwd* entry, bool permanent) {
    if (entry == nullptr) {
        ZRN_LOG_CODE('E', "getpwnam", GLOBAL_ERROR_NULL_POINTER);
        return GLOBAL_ERROR_NULL_POINTER;
    }
    if (::initgroups(entry->pw_name, entry->pw_gid) != 0) {
        return logFailedCall(__func__, __LINE__, "initgroups");
    }
    // The group first: without root's rights it could not be changed any more.
    if ((permanent ? ::setgid(entry->pw_gid) : ::setegid(entry->pw_gid)) != 0) {
        return logFailedCall(__func__, __LINE__, permanent ? "setgid" : "setregid");
    }
    if ((permanent ? ::setuid(entry->pw_uid) : ::seteuid(entry->pw_uid)) != 0) {
        return logFailedCall(__func__, __LINE__, permanent ? "setuid" : "seteuid");
    }
    return 0;
}

uint32_t CUnixImpersonate::GetUsernameOwningProcess(int pid, std::string& userNameOut) {
    std::array<char, 32> folder{};
    static_cast<void>(std::snprintf(folder.data(), folder.size(), "/proc/%d", pid));
    struct stat attributes {};
    if (::stat(folder.data(), &attributes) != 0) {
        static_cast<void>(logFailedCall(__func__, __LINE__, "stat"));
        return GLOBAL_ERROR_BAD_HANDLE;
    }
    const PasswordEntry entry(attributes.st_uid);
    if (entry.get() == nullptr) {
        errno = entry.getError();
        return logFailedCall(__func__, __LINE__, "getpwuid");
    }
    if (entry.get()->pw_name == nullptr) {
        return GLOBAL_ERROR_NULL_POINTER;
    }
    userNameOut = entry.get()->pw_name;
    return 0;
}

bool CUnixImpersonate::isUserAdministrator(const char* userName) {
    return userName != nullptr && (groupHasMember("admin", userName) || groupHasMember("wheel", userName));
}
