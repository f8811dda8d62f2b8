#pragma once

#include <memory>
#include <minizip/unzip.h>
#include <minizip/zip.h>

/// Closes an archive and with it an entry that is still open.
struct ZipFileCloser {
    void operator()(void* archive) const noexcept { static_cast<void>(zipClose(archive, nullptr)); }
};

/// An archive open for writing. An archive is only complete when zipClose has said so: release() it and close
/// it by hand.
using ZipFileHandle = std::unique_ptr<void, ZipFileCloser>;

/// Closes an archive that is being read, and with it an entry that is still open.
struct UnzipFileCloser {
    void operator()(void* archive) const noexcept { static_cast<void>(unzClose(archive)); }
};

/// An archive open for reading.
using UnzipFileHandle = std::unique_ptr<void, UnzipFileCloser>;
