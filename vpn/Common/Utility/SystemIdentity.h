#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Which system the program runs on. All facts are read afresh at each call.

inline constexpr int32_t kPlatformMac = 5;
inline constexpr int32_t kPlatformLinux = 6;

struct OSInfo {
    int32_t platform;
    char name[64];
    char description[256];
};

/// Fills the record: platform 6, "Linux", and NAME and VERSION of the distribution, else the fields of uname,
/// else "Unknown".
void getOSInfo(OSInfo& record);
[[nodiscard]] bool isLinux();
[[nodiscard]] bool isWindows();
[[nodiscard]] bool isMac();
/// The whole of /etc/os-release, else the first line of /proc/version or /etc/issue. @return false if none
/// can be read.
[[nodiscard]] bool readOSReleaseText(std::string& textOut);
/// The value behind the first `key` followed by "=", wherever it stands, so also at the end of a longer key.
/// Taken up to the next double quote if it starts with one, else to the line's end. @return false if there is
/// none.
[[nodiscard]] bool getNamedValue(const std::string& text, const std::string& key, std::string& valueOut);

using Version = std::vector<int32_t>;
/// Splits `text` at any of the separators and reads each piece as a decimal number.
[[nodiscard]] Version parseVersion(const std::string& text, const std::string& separators);
/// -1, 0 or 1; a missing number counts as 0.
[[nodiscard]] int compareVersions(const Version& a, const Version& b);
/// True if the first numbers, up to the shorter length, agree.
[[nodiscard]] bool versionHasPrefix(const Version& a, const Version& b);
void getOSVersion(Version& versionOut);
[[nodiscard]] bool isRedHat();
[[nodiscard]] bool isUbuntu();
[[nodiscard]] bool isRedHat7();
[[nodiscard]] bool isUbuntu1804OrLater();
[[nodiscard]] bool hasNduid();
/// "Linux: " and the description; the operating-system line of the bundle's summary.
[[nodiscard]] std::string getOSSummaryLine();
/// Short distribution name, a blank and the version.
[[nodiscard]] std::string getOSDisplayString();
