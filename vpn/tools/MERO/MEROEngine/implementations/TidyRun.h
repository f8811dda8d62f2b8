#pragma once

#include "tools/MERO/MEROEngine/implementations/MEROEngine.h"

#include <cstdint>

/// Whether the working folder of a run stays behind it.
enum class FolderAfterRun { Removed, Kept };

/// What every front starts an engine by: runs it and removes afterwards what the run has left below /tmp,
/// whatever its outcome. After a stop request it ends everything that this process has started first, and no
/// more can be started then.
/// @param keptPathOut  set to the path of a folder that stays, because it is to or because
/// it can't be removed.
/// @return the code of the run.
[[nodiscard]] uint32_t runTidily(MEROEngine& engine, FolderAfterRun folderAfterRun = FolderAfterRun::Removed,
                                 std::string* keptPathOut = nullptr);

/// The same end for those whose run doesn't come back: ends what was started, and removes what the runs of
/// this process leave, while they may still be at work. The process should end afterwards. May itself wait
/// for a file system that does not answer.
void endRunsByForce() noexcept;
