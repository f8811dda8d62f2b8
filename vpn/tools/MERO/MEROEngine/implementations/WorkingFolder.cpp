#include "tools/MERO/MEROEngine/implementations/WorkingFolder.h"

#include "Common/Utility/files/FileLock.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/ReturnCodes.h"
#include "Common/Utility/sysutils.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr uint32_t kNumberLimit = 100000;
constexpr int kMaxNames = 1000;

/// NoLocks: the folder is open and ours, but this file system has no lock for it.
enum class LockResult { Locked, InUse, NotOurs, NoLocks };

bool isOurFolder(const struct stat& status) {
    return S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

/// True if the path still leads to the open folder, and not through a link. None if that can't be told.
std::optional<bool> namesFolder(const std::string& path, int folder) {
    struct stat named = {};
    struct stat opened = {};
    if (::lstat(path.c_str(), &named) != 0 || ::fstat(folder, &opened) != 0) {
        const int error = errno;
        ZRN_LOG_CODE('I', "stat", error);
        return error == ENOENT ? std::optional(false) : std::nullopt;
    }
    return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && isOurFolder(named);
}

/// Opens a folder of ours and locks it, without waiting.
LockResult lockFolder(const std::string& path, FileDescriptor& lockOut) {
    FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) {
        const int error = errno;
        ZRN_LOG_CODE('I', "open", error);
        // Between two looks another run of ours may have deleted it as a left-over one.
        return error == ENOENT ? LockResult::InUse : LockResult::NotOurs;
    }
    struct stat status = {};
    if (::fstat(folder.get(), &status) != 0) {
        ZRN_LOG_ERRNO('E', "fstat");
        return LockResult::NotOurs;
    }
    if (!isOurFolder(status)) {
        return LockResult::NotOurs;
    }
    const int lockError = lockAlone(folder.get());
    if (lockError != 0) {
        ZRN_LOG_CODE(lockError == EWOULDBLOCK ? 'I' : 'W', "flock", lockError);
        if (lockError == EWOULDBLOCK) {
            return LockResult::InUse;
        }
    }
    // Whoever deletes a folder holds its lock, so from here on the name stays what it is.
    const std::optional<bool> isNamed = namesFolder(path, folder.get());
    if (isNamed != true) {
        return isNamed ? LockResult::InUse : LockResult::NotOurs;
    }
    lockOut = std::move(folder);
    return lockError == 0 ? LockResult::Locked : LockResult::NoLocks;
}

const char* whyLeftAlone(LockResult result) {
    switch (result) {
    case LockResult::InUse:
        return "in use by another run";
    case LockResult::NoLocks:
        return "perhaps in use by another run, which no lock can tell";
    default:
        return "no folder of this user";
    }
}

/// Runs that start in the same second draw the same number. Their process ids take them apart from there on;
/// a step that ends in 1 goes through all the numbers.
uint32_t nextNumber(uint32_t number) {
    const uint32_t step = (static_cast<uint32_t>(::getpid()) % (kNumberLimit / 10)) * 10 + 1;
    return (number + step) % kNumberLimit;
}

} // namespace

WorkingFolder::WorkingFolder(std::string plainPath)
    : m_plainPath(std::move(plainPath)), m_path(m_plainPath) {}

uint32_t WorkingFolder::removeLeftOver() const {
    if (::faccessat(AT_FDCWD, m_plainPath.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) != 0) {
        const int error = errno;
        // Told here under the deletion's name and not by calling it: it would follow a link that somebody
        // makes between this look and its own.
        ZRN_LOG_CODE_FOR("fileDeleteDirectory", 'E', "access", error, nullptr);
        return MEROENGINE_ERROR_ACCESS_DENIED;
    }
    FileDescriptor lock;
    const LockResult result = lockFolder(m_plainPath, lock);
    if (result != LockResult::Locked) {
        ZRN_LOG('W', "\"%s\" is left alone, it is %s", m_plainPath.c_str(), whyLeftAlone(result));
        return MEROENGINE_ERROR_UNEXPECTED;
    }
    return helperUtil::fileDeleteDirectory(m_plainPath);
}

WorkingFolder::Outcome WorkingFolder::claimName(const std::string& path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0) {
        const int error = errno;
        ZRN_LOG_CODE(error == EEXIST ? 'I' : 'E', "mkdir", error);
        return error == EEXIST ? Outcome::Taken : Outcome::Refused;
    }
    FileDescriptor lock;
    switch (lockFolder(path, lock)) {
    case LockResult::Locked:
    case LockResult::NoLocks:
        // Without a lock it is not held, but others leave alone what they can't lock.
        m_claimed->take(path, std::move(lock));
        m_path = path;
        return Outcome::Claimed;
    case LockResult::InUse:
        // Another run took the new folder for a left-over one and is deleting it.
        return Outcome::Taken;
    case LockResult::NotOurs:
        break;
    }
    // No descriptor was to be had. The empty folder helps nobody.
    if (::rmdir(path.c_str()) != 0) {
        ZRN_LOG_ERRNO('W', "rmdir");
    }
    return Outcome::Refused;
}

uint32_t WorkingFolder::claim(bool withSuffix) {
    Outcome outcome = withSuffix ? Outcome::Taken : claimName(m_plainPath);
    const std::string stem = m_plainPath + "_" + getTimeString(1) + "_";
    uint32_t number = helperUtil::getRandomNumber();
    for (int tried = 0; outcome == Outcome::Taken && tried < kMaxNames; ++tried) {
        outcome = claimName(stem + std::to_string(number));
        number = nextNumber(number);
    }
    return outcome == Outcome::Claimed ? 0 : MEROENGINE_ERROR_ACCESS_DENIED;
}

void WorkingFolder::remove() {
    const std::shared_ptr<RunFolder> claimed = std::move(m_claimed);
    if (claimed == nullptr || claimed->descriptor() < 0) {
        // Its own lines tell what became of the folder.
        static_cast<void>(removeLeftOver());
        return;
    }
    if (claimed->isKept()) {
        return;
    }
    if (namesFolder(m_path, claimed->descriptor()) == true) {
        // Sub-folders keep the folder alive; that is no failure of the run.
        static_cast<void>(helperUtil::fileDeleteDirectory(m_path));
    } else {
        ZRN_LOG('W', "\"%s\" is left alone, it is not the folder of this run any more", m_path.c_str());
    }
}
