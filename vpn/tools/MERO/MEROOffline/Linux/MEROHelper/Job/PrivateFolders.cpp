#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/PrivateFolders.h"

#include "Common/Utility/files/FolderAccess.h"
#include "Common/Utility/files/FolderRemoval.h"
#include "Common/Utility/log/Log.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace {

/// @return no descriptor, which the log explains.
FileDescriptor refuse(const char* path, const char* call, int error) {
    ZRN_LOG_CODE_TEXT('E', call, error, "The folder %s can't be used.", path);
    return {};
}

} // namespace

FileDescriptor openPrivateFolder(const char* path) {
    // With a slash at its end the path would lead through a link.
    if (std::string_view(path).ends_with('/')) {
        return refuse(path, "openPrivateFolder", EINVAL);
    }
    const bool made = ::mkdir(path, S_IRWXU) == 0;
    if (!made && errno != EEXIST) {
        return refuse(path, "mkdir", errno);
    }
    FileDescriptor folder(::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) {
        return refuse(path, "open", errno);
    }
    if (const int error = checkPrivate(folder.get()); error != 0) {
        return refuse(path, "checkPrivate", error);
    }
    // The umask may have taken some of our own rights.
    if (made && ::fchmod(folder.get(), S_IRWXU) != 0) {
        return refuse(path, "fchmod", errno);
    }
    return folder;
}

std::optional<JobFolder> JobFolder::make(const std::string& parent) {
    std::string path = parent + "/job-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        ZRN_LOG_ERRNO('E', "mkdtemp");
        return std::nullopt;
    }
    return JobFolder(std::move(path));
}

JobFolder::JobFolder(JobFolder&& other) noexcept : m_path(std::exchange(other.m_path, {})) {}

JobFolder& JobFolder::operator=(JobFolder&& other) noexcept {
    if (this != &other) {
        discard();
        m_path = std::exchange(other.m_path, {});
    }
    return *this;
}

JobFolder::~JobFolder() {
    discard();
}

bool JobFolder::remove() {
    if (m_path.empty()) {
        return true;
    }
    const std::size_t nameStart = m_path.rfind('/') + 1;
    const FileDescriptor parent(
        ::open(m_path.substr(0, nameStart).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent) {
        ZRN_LOG_ERRNO('E', "open");
        return false;
    }
    if (!removeFolder(parent.get(), m_path.c_str() + nameStart)) {
        return false;
    }
    m_path.clear();
    return true;
}

void JobFolder::discard() noexcept {
    try {
        static_cast<void>(remove()); // which logs what it has to leave
    } catch (const std::exception& error) {
        ZRN_LOG('E', "The folder of a job was not removed: %s", error.what());
    }
}
