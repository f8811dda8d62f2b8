#pragma once

#include "Common/Utility/memory/Handles.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

/// Sends the process's standard output into a file of its own for as long as the object lives.
class RedirectedStdout {
public:
    RedirectedStdout() : m_file(std::tmpfile()), m_former(::dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        EXPECT_NE(m_file, nullptr);
        EXPECT_GE(::dup2(::fileno(m_file.get()), STDOUT_FILENO), 0);
    }
    ~RedirectedStdout() {
        std::fflush(stdout);
        EXPECT_GE(::dup2(m_former.get(), STDOUT_FILENO), 0);
    }
    RedirectedStdout(const RedirectedStdout&) = delete;
    RedirectedStdout& operator=(const RedirectedStdout&) = delete;

    /// What has reached the file so far; bytes that wait in the stream's buffer don't count.
    [[nodiscard]] std::string output() const {
        std::string all;
        std::array<char, 4096> piece{};
        ssize_t count = 0;
        while ((count = ::pread(::fileno(m_file.get()), piece.data(), piece.size(),
                                static_cast<off_t>(all.size()))) > 0) {
            all.append(piece.data(), static_cast<std::size_t>(count));
        }
        EXPECT_EQ(count, 0);
        return all;
    }

private:
    FileHandle m_file;
    FileDescriptor m_former;
};
