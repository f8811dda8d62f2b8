#include "Common/Utility/SystemIdentity.h"

#include "Common/Utility/files/TextFile.h"
#include "Common/Utility/sysutils.h"
#include "Common/Utility/text/BoundedString.h"
#include "Common/Utility/text/StringUtils.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <sys/utsname.h>

namespace {

constexpr const char* kVersionSeparators = ".,";

std::string readStream(std::FILE* stream) {
    std::string text;
    std::array<char, 4096> block{};
    std::size_t length = 0;
    while ((length = std::fread(block.data(), 1, block.size(), stream)) > 0) {
        text.append(block.data(), length);
    }
    return text;
}

bool readLowerCaseText(std::string& textOut, const OSReleaseFiles& files) {
    if (!readOSReleaseText(textOut, files)) {
        return false;
    }
    textOut = CStringUtils::toLower(textOut);
    return true;
}

bool textNames(const char* distribution, const OSReleaseFiles& files) {
    std::string text;
    return readLowerCaseText(text, files) && text.find(distribution) != std::string::npos;
}

bool readVersionId(std::string& valueOut, const OSReleaseFiles& files) {
    std::string text;
    return readLowerCaseText(text, files) && getNamedValue(text, "version_id", valueOut);
}

int32_t toNumber(const std::string& text) {
    using Limits = std::numeric_limits<int32_t>;
    const long number = std::strtol(text.c_str(), nullptr, 10);
    return static_cast<int32_t>(std::clamp<long>(number, Limits::min(), Limits::max()));
}

int32_t numberAt(const Version& version, std::size_t index) {
    return index < version.size() ? version[index] : 0;
}

std::string describeKernel() {
    utsname kernel{};
    if (::uname(&kernel) != 0) {
        return "Unknown";
    }
    return std::string(kernel.sysname) + " " + kernel.release + " " + kernel.version + " " + kernel.machine;
}

std::string describeSystem(const OSReleaseFiles& files) {
    std::string text;
    std::string name;
    std::string version;
    if (readOSReleaseText(text, files) && getNamedValue(text, "NAME", name) &&
        getNamedValue(text, "VERSION", version)) {
        return name + " " + version;
    }
    return describeKernel();
}

std::string shortDistributionName(const OSReleaseFiles& files) {
    if (isUbuntu(files)) {
        return "Ubuntu";
    }
    return isRedHat(files) ? "RHEL" : "Linux";
}

std::string versionText(const OSReleaseFiles& files) {
    std::string versionId;
    if (readVersionId(versionId, files)) {
        return versionId;
    }
    Version version;
    getOSVersion(version, files);
    std::string text;
    for (const int32_t number : version) {
        text.append(text.empty() ? "" : ".").append(std::to_string(number));
    }
    return text;
}

} // namespace

void getOSInfo(OSInfo& record, const OSReleaseFiles& files) {
    record = {};
    record.platform = kPlatformLinux;
    boundedCopy(record.name, sizeof record.name, "Linux");
    boundedCopy(record.description, sizeof record.description, describeSystem(files).c_str());
}

bool isLinux() {
    OSInfo record{};
    getOSInfo(record);
    return record.platform == kPlatformLinux;
}

bool isWindows() {
    return false;
}

bool isMac() {
    return false;
}

bool readOSReleaseText(std::string& textOut, const OSReleaseFiles& files) {
    for (const std::string* const file : {&files.osRelease, &files.kernelVersion, &files.issue}) {
        if (!fileExists(file->c_str())) {
            continue;
        }
        const FileHandle stream = openTextFile(file->c_str());
        if (stream == nullptr) {
            return false;
        }
        textOut = readStream(stream.get());
        if (file != &files.osRelease) {
            textOut.erase(std::min(textOut.find('\n'), textOut.size()));
        }
        return true;
    }
    return false;
}

bool getNamedValue(const std::string& text, const std::string& key, std::string& valueOut) {
    if (text.empty() || key.empty()) {
        return false;
    }
    valueOut.clear();
    const std::size_t found = text.find(key + "=");
    if (found == std::string::npos) {
        return false;
    }
    std::size_t start = found + key.size() + 1;
    const bool quoted = start < text.size() && text[start] == '"';
    if (quoted) {
        ++start;
    }
    valueOut = text.substr(start, text.find(quoted ? '"' : '\n', start) - start);
    return true;
}

Version parseVersion(const std::string& text, const std::string& separators) {
    Version version;
    if (text.empty()) {
        return version;
    }
    std::size_t start = 0;
    for (std::size_t end = text.find_first_of(separators); end != std::string::npos;
         end = text.find_first_of(separators, start)) {
        version.push_back(toNumber(text.substr(start, end - start)));
        start = end + 1;
    }
    version.push_back(toNumber(text.substr(start)));
    return version;
}

int compareVersions(const Version& a, const Version& b) {
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        if (numberAt(a, i) != numberAt(b, i)) {
            return numberAt(a, i) < numberAt(b, i) ? -1 : 1;
        }
    }
    return 0;
}

bool versionHasPrefix(const Version& a, const Version& b) {
    if (a.empty()) {
        return false;
    }
    const auto shared = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()));
    return std::equal(a.begin(), a.begin() + shared, b.begin());
}

void getOSVersion(Version& versionOut, const OSReleaseFiles& files) {
    OSInfo record{};
    getOSInfo(record, files);
    std::string versionId;
    if (!readVersionId(versionId, files)) {
        versionId = record.description;
    }
    versionOut = parseVersion(versionId, kVersionSeparators);
}

bool isRedHat(const OSReleaseFiles& files) {
    return textNames("red hat", files);
}

bool isUbuntu(const OSReleaseFiles& files) {
    return textNames("ubuntu", files);
}

bool isRedHat7(const OSReleaseFiles& files) {
    if (!isRedHat(files)) {
        return false;
    }
    Version version;
    getOSVersion(version, files);
    return versionHasPrefix(version, parseVersion("7", kVersionSeparators));
}

bool isUbuntu1804OrLater(const OSReleaseFiles& files) {
    if (!isUbuntu(files)) {
        return false;
    }
    Version version;
    getOSVersion(version, files);
    return compareVersions(version, parseVersion("18.04", kVersionSeparators)) >= 0;
}

bool hasNduid() {
    return isLinux() && pathExists("/proc/nduid");
}

std::string getOSSummaryLine() {
    OSInfo record{};
    getOSInfo(record);
    return getOSSummaryLine(record);
}

std::string getOSSummaryLine(const OSInfo& record) {
    std::string system = "Unknown:";
    if (record.platform == kPlatformMac) {
        system = "macOS";
    } else if (record.platform == kPlatformLinux) {
        system = std::string(record.name) + ":";
    }
    return system + " " + record.description;
}

std::string getOSDisplayString(const OSReleaseFiles& files) {
    return shortDistributionName(files) + " " + versionText(files);
}
