#include "Common/Utility/ReturnCodes.h"
#include "Common/Zip/CZip.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SystemCallFilter.h"
#include "tests/unit/zip/ArchiveTools.h"

#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <mutex>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

using Readdir = dirent* (*)(DIR*);
using Pread = ssize_t (*)(int, void*, size_t, off_t);
/// What the double below does with an entry that was read, or null; none if it does nothing.
std::function<dirent*(dirent*)> g_afterReaddir;
/// The errno of the next call of pread; 0 if it works.
int g_preadError = 0;
/// What happens before it, once.
std::function<void()> g_beforePread;

} // namespace

/// Stands in front of the system's call, because no file system that can be had here leaves the kinds of its
/// files open or fails in the midst of a folder.
extern "C" dirent* readdir(DIR* dirp) {
    static const auto real = reinterpret_cast<Readdir>(::dlsym(RTLD_NEXT, "readdir"));
    dirent* entry = real(dirp);
    return g_afterReaddir ? g_afterReaddir(entry) : entry;
}

/// Fails once, which no file does that can be had here, and lets something happen between the opening of a
/// file and its reading.
extern "C" ssize_t pread(int fd, void* buf, size_t nbytes, off_t offset) {
    static const auto real = reinterpret_cast<Pread>(::dlsym(RTLD_NEXT, "pread"));
    static std::mutex lock; // files are read on several threads
    int error = 0;
    {
        const std::scoped_lock guard(lock);
        if (const std::function<void()> change = std::exchange(g_beforePread, nullptr)) {
            change();
        }
        error = std::exchange(g_preadError, 0);
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return real(fd, buf, nbytes, offset);
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kHead = "What could not be packed into this archive, or not whole:\n\n";
constexpr const char* kPassword = "correct horse 42";

class NotPacked : public Sandbox {
public:
    ~NotPacked() override {
        g_afterReaddir = nullptr;
        g_preadError = 0;
        g_beforePread = nullptr;
    }

protected:
    uint32_t pack(const std::string& password = {}) {
        m_report = {};
        return CZip().Zip(path("bundle"), path("bundle.zip"), password, true, m_report);
    }
    std::vector<std::string> reported() const {
        std::vector<std::string> lines;
        for (const PackReport::Item& item : m_report.items()) {
            lines.push_back(item.name + ": " + item.reason);
        }
        return lines;
    }
    /// Makes a chain of folders with a file at its end, which no single path reaches.
    static void makeChain(const std::string& top, int depth, const std::string& folder) {
        ASSERT_EQ(::mkdir(top.c_str(), 0700), 0);
        int level = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; i < depth; ++i) {
            ASSERT_EQ(::mkdirat(level, folder.c_str(), 0700), 0);
            const int next = ::openat(level, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            ::close(level);
            level = next;
        }
        const int file = ::openat(level, "deep.log", O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_EQ(::write(file, "found", 5), 5);
        ::close(file);
        ::close(level);
    }

    CapturedLog m_log;
    PackReport m_report;
};

TEST_F(NotPacked, NothingIsWhereEverythingIsInTheArchive) {
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(m_report.items(), IsEmpty());
    EXPECT_EQ(m_report.entryName(), "");
    expectOpensEverywhere(path("bundle.zip"), "", {{"a.log", "text"}});
}

TEST_F(NotPacked, ATreeOfThreeThousandLevelsIsPackedWithFewDescriptors) {
    makeChain(path("bundle"), 3000, "d");
    writeFile("bundle/beside.log", "beside");
    inChild([this] {
        const rlimit limit{16, 16};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
        EXPECT_EQ(pack(), 0U);
        EXPECT_THAT(m_report.items(), IsEmpty()) << m_log.dump();
    });
    std::string name;
    for (int i = 0; i < 3000; ++i) {
        name += "d/";
    }
    const ReadEntries entries = readArchive(path("bundle.zip"));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries.at(name + "deep.log").content, "found");
    EXPECT_EQ(entries.at("beside.log").content, "beside");
}

TEST_F(NotPacked, LongNamesMayLieDeepAndBePackedWithAPassword) {
    const std::string folder(200, 'n');
    makeChain(path("bundle"), 100, folder);
    ASSERT_EQ(pack(kPassword), 0U);
    EXPECT_THAT(m_report.items(), IsEmpty()) << m_log.dump();
    std::string name;
    for (int i = 0; i < 100; ++i) {
        name += folder + "/";
    }
    EXPECT_EQ(readArchive(path("bundle.zip"), kPassword).at(name + "deep.log").content, "found");
}

TEST_F(NotPacked, AFileWhosePathIsLongerThanAnEntrysNameIsNamed) {
    makeChain(path("bundle"), 400, std::string(200, 'n'));
    writeFile("bundle/a.log", "text");
    ASSERT_EQ(pack(), 0U);
    ASSERT_EQ(m_report.items().size(), 1U);
    EXPECT_THAT(m_report.items().front().name, ::testing::EndsWith("/deep.log"));
    EXPECT_EQ(m_report.items().front().reason, "has a longer name than an archive can hold");
    EXPECT_EQ(readArchive(path("bundle.zip")).at("a.log").content, "text");
}

TEST_F(NotPacked, AFolderThatCannotBeOpenedIsNamedAndTheOthersArePacked) {
    writeFile("bundle/a/1.log", "1");
    writeFile("bundle/b/2.log", "2");
    // A descriptor for each folder in turn, but none at the one named "a".
    g_afterReaddir = [](dirent* entry) {
        if (entry != nullptr && std::string(entry->d_name) == "a") {
            entry->d_name[0] = 'x';
        }
        return entry;
    };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(reported(), ElementsAre("x/: could not be listed: No such file or directory"));
    EXPECT_TRUE(m_log.contains('E', "\"x/\" could not be packed: it could not be listed: No such file"))
        << m_log.dump();
    const ReadEntries entries = readArchive(path("bundle.zip"));
    EXPECT_EQ(entries.at("b/2.log").content, "2");
    EXPECT_EQ(entries.at("not-packed.txt").content,
              std::string(kHead) + "x/: could not be listed: No such file or directory\n");
}

TEST_F(NotPacked, AFolderThatCannotBeReadToItsEndIsNamedWithWhatWasReadPacked) {
    writeFile("bundle/a.log", "text");
    writeFile("bundle/b.log", "text");
    g_afterReaddir = [seen = 0](dirent* entry) mutable -> dirent* {
        const bool isFile = entry != nullptr && entry->d_type == DT_REG;
        if (isFile && ++seen == 2) {
            errno = EIO;
            return nullptr;
        }
        return entry;
    };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(reported(), ElementsAre(": could not be listed to its end: Input/output error"));
    const ReadEntries entries = readArchive(path("bundle.zip"));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries.at("not-packed.txt").content,
              std::string(kHead) + "./: could not be listed to its end: Input/output error\n");
}

TEST_F(NotPacked, KindsThatTheFileSystemLeavesOpenAreAskedFor) {
    writeFile("bundle/a.log", "text");
    writeFile("bundle/sub/b.log", "other");
    fs::create_symlink(writeFile("outside", "secret"), path("bundle/link"));
    ASSERT_EQ(::mkfifo(path("bundle/pipe").c_str(), 0600), 0);
    g_afterReaddir = [](dirent* entry) {
        if (entry != nullptr) {
            entry->d_type = DT_UNKNOWN;
        }
        return entry;
    };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(m_report.items(), IsEmpty());
    expectOpensEverywhere(path("bundle.zip"), "", {{"a.log", "text"}, {"sub/b.log", "other"}});
}

TEST_F(NotPacked, AFileOfWhichNothingIsKnownIsNamed) {
    writeFile("bundle/a.log", "text");
    g_afterReaddir = [](dirent* entry) {
        if (entry != nullptr && entry->d_type == DT_REG) {
            entry->d_type = DT_UNKNOWN;
            entry->d_name[0] = 'x';
        }
        return entry;
    };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(reported(), ElementsAre("x.log: could not be examined: No such file or directory"));
}

TEST_F(NotPacked, WithoutDescriptorsEverythingIsNamed) {
    writeFile("bundle/a.log", "text");
    const std::vector<std::string> files{path("bundle/a.log")};
    inChild([&] {
        replaceSystemCallWith(SYS_openat, EMFILE, 2, O_NONBLOCK); // what files are opened with
        EXPECT_EQ(CZip().createZipFile(files, path("bundle.zip"), {"a.log"}, {}, m_report), 0U);
        EXPECT_THAT(reported(), ElementsAre("a.log: could not be opened: Too many open files"));
    });
    EXPECT_EQ(readArchive(path("bundle.zip")).at("a.log").content, "");
}

TEST_F(NotPacked, AFileThatGrowsIsPackedAsItWasAndNamed) {
    for (const char* const password : {"", kPassword}) {
        const std::string file = writeFile("bundle/growing.log", noise(40000));
        g_beforePread = [&] { std::ofstream(file, std::ios::app) << "more"; };
        ASSERT_EQ(pack(password), 0U);
        EXPECT_THAT(reported(), ElementsAre("growing.log: was changed while it was packed"));
        EXPECT_EQ(readArchive(path("bundle.zip"), password).at("growing.log").content, noise(40000));
    }
}

TEST_F(NotPacked, AFileThatIsCutIsPackedAsFarAsItGoesAndNamed) {
    const std::string file = writeFile("bundle/cut.log", noise(40000));
    g_beforePread = [&] { fs::resize_file(file, 100); };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(reported(), ElementsAre("cut.log: was changed while it was packed"));
    EXPECT_EQ(readArchive(path("bundle.zip")).at("cut.log").content, noise(40000).substr(0, 100));
}

TEST_F(NotPacked, ALargeFileThatGrowsIsPackedAsItWasAndNamed) {
    const std::string content = noise(9 << 20); // on several cores in parts
    for (const char* const password : {"", kPassword}) {
        const std::string file = writeFile("bundle/growing.log", content);
        g_beforePread = [&] { std::ofstream(file, std::ios::app) << "more"; };
        ASSERT_EQ(pack(password), 0U);
        EXPECT_THAT(reported(), ElementsAre("growing.log: was changed while it was packed"));
        EXPECT_TRUE(unzipped(path("bundle.zip"), "growing.log", password) == content);
    }
}

TEST_F(NotPacked, ALargeFileThatIsCutIsPackedAsFarAsItGoesAndNamed) {
    constexpr size_t kLeft = (size_t{2} << 20U) + 100;
    const std::string content = noise(9 << 20);
    for (const char* const password : {"", kPassword}) {
        const std::string file = writeFile("bundle/cut.log", content);
        g_beforePread = [&] { fs::resize_file(file, kLeft); };
        ASSERT_EQ(pack(password), 0U);
        EXPECT_THAT(reported(), ElementsAre("cut.log: was changed while it was packed"));
        EXPECT_TRUE(unzipped(path("bundle.zip"), "cut.log", password) == content.substr(0, kLeft));
    }
}

TEST_F(NotPacked, ALargeFileThatCannotBeReadKeepsWhatStandsBeforeTheFault) {
    const std::string content = noise(9 << 20);
    for (const char* const password : {"", kPassword}) {
        writeFile("bundle/a.log", content);
        g_preadError = EIO;
        ASSERT_EQ(pack(password), 0U);
        EXPECT_THAT(reported(), ElementsAre("a.log: could not be read whole: Input/output error"));
        EXPECT_TRUE(content.starts_with(unzipped(path("bundle.zip"), "a.log", password)));
    }
}

TEST_F(NotPacked, AFileThatIsRewrittenInItsSizeIsNamed) {
    const std::string file = writeFile("bundle/rewritten.log", "old text");
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
    g_beforePread = [&] { std::ofstream(file) << "new text"; };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(reported(), ElementsAre("rewritten.log: was changed while it was packed"));
}

TEST_F(NotPacked, AFileThatHoldsMoreThanItsSizeSaysIsNamed) {
    // A file of the kernel's, whose size is 0.
    ASSERT_EQ(CZip().createZipFile({"/proc/self/status"}, path("bundle.zip"), {"status"}, {}, m_report), 0U);
    EXPECT_THAT(reported(), ElementsAre("status: was changed while it was packed"));
}

TEST_F(NotPacked, AFileThatIsReplacedOrGoesIsPackedAsItWas) {
    const std::string file = writeFile("bundle/gone.log", "old text");
    g_beforePread = [&] { fs::remove(file); };
    ASSERT_EQ(pack(), 0U);
    EXPECT_THAT(m_report.items(), IsEmpty());
    expectOpensEverywhere(path("bundle.zip"), "", {{"gone.log", "old text"}});
}

TEST_F(NotPacked, WhatCouldNotBeReadForTheEncryptionDoesNotFollowInTheClear) {
    writeFile("bundle/a.log", "the secret text");
    g_preadError = EIO;
    ASSERT_EQ(pack(kPassword), 0U);
    EXPECT_THAT(reported(), ElementsAre("a.log: could not be read whole: Input/output error"));
    const ReadEntries entries = readArchive(path("bundle.zip"), kPassword);
    EXPECT_EQ(entries.at("a.log").content, "");
    EXPECT_TRUE(entries.at("not-packed.txt").isEncrypted());
}

TEST_F(NotPacked, TheListIsEncryptedLikeTheFiles) {
    const std::string file = writeFile("a.log", "text");
    PackReport report;
    ASSERT_EQ(
        CZip().createZipFile({file, path("gone")}, path("bundle.zip"), {"a.log", "gone"}, kPassword, report),
        0U);
    EXPECT_EQ(report.entryName(), "not-packed.txt");
    EXPECT_TRUE(readArchive(path("bundle.zip"), kPassword).at("not-packed.txt").isEncrypted());
    EXPECT_EQ(readArchive(path("bundle.zip"), kPassword).at("not-packed.txt").content,
              std::string(kHead) + "gone: could not be opened: No such file or directory\n");
    expectOpensNowhere(path("bundle.zip"), "wrong");
}

TEST_F(NotPacked, TheListIsTheLastEntry) {
    const std::string file = writeFile("a.log", "text");
    ASSERT_EQ(CZip().createZipFile({path("gone"), file}, path("bundle.zip"), {"gone", "a.log"}, {}), 0U);
    const ToolRun names = runTool({"unzip", "-Z1", path("bundle.zip")});
    EXPECT_EQ(names.output, "gone\na.log\nnot-packed.txt\n");
}

TEST_F(NotPacked, TheListGivesWayToACollectedFileOfItsName) {
    const std::string file = writeFile("a.log", "text");
    PackReport report;
    ASSERT_EQ(CZip().createZipFile({file, file, path("gone")}, path("bundle.zip"),
                                   {"Not-Packed.txt", "not-packed-2.txt", "gone"}, {}, report),
              0U);
    EXPECT_EQ(report.entryName(), "not-packed-3.txt");
    EXPECT_THAT(readArchive(path("bundle.zip")).at("not-packed-3.txt").content, HasSubstr("\ngone: "));
}

TEST_F(NotPacked, NamesStayOnOneLineOfTheList) {
    PackReport report;
    ASSERT_EQ(CZip().createZipFile({path("gone")}, path("bundle.zip"), {"line\nfeed\x1B[1m"}, {}, report),
              0U);
    EXPECT_EQ(report.text(),
              std::string(kHead) + "line\\x0Afeed\\x1B[1m: could not be opened: No such file or directory\n");
}

TEST_F(NotPacked, OneReasonIsEnough) {
    PackReport report;
    report.add("a", "is gone");
    report.add("a", "is still gone");
    report.add("b", "is gone");
    EXPECT_EQ(report.items().size(), 2U);
    EXPECT_EQ(report.text(), std::string(kHead) + "a: is gone\nb: is gone\n");
}

} // namespace
