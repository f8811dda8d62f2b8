#include "Common/Utility/files/DescriptorStream.h"

#include "Common/Utility/files/WholeWrite.h"
#include "Common/Utility/log/Log.h"

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
    if (const int error = writeWhole(m_file.get(), bytes, static_cast<std::size_t>(count)); error != 0) {
        ZRN_LOG_CODE('E', "write", error);
        return 0; // how much of it was written plays no part in a stream that has failed
    }
    return count;
}
