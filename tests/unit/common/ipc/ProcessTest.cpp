#include "tests/unit/common/ipc/ProcessTest.h"

#include "tests/support/Processes.h"

#include <algorithm>
#include <csignal>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr uint32_t kWaitLimitMs = 60000;
/// In a range that no distribution gives to anybody; the process id makes it different for each test.
constexpr uid_t kFirstLonelyUser = 1'500'000'000;

} // namespace

Report::Report(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const std::size_t equals = line.find('=');
        const std::string name = line.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : line.substr(equals + 1);
        if (name == "environment") {
            m_environment.push_back(value);
        } else {
            m_facts[name] = value;
        }
    }
}

std::string Report::operator[](const std::string& name) const {
    const auto found = m_facts.find(name);
    return found == m_facts.end() ? "?" : found->second;
}

bool Report::hasVariable(const std::string& entry) const {
    return std::find(m_environment.begin(), m_environment.end(), entry) != m_environment.end();
}

void ProcessTest::TearDown() {
    EXPECT_FALSE(hasChildren());
}

std::string ProcessTest::childProgram() {
    return CHILD_BEHAVIOURS;
}

uint32_t ProcessTest::launch(ProcessLaunchInfo& info, std::vector<std::string> command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size());
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    return CProcessApi().Launch(info, arguments);
}

pid_t ProcessTest::startChild(std::vector<std::string> arguments, ProcessLaunchInfo info) {
    arguments.insert(arguments.begin(), childProgram());
    EXPECT_EQ(launch(info, std::move(arguments)), 0U);
    return info.m_processId;
}

pid_t ProcessTest::startChildUntil(const std::string& file, std::vector<std::string> arguments,
                                   const ProcessLaunchInfo& info) const {
    const pid_t child = startChild(std::move(arguments), info);
    EXPECT_TRUE(eventually([&] { return exists(file); })) << file << " does not come";
    return child;
}

uint32_t ProcessTest::exitCodeOf(pid_t child) {
    uint32_t exitCode = 0;
    EXPECT_EQ(CProcessApi().WaitForProcess(child, &exitCode, nullptr, nullptr, kWaitLimitMs), 0U);
    return exitCode;
}

Report ProcessTest::reportOf(ProcessLaunchInfo info, const std::vector<std::string>& moreArguments) const {
    std::vector<std::string> arguments = {childProgram(), "report", path("report")};
    arguments.insert(arguments.end(), moreArguments.begin(), moreArguments.end());
    EXPECT_EQ(launch(info, std::move(arguments)), 0U);
    Report report = reportIn("report");
    if (info.m_processId != 0) {
        EXPECT_EQ(exitCodeOf(info.m_processId), 0U);
    }
    return report;
}

Report ProcessTest::reportIn(const std::string& file) const {
    if (!eventually([&] { return exists(file); })) {
        ADD_FAILURE() << file << " does not come";
        return {};
    }
    return Report(readFile(file));
}

void endStranger(pid_t process) {
    ASSERT_GT(process, 1);
    EXPECT_EQ(::kill(process, SIGKILL), 0);
    EXPECT_TRUE(eventually([process] { return hasEnded(process); }));
}

std::string childCommand(const std::string& arguments) {
    return std::string("'" CHILD_BEHAVIOURS "' ").append(arguments);
}

void becomeLonelyUser() {
    if (runsAsRoot()) {
        ASSERT_EQ(::setuid(kFirstLonelyUser + static_cast<uid_t>(::getpid())), 0);
    }
}

void forbidProcesses() {
    becomeLonelyUser();
    const rlimit none{0, 0};
    ASSERT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
}

void forbidDescriptors() {
    const rlimit none{0, 0};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
}
