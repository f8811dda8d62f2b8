#include "tools/MERO/MEROConsole/PolicyCommand.h"

#include "Common/Policy/PolicySettings.h"
#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/StoragePath.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROConsole/ConsoleMessages.h"
#include "tools/MERO/MEROConsole/Utf8Text.h"

#include <memory>
#include <sys/stat.h>

namespace {

/// Whom a policy restricts must be able to read it, whoever writes it.
constexpr mode_t kPolicyUmask = S_IWGRP | S_IWOTH;

/// Sets the umask for a while.
class UmaskScope {
public:
    explicit UmaskScope(mode_t mask) : m_former(::umask(mask)) {}
    ~UmaskScope() { static_cast<void>(::umask(m_former)); }
    UmaskScope(const UmaskScope&) = delete;
    UmaskScope& operator=(const UmaskScope&) = delete;

private:
    mode_t m_former;
};

/// A reference that goes at the end of its life.
template <typename T> using Reference = std::unique_ptr<T, Releaser<&T::releaseInstance>>;

template <typename T> Reference<T> makeInstance(uint32_t& codeOut) {
    T* instance = nullptr;
    codeOut = T::CreateSingletonInstance(instance);
    return Reference<T>(instance);
}

void printWarnings(const XmlLocalTLPolMgr& policy) {
    for (const std::string& warning : policy.getWarnings()) {
        printError(onOneLine(warning));
    }
}

/// What stands in the file's place.
std::string stateOf(const std::string& path) {
    if (fileExists(path.c_str())) {
        return "";
    }
    return pathExists(path.c_str()) ? " (no regular file, so it is not read)"
                                    : " (not there, the defaults are in force)";
}

int showPolicy(XmlLocalTLPolMgr& policy, const std::string& path) {
    const uint32_t code = policy.LoadLocalTrellinkPolicy();
    printWarnings(policy);
    if (code != 0) {
        printError("the policy file '" + path +
                   "' can't be read to its end; what follows is in force all the same; the log tells why: "
                   "journalctl -t zrn_merocli");
    }
    const LocalTLPolicyInfo info = policy.getLocalPolicyInfo();
    std::string text = "File: " + path + stateOf(path) + "\n";
    for (const PolicySetting& setting : PolicySettings::all()) {
        const std::string value = onOneLine(setting.show(info));
        text.append(setting.element).append(value.empty() ? ":" : ": ").append(value).append("\n");
    }
    const int printed = printOutput(text);
    return code != 0 ? kExitFailed : printed;
}

int generatePolicy(XmlLocalTLPolMgr& policy, const std::string& path, const PolicyOptions& options) {
    std::vector<const char*> arguments;
    arguments.reserve(options.settings.size());
    for (const std::string& setting : options.settings) {
        arguments.push_back(setting.c_str());
    }
    const UmaskScope readableForAll(kPolicyUmask);
    const bool done =
        policy.GenerateLocalPolicy(arguments.data(), static_cast<int>(arguments.size()), options.overwrite);
    printWarnings(policy);
    if (!done) {
        printError(
            "the policy file '" + path +
            "' could not be written; look at the rights of its folder, or run the command as root; the "
            "log tells why: journalctl -t zrn_merocli");
        return kExitFailed;
    }
    return kExitDone;
}

} // namespace

int runPolicy(const PolicyOptions& options) {
    uint32_t code = 0;
    const auto paths = makeInstance<CStoragePath>(code); // logs its failure; the location is missing then
    const auto policy = makeInstance<XmlLocalTLPolMgr>(code);
    std::string directory;
    std::string fileName;
    if (policy != nullptr) {
        code = policy->GetLocalPolicyLocation(directory, fileName);
    }
    if (code != 0) {
        const char* const name = getReturnCodeDescription(code);
        printError(
            std::string("the place of the policy file can't be found; the log tells why: journalctl -t "
                        "zrn_merocli [") +
            (name == nullptr ? "unknown" : name) + "]");
        return kExitFailed;
    }
    return options.generate ? generatePolicy(*policy, directory + fileName, options)
                            : showPolicy(*policy, directory + fileName);
}
