#include "Common/Utility/process/OutputPipe.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

int openPipe(FileDescriptor& readerOut, FileDescriptor& writerOut) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    readerOut.reset(ends[0]);
    writerOut.reset(ends[1]);
    return 0;
}

int openOutputPipe(FileDescriptor& readerOut, FileDescriptor& writerOut) {
    FileDescriptor reader;
    FileDescriptor writer;
    if (const int error = openPipe(reader, writer); error != 0) {
        return error;
    }
    // The child's end is not affected: the two ends have flags of their own.
    if (::fcntl(reader.get(), F_SETFL, O_NONBLOCK) != 0) {
        return errno;
    }
    readerOut = std::move(reader);
    writerOut = std::move(writer);
    return 0;
}
