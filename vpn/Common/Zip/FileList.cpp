#include "Common/Zip/FileList.h"

#include "Common/Utility/files/LongPath.h"
#include "Common/Utility/log/Log.h"
#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/process/StopRequest.h"
#include "Common/Zip/PackReport.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>

namespace {

struct FolderEntry {
    std::string name;
    bool isFolder;
};

/// A folder whose entries are being gone through. It is read as a whole before that, and closed.
struct Level {
    /// With a trailing "/".
    std::string folder;
    std::vector<FolderEntry> entries;
    std::size_t next = 0;
};

class TreeWalk {
public:
    TreeWalk(bool recursive, const std::function<void(const std::string&)>& found)
        : m_recursive(recursive), m_found(found) {}

    std::vector<ListingGap> run(const std::string& folder) {
        enter(folder.ends_with('/') ? folder : folder + "/", 0);
        while (!m_levels.empty() && !isStopRequested()) {
            step();
        }
        return std::move(m_gaps);
    }

private:
    void step() {
        Level& level = m_levels.back();
        if (level.next == level.entries.size()) {
            m_levels.pop_back();
            return;
        }
        const FolderEntry& entry = level.entries[level.next++];
        const std::string path = level.folder + entry.name;
        if (entry.isFolder) {
            enter(path + "/", O_NOFOLLOW); // no more of `level` from here on
        } else {
            m_found(path);
        }
    }

    void enter(const std::string& folder, int flags) {
        const DirHandle handle = open(folder, flags);
        if (!handle) {
            const int error = errno;
            logFailure("opendir", error, folder);
            m_found(folder);
            m_gaps.push_back({folder, reasonOf("could not be listed", error)});
            return;
        }
        Level level{folder, {}, 0};
        errno = 0;
        while (const dirent* entry = ::readdir(handle.get())) {
            take(*entry, ::dirfd(handle.get()), level);
            errno = 0;
        }
        if (const int error = errno; error != 0) {
            logFailure("readdir", error, folder);
            m_gaps.push_back({folder, reasonOf("could not be listed to its end", error)});
        }
        m_levels.push_back(std::move(level));
    }

    /// @return null with errno set if it can't be opened.
    static DirHandle open(const std::string& folder, int flags) {
        // A link is only seen as one by a path without the slash at its end.
        const std::string path = flags == 0 ? folder : folder.substr(0, folder.size() - 1);
        const LongPath way(path);
        if (way.error() != 0) {
            errno = way.error();
            return nullptr;
        }
        FileDescriptor file(::openat(way.folder(), way.rest(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
        DirHandle handle(file ? ::fdopendir(file.get()) : nullptr);
        if (handle) {
            static_cast<void>(file.release()); // the stream's from here on
        }
        return handle;
    }

    void take(const dirent& entry, int folder, Level& level) {
        const std::string_view name = entry.d_name;
        if (name == "." || name == "..") {
            return;
        }
        const unsigned char kind =
            entry.d_type == DT_UNKNOWN ? kindOf(folder, entry.d_name, level) : entry.d_type;
        if (kind == DT_REG || (kind == DT_DIR && m_recursive)) {
            level.entries.push_back({std::string(name), kind == DT_DIR});
        }
    }

    unsigned char kindOf(int folder, const char* name, const Level& level) {
        struct stat status {};
        if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            const int error = errno;
            const std::string path = level.folder + name;
            logFailure("fstatat", error, path);
            m_gaps.push_back({path, reasonOf("could not be examined", error)});
            return DT_UNKNOWN;
        }
        return static_cast<unsigned char>(IFTODT(status.st_mode));
    }

    static void logFailure(const char* call, int error, const std::string& path) {
        ZRN_LOG_CODE_FOR("getFileList", 'W', call, error, "%s", path.c_str());
    }

    bool m_recursive;
    const std::function<void(const std::string&)>& m_found;
    std::vector<ListingGap> m_gaps;
    std::vector<Level> m_levels;
};

} // namespace

std::vector<ListingGap> listFiles(const std::string& folder, bool recursive,
                                  const std::function<void(const std::string& path)>& found) {
    return TreeWalk(recursive, found).run(folder);
}
