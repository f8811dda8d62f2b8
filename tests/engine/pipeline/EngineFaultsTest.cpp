#include "Common/Utility/ReturnCodes.h"
#include "tests/engine/pipeline/ChildProcess.h"
#include "tests/engine/pipeline/EngineRun.h"
#include "tests/support/NoNewThreads.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <list>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

constexpr std::size_t kKiB = 1024;

/// Bytes that deflate can't make smaller.
std::string noise(std::size_t size) {
    std::mt19937 random(42);
    std::string bytes;
    while (bytes.size() < size) {
        bytes.push_back(static_cast<char>(random() & 0xFFU));
    }
    return bytes;
}

void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

class FaultRun : public EngineRun {
protected:
    void collectFolder(const std::string& folder) const {
        writeConfiguration("a.xml", group("Folder", "<file id=\"f\"><default>true</default><mero><os "
                                                    "opsys=\"linux\"><directory_copy_action><action><loc>" +
                                                        folder +
                                                        "</loc><pattern>*</pattern></action>"
                                                        "</directory_copy_action></os></mero></file>"));
    }

    /// A run in a child, in which `prepare` has made the conditions worse.
    /// @return the last report as "code message".
    std::string endOfRun(const std::function<void()>& prepare) {
        ChildProcess child([&] {
            prepare();
            const uint32_t code = run();
            const Report last = m_listener.reports().back();
            return std::to_string(code) + (code == last.code ? " " : " but reported other ") + last.message;
        });
        return child.result();
    }

    /// Starts four processes that each run a job as soon as `wait` returns.
    void startFourRuns(const std::function<void()>& wait) {
        writeThreeItems();
        for (int i = 0; i < 4; ++i) {
            m_runs.emplace_back([&, i] {
                wait();
                m_target = path("out" + std::to_string(i) + ".zip");
                return std::to_string(run());
            });
        }
    }

    void expectFourBundles() {
        int i = 0;
        for (ChildProcess& child : m_runs) {
            EXPECT_EQ(child.result(), "0");
            unpack("out" + std::to_string(i++) + ".zip");
            EXPECT_THAT(bundledNames(),
                        UnorderedElementsAre("one.log", "two.log", "three.log", "summary.txt"));
            EXPECT_EQ(bundled("one.log") + bundled("two.log") + bundled("three.log"), "onetwothree");
        }
        EXPECT_THAT(leftFolders(), IsEmpty());
    }

    std::list<ChildProcess> m_runs;

    static std::string ending(uint32_t code, const std::string& message) {
        return std::to_string(code) + " " + message;
    }
};

TEST_F(FaultRun, CollectsOnTheCallersThreadWhereThereIsNoOther) {
    writeThreeItems();
    {
        const NoNewThreads limit;
        EXPECT_EQ(run(), 0u);
    }
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("one.log", "two.log", "three.log", "summary.txt"));
    EXPECT_TRUE(m_log.contains('W', "The work is done by 0 threads")) << m_log.dump();
}

TEST_F(FaultRun, PassesPipesSocketsAndBrokenLinksBy) {
    writeFile("logs/good.log", "good");
    ASSERT_EQ(::mkfifo(path("logs/pipe.log").c_str(), 0600), 0);
    fs::create_symlink("nowhere", path("logs/dangling.log"));
    fs::create_symlink("loop.log", path("logs/loop.log"));
    fs::create_directory_symlink(".", path("logs/self"));
    fs::create_symlink("good.log", path("logs/link.log"));
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path("logs/s.log").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    collectFolder(path("logs"));
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_THAT(bundledNames(), UnorderedElementsAre("good.log", "link.log", "summary.txt"));
    EXPECT_EQ(bundled("link.log"), "good");
    // A broken link is passed over without a row when it comes behind a folder, so only these are sure.
    EXPECT_THAT(bundled("summary.txt"),
                AllOf(HasSubstr("\n\nFiles Omitted from Bundle:\n"),
                      HasSubstr("f                  pipe.log "), HasSubstr("f                  s.log ")));
}

TEST_F(FaultRun, CollectsFilesWithOddNames) {
    const std::vector<std::string> names{"with blank.log",  "ümläut.log",   "-rf",
                                         "quote'\".log",    "%s%n.log",     "dollar$HOME.log",
                                         "back\\slash.log", "new\nline.log"};
    for (const std::string& name : names) {
        writeFile("logs/" + name, "content of " + name);
    }
    collectFolder(path("logs"));
    EXPECT_EQ(run(), 0u);
    // Python reads the names as they are; unzip writes some of them with other characters.
    const std::string script = "import sys,zipfile\n"
                               "with zipfile.ZipFile(sys.argv[1]) as z:\n"
                               "  assert z.testzip() is None\n"
                               "  n = [i for i in z.namelist() if i != 'summary.txt']\n"
                               "  assert len(n) == 8, n\n"
                               "  for i in n: assert z.read(i).decode() == 'content of ' + i, i\n";
    const std::string check = writeFile("check.py", script);
    EXPECT_EQ(std::system(("python3 " + check + " out.zip 2>check.log").c_str()), 0) << readFile("check.log");
}

TEST_F(FaultRun, DoesNotCrashOnOddFolderNamesInTheConfiguration) {
    const std::string log = writeFile("logs/a.log", "text");
    const std::string rest = item("x", log).substr(std::string("<file id=\"x\">").size());
    writeConfiguration("a.xml", "<fileGroup directoryName=\"/abs/olute\"><file id=\"x\" directoryName=\"\">" +
                                    rest + "<file id=\"y\" directoryName=\"..\">" + rest +
                                    "<file id=\"z\" directoryName=\"" + std::string(300, 'n') + "\">" + rest +
                                    "</fileGroup>");
    EXPECT_EQ(run(), 0u);
    unpack();
    EXPECT_TRUE(exists("unpacked/abs/olute/a.log"));
    EXPECT_THAT(bundled("summary.txt"), HasSubstr("Files Included in Bundle:"));
}

TEST_F(FaultRun, TellsOfFilesThatNoLongerFitOnTheDisk) {
    // The part of it that fits goes into the archive, and so must get small there.
    writeFile("logs/big.log", std::string(64 * kKiB, 'x'));
    writeFile("logs/small.log", "small");
    collectFolder(path("logs"));
    EXPECT_EQ(endOfRun([] { limitFileSize(16 * kKiB); }), ending(0, "MERO has finished... "));
    unpack();
    EXPECT_EQ(bundled("small.log"), "small");
    EXPECT_THAT(bundled("summary.txt"),
                AllOf(HasSubstr("\n\nFiles Omitted from Bundle:\n"), HasSubstr("big.log")));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(FaultRun, FailsWhenNoSummaryFitsOnTheDisk) {
    writeFile("logs/small.log", "small");
    collectFolder(path("logs"));
    EXPECT_EQ(endOfRun([] { limitFileSize(64); }),
              ending(MEROENGINE_ERROR_INTERNAL, "Internal Error: all configs failed..."));
    EXPECT_THAT(leftFolders(), IsEmpty());
    EXPECT_FALSE(exists("out.zip"));
}

TEST_F(FaultRun, FailsWhenTheArchiveNoLongerFitsOnTheDisk) {
    for (const std::string name : {"a", "b", "c", "d"}) {
        writeFile("logs/" + name, noise(12 * kKiB));
    }
    collectFolder(path("logs"));
    EXPECT_EQ(endOfRun([] { limitFileSize(16 * kKiB); }),
              ending(MEROENGINE_ERROR_WRITE_FAILURE, "Internal Error: failed to zip the bundle..."));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(FaultRun, FailsAtOnceWhenALinkLeadsToADevice) {
    writeThreeItems();
    fs::create_symlink("/dev/full", m_target);
    EXPECT_EQ(run(), MEROENGINE_ERROR_WRITE_FAILURE);
    EXPECT_EQ(m_listener.reports().back(),
              (Report{1, "Internal Error: failed to zip the bundle...", MEROENGINE_ERROR_WRITE_FAILURE}));
    EXPECT_TRUE(fs::is_symlink(m_target));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(FaultRun, TellsThatFilesCouldNotBePacked) {
    // The longest name that a file can have, in folders of such names: the way to it fits in no entry's name.
    const std::string name(255, 'n');
    writeFile("logs/kept.log", "kept");
    const auto bury = [&] {
        ASSERT_EQ(::chdir(("/tmp/" + *workingFolders().begin()).c_str()), 0);
        for (int i = 0; i < 260; ++i) {
            ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
            ASSERT_EQ(::chdir(name.c_str()), 0);
        }
        std::ofstream("buried.log") << "too deep";
        ASSERT_EQ(::chdir(path().c_str()), 0);
    };
    collectFolder(path("logs"));
    m_listener.onMessage("Zipping the bundle, please wait...", bury);
    const std::shared_ptr<MEROEngine> job = engine();
    EXPECT_EQ(job->run(), MEROENGINE_ERROR_BUNDLE_INCOMPLETE);
    EXPECT_EQ(job->lack(), "1 files could not be packed, see not-packed.txt");
    EXPECT_EQ(m_listener.reports().back(), (Report{100, "1 files could not be packed, see not-packed.txt",
                                                   MEROENGINE_ERROR_BUNDLE_INCOMPLETE}));
    EXPECT_TRUE(m_log.contains('E', "1 files could not be packed, see not-packed.txt")) << m_log.dump();
    unpack();
    EXPECT_EQ(bundled("kept.log"), "kept");
    EXPECT_THAT(bundled("not-packed.txt"),
                HasSubstr("/buried.log: has a longer name than an archive can hold\n"));
}

TEST_F(FaultRun, FailsWhenTheTargetsFileSystemIsFull) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "mounting needs root";
    }
    for (const std::string name : {"a", "b", "c", "d"}) {
        writeFile("logs/" + name, noise(12 * kKiB));
    }
    collectFolder(path("logs"));
    const std::string disk = makeFolder("disk");
    m_target = disk + "/out.zip";
    const std::string end = endOfRun([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", disk.c_str(), "tmpfs", 0, "size=16k") != 0) {
            throw std::runtime_error("no mount");
        }
    });
    if (end == "threw: no mount") {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    EXPECT_EQ(end, ending(MEROENGINE_ERROR_WRITE_FAILURE, "Internal Error: failed to zip the bundle..."));
    EXPECT_THAT(leftFolders(), IsEmpty());
}

TEST_F(FaultRun, FailsWhenTheWorkingFolderCannotBeMade) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "mounting needs root";
    }
    writeThreeItems();
    const std::string end = endOfRun([] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("/tmp", "/tmp", nullptr, MS_BIND, nullptr) != 0 ||
            ::mount("none", "/tmp", nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0) {
            throw std::runtime_error("no mount");
        }
    });
    if (end == "threw: no mount") {
        GTEST_SKIP() << "this environment allows no mounts";
    }
    EXPECT_EQ(end, ending(MEROENGINE_ERROR_ACCESS_DENIED,
                          "Internal Error: failed to create temporary working folder..."));
}

TEST_F(FaultRun, CompletesFourRunsInTheSameSecond) {
    std::array<int, 2> gate{};
    ASSERT_EQ(::pipe(gate.data()), 0);
    startFourRuns([&gate] {
        char byte = 0;
        ::close(gate[1]);
        // Ends for all at once when the last writing end is closed.
        static_cast<void>(::read(gate[0], &byte, 1) == 0);
    });
    ::close(gate[0]);
    ::close(gate[1]);
    expectFourBundles();
}

TEST_F(FaultRun, CompletesFourRunsOverALeftOverFolder) {
    fs::create_directory(kPlainFolder);
    writeFile(kPlainFolder + "/old.log", "old");
    startFourRuns([] {});
    expectFourBundles();
}
