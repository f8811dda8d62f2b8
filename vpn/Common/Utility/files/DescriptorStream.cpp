#include "Common/Utility/files/DescriptorStream.h"

#include "Common/Utility/log/Log.h"

#include <cerrno>
#include <unistd.h>

// A stream without a buffer is in its failed state.
DescriptorStream::DescriptorStream(FileDescriptor file) : std::ostream(nullptr), m_buffer(std::move(file)) {
    if (m_buffer.isOpen()) {
        rdbuf(&m_buffer);
    }
}

DescriptorStream::Buffer::int_type DescriptorStream::Buffer::overflow(int_type byte) {
    if (traits_type::eq_int_type(byte, traits_type::eof())) {
        return traits_type::not_eof(byte);
    }
    const char single = traits_type::to_char_type(byte);
    return xsputn(&single, 1) == 1 ? byte : traits_type::eof();
}

std::streamsize DescriptorStream::Buffer::xsputn(const char* bytes, std::streamsize count) {
    std::streamsize written = 0;
    while (written < count) {
        const ssize_t now = ::write(m_file.get(), bytes + written, static_cast<std::size_t>(count - written));
        if (now < 0 && errno != EINTR) {
            ZRN_LOG_ERRNO('E', "write");
            break;
        }
        written += now > 0 ? now : 0;
    }
    return written;
}
