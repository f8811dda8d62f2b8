#pragma once

#include "Common/Utility/memory/Handles.h"

#include <string>

/// A path of any length, in a form that system calls take: an open folder on the way, and a rest that is
/// shorter than PATH_MAX. Links on the way are followed. A path that is short enough is left as it is and
/// costs nothing. One thread.
class LongPath {
public:
    /// @param path  must outlive this object and not change.
    explicit LongPath(const std::string& path);

    /// @return 0, or the errno that kept a folder on the way from being opened; there is no use in the two
    /// others then.
    [[nodiscard]] int error() const noexcept { return m_error; }
    /// The folder that the rest starts from, for the ...at calls: a descriptor of this object, or AT_FDCWD.
    [[nodiscard]] int folder() const noexcept;
    /// Ends with the path's last part. Lives as long as the path.
    [[nodiscard]] const char* rest() const noexcept { return m_rest; }

private:
    FileDescriptor m_folder;
    const char* m_rest;
    int m_error = 0;
};
