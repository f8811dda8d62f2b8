#include "Common/Utility/files/LongPath.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string_view>

LongPath::LongPath(const std::string& path) : m_rest(path.c_str()) {
    std::string_view rest = path;
    while (rest.size() >= PATH_MAX) {
        const std::size_t slash = rest.rfind('/', PATH_MAX - 2);
        if (slash == std::string_view::npos || slash == 0) {
            return; // a part as long as that is refused by the call that gets it
        }
        const std::string piece(rest.substr(0, slash));
        FileDescriptor next(::openat(folder(), piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!next) {
            m_error = errno;
            return;
        }
        m_folder = std::move(next);
        rest.remove_prefix(std::min(rest.find_first_not_of('/', slash), rest.size()));
        m_rest = rest.data();
    }
}

int LongPath::folder() const noexcept {
    return m_folder ? m_folder.get() : AT_FDCWD;
}
