#include "tools/MERO/MEROEngine/implementations/RunFolder.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/files/FolderRemoval.h"
#include "Common/Utility/log/Log.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <utility>

void RunFolder::keep() {
    const LockGuard guard(m_lock);
    m_isKept = true;
}

bool RunFolder::isKept() const {
    const LockGuard guard(m_lock);
    return m_isKept;
}

std::string RunFolder::path() const {
    const LockGuard guard(m_lock);
    return m_path;
}

int RunFolder::descriptor() const {
    const LockGuard guard(m_lock);
    return m_folder.get();
}

void RunFolder::take(const std::string& path, FileDescriptor lock) {
    const LockGuard guard(m_lock);
    m_path = path;
    m_folder = std::move(lock);
}

bool RunFolder::remove() {
    const LockGuard guard(m_lock);
    if (m_isKept || !m_folder) {
        return true;
    }
    const std::size_t slash = m_path.rfind('/');
    const std::string name = m_path.substr(slash + 1);
    const FileDescriptor parent(
        ::open(m_path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const FileDescriptor named(::openat(parent.get(), name.c_str(), kFolderPlaceFlags));
    if (!named && errno == ENOENT) {
        return true; // the run has deleted it whole
    }
    const std::optional<FolderIdentity> held = identify(m_folder.get());
    if (!named || !held || identify(named.get()) != held) {
        ZRN_LOG('W', "\"%s\" is left alone, it is not the folder of this run any more", m_path.c_str());
        return false;
    }
    // Nobody else can put anything in there, so there is no bound to what a run may have to remove.
    return removeFolder(parent.get(), name.c_str(), std::numeric_limits<std::size_t>::max());
}
