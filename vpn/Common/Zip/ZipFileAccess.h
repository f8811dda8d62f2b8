#pragma once

#include "Common/Zip/ZipHandles.h"

#include <array>
#include <cstdint>
#include <minizip/ioapi.h>
#include <span>

/// How the library reaches a file: by a descriptor, at places that are counted here and never asked of the
/// system, so that no call but the writing and reading itself can fail. One thread.

/// An archive that is being written.
class ZipOutput {
public:
    /// @param file  open for writing, empty; must stay open as long as the archive is.
    explicit ZipOutput(int file) : m_file(file) {}

    /// For zipOpen2_64; refers to this object, which must not move.
    [[nodiscard]] zlib_filefunc64_def functions();

private:
    static uLong write(voidpf self, voidpf stream, const void* bytes, uLong size);
    static ZPOS64_T tell(voidpf self, voidpf stream);
    static long seek(voidpf self, voidpf stream, ZPOS64_T offset, int origin);
    static int finish(voidpf self, voidpf stream);
    static int error(voidpf self, voidpf stream);

    [[nodiscard]] bool put(std::span<const unsigned char> bytes);
    [[nodiscard]] bool flush();

    int m_file;
    uint64_t m_position = 0;
    uint64_t m_endBytes = 0;
    /// Where the buffer's bytes belong.
    uint64_t m_bufferPosition = 0;
    size_t m_bufferedBytes = 0;
    bool m_hasFailed = false;
    std::array<unsigned char, 16384> m_buffer;
};

/// An archive that is being read.
class ZipInput {
public:
    /// @param file  open for reading; must stay open as long as the archive is.
    explicit ZipInput(int file) : m_file(file) {}

    /// Opens the archive, which refers to this object: it must not move.
    /// @param function  in whose name a failure is logged.
    /// @return null, logged, if the file can't be looked at or is no archive.
    [[nodiscard]] UnzipFileHandle open(const char* function);

private:
    static uLong read(voidpf self, voidpf stream, void* bytes, uLong size);
    static ZPOS64_T tell(voidpf self, voidpf stream);
    static long seek(voidpf self, voidpf stream, ZPOS64_T offset, int origin);
    static int error(voidpf self, voidpf stream);

    [[nodiscard]] bool fill();

    int m_file;
    uint64_t m_sizeBytes = 0;
    uint64_t m_position = 0;
    uint64_t m_bufferPosition = 0;
    size_t m_bufferedBytes = 0;
    bool m_hasFailed = false;
    std::array<unsigned char, 16384> m_buffer;
};
