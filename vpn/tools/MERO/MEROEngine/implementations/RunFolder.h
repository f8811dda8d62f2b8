#pragma once

#include "Common/Utility/memory/Handles.h"
#include "Common/Utility/threads/Mutex.h"

#include <string>

/// The working folder of one run as whoever has started the run sees it. The engine leaves a folder with
/// sub-folders behind; who has asked for this before the run can remove the rest. It keeps the run's lock for
/// as long as it lives, so that nobody else takes the folder for a left-over one. Any thread.
class RunFolder {
public:
    RunFolder() = default;
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;

    /// Has the run leave the folder as it is, instead of deleting the files that are directly in it. Before
    /// the run.
    void keep();
    [[nodiscard]] bool isKept() const;
    /// Path of the folder that the run has made; empty if it hasn't come to that.
    [[nodiscard]] std::string path() const;
    /// Removes the folder with all that is in it, unless it is kept: no link is followed, and what is not the
    /// very folder that the run has made and locked is left alone.
    /// @return whether nothing is left that should go; logged if not.
    bool remove();

private:
    friend class WorkingFolder;
    /// Takes the folder over that the run has made.
    void take(const std::string& path, FileDescriptor lock);
    /// The open folder; -1 if there is none.
    [[nodiscard]] int descriptor() const;

    mutable Mutex m_lock;
    bool m_isKept ZRN_GUARDED_BY(m_lock) = false;
    std::string m_path ZRN_GUARDED_BY(m_lock);
    /// The folder, open and locked.
    FileDescriptor m_folder ZRN_GUARDED_BY(m_lock);
};
