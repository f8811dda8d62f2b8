#include "Common/Utility/files/FolderRemoval.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// So many of the innermost folders stay open; the way back to those further out is looked up again.
constexpr std::size_t kHeldFolders = 16;

void logFailure(const char* call, int error) {
    ZRN_LOG_CODE('E', call, static_cast<uint32_t>(error));
}

/// A folder that is being emptied.
struct Level {
    std::string name;
    FileDescriptor folder; ///< none while it is far out
    FolderIdentity identity;
    std::vector<std::string> subfolders; ///< those still to be removed
    bool emptied = true;                 ///< false after a failure in it
};

enum class Removed { Yes, No, IsFolder };

/// A folder is told by the failure itself, so that no answer can be out of date.
Removed unlinkEntry(int folder, const char* name) {
    if (::unlinkat(folder, name, 0) == 0 || errno == ENOENT) {
        return Removed::Yes;
    }
    if (errno == EISDIR) {
        return Removed::IsFolder;
    }
    logFailure("unlinkat", errno);
    return Removed::No;
}

/// A folder of ours may keep its owner from reading or changing it. What is to go anyway may
/// be opened for that.
void giveOwnerAccess(int folder) {
    struct stat status {};
    if (::fstat(folder, &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & S_IRWXU) == S_IRWXU) {
        return;
    }
    // The way to change the mode of what is open as a place only. Where it fails, so do
    // the steps that follow.
    const std::string open = "/proc/self/fd/" + std::to_string(folder);
    static_cast<void>(::chmod(open.c_str(), (status.st_mode & 07777) | S_IRWXU));
}

class Removal {
public:
    Removal(int parent, const FolderIdentity& parentIdentity, std::size_t entryLimit)
        : m_parent(parent), m_parentIdentity(parentIdentity), m_entriesLeft(entryLimit) {}

    bool run(const char* name) {
        if (!removeEntry(m_parent, name)) {
            return false;
        }
        while (!m_levels.empty() && !m_limitReached) {
            Level& innermost = m_levels.back();
            if (innermost.subfolders.empty()) {
                leave();
                continue;
            }
            const std::string next = std::move(innermost.subfolders.back());
            innermost.subfolders.pop_back();
            if (!removeEntry(innermost.folder.get(), next)) {
                m_levels.back().emptied = false;
            }
        }
        return m_gone && !m_limitReached;
    }

private:
    /// Removes what is no folder, and enters what is one.
    bool removeEntry(int folder, const std::string& name) {
        const Removed removed = unlinkEntry(folder, name.c_str());
        return removed == Removed::IsFolder ? enter(folder, name) : removed == Removed::Yes;
    }

    bool enter(int outer, const std::string& name) {
        FileDescriptor folder(::openat(outer, name.c_str(), kFolderPlaceFlags));
        if (!folder && errno == ENOENT) {
            return true; // somebody else was quicker
        }
        if (!folder) {
            logFailure("openat", errno);
            return false;
        }
        const std::optional<FolderIdentity> identity = identify(folder.get());
        if (!identity) {
            return false;
        }
        if (!identity->isBeside(m_parentIdentity)) {
            logFailure("openat", EXDEV);
            return false;
        }
        giveOwnerAccess(folder.get());
        m_levels.push_back(
            {.name = name, .folder = std::move(folder), .identity = *identity, .subfolders = {}});
        empty(m_levels.back());
        letGoOfOuter();
        return true;
    }

    /// The outermost folder stays open, as the one to go on with when the way back is lost.
    void letGoOfOuter() {
        if (m_levels.size() > kHeldFolders + 1) {
            m_levels[m_levels.size() - 1 - kHeldFolders].folder.reset();
        }
    }

    /// Removes all in a folder but the folders, and notes these.
    void empty(Level& level) {
        const DirHandle stream = openStream(level.folder.get());
        if (stream == nullptr) {
            level.emptied = false;
            return;
        }
        while (const dirent* entry = readNext(stream.get(), level)) {
            if (isDotName(entry->d_name)) {
                continue;
            }
            if (m_entriesLeft == 0) {
                ZRN_LOG('E', "A folder has too many entries to be removed.");
                m_limitReached = true;
                return;
            }
            --m_entriesLeft;
            const Removed removed = unlinkEntry(level.folder.get(), entry->d_name);
            if (removed == Removed::IsFolder) {
                level.subfolders.emplace_back(entry->d_name);
            }
            level.emptied = level.emptied && removed != Removed::No;
        }
    }

    static const dirent* readNext(DIR* stream, Level& level) {
        errno = 0;
        const dirent* entry = ::readdir(stream);
        if (entry == nullptr && errno != 0) {
            logFailure("readdir", errno);
            level.emptied = false;
        }
        return entry;
    }

    /// Goes out of the innermost folder and removes it. The failure in it has been logged, and it can't be
    /// removed then.
    void leave() {
        const Level left = std::move(m_levels.back());
        m_levels.pop_back();
        if (!m_levels.empty() && !m_levels.back().folder && !reopen(left.folder.get())) {
            m_levels.erase(m_levels.begin() + 1, m_levels.end());
            m_levels.front().emptied = false;
            return;
        }
        const bool gone = left.emptied && removeEmptied(left.name);
        bool& outerGone = m_levels.empty() ? m_gone : m_levels.back().emptied;
        outerGone = outerGone && gone;
    }

    bool removeEmptied(const std::string& name) {
        const int outer = m_levels.empty() ? m_parent : m_levels.back().folder.get();
        if (::unlinkat(outer, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) {
            return true;
        }
        logFailure("unlinkat", errno);
        return false;
    }

    /// Opens the innermost folder again from the one that was in it, unless that is elsewhere by now.
    bool reopen(int inner) {
        FileDescriptor outer(::openat(inner, "..", kFolderPlaceFlags));
        if (!outer) {
            logFailure("openat", errno);
            return false;
        }
        const std::optional<FolderIdentity> identity = identify(outer.get());
        if (!identity) {
            return false;
        }
        if (*identity != m_levels.back().identity) {
            ZRN_LOG('E', "A folder has been moved while it was removed.");
            return false;
        }
        m_levels.back().folder = std::move(outer);
        return true;
    }

    const int m_parent;
    const FolderIdentity m_parentIdentity;
    std::size_t m_entriesLeft;
    bool m_limitReached = false;
    bool m_gone = true;
    std::vector<Level> m_levels; ///< from the outermost folder to the innermost
};

} // namespace

bool removeFolder(int parent, const char* name, std::size_t entryLimit) {
    const std::string_view wanted(name);
    if (wanted.empty() || isDotName(wanted) || wanted.find('/') != std::string_view::npos) {
        logFailure("removeFolder", EINVAL);
        return false;
    }
    const std::optional<FolderIdentity> identity = identify(parent);
    return identity && Removal(parent, *identity, entryLimit).run(name);
}
