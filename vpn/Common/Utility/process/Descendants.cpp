#include "Common/Utility/process/Descendants.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kThreadsFolder = "/proc/self/task";
constexpr std::size_t kMostThreads = 100'000;
/// A killed process needs a moment, and nothing tells of the end of whichever child is the next.
constexpr int kPollMs = 2;

/// Children from before adoptDescendants. Sorted; set by that one alone.
std::vector<pid_t> g_spared;

/// The children of all threads. Some may be missing while others end.
/// @return nothing, logged, where the system doesn't tell.
std::optional<std::vector<pid_t>> listChildren() {
    const FileDescriptor folder(::open(kThreadsFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::optional<std::vector<std::string>> threads = entryNames(folder.get(), kMostThreads);
    bool told = false;
    std::vector<pid_t> children;
    for (const std::string& thread : threads.value_or(std::vector<std::string>())) {
        std::ifstream list(std::string(kThreadsFolder).append("/").append(thread).append("/children"));
        told = told || list.is_open(); // a thread may have ended meanwhile, but not this one
        pid_t child = 0;
        while (list >> child) {
            children.push_back(child);
        }
    }
    if (!told) {
        ZRN_LOG('E', "The system doesn't tell which children there are.");
        return std::nullopt;
    }
    return children;
}

/// Reaps what has ended by now. Others look after those spared, and so does nobody here.
/// @return whether there are no children left.
bool reapEnded(const std::vector<pid_t>& children) {
    if (!g_spared.empty()) {
        for (const pid_t child : children) {
            static_cast<void>(::waitpid(child, nullptr, WNOHANG | __WALL));
        }
        return children.empty();
    }
    pid_t child = 0;
    do {
        child = ::waitpid(-1, nullptr, WNOHANG | __WALL);
    } while (child > 0);
    return child < 0 && errno == ECHILD;
}

} // namespace

bool adoptDescendants() {
    if (::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) == 0) {
        g_spared = listChildren().value_or(std::vector<pid_t>());
        std::sort(g_spared.begin(), g_spared.end());
        return true;
    }
    ZRN_LOG_ERRNO('E', "prctl");
    return false;
}

bool endDescendants(std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    while (true) {
        std::optional<std::vector<pid_t>> children = listChildren();
        if (!children) {
            return reapEnded({});
        }
        std::erase_if(*children, [](pid_t child) {
            return std::binary_search(g_spared.begin(), g_spared.end(), child);
        });
        for (const pid_t child : *children) {
            static_cast<void>(::kill(child, SIGKILL)); // ours until it is reaped, so it can't fail
        }
        if (reapEnded(*children)) {
            return true;
        }
        if (Clock::now() >= deadline) {
            ZRN_LOG('E', "Of the processes started, %zu don't end", children->size());
            return false;
        }
        static_cast<void>(::poll(nullptr, 0, kPollMs));
    }
}
