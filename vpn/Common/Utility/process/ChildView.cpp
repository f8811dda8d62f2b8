#include "Common/Utility/process/ChildView.h"

#include "Common/Utility/process/ChildEnvironment.h"
#include "Common/Utility/threads/Mutex.h"

#include <algorithm>
#include <cerrno>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr unsigned long kCoverFlags = MS_NOSUID | MS_NODEV | MS_NOEXEC;
constexpr const char* kCoverOptions = "mode=0755,size=4k";

Mutex g_keptLock;
std::string g_kept ZRN_GUARDED_BY(g_keptLock);

std::string keptFolder() {
    const LockGuard guard(g_keptLock);
    return g_kept;
}

/// A byte that can be part of a name without quotes; what else there is separates words and paths.
bool isNameByte(char byte) {
    constexpr std::string_view kOthers = "._-+@%,~^";
    const auto value = static_cast<unsigned char>(byte);
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           value >= 0x80 || kOthers.find(byte) != std::string_view::npos;
}

/// Whether a path that goes on behind `start` is absolute there, and no end of a longer one. What is glued to
/// its front, as in "-o/tmp", may be an option.
bool isPathStart(std::string_view text, std::size_t start) {
    while (start > 0 && isNameByte(text[start - 1])) {
        --start;
    }
    return start == 0 || text[start - 1] != '/';
}

/// Whether the text has this path at a place, as a whole or with more behind a "/".
bool hasPathAt(std::string_view text, std::size_t place, std::string_view path) {
    const std::string_view rest = text.substr(place);
    return rest.starts_with(path) && (rest.size() == path.size() || !isNameByte(rest[path.size()]));
}

/// @param kept  paths below this one don't count; empty for none.
bool namesFolder(std::string_view text, std::string_view folder, std::string_view kept) {
    for (std::size_t place = text.find(folder); place != std::string_view::npos;
         place = text.find(folder, place + 1)) {
        const bool isKept = !kept.empty() && hasPathAt(text, place, kept);
        if (!isKept && hasPathAt(text, place, folder) && isPathStart(text, place)) {
            return true;
        }
    }
    return false;
}

/// Whether a path is an entry of a folder.
bool isRightBelow(std::string_view path, std::string_view folder) {
    return path.size() > folder.size() + 1 && path.starts_with(folder) && path[folder.size()] == '/' &&
           path.find('/', folder.size() + 1) == std::string_view::npos;
}

// What follows runs between fork and exec: plain system calls, on texts made before.

/// Mounts of this process are nobody else's from here on.
bool leaveMountNamespace() noexcept {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_SLAVE, nullptr) == 0;
}

/// A folder that is missing needs no cover.
bool coverAll(const char* folder) noexcept {
    return ::mount("tmpfs", folder, "tmpfs", kCoverFlags | MS_RDONLY, kCoverOptions) == 0 || errno == ENOENT;
}

/// The current folder stands for what the cover hides, and a mount of it is put where it was.
bool coverAllBut(const char* kept, const char* folder) noexcept {
    return ::chdir(kept) == 0 && ::mount("tmpfs", folder, "tmpfs", kCoverFlags, kCoverOptions) == 0 &&
           ::mkdir(kept, S_IRWXU) == 0 && ::mount(".", kept, nullptr, MS_BIND, nullptr) == 0 &&
           ::mount(nullptr, folder, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY | kCoverFlags, nullptr) == 0 &&
           ::chdir("/") == 0;
}

} // namespace

ChildView::ChildView(std::string_view instruction) {
    const std::string kept = keptFolder();
    for (const std::string& folder : hiddenFromChildren()) {
        if (!namesFolder(instruction, folder, kept)) {
            m_covers.push_back({folder, isRightBelow(kept, folder) ? kept : std::string()});
        }
    }
}

bool ChildView::take() const noexcept {
    if (m_covers.empty()) {
        return true;
    }
    return leaveMountNamespace() && std::ranges::all_of(m_covers, [](const Cover& cover) {
               return cover.kept.empty() ? coverAll(cover.folder.c_str())
                                         : coverAllBut(cover.kept.c_str(), cover.folder.c_str());
           });
}

void keepInView(std::string folder) {
    const LockGuard guard(g_keptLock);
    g_kept = std::move(folder);
}
