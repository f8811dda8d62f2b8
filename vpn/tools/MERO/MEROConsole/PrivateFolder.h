#pragma once

#include "Common/Utility/process/CleanUp.h"

#include <optional>
#include <string>

/// A folder below /tmp for its maker alone, under a name that nobody else has. It goes with this object,
/// or when the process is ended by force, with all that is in it; if it can't, standard error says so.
class PrivateFolder {
public:
    PrivateFolder() = default;
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    /// Makes the folder, once. @return 0 or an errno.
    [[nodiscard]] int make();
    /// Its path; empty if there is none.
    [[nodiscard]] const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::optional<CleanUp> m_cleanUp;
};
