#include "tools/MERO/MEROEngine/implementations/helperUtil/Paths.h"

#include "Common/Utility/files/TextFile.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <list>
#include <string_view>
#include <unistd.h>

namespace helperUtil {

namespace {

constexpr const char* kInstallFolder = "/opt/varnel/corvane/mero/";
constexpr const char* kConfigSubfolder = "xml/config/";
constexpr const char* kDefaultDesktop = "$HOME/Desktop/";
constexpr const char* kXdgFileName = "user-dirs.dirs";
constexpr std::string_view kXdgDesktopKey = "XDG_DESKTOP_DIR=\"";

/// A variable whose value names itself would be replaced for ever.
constexpr int kMaxReplacements = 64;
constexpr size_t kMaxTranslatedBytes = 65536;

constexpr size_t kLinkTextBytes = 2047;
constexpr size_t kFolderTextBytes = 256;

std::string variable(std::string name) {
    return getEnvironmentVariable(name);
}

std::string withSlash(std::string folder) {
    if (!folder.ends_with('/')) {
        folder += '/';
    }
    return folder;
}

/// Path of the user's user-dirs.dirs, or empty if there is no home to look in.
std::string xdgFilePath() {
    const std::string configHome = variable("XDG_CONFIG_HOME");
    if (!configHome.empty()) {
        return configHome + "/" + kXdgFileName;
    }
    const std::string home = variable("HOME");
    return home.empty() ? std::string() : home + "/.config/" + kXdgFileName;
}

/// The value between the key and the last quotation mark of a line. The length is that of a key at the very
/// start of the line, where the file has it; behind anything else the value takes more of the line along.
std::string desktopOfLine(std::string_view line, size_t keyPosition) {
    const size_t lastQuote = line.rfind('"');
    return std::string(line.substr(keyPosition + kXdgDesktopKey.size(), lastQuote - kXdgDesktopKey.size())) +
           "/";
}

} // namespace

std::string translatePath(const std::string& path) {
    std::string text = path;
    for (int replacements = 0;; ++replacements) {
        const size_t dollar = text.find('$');
        const size_t slash = dollar == std::string::npos ? dollar : text.find('/', dollar);
        // A variable is known by the slash behind it, so "$HOME" alone is an ordinary name.
        if (slash == std::string::npos) {
            return text;
        }
        std::string name = text.substr(dollar + 1, slash - dollar - 1);
        const std::string value = getEnvironmentVariable(name);
        const std::string translated =
            value.empty() ? std::string()
                          : text.substr(0, dollar) + withSlash(value) + text.substr(slash + 1);
        if (translated.empty() || translated.size() > kMaxTranslatedBytes ||
            replacements == kMaxReplacements) {
            ZRN_LOG('E', "Cannot determine environment variable %s, path %s cannot be translated",
                    name.c_str(), text.c_str());
            return text;
        }
        text = translated;
    }
}

std::string getEnvironmentVariable(std::string& name) {
    if (name.starts_with('$')) {
        name.erase(0, 1);
    }
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : std::string(value);
}

uint32_t GetSessionUsername(std::string& userName) {
    userName.clear();
    return MEROENGINE_ERROR_NOT_IMPLEMENTED;
}

std::string getCurrentUserName() {
    return variable("USER");
}

std::string getExecutableDirectory() {
    const std::string link = "/proc/" + std::to_string(::getpid()) + "/exe";
    std::array<char, kLinkTextBytes> target{};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    if (length < 0) {
        return kInstallFolder;
    }
    return stringBeforeLast(std::string_view(target.data(), static_cast<size_t>(length)), "/", true);
}

std::string getConfigDirectory(const std::string& baseDirectory) {
    return withSlash(baseDirectory.empty() ? getExecutableDirectory() : baseDirectory) + kConfigSubfolder;
}

std::string getDesktopDirectory() {
    const std::string desktop = getXdgDesktopDirectory();
    return desktop.empty() ? kDefaultDesktop : desktop;
}

std::string getXdgDesktopDirectory() {
    const std::string path = xdgFilePath();
    const FileHandle file = path.empty() ? nullptr : openTextFile(path.c_str());
    if (!file) {
        return {};
    }
    std::list<std::string> lines;
    static_cast<void>(readTextLines(file.get(), lines)); // what could be read serves
    std::string desktop;
    for (const std::string& line : lines) {
        const size_t position = line.find(kXdgDesktopKey);
        if (position != std::string_view::npos) {
            desktop = desktopOfLine(line, position);
        }
    }
    return desktop;
}

std::string getCurrentDirectory() {
    std::string buffer(kFolderTextBytes, '\0');
    while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        const int error = errno;
        if (error != ERANGE) {
            ZRN_LOG_CODE('E', "getcwd", error);
            return {};
        }
        buffer.resize(buffer.size() + kFolderTextBytes);
    }
    buffer.resize(std::strlen(buffer.c_str()));
    return buffer;
}

std::string makeAbsolutePath(std::string& path) {
    const bool belowCurrent = path.starts_with("./");
    if (belowCurrent || path.find('/') == std::string::npos) {
        const std::string current = getCurrentDirectory();
        // Without a current folder the path is the best there is.
        if (!current.empty()) {
            path = withSlash(current) + (belowCurrent ? path.substr(2) : path);
        }
    }
    return path;
}

} // namespace helperUtil
