#include "Common/Utility/process/OutputPipe.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

int openOutputPipe(FileDescriptor& readerOut, FileDescriptor& writerOut) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    // The child's end is not affected: the two ends have flags of their own.
    if (::fcntl(reader.get(), F_SETFL, O_NONBLOCK) != 0) {
        return errno;
    }
    readerOut = std::move(reader);
    writerOut = std::move(writer);
    return 0;
}
