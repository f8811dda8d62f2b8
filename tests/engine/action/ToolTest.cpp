#include "tests/engine/action/ToolTest.h"

#include "Common/Utility/memory/Handles.h"
#include "tests/support/InChild.h"
#include "tests/support/Processes.h"
#include "tools/MERO/MEROEngine/implementations/Progress.h"

#include <array>
#include <unistd.h>

namespace {
constexpr const char* kAsterisks =
    "***************************************************************************";
}

ToolTest::ToolTest() : m_runner(m_info) {
    makeFolder("bundle");
    g_configCount = 2;
    g_configsDone = 2;
}

std::string ToolTest::tool(const std::string& name, const std::string& script) const {
    return writeTool(path("tools/" + name), script);
}

std::string ToolTest::argumentsTool(const std::string& name) const {
    return tool(name, "{ echo $#; for argument; do printf '[%s]\\n' \"$argument\"; done; } >arguments");
}

std::string ToolTest::banner(const std::string& commandLine) {
    return std::string("\n\r") + kAsterisks + "\n\"" + commandLine + "\" output:\n" + kAsterisks + "\n\r\n";
}

uint32_t ToolTest::capture(const std::string& commandLine, const std::string& folder) {
    return m_runner.callExtern(folder, commandLine, true, path("bundle/out.txt"));
}

uint32_t ToolTest::launch(const std::string& commandLine, const std::string& folder) {
    return m_runner.callExtern(folder, commandLine, false, {});
}

void ToolTest::withSilentInput(const std::function<void()>& body) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor reading(ends[0]);
    const FileDescriptor writing(ends[1]);
    const FileDescriptor former(::dup(STDIN_FILENO));
    ASSERT_EQ(::dup2(reading.get(), STDIN_FILENO), STDIN_FILENO);
    body();
    if (former) {
        ::dup2(former.get(), STDIN_FILENO);
    } else {
        ::close(STDIN_FILENO);
    }
}

void withoutNewProcesses(const std::function<void()>& checks) {
    inChild([&checks] {
        if (runsAsRoot()) {
            constexpr uid_t kNobody = 65534;
            ASSERT_EQ(::setresuid(kNobody, kNobody, kNobody), 0);
        }
        const rlimit none{0, 0};
        ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
        checks();
    });
}
