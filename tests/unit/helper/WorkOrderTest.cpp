#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/WorkOrder.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Pipe.h"
#include "tests/support/Sanitizers.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int kMebibyte = 1024 * 1024;
constexpr std::size_t kMostGroups = 65536;
constexpr std::size_t kNumberBytes = 4;

WorkOrder fullOrder() {
    return {.caller = {.user = 1000,
                       .group = 1001,
                       .groups = {1001, 27, 0xFFFFFFFE},
                       .name = "somebody",
                       .home = "/home/somebody"},
            .requestPath = "/var/cache/job/request.xml",
            .installPath = "/opt/install",
            .bundlePath = "/home/somebody/b\xC3\xBCndel \xFF.zip",
            .jobFolder = "/var/cache/job",
            .archivePath = "/var/cache/job/archive",
            .password = WipedString("s\xFF\ncret"),
            .space = {.mostBytes = 1ULL << 40U, .keptFreeBytes = (1ULL << 33U) + 1, .keptFreePercent = 7},
            .service = 4711};
}

void expectSame(const WorkOrder& order, const WorkOrder& expected) {
    EXPECT_EQ(order.caller.user, expected.caller.user);
    EXPECT_EQ(order.caller.group, expected.caller.group);
    EXPECT_EQ(order.caller.groups, expected.caller.groups);
    EXPECT_EQ(order.caller.name, expected.caller.name);
    EXPECT_EQ(order.caller.home, expected.caller.home);
    EXPECT_EQ(order.requestPath, expected.requestPath);
    EXPECT_EQ(order.installPath, expected.installPath);
    EXPECT_EQ(order.bundlePath, expected.bundlePath);
    EXPECT_EQ(order.jobFolder, expected.jobFolder);
    EXPECT_EQ(order.archivePath, expected.archivePath);
    EXPECT_EQ(order.password.view(), expected.password.view());
    EXPECT_EQ(order.space.mostBytes, expected.space.mostBytes);
    EXPECT_EQ(order.space.keptFreeBytes, expected.space.keptFreeBytes);
    EXPECT_EQ(order.space.keptFreePercent, expected.space.keptFreePercent);
    EXPECT_EQ(order.service, expected.service);
}

void expectPassed(const WorkOrder& order) {
    const CapturedLog log;
    Pipe pipe;
    ASSERT_TRUE(writeWorkOrder(pipe.writer.get(), order)) << log.dump();
    pipe.writer.reset();
    const std::optional<WorkOrder> passed = readWorkOrder(pipe.reader.get());
    ASSERT_TRUE(passed) << log.dump();
    expectSame(*passed, order);
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

std::string bytesOf(const WorkOrder& order) {
    Pipe pipe(kMebibyte);
    EXPECT_TRUE(writeWorkOrder(pipe.writer.get(), order));
    return pipe.drain();
}

/// What is read from these bytes; fails the test if nothing is and the log doesn't say so.
std::optional<WorkOrder> readFrom(const std::string& bytes) {
    const CapturedLog log;
    Pipe pipe(kMebibyte);
    EXPECT_TRUE(pipe.put(bytes));
    pipe.writer.reset();
    std::optional<WorkOrder> order = readWorkOrder(pipe.reader.get());
    EXPECT_EQ(log.count('E', ""), order ? 0 : 1) << log.dump();
    return order;
}

std::string withNumber(std::string bytes, std::size_t at, uint32_t number) {
    std::memcpy(bytes.data() + at, &number, sizeof number);
    return bytes;
}

WorkOrder orderOfGroups(std::size_t count) {
    WorkOrder order = fullOrder();
    order.caller.groups.resize(count);
    std::iota(order.caller.groups.begin(), order.caller.groups.end(), 0U);
    return order;
}

/// Looks for bytes in the private memory of this process; its own buffer is shared memory.
class MemorySearch {
public:
    /// @param shifted  the bytes looked for, each less one: so they don't stand in memory because of this.
    explicit MemorySearch(std::string shifted) : m_shifted(std::move(shifted)) {}

    [[nodiscard]] int count() const {
        std::ifstream areas("/proc/self/maps");
        std::string area;
        int found = 0;
        while (std::getline(areas, area)) {
            std::istringstream fields(area);
            uint64_t start = 0;
            uint64_t end = 0;
            char dash = 0;
            std::string rights;
            fields >> std::hex >> start >> dash >> end >> rights;
            found += rights == "rw-p" ? countBetween(start, end) : 0;
        }
        return found;
    }

private:
    static constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;
    struct Unmap {
        void operator()(char* buffer) const { static_cast<void>(::munmap(buffer, kBufferBytes)); }
    };

    [[nodiscard]] int countBetween(uint64_t start, uint64_t end) const {
        int found = 0;
        // Each look starts with the end of the one before, which may hold the first of the bytes.
        for (uint64_t at = start; at < end; at += kBufferBytes - m_shifted.size() + 1) {
            const ssize_t size = ::pread(m_memory.get(), m_buffer.get(),
                                         std::min<uint64_t>(kBufferBytes, end - at), static_cast<off_t>(at));
            found += countIn({m_buffer.get(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))});
        }
        return found;
    }

    [[nodiscard]] int countIn(std::string_view bytes) const {
        const auto isShifted = [](char byte, char shifted) { return byte == static_cast<char>(shifted + 1); };
        int found = 0;
        auto next = bytes.begin();
        while ((next = std::search(next, bytes.end(), m_shifted.begin(), m_shifted.end(), isShifted)) !=
               bytes.end()) {
            ++found;
            ++next;
        }
        return found;
    }

    std::string m_shifted;
    FileDescriptor m_memory{::open("/proc/self/mem", O_RDONLY | O_CLOEXEC)};
    std::unique_ptr<char, Unmap> m_buffer{static_cast<char*>(
        ::mmap(nullptr, kBufferBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))};
};

TEST(WorkOrder, PassesEveryPart) {
    expectPassed(fullOrder());
}

TEST(WorkOrder, PassesEmptyParts) {
    expectPassed({});
}

TEST(WorkOrder, PassesTheLongestArguments) {
    WorkOrder order = fullOrder();
    for (std::string* text : {&order.requestPath, &order.installPath, &order.bundlePath, &order.jobFolder,
                              &order.archivePath, &order.caller.home, &order.caller.name}) {
        *text = std::string(4096, 'x');
    }
    order.password = std::string(4096, 'y');
    expectPassed(order);
}

TEST(WorkOrder, PassesAUserOfAllGroupsThoughNobodyReadsYet) {
    expectPassed(orderOfGroups(kMostGroups));
}

TEST(WorkOrder, WritesNothingOfAnOrderThatIsTooLarge) {
    const CapturedLog log;
    Pipe pipe;
    EXPECT_FALSE(writeWorkOrder(pipe.writer.get(), orderOfGroups(kLargestWorkOrderBytes / kNumberBytes)));
    EXPECT_TRUE(log.contains('E', "too large")) << log.dump();
    EXPECT_EQ(pipe.drain(), "");
}

TEST(WorkOrder, TakesTheLargestOrderAndNoByteMore) {
    WorkOrder order = fullOrder();
    order.requestPath.append(kLargestWorkOrderBytes - bytesOf(order).size(), 'x');
    const std::string bytes = bytesOf(order);
    EXPECT_EQ(bytes.size(), kLargestWorkOrderBytes);
    EXPECT_TRUE(readFrom(bytes));
    order.requestPath.push_back('x');
    const Pipe pipe(kMebibyte);
    EXPECT_FALSE(writeWorkOrder(pipe.writer.get(), order));
}

TEST(WorkOrder, ReadsNoMoreThanTheLargestOrder) {
    // From a stream without an end.
    const CapturedLog log;
    const FileDescriptor endless(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(readWorkOrder(endless.get()));
    EXPECT_TRUE(log.contains('E', "too large")) << log.dump();
}

TEST(WorkOrder, DoesNotWaitForAPipeThatGetsNoRoom) {
    constexpr uid_t kUserOfNothingElse = 60123;
    constexpr std::size_t kMostPipes = 400;
    std::size_t pages = 0;
    std::ifstream("/proc/sys/fs/pipe-user-pages-soft") >> pages;
    if (pages == 0 || pages > 16384) {
        GTEST_SKIP() << "a user's pipes may hold anything here";
    }
    inChild([] {
        if (runsAsRoot()) {
            ASSERT_EQ(::setuid(kUserOfNothingElse), 0);
        }
        // Each order needs room, until a user's pipes hold all that they may.
        std::vector<Pipe> pipes;
        const WorkOrder order = orderOfGroups(kMostGroups);
        const CapturedLog log;
        while (pipes.size() < kMostPipes && log.lines().empty()) {
            pipes.emplace_back();
            const bool written = writeWorkOrder(pipes.back().writer.get(), order);
            ASSERT_EQ(written, log.lines().empty());
        }
        EXPECT_TRUE(log.containsCode('E', "makeRoom", "fcntl", EPERM)) << log.dump();
        EXPECT_EQ(pipes.back().drain(), "");
    });
}

TEST(WorkOrder, IsWrittenToAPipeOnly) {
    const CapturedLog log;
    const FileDescriptor file(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(writeWorkOrder(file.get(), fullOrder()));
    EXPECT_FALSE(writeWorkOrder(-1, fullOrder()));
    EXPECT_EQ(log.count('E', "fcntl"), 2) << log.dump();
}

TEST(WorkOrder, TheEndThatCannotBeWrittenIsLogged) {
    const CapturedLog log;
    const Pipe pipe;
    EXPECT_FALSE(writeWorkOrder(pipe.reader.get(), fullOrder()));
    EXPECT_TRUE(log.containsCode('E', "writeWorkOrder", "write", EBADF)) << log.dump();
}

TEST(WorkOrder, TheEndThatCannotBeReadIsLogged) {
    const CapturedLog log;
    const Pipe pipe;
    EXPECT_FALSE(readWorkOrder(pipe.writer.get()));
    EXPECT_TRUE(log.containsCode('E', "readToEnd", "read", EBADF)) << log.dump();
}

TEST(WorkOrder, ComesInAnyPortions) {
    const std::string bytes = bytesOf(fullOrder());
    Pipe pipe;
    std::thread writer([&pipe, &bytes] {
        for (const char byte : bytes) {
            EXPECT_TRUE(pipe.put({&byte, 1}));
        }
        pipe.writer.reset();
    });
    const std::optional<WorkOrder> order = readWorkOrder(pipe.reader.get());
    writer.join();
    ASSERT_TRUE(order);
    expectSame(*order, fullOrder());
}

TEST(WorkOrder, IsNoneWithAnyEndMissing) {
    const std::string bytes = bytesOf(fullOrder());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_FALSE(readFrom(bytes.substr(0, size))) << size;
    }
}

TEST(WorkOrder, IsNoneWithAnythingBehindIt) {
    const std::string bytes = bytesOf(fullOrder());
    EXPECT_FALSE(readFrom(bytes + '\0'));
    EXPECT_FALSE(readFrom(bytes + bytes));
}

TEST(WorkOrder, IsNoneWithoutItsMark) {
    EXPECT_FALSE(readFrom(withNumber(bytesOf(fullOrder()), 0, 0)));
    EXPECT_FALSE(readFrom(std::string(52, '\0'))); // as long as an order of empty parts
}

TEST(WorkOrder, TrustsNoLength) {
    // A length or count in any place, among them those at which a size would run over.
    const std::string bytes = bytesOf(fullOrder());
    for (std::size_t at = 3 * kNumberBytes; at + kNumberBytes <= bytes.size(); at += kNumberBytes) {
        for (const uint32_t number : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 0x40000000U, 0x3FFFFFFFU}) {
            const std::optional<WorkOrder> order = readFrom(withNumber(bytes, at, number));
            // Some of these places belong to a group, a text or the last number, where any value will do.
            EXPECT_TRUE(!order || order->caller.groups.size() == 3U) << at;
        }
    }
    EXPECT_FALSE(readFrom(withNumber(bytes, 3 * kNumberBytes, 0x40000003)));
}

TEST(WorkOrder, IsNoneWithANulByteInAText) {
    for (std::string WorkOrder::*text : {&WorkOrder::requestPath, &WorkOrder::bundlePath}) {
        WorkOrder order = fullOrder();
        (order.*text)[3] = '\0';
        EXPECT_FALSE(readFrom(bytesOf(order)));
    }
    WorkOrder order = fullOrder();
    order.password = std::string_view("a\0b", 3);
    EXPECT_FALSE(readFrom(bytesOf(order)));
}

TEST(WorkOrder, LeavesNoPasswordInMemory) {
    if (kAddressSanitizer) {
        GTEST_SKIP() << "the sanitizer's allocator can't be told to keep its memory in view";
    }
    // No memory is given back to the system, where it could not be looked at.
    ASSERT_EQ(::mallopt(M_MMAP_THRESHOLD, 16 * kMebibyte), 1);
    ASSERT_EQ(::mallopt(M_TRIM_THRESHOLD, 256 * kMebibyte), 1);
    const std::string shifted = "Sgdqd`qdmnlnqdrdbqdsrsg`msg`snmd";
    const MemorySearch memory(shifted);
    {
        WorkOrder order = fullOrder();
        for (const char c : shifted) {
            order.password.push_back(static_cast<char>(c + 1));
        }
        EXPECT_EQ(memory.count(), 1);
        Pipe pipe;
        ASSERT_TRUE(writeWorkOrder(pipe.writer.get(), order));
        EXPECT_EQ(memory.count(), 1);
        pipe.writer.reset();
        const std::optional<WorkOrder> passed = readWorkOrder(pipe.reader.get());
        ASSERT_TRUE(passed);
        EXPECT_EQ(passed->password.view(), order.password.view());
        EXPECT_EQ(memory.count(), 2);
    }
    EXPECT_EQ(memory.count(), 0);
}

} // namespace
