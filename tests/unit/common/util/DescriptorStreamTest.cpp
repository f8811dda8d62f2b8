#include "Common/Utility/files/DescriptorStream.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <iomanip>
#include <sys/time.h>
#include <thread>

using ::testing::IsEmpty;

/// A stream that writes straight to a descriptor.
class DescriptorStreamTest : public Sandbox {
protected:
    [[nodiscard]] FileDescriptor file(int flags = 0) const {
        FileDescriptor opened(
            ::open(path("out").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | flags, 0600));
        EXPECT_TRUE(opened);
        return opened;
    }
    [[nodiscard]] std::string written() const { return readFile("out"); }

    /// The ends of a pipe: reading first.
    static std::array<FileDescriptor, 2> makePipe(int flags = 0) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | flags), 0);
        return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    }

    CapturedLog m_log;
};

TEST_F(DescriptorStreamTest, WritesAtOnce) {
    DescriptorStream stream(file());
    EXPECT_EQ(written(), "");
    stream << "text";
    EXPECT_EQ(written(), "text");
    stream << '\n';
    EXPECT_EQ(written(), "text\n");
    EXPECT_TRUE(stream.good());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(DescriptorStreamTest, KeepsTheBytesAsTheyAre) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<char>(byte));
    }
    DescriptorStream stream(file());
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    for (const char byte : bytes) {
        stream.put(byte);
    }
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(written(), bytes + bytes);
}

TEST_F(DescriptorStreamTest, FormatsAsAnyStream) {
    DescriptorStream stream(file());
    stream << std::setw(6) << std::setfill('.') << 42 << std::hex << std::uppercase << 255 << std::endl;
    EXPECT_EQ(written(), "....42FF\n");
    EXPECT_TRUE(stream.good());
}

TEST_F(DescriptorStreamTest, HasNothingToDoForNoBytes) {
    DescriptorStream stream(file());
    stream.write("", 0);
    stream << std::string() << std::flush;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(written(), "");
}

TEST_F(DescriptorStreamTest, WritesMuchAtATime) {
    const std::string much(5'000'000, 'x');
    DescriptorStream stream(file());
    stream << much;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(written(), much);
}

TEST_F(DescriptorStreamTest, GoesOnWhereAPipeTookAPart) {
    auto [reading, writing] = makePipe();
    const std::string much(1'000'000, 'y');
    std::string read;
    std::thread reader([&read, fd = reading.get()] {
        std::array<char, 777> block{};
        for (ssize_t got = 1; got > 0;) {
            got = ::read(fd, block.data(), block.size());
            read.append(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
    });
    {
        DescriptorStream stream(std::move(writing));
        stream << much;
        EXPECT_TRUE(stream.good());
    }
    reader.join();
    EXPECT_EQ(read, much);
}

TEST_F(DescriptorStreamTest, GoesOnAfterASignal) {
    // A handler without SA_RESTART, called each millisecond while the pipe is full.
    struct sigaction noting {};
    struct sigaction former {};
    static volatile std::sig_atomic_t signals = 0;
    noting.sa_handler = [](int) { signals = signals + 1; };
    ASSERT_EQ(::sigaction(SIGALRM, &noting, &former), 0);
    auto [reading, writing] = makePipe();
    const std::string much(500'000, 'z');
    std::string read;
    sigset_t alarm;
    ::sigemptyset(&alarm);
    ::sigaddset(&alarm, SIGALRM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &alarm, nullptr), 0);
    std::thread reader([&read, fd = reading.get()] {
        std::array<char, 4096> block{};
        for (ssize_t got = 1; got > 0;) {
            while (signals < 3) {
                std::this_thread::yield();
            }
            got = ::read(fd, block.data(), block.size());
            read.append(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
    });
    ASSERT_EQ(::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr), 0);
    const itimerval each{{0, 1000}, {0, 1000}};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &each, nullptr), 0);
    {
        DescriptorStream stream(std::move(writing));
        stream << much;
        EXPECT_TRUE(stream.good());
    }
    const itimerval never{};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
    reader.join();
    ::sigaction(SIGALRM, &former, nullptr);
    EXPECT_EQ(read, much);
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(DescriptorStreamTest, HasFailedFromTheStartWithoutAFile) {
    DescriptorStream stream((FileDescriptor()));
    EXPECT_FALSE(stream);
    stream << "text" << std::endl;
    stream.put('x');
    EXPECT_TRUE(stream.bad());
    EXPECT_THAT(m_log.lines(), IsEmpty()) << "whoever could not open the file has logged it";
}

TEST_F(DescriptorStreamTest, FailsOnAFullDiskAndLogsThatOnce) {
    DescriptorStream stream(FileDescriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC)));
    EXPECT_TRUE(stream.good());
    stream << "text";
    EXPECT_TRUE(stream.bad());
    stream << "more" << 42 << std::endl;
    stream.write("again", 5);
    EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", ENOSPC)) << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 1u) << m_log.dump();
}

TEST_F(DescriptorStreamTest, FailsOnAFullDiskForASingleByte) {
    DescriptorStream stream(FileDescriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC)));
    stream.put('x');
    EXPECT_TRUE(stream.bad());
    EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", ENOSPC)) << m_log.dump();
}

TEST_F(DescriptorStreamTest, KeepsWhatFitsOnAFullDisk) {
    withFileSizeLimit(1000, [this] {
        DescriptorStream stream(file());
        stream << std::string(600, 'a');
        EXPECT_TRUE(stream.good());
        stream << std::string(600, 'b');
        EXPECT_TRUE(stream.bad());
        EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", EFBIG)) << m_log.dump();
        EXPECT_EQ(written().size(), 1000u);
    });
}

TEST_F(DescriptorStreamTest, FailsOnADescriptorThatIsNotForWriting) {
    writeFile("in", "text");
    DescriptorStream stream(FileDescriptor(::open(path("in").c_str(), O_RDONLY | O_CLOEXEC)));
    stream << "more";
    EXPECT_TRUE(stream.bad());
    EXPECT_TRUE(m_log.containsCode('E', "xsputn", "write", EBADF)) << m_log.dump();
    EXPECT_EQ(readFile("in"), "text");
}

TEST_F(DescriptorStreamTest, ClosesItsDescriptorAtItsEnd) {
    FileDescriptor opened = file();
    const int number = opened.get();
    {
        const DescriptorStream stream(std::move(opened));
        EXPECT_NE(::fcntl(number, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
    EXPECT_EQ(errno, EBADF);
}
