#include "tools/MERO/MEROConsole/FilesToClear.h"

#include "tools/MERO/MEROEngine/implementations/helperUtil/Files.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <fcntl.h>
#include <list>
#include <sys/stat.h>

std::size_t FilesToClear::add(const std::string& translatedPath) {
    std::string folder = helperUtil::folderPartOf(translatedPath);
    std::list<std::string> patterns{helperUtil::stringAfterLast(translatedPath, "/")};
    std::list<helperUtil::FoundFile> matches;
    // Without matches there is nothing to add, whatever the reason.
    static_cast<void>(helperUtil::fileFindAll(folder, patterns, false, matches));
    std::size_t found = 0;
    for (const helperUtil::FoundFile& match : matches) {
        const std::string path = folder + match.name;
        if (Identity identity; identify(path, identity)) {
            m_files.insert_or_assign(path, identity);
            ++found;
        }
    }
    return found;
}

std::vector<std::string> FilesToClear::remaining() const {
    std::vector<std::string> paths;
    for (const auto& [path, identity] : m_files) {
        if (Identity present; identify(path, present) && present == identity) {
            paths.push_back(path);
        }
    }
    return paths;
}

bool FilesToClear::identify(const std::string& path, Identity& identityOut) {
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_BTIME, &status) != 0) {
        return false;
    }
    identityOut = {.deviceMajor = status.stx_dev_major,
                   .deviceMinor = status.stx_dev_minor,
                   .inode = status.stx_ino,
                   .birthSeconds = status.stx_btime.tv_sec,
                   .birthNanoseconds = status.stx_btime.tv_nsec};
    return true;
}
