#pragma once

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <unistd.h>

/// A pipe of a test's own.
struct Pipe {
    FileDescriptor reader;
    FileDescriptor writer;

    /// @param roomBytes  what it is to hold; 0 leaves it to the system.
    explicit Pipe(int roomBytes = 0) {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader.reset(ends[0]);
        writer.reset(ends[1]);
        if (roomBytes > 0) {
            EXPECT_GE(::fcntl(writer.get(), F_SETPIPE_SZ, roomBytes), roomBytes);
        }
    }

    /// @return whether all bytes went in with one write.
    [[nodiscard]] bool put(std::string_view bytes) const {
        return ::write(writer.get(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }

    /// Closes the writing end and takes all that is in the pipe.
    [[nodiscard]] std::string drain() {
        writer.reset();
        std::string all;
        std::array<char, 65536> part{};
        ssize_t length = 0;
        while ((length = ::read(reader.get(), part.data(), part.size())) > 0) {
            all.append(part.data(), static_cast<std::size_t>(length));
        }
        return all;
    }
};
