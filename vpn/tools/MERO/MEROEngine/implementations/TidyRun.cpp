#include "tools/MERO/MEROEngine/implementations/TidyRun.h"

#include "Common/Utility/files/HiddenFiles.h"
#include "Common/Utility/process/ChildSetup.h"
#include "Common/Utility/process/CleanUp.h"
#include "Common/Utility/process/Descendants.h"
#include "Common/Utility/process/StopRequest.h"
#include "tools/MERO/MEROEngine/implementations/RunFolder.h"

#include <chrono>
#include <exception>
#include <memory>
#include <mutex>

namespace {

/// For tools that wait for a device or a file system.
constexpr std::chrono::seconds kEndLimit{1};

/// Of two at once, one could kill a number that the other has just let go.
std::mutex g_end;

void endAllStarted() noexcept {
    try {
        const std::lock_guard<std::mutex> guard(g_end);
        // A tool that has ended makes its thread go on to the next.
        forbidChildren();
        endDescendants(kEndLimit);
    } catch (const std::exception&) {
        // There is no memory even for a list of them. Ending is all that is left.
        return;
    }
}

} // namespace

uint32_t runTidily(MEROEngine& engine, FolderAfterRun folderAfterRun, std::string* keptPathOut) {
    const std::shared_ptr<RunFolder> folder = engine.runFolder();
    if (folderAfterRun == FolderAfterRun::Kept) {
        folder->keep();
    }
    const CleanUp cleanUp([folder] { folder->remove(); });
    const uint32_t code = engine.run();
    if (isStopRequested()) {
        endAllStarted();
    }
    // What can't go is in the log; the run's outcome is the same. Once more, for what was at a limit.
    const bool isGone = folder->remove() || folder->remove();
    if (keptPathOut != nullptr && (folder->isKept() || !isGone)) {
        *keptPathOut = folder->path();
    }
    return code;
}

void endRunsByForce() noexcept {
    requestStop();
    endAllStarted();
    removeHiddenFiles();
    runCleanUps();
}
