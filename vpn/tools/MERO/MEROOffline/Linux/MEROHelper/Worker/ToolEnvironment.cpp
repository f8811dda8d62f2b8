#include "ToolEnvironment.h"

#include "ChildEnvironment.h"
#include "JobEnvironment.h"
#include "Log.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>

namespace {

/// What mkdtemp makes the name of.
constexpr const char* kFolderPattern = "/tools.XXXXXX";
/// Root may not write there either, unless it overrides permissions.
constexpr mode_t kHomeMode = S_IRUSR | S_IXUSR;

/// Logs a call that failed. @return an empty path.
std::string fails(const char* call, int error) {
    ZRN_LOG_CODE('E', call, error);
    return {};
}

/// A new folder, empty and root's alone. @return its path, or an empty one.
std::string makeHome(const std::string& jobFolder) {
    std::string path = jobFolder + kFolderPattern;
    if (::mkdtemp(path.data()) == nullptr) {
        return fails("mkdtemp", errno);
    }
    if (::chmod(path.c_str(), kHomeMode) != 0) {
        return fails("chmod", errno);
    }
    return path;
}

} // namespace

bool makeToolEnvironment(const std::string& jobFolder) {
    const std::string home = makeHome(jobFolder);
    if (home.empty()) {
        return false;
    }
    ChildEnvironment environment{
        .variables = {"HOME=" + home, "USER=root", "LOGNAME=root", std::string("PATH=") + kJobPath},
        .folder = "/"};
    if (const char* const language = std::getenv("LANG"); language != nullptr) {
        environment.variables.push_back(std::string("LANG=") + language);
    }
    setChildEnvironment(std::move(environment));
    return true;
}
