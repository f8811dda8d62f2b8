#pragma once

#include "Common/Utility/memory/Handles.h"

#include <optional>
#include <string>
#include <utility>

/// Folders of the helper's own, which nobody else can look into.

/// Where the folders of jobs are made. On a disk: archives are large.
inline constexpr const char* kJobsFolder = "/var/cache/merohelper";
/// Where the lock of the one running helper is.
inline constexpr const char* kRuntimeFolder = "/run/merohelper";

/// Opens such a folder, which is made with mode 0700 if it is missing. Its parent must exist. Any thread.
/// @param path  no slash at its end.
/// @return no descriptor, logged, if it can't be made, or if what is there is a link, no folder, somebody
/// else's, or open to others.
[[nodiscard]] FileDescriptor openPrivateFolder(const char* path);

/// The folder of one job, below a private folder. Any thread; used by one at a time.
class JobFolder {
public:
    /// Makes one under a random name.
    /// @param parent  path of a private folder, which must stay.
    /// @return nothing, logged, if that fails.
    [[nodiscard]] static std::optional<JobFolder> make(const std::string& parent);
    JobFolder(JobFolder&& other) noexcept;
    JobFolder& operator=(JobFolder&& other) noexcept;
    JobFolder(const JobFolder&) = delete;
    JobFolder& operator=(const JobFolder&) = delete;
    /// Removes the folder with all that is in it, as far as remove hasn't.
    ~JobFolder();

    /// Absolute path; empty for one that was moved from or removed.
    [[nodiscard]] const std::string& path() const { return m_path; }
    /// Path of an entry of that name.
    [[nodiscard]] std::string entry(const char* name) const { return m_path + "/" + name; }
    /// @return whether all of it has gone; logged if not.
    bool remove();

private:
    explicit JobFolder(std::string path) : m_path(std::move(path)) {}
    void discard() noexcept;

    std::string m_path;
};
