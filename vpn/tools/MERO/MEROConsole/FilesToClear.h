#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The files that a clear run is to delete, as they are before it, to tell afterwards which of them it has
/// left. A log that a service has made anew under the same name meanwhile is another file.
class FilesToClear {
public:
    /// Adds the files that match now.
    /// @param translatedPath  a path with wildcards in its last part, as an action would take it.
    /// @return how many match.
    std::size_t add(const std::string& translatedPath);
    /// Number of files, each counted once.
    [[nodiscard]] std::size_t count() const { return m_files.size(); }
    /// Paths of the files that are still there.
    [[nodiscard]] std::vector<std::string> remaining() const;

private:
    /// What tells a file from any other; an inode's number is soon another file's, the time when that was
    /// made is not. Zero where the file system doesn't keep it.
    struct Identity {
        uint32_t deviceMajor = 0;
        uint32_t deviceMinor = 0;
        uint64_t inode = 0;
        int64_t birthSeconds = 0;
        uint32_t birthNanoseconds = 0;

        bool operator==(const Identity&) const = default;
    };
    /// @return false for a path at which nothing stands.
    [[nodiscard]] static bool identify(const std::string& path, Identity& identityOut);

    std::map<std::string, Identity> m_files;
};
