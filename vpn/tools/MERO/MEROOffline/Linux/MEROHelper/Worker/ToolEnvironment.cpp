#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ToolEnvironment.h"

#include "Common/Utility/log/Log.h"
#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/ChildView.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobEnvironment.h"
#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ClosedFolders.h"

#include <cerrno>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// What mkdtemp makes the name of.
constexpr const char* kFolderPattern = "/tools.XXXXXX";
/// Where each user has a folder for sessions.
constexpr const char* kSessionFolders = "/run/user";

/// A new folder, empty and root's alone. @return its path, or an empty one.
std::string makeFolder(const std::string& jobFolder) {
    std::string path = jobFolder + kFolderPattern;
    if (::mkdtemp(path.data()) == nullptr) {
        ZRN_LOG_ERRNO('E', "mkdtemp");
        return {};
    }
    return path;
}

std::vector<std::string> foldersToHide(const std::optional<std::string>& home) {
    std::vector<std::string> folders = sharedFolders();
    folders.emplace_back(kSessionFolders);
    if (home) {
        folders.push_back(*home);
    }
    return folders;
}

/// Tries in a child whether the view of tools can be had.
bool canHide() {
    const ChildView view("");
    const pid_t worker = ::getpid();
    const pid_t child = forkChild();
    if (child == 0) {
        ::_exit(prepareChild({.discardOutput = true, .view = &view}, worker) ? 0 : 1);
    }
    int status = -1;
    return reapChild(child, status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

bool makeToolEnvironment(const std::string& jobFolder, const std::optional<std::string>& home) {
    const std::string toolHome = makeFolder(jobFolder);
    const std::string temporary = makeFolder(jobFolder);
    if (toolHome.empty() || temporary.empty()) {
        return false;
    }
    ChildEnvironment environment{.variables = {"HOME=" + toolHome, "TMPDIR=" + temporary, "USER=root",
                                               "LOGNAME=root", std::string("PATH=") + kJobPath},
                                 .folder = "/",
                                 .hidden = foldersToHide(home)};
    if (const char* const language = std::getenv("LANG"); language != nullptr) {
        environment.variables.push_back(std::string("LANG=") + language);
    }
    setChildEnvironment(environment);
    if (!canHide()) {
        ZRN_LOG('W', "Tools see the caller's folders: this system can't hide them");
        environment.hidden.clear();
        setChildEnvironment(std::move(environment));
    }
    return true;
}
