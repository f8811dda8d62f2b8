#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/JobLeavings.h"

#include "Common/Utility/files/FileLock.h"
#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/files/FolderRemoval.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kWorkingParent = "/tmp";
/// How the engine names its working folders; a time and a number may follow.
constexpr std::string_view kWorkingName = "MERO_Temp_Bundle";

enum class Claim { Claimed, LeftAlone, Failed };

Claim fail(const char* call, int error) {
    ZRN_LOG_CODE('E', call, error);
    return Claim::Failed;
}

/// Removes one name at a time from a folder that everybody can write to.
class WorkingFolderRemoval {
public:
    WorkingFolderRemoval(int parent, const FolderIdentity& parentIdentity)
        : m_parent(parent), m_parentIdentity(parentIdentity) {}

    /// @return whether there is nothing left of that name which should go.
    [[nodiscard]] bool run(const std::string& name) const {
        FileDescriptor lock;
        const Claim claimed = claim(name, lock);
        return claimed == Claim::LeftAlone ||
               (claimed == Claim::Claimed && removeFolder(m_parent, name.c_str()));
    }

private:
    /// A run locks its folder for as long as it uses it, and so does whoever removes it.
    [[nodiscard]] Claim claim(const std::string& name, FileDescriptor& lockOut) const {
        const FileDescriptor folder(::openat(m_parent, name.c_str(), kFolderPlaceFlags));
        if (!folder) {
            return errno == ENOENT || errno == ENOTDIR || errno == ELOOP ? Claim::LeftAlone
                                                                         : fail("openat", errno);
        }
        const std::optional<FolderIdentity> identity = identify(folder.get());
        if (!identity) {
            return Claim::Failed;
        }
        // Before anything is asked of what may be a user's own file system.
        if (!identity->isBeside(m_parentIdentity)) {
            return Claim::LeftAlone;
        }
        // What is open to others is not of the engine's making.
        if (const int error = checkPrivate(folder.get()); error != 0) {
            return error == EPERM ? Claim::LeftAlone : fail("fstat", error);
        }
        const Claim locked = lock(folder.get(), lockOut);
        return locked == Claim::Claimed && !names(name, *identity) ? Claim::LeftAlone : locked;
    }

    static Claim lock(int folder, FileDescriptor& lockOut) {
        lockOut = openForReading(folder);
        if (!lockOut) {
            return Claim::Failed;
        }
        const int error = lockAlone(lockOut.get());
        if (error == 0) {
            return Claim::Claimed;
        }
        // Where there are no locks nobody can tell whether a run still uses it.
        return error == EWOULDBLOCK ? Claim::LeftAlone : fail("flock", error);
    }

    /// Whether the name still is that folder's.
    [[nodiscard]] bool names(const std::string& name, const FolderIdentity& identity) const {
        const FileDescriptor folder(::openat(m_parent, name.c_str(), kFolderPlaceFlags));
        return folder && identify(folder.get()) == identity;
    }

    int m_parent;
    FolderIdentity m_parentIdentity;
};

bool mayBeWorkingFolder(const dirent& entry) {
    return std::string_view(entry.d_name).starts_with(kWorkingName) &&
           (entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN);
}

} // namespace

bool removeWorkingFolders() {
    const FileDescriptor parent(::open(kWorkingParent, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent) {
        static_cast<void>(fail("open", errno));
        return false;
    }
    const std::optional<FolderIdentity> identity = identify(parent.get());
    const DirHandle entries = openStream(parent.get());
    if (!identity || entries == nullptr) {
        return false;
    }
    // One after the other, as anybody may have put there as many as they like.
    const WorkingFolderRemoval removal(parent.get(), *identity);
    bool gone = true;
    errno = 0;
    while (const dirent* entry = ::readdir(entries.get())) {
        gone = (!mayBeWorkingFolder(*entry) || removal.run(entry->d_name)) && gone;
        errno = 0;
    }
    if (errno != 0) {
        static_cast<void>(fail("readdir", errno));
        return false;
    }
    return gone;
}

bool emptyFolder(int folder) {
    const std::optional<std::vector<std::string>> names = entryNames(folder, kRemovalEntryLimit);
    bool gone = names.has_value();
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
        gone = removeFolder(folder, name.c_str()) && gone;
    }
    return gone;
}
