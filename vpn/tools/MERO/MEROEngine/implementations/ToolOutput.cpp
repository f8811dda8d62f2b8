#include "tools/MERO/MEROEngine/implementations/ToolOutput.h"

#include "Common/Utility/files/RegularFile.h"
#include "Common/Utility/threads/Mutex.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/FileAccess.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kAppend = O_WRONLY | O_APPEND | O_NOFOLLOW;

Mutex g_madeLock;
/// Outputs that this process has made outside of the items' folders, since several tools may share one. They
/// stay open, so that no other file gets the identity of one that was deleted.
std::map<helperUtil::FolderId, FileDescriptor> g_made ZRN_GUARDED_BY(g_madeLock);

/// @return 0 or an errno.
int noteMade(int file) {
    FileDescriptor kept(::fcntl(file, F_DUPFD_CLOEXEC, 0));
    if (!kept) {
        return errno;
    }
    const LockGuard guard(g_madeLock);
    g_made.insert_or_assign(helperUtil::folderIdOf(file), std::move(kept));
    return 0;
}

bool isMade(int file) {
    const LockGuard guard(g_madeLock);
    return g_made.contains(helperUtil::folderIdOf(file));
}

bool liesIn(const std::string& path, const std::string& folder) {
    return !folder.empty() && path.starts_with(folder + "/") &&
           path.find('/', folder.size() + 1) == std::string::npos;
}

/// Somebody else's file could be read by its owner, and a second name may be that of a file of the system.
/// @return 0 or an errno.
int refusalOf(int file, const std::string& path, const std::string& itemFolder) {
    struct stat status = {};
    if (::fstat(file, &status) != 0) {
        return errno;
    }
    const bool isOurs = status.st_uid == ::geteuid() && status.st_nlink == 1;
    return isOurs && (liesIn(path, itemFolder) || isMade(file)) ? 0 : EEXIST;
}

} // namespace

int openToolOutput(const std::string& path, const std::string& itemFolder, FileDescriptor& fileOut) {
    if (::geteuid() != 0) {
        return openRegularFile(path.c_str(), kAppend | O_CREAT, fileOut);
    }
    FileDescriptor file;
    int error = openRegularFile(path.c_str(), kAppend | O_CREAT | O_EXCL, file);
    if (error == 0 && !liesIn(path, itemFolder)) {
        error = noteMade(file.get());
    } else if (error == EEXIST) {
        error = openRegularFile(path.c_str(), kAppend, file);
        if (error == 0) {
            error = refusalOf(file.get(), path, itemFolder);
        }
    }
    if (error == 0) {
        fileOut = std::move(file);
    }
    return error;
}
