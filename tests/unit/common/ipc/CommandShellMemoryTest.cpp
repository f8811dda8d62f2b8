#include "CapturedLog.h"
#include "CommandShell.h"
#include "Processes.h"
#include "ProcessTest.h"
#include "ReturnCodes.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <list>
#include <new>
#include <ostream>
#include <streambuf>

namespace {

/// The largest block that the heap gives.
std::atomic<std::size_t> g_largestBlock = std::numeric_limits<std::size_t>::max();

/// Nothing larger than a megabyte can be allocated while the object lives.
class SmallHeap {
public:
    SmallHeap() { g_largestBlock = std::size_t{1} << 20U; }
    ~SmallHeap() { g_largestBlock = std::numeric_limits<std::size_t>::max(); }
    SmallHeap(const SmallHeap&) = delete;
    SmallHeap& operator=(const SmallHeap&) = delete;
};

} // namespace

// Kept whole, because the compiler sees no pair in the C functions of which only one half was inlined.
// NOLINTBEGIN(cppcoreguidelines-no-malloc,misc-new-delete-overloads): what such operators are made of
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const block = size > g_largestBlock ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc,misc-new-delete-overloads)

namespace {

using CommandShellMemory = ProcessTest;

constexpr std::size_t kMegabyte = std::size_t{1} << 20U;

TEST_F(CommandShellMemory, RunsOutForAStringAndEndsTheCommand) {
    const CapturedLog log;
    const std::size_t before = openDescriptors();
    std::string output;
    {
        const SmallHeap heap;
        EXPECT_EQ(CCommandShell("echo $$ > shell; exec yes").Execute(output), GLOBAL_ERROR_UNEXPECTED);
    }
    EXPECT_GT(output.size(), kMegabyte / 4); // what came before is kept
    EXPECT_EQ(output.substr(0, 4), "y\ny\n");
    EXPECT_EQ(processState(std::stoi(readFile("shell"))), '\0');
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(log.containsCode('E', "runCommandSafely", "runCommand", GLOBAL_ERROR_UNEXPECTED))
        << log.dump();
}

TEST_F(CommandShellMemory, RunsOutForALineAndEndsTheCommand) {
    const CapturedLog log;
    std::list<std::string> lines;
    {
        const SmallHeap heap;
        EXPECT_EQ(CCommandShell("echo first; echo $$ > shell; yes | tr -d '\\n'").Execute(lines),
                  GLOBAL_ERROR_UNEXPECTED);
    }
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines.front(), "first");
    EXPECT_EQ(processState(std::stoi(readFile("shell"))), '\0');
}

/// Counts bytes and drops them.
class CountingBuffer : public std::streambuf {
public:
    std::size_t m_count = 0;

protected:
    std::streamsize xsputn(const char* /*bytes*/, std::streamsize count) override {
        m_count += static_cast<std::size_t>(count);
        return count;
    }
};

TEST_F(CommandShellMemory, DoesNotGrowWithTheOutputToAStream) {
    CountingBuffer buffer;
    std::ostream stream(&buffer);
    ASSERT_EQ(CCommandShell(childCommand("print 1000000").c_str()).Execute(stream), 0U);
    EXPECT_EQ(buffer.m_count, 1000000U);
    const std::size_t before = peakMemoryBytes();
    buffer.m_count = 0;
    const SmallHeap heap;
    ASSERT_EQ(CCommandShell(childCommand("print 67108864").c_str()).Execute(stream), 0U);
    EXPECT_EQ(buffer.m_count, 64 * kMegabyte);
    EXPECT_LT(peakMemoryBytes() - before, 4 * kMegabyte);
}

} // namespace
