#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobArguments.h"

#include "Common/Utility/text/StringUtils.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/Utf8Cut.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::string_view kRequestKey = "MERORequestDir";
constexpr std::string_view kConfigKey = "MEROConfigDir";
constexpr std::string_view kBundleKey = "MEROBundlePath";
constexpr std::string_view kPasswordKey = "MEROBundlePassword";
constexpr std::array kKnownKeys{kRequestKey, kConfigKey, kBundleKey, kPasswordKey};

/// A fault of a value; empty for none.
using Fault = std::string_view;

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

Fault faultOfPath(std::string_view path) {
    if (!path.starts_with('/')) {
        return "is not an absolute path";
    }
    return std::ranges::any_of(path, isControl) ? "holds a control byte" : "";
}

Fault faultOfStraightPath(std::string_view path) {
    const Fault fault = faultOfPath(path);
    return fault.empty() && CStringUtils::hasParentComponent(path) ? "has a component \"..\"" : fault;
}

Fault faultOfRequest(std::string_view path) {
    return path.empty() ? "" : faultOfPath(path);
}

Fault faultOfConfig(std::string_view path, bool callerIsRoot) {
    if (path.empty()) {
        return "";
    }
    return callerIsRoot ? faultOfStraightPath(path) : "is for root only";
}

Fault faultOfBundle(std::string_view path) {
    if (const Fault fault = faultOfStraightPath(path); !fault.empty()) {
        return fault;
    }
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.empty() || name == "." ? "does not end in a file name" : "";
}

Fault faultOfValue(std::string_view value) {
    if (value.size() > kLongestJobValue) {
        return "is too long";
    }
    return value.find('\0') != std::string_view::npos ? "holds a NUL byte" : "";
}

bool isKnown(std::string_view key) {
    return std::ranges::find(kKnownKeys, key) != kKnownKeys.end();
}

JobRefusal refuse(std::string_view key, Fault fault) {
    return {shortForLog(key).append(" ").append(fault)};
}

std::string_view valueOf(const std::vector<JobEntry>& entries, std::string_view key) {
    const auto found = std::ranges::find(entries, key, &JobEntry::key);
    return found == entries.end() ? std::string_view() : found->value.view();
}

/// Checks that hold for every key. @return a refusal without a reason if there is none.
JobRefusal refusalOfEntries(const std::vector<JobEntry>& entries) {
    if (entries.size() > kMostJobEntries) {
        return {"too many arguments"};
    }
    for (const JobEntry& entry : entries) {
        if (const Fault fault = faultOfValue(entry.value); !fault.empty()) {
            return refuse(entry.key, fault);
        }
        if (isKnown(entry.key) && std::ranges::count(entries, entry.key, &JobEntry::key) > 1) {
            return refuse(entry.key, "is given more than once");
        }
    }
    return {};
}

} // namespace

CheckedJob checkJobArguments(const std::vector<JobEntry>& entries, bool callerIsRoot) {
    if (JobRefusal refusal = refusalOfEntries(entries); !refusal.reason.empty()) {
        return refusal;
    }
    const std::string_view request = valueOf(entries, kRequestKey);
    const std::string_view config = valueOf(entries, kConfigKey);
    const std::string_view bundle = valueOf(entries, kBundleKey);
    const std::array<std::pair<std::string_view, Fault>, 3> findings{
        {{kRequestKey, faultOfRequest(request)},
         {kConfigKey, faultOfConfig(config, callerIsRoot)},
         {kBundleKey, faultOfBundle(bundle)}}};
    for (const auto& [key, fault] : findings) {
        if (!fault.empty()) {
            return refuse(key, fault);
        }
    }
    return JobArguments{.requestPath = std::string(request),
                        .configFolder = std::string(config),
                        .bundlePath = std::string(bundle),
                        .bundlePassword = WipedString(valueOf(entries, kPasswordKey))};
}

std::string shortForLog(std::string_view text) {
    return std::string(cutUtf8(text, kLongestLoggedText));
}
