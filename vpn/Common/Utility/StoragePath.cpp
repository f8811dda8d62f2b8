#include "Common/Utility/StoragePath.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"

#include <array>
#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kInstallFolder = "/opt/varnel/corvane";
constexpr const char* kResourcesPath = "/opt/varnel/corvane/resources/";
constexpr const char* kTempPath = "/tmp/";
constexpr std::array kModuleFolders = {"vpn", "posture", "ui"};
constexpr int kManagementTunnelModule = 1;

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

CountedInstance<CStoragePath, CStoragePath::Deleter>& CStoragePath::instances() {
    static CountedInstance<CStoragePath, Deleter> instances;
    return instances;
}

uint32_t CStoragePath::CreateSingletonInstance(CStoragePath*& instance) {
    uint32_t code = 0;
    instance = instances().acquireOrMake([&code] {
        std::unique_ptr<CStoragePath, Deleter> made(new CStoragePath(code));
        if (code != 0) {
            ZRN_LOG_CODE_FOR("CreateSingletonInstance", 'E', "CStoragePath::CStoragePath", code, nullptr);
            made.reset();
        }
        return made;
    });
    return code;
}

CStoragePath* CStoragePath::acquireInstance() {
    return instances().acquire();
}

void CStoragePath::releaseInstance(CStoragePath* instance) {
    instances().release(instance);
}

uint32_t CStoragePath::getReferenceCount() {
    return instances().count();
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
