#pragma once

#include "Common/Utility/memory/Handles.h"

#include <ostream>
#include <streambuf>

/// Writes straight to an open file, with no buffer in between. The first failed write, which is logged, puts
/// the stream into its failed state. Used by one thread.
class DescriptorStream final : public std::ostream {
public:
    /// @param file  without one, the stream has failed from the start.
    explicit DescriptorStream(FileDescriptor file);

private:
    class Buffer final : public std::streambuf {
    public:
        explicit Buffer(FileDescriptor file) : m_file(std::move(file)) {}
        [[nodiscard]] bool isOpen() const { return static_cast<bool>(m_file); }

    protected:
        int_type overflow(int_type byte) override;
        std::streamsize xsputn(const char* bytes, std::streamsize count) override;

    private:
        FileDescriptor m_file;
    };

    Buffer m_buffer;
};
