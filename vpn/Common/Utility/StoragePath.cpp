#include "Common/Utility/StoragePath.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/threads/ManualLock.h"

#include <array>
#include <cerrno>
#include <mutex>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kInstallFolder = "/opt/varnel/corvane";
constexpr const char* kResourcesPath = "/opt/varnel/corvane/resources/";
constexpr const char* kTempPath = "/tmp/";
constexpr std::array kModuleFolders = {"vpn", "posture", "ui"};
constexpr int kManagementTunnelModule = 1;

CManualLock& instanceLock() {
    static CManualLock lock(500);
    return lock;
}

// Both guarded by instanceLock. The instance lives as long as it is counted, which may be to the very end of
// the process.
CStoragePath* g_pInstance = nullptr;
uint32_t g_referenceCount = 0;

/// Home of a user, or of the real user for an empty name; empty if there is no such user.
std::string homeOf(const std::string& userName) {
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    const auto look = [&] {
        return userName.empty()
                   ? ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)
                   : ::getpwnam_r(userName.c_str(), &entry, buffer.data(), buffer.size(), &found);
    };
    while (look() == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found == nullptr ? std::string() : std::string(found->pw_dir) + "/";
}

} // namespace

CStoragePath::CStoragePath(uint32_t& returnCodeOut)
    : m_installPath(std::string(kInstallFolder) + "/"), m_dataPath(m_installPath) {
    returnCodeOut = 0;
}

uint32_t CStoragePath::CreateSingletonInstance(CStoragePath*& instance) {
    instance = nullptr;
    const std::lock_guard guard(instanceLock());
    if (g_pInstance != nullptr) {
        instance = acquireInstance();
        return 0;
    }
    uint32_t code = 0;
    std::unique_ptr<CStoragePath, Deleter> made(new CStoragePath(code));
    if (code != 0) {
        ZRN_LOG_CODE('E', "CStoragePath::CStoragePath", code);
        return code;
    }
    g_pInstance = made.release();
    g_referenceCount = 1;
    instance = g_pInstance;
    return 0;
}

CStoragePath* CStoragePath::acquireInstance() {
    const std::lock_guard guard(instanceLock());
    if (g_pInstance != nullptr) {
        ++g_referenceCount;
    }
    return g_pInstance;
}

void CStoragePath::releaseInstance(CStoragePath* instance) {
    const std::lock_guard guard(instanceLock());
    std::unique_ptr<CStoragePath, Deleter> released(instance);
    if (instance == nullptr || instance != g_pInstance) {
        return;
    }
    if (--g_referenceCount == 0) {
        g_pInstance = nullptr;
    } else {
        static_cast<void>(released.release()); // others still hold it
    }
}

uint32_t CStoragePath::getReferenceCount() {
    const std::lock_guard guard(instanceLock());
    return g_referenceCount;
}

const std::string& CStoragePath::getInstallPath() const {
    return m_installPath;
}

std::string CStoragePath::getBinPath() const {
    return m_installPath + "bin/";
}

std::string CStoragePath::getModulePath(bool perUser, int module, const std::string& userName,
                                        bool systemWide) const {
    return perUser ? getUserModulePath(module, userName, systemWide) : getVpnDataPath();
}

std::string CStoragePath::getUserModulePath(int module, const std::string& userName, bool systemWide) const {
    std::string path = GetUserProgramDataPath(userName);
    if (!systemWide && module >= 1 && static_cast<std::size_t>(module) <= kModuleFolders.size()) {
        path.append(".").append(kModuleFolders[static_cast<std::size_t>(module) - 1]).append("/");
    }
    return path;
}

std::string CStoragePath::getVpnDataPath() const {
    return m_installPath + "vpn" + "/";
}

std::string CStoragePath::GetUserProgramDataPath(const std::string& userName) const {
    std::string home = homeOf(userName);
    if (home.empty()) {
        ZRN_LOG('W', "Error retrieving user pswd struct.");
        return "./";
    }
    return home;
}

std::string CStoragePath::getFeedbackDataPath(const std::string& base) const {
    return base + "CustomerExperienceFeedback" + "/" + "moduledata";
}

std::string CStoragePath::getProfilePath(int module) const {
    return getVpnDataPath() + (module == kManagementTunnelModule ? "profile/mgmttun" : "profile");
}

std::string CStoragePath::getResourcesPath() const {
    return kResourcesPath;
}

std::string CStoragePath::GetUILogPath() const {
    ZRN_LOG('W', "Call unsupported on CSIDL value provided to CStoragePath::GetUILogPath returned an empty "
                 "string.");
    return {};
}

uint32_t CStoragePath::getTempPath(std::string& path, uint64_t maximum) const {
    path = kTempPath;
    return path.size() > maximum ? CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG : 0;
}
