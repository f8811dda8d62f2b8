// The file of the local policy; and the lines of the same input as settings to write into one.

#include "Common/Policy/PolicySettings.h"
#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/StoragePath.h"
#include "Common/Utility/text/StringUtils.h"
#include "tests/fuzz/FuzzFolder.h"

#include <vector>

/// Lets the suite be installed in the folder of the target.
struct StoragePathTestAccess {
    static void setInstallPath(CStoragePath& paths, const std::string& folder) {
        paths.m_installPath = folder;
    }
};

namespace {

constexpr const char* kFile = "TrellinkLocalPolicy.xml";

void checkSettings(const XmlLocalTLPolMgr& policy) {
    const LocalTLPolicyInfo info = policy.getLocalPolicyInfo();
    const std::set<int>& caching = info.getRestrictPreferenceCaching();
    require(*caching.begin() == 0 && *caching.rbegin() <= 5, "the numbers of caching are 0 and some up to 5");
    require(info.getRestrictTunnelProtocols() >= 0 && info.getRestrictTunnelProtocols() <= 2,
            "tunnels are 0 to 2");
    require((info.getExcludedCertStores() & ~0x2DCFU) == 0, "only bits of known stores are set");
    require(info.getFipsMode() == policy.isFipsEnabled(), "there is one FIPS mode");
    for (const std::string& server : info.getAuthorizedServerList()) {
        require(!server.empty(), "a server has a name");
    }
    for (const PolicySetting& setting : PolicySettings::all()) {
        require(!setting.show(info).empty() || setting.element == kServerListElement,
                "a setting has a value");
    }
}

void write(XmlLocalTLPolMgr& policy, const std::string& text) {
    const std::list<std::string> lines = CStringUtils::tokenize(text, '\n');
    std::vector<const char*> arguments;
    arguments.reserve(lines.size() + 1);
    for (const std::string& line : lines) {
        arguments.push_back(line.c_str());
    }
    arguments.push_back(nullptr);
    require(policy.GenerateLocalPolicy(arguments.data(), static_cast<int>(arguments.size()), true),
            "a policy can be written");
    require(policy.LoadLocalTrellinkPolicy() == 0, "what was written can be read");
    require(policy.getWarnings().empty(), "what was written stands in its place");
    checkSettings(policy);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    CStoragePath* paths = nullptr;
    XmlLocalTLPolMgr* policy = nullptr;
    require(CStoragePath::CreateSingletonInstance(paths) == 0, "the paths can be made");
    require(XmlLocalTLPolMgr::CreateSingletonInstance(policy) == 0, "the policy can be made");
    StoragePathTestAccess::setInstallPath(*paths, folder.path().string() + "/");
    const std::string text = textOf(data, size);
    folder.write(kFile, text);
    const bool wasFips = policy->isFipsEnabled();
    const bool loaded = policy->LoadLocalTrellinkPolicy() == 0;
    require(loaded || policy->isFipsEnabled() == wasFips, "a broken file changes no FIPS mode");
    checkSettings(*policy);
    write(*policy, text);
    XmlLocalTLPolMgr::releaseInstance(policy);
    CStoragePath::releaseInstance(paths);
    return 0;
}
