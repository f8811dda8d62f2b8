#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Which system the program runs on. All facts are read afresh at each call. A failure gives false or an
/// empty value and is silent.

inline constexpr int32_t kPlatformMac = 5;
inline constexpr int32_t kPlatformLinux = 6;

struct OSInfo {
    int32_t platform;
    char name[64];
    char description[256];
};

/// Where the system's identity is read from. Only tests give other paths.
struct OSReleaseFiles {
    std::string osRelease = "/etc/os-release";
    std::string kernelVersion = "/proc/version";
    std::string issue = "/etc/issue";
};

/// Fills the record: platform 6, "Linux", and NAME and VERSION of the distribution, else the fields of uname,
/// else "Unknown".
void getOSInfo(OSInfo& record, const OSReleaseFiles& files = {});
[[nodiscard]] bool isLinux();
[[nodiscard]] bool isWindows();
[[nodiscard]] bool isMac();
/// The whole of /etc/os-release, else the first line of /proc/version or /etc/issue. The first file that
/// exists counts, also if it can't be read. @return false if none can be read.
[[nodiscard]] bool readOSReleaseText(std::string& textOut, const OSReleaseFiles& files = {});
/// The value behind the first `key` followed by "=", wherever it stands, so also at the end of a longer
/// key. Taken up to the next double quote if it starts with one, else to the line's end. @return false
/// if there is none.
[[nodiscard]] bool getNamedValue(const std::string& text, const std::string& key, std::string& valueOut);

using Version = std::vector<int32_t>;
/// Splits `text` at any of the separators and reads each piece as a decimal number, 0 if it doesn't begin
/// with one. An empty text has no numbers.
[[nodiscard]] Version parseVersion(const std::string& text, const std::string& separators);
/// -1, 0 or 1; a missing number counts as 0.
[[nodiscard]] int compareVersions(const Version& a, const Version& b);
/// True if the first numbers of `a` and of its prefix `b`, up to the shorter length, agree. An empty `b` is a
/// prefix of any version; an empty `a`, which is that of an unknown system, has none.
[[nodiscard]] bool versionHasPrefix(const Version& a, const Version& b);
/// The distribution's VERSION_ID, else the numbers of the record's description.
void getOSVersion(Version& versionOut, const OSReleaseFiles& files = {});
/// Whether the text of readOSReleaseText names the distribution anywhere, in any case. Where only the
/// kernel's banner can be read that is the distribution of the kernel's compiler.
[[nodiscard]] bool isRedHat(const OSReleaseFiles& files = {});
[[nodiscard]] bool isUbuntu(const OSReleaseFiles& files = {});
/// For callers outside of this system: the same of a version.
[[nodiscard]] bool isRedHat7(const OSReleaseFiles& files = {});
[[nodiscard]] bool isUbuntu1804OrLater(const OSReleaseFiles& files = {});
/// For callers outside of this system: whether the kernel offers the node's unique device id.
[[nodiscard]] bool hasNduid();
/// "Linux: " and the description; the operating-system line of the bundle's summary.
[[nodiscard]] std::string getOSSummaryLine();
/// The same for a given record: "macOS" for a Mac, "Unknown:" for a platform other than Linux.
[[nodiscard]] std::string getOSSummaryLine(const OSInfo& record);
/// For callers outside of this system: "Ubuntu", "RHEL" or "Linux", a blank and the distribution's version.
[[nodiscard]] std::string getOSDisplayString(const OSReleaseFiles& files = {});
