#include "Common/Utility/process/StartReport.h"

#include "Common/Utility/process/OutputPipe.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

int StartReport::open() {
    return openOutputPipe(m_reader, m_writer);
}

void StartReport::fail(int error, int status) noexcept {
    // Where the parent has gone there is nobody to tell.
    [[maybe_unused]] const ssize_t written = ::write(m_writer.get(), &error, sizeof(error));
    ::_exit(status);
}

int StartReport::wait() noexcept {
    m_writer.reset();
    int error = 0;
    ssize_t length = -1;
    do {
        pollfd watched{m_reader.get(), POLLIN, 0};
        // Whatever it gives: reading shows whether there is something.
        static_cast<void>(::poll(&watched, 1, -1));
        length = ::read(m_reader.get(), &error, sizeof(error));
    } while (length < 0 && (errno == EINTR || errno == EAGAIN));
    m_reader.reset();
    return length == sizeof(error) ? error : 0;
}
