#include "Common/Utility/process/CommandShell.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Processes.h"
#include "tests/unit/common/ipc/HeapLimit.h"
#include "tests/unit/common/ipc/ProcessTest.h"

#include <gtest/gtest.h>
#include <list>
#include <ostream>
#include <streambuf>

namespace {

using CommandShellMemory = ProcessTest;

constexpr std::size_t kMegabyte = std::size_t{1} << 20U;

TEST_F(CommandShellMemory, RunsOutForAStringAndEndsTheCommand) {
    const CapturedLog log;
    const std::size_t before = openDescriptors();
    std::string output;
    {
        const HeapLimit limit(kMegabyte);
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
        const HeapLimit limit(kMegabyte);
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
    const HeapLimit limit(kMegabyte);
    ASSERT_EQ(CCommandShell(childCommand("print 67108864").c_str()).Execute(stream), 0U);
    EXPECT_EQ(buffer.m_count, 64 * kMegabyte);
    EXPECT_LT(peakMemoryBytes() - before, 4 * kMegabyte);
}

} // namespace
