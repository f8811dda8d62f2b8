#pragma once

#include "Common/Utility/memory/Handles.h"

/// Makes a pipe. Both ends are closed by exec, and block.
/// @param readerOut  set on success only, as the other.
/// @return 0 or an errno.
[[nodiscard]] int openPipe(FileDescriptor& readerOut, FileDescriptor& writerOut);

/// Makes the pipe from a child to its parent. Both ends are closed by exec.
/// @param readerOut  the parent's end, which doesn't block. Set on success only, as the other.
/// @param writerOut  the child's end, which does.
/// @return 0 or an errno.
[[nodiscard]] int openOutputPipe(FileDescriptor& readerOut, FileDescriptor& writerOut);
