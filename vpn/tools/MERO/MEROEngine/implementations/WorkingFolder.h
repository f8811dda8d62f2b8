#pragma once

#include "tools/MERO/MEROEngine/implementations/RunFolder.h"

#include <cstdint>
#include <memory>
#include <string>

/// The folder in which one run builds its bundle. Its parent is writable by everybody, so what already lies
/// under the name is never trusted: only a real folder of our effective user is ever emptied or used, links
/// are not followed, and a folder that another run holds is left alone. A run holds its folder by a lock on
/// it until remove, and as long as others share it. Used by one thread.
class WorkingFolder {
public:
    /// @param plainPath  the name without a suffix. Nothing is touched yet.
    explicit WorkingFolder(std::string plainPath);

    /// Deletes what an ended run left under the plain name, as far as fileDeleteDirectory goes.
    /// @return its code: so MEROENGINE_ERROR_ACCESS_DENIED when there is nothing, and
    /// MEROENGINE_ERROR_UNEXPECTED for what must not be touched: a link, a plain file, another user's folder
    /// or a folder in use.
    [[nodiscard]] uint32_t removeLeftOver() const;
    /// Makes and locks the folder, with mode 0700. A name that is taken gives way to one with a suffix of
    /// time and number, as in "/tmp/MERO_Temp_Bundle__1114_1753_48213".
    /// @param withSuffix  take such a name from the start.
    /// @return 0 or MEROENGINE_ERROR_ACCESS_DENIED.
    [[nodiscard]] uint32_t claim(bool withSuffix);
    /// Deletes the folder as far as fileDeleteDirectory goes, unless it is kept, and lets go of the claim.
    /// Without a claim it is the left-over folder that goes. The outcome is in the log only: a folder with
    /// sub-folders stays.
    void remove();

    /// The claimed folder; the plain name before a claim.
    [[nodiscard]] const std::string& path() const { return m_path; }
    /// What is claimed, for those who want to look after it beyond remove. Null from then on.
    [[nodiscard]] const std::shared_ptr<RunFolder>& shared() const { return m_claimed; }

private:
    enum class Outcome { Claimed, Taken, Refused };
    [[nodiscard]] Outcome claimName(const std::string& path);

    std::string m_plainPath;
    std::string m_path;
    /// Holds the folder from the claim on.
    std::shared_ptr<RunFolder> m_claimed = std::make_shared<RunFolder>();
};
