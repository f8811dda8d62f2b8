#include "tests/unit/files/FileTest.h"

#include "Common/Utility/memory/Handles.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;

void enterFolder(const std::string& folder) {
    ASSERT_EQ(::chdir(folder.c_str()), 0) << folder;
}

} // namespace

int FileTest::countMessages(char severity, const std::string& function, const std::string& text) const {
    const std::vector<LogLine> lines = log.lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
        return line.severity == severity &&
               line.text.find("\nFunction: " + function + "\n") != std::string::npos &&
               line.text.ends_with("\n" + text);
    }));
}

void FileTest::openToAll() const {
    std::filesystem::permissions(path(), std::filesystem::perms::all);
}

bool holdsInChild(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        std::fflush(nullptr);
        // Nothing of the parent's is torn down here: folders and loggers are the parent's to end.
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

bool holdsUnprivileged(const std::function<void()>& body) {
    return holdsInChild([&body] {
        if (runsAsRoot()) {
            ASSERT_EQ(::setegid(kNobody), 0);
            ASSERT_EQ(::seteuid(kNobody), 0);
        }
        body();
    });
}

LowLimit::LowLimit(__rlimit_resource resource, rlim_t value) : m_resource(resource) {
    EXPECT_EQ(::getrlimit(resource, &m_former), 0);
    rlimit lower = m_former;
    lower.rlim_cur = value;
    EXPECT_EQ(::setrlimit(resource, &lower), 0);
}

LowLimit::~LowLimit() {
    EXPECT_EQ(::setrlimit(m_resource, &m_former), 0);
}

DeepTree::DeepTree(std::string top, int levels) : m_top(std::move(top)) {
    const std::string former = std::filesystem::current_path();
    std::filesystem::create_directory(m_top);
    enterFolder(m_top);
    for (int level = 0; level < levels; ++level) {
        EXPECT_EQ(::mkdir("d", 0700), 0);
        enterFolder("d");
    }
    const FileDescriptor file(::open("bottom.log", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(::write(file.get(), "deep", 4), 4);
    enterFolder(former);
}

DeepTree::~DeepTree() {
    remove(m_top);
}

void DeepTree::remove(const std::string& top) {
    const std::string former = std::filesystem::current_path();
    enterFolder(top);
    int levels = 0;
    while (::chdir("d") == 0) {
        ++levels;
    }
    static_cast<void>(::unlink("bottom.log")); // a copy may lack it
    for (; levels > 0; --levels) {
        enterFolder("..");
        EXPECT_EQ(::rmdir("d"), 0);
    }
    enterFolder(former);
    EXPECT_EQ(::rmdir(top.c_str()), 0);
}

std::string bytes(size_t count) {
    std::string content(count, '\0');
    for (size_t i = 0; i < count; ++i) {
        content[i] = static_cast<char>(i * 31 + i / 251);
    }
    return content;
}

std::vector<std::string> folderOrder(const std::string& folder) {
    const DirHandle handle(::opendir(folder.c_str()));
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(handle.get())) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

std::vector<std::string> nastyNames() {
    constexpr const char* kOddBytes[] = {
        "line\nfeed.log",      "\"quoted\" 'both'.log",
        "bad\xff\xfe\xc3.log", "\xc3\xa4\xe2\x82\xac.log",
        " blank .log",         "-rf.log",
        "a*b?[c].log",         "%s%n.log",
    };
    std::vector<std::string> names(std::begin(kOddBytes), std::end(kOddBytes));
    std::string longest(255, 'x');
    longest.replace(251, 4, ".log");
    names.push_back(longest);
    return names;
}

size_t openDescriptors() {
    return folderOrder("/proc/self/fd").size();
}

void setModificationTime(const std::string& path, int64_t seconds) {
    const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}
