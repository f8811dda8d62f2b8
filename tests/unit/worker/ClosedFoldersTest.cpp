#include "tools/MERO/MEROOffline/Linux/MEROHelper/Worker/ClosedFolders.h"

#include "tests/support/InChild.h"
#include "tests/unit/worker/WorkerWorld.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

/// What keeps a file from being opened; 0 if nothing does.
int openError(const std::string& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? 0 : errno;
}

void makeLink(const std::string& target, const std::string& link) {
    ASSERT_EQ(::symlink(target.c_str(), link.c_str()), 0) << link;
}

void mountTmpfs(const std::string& folder, unsigned long flags = 0, const char* options = "mode=0755") {
    fs::create_directories(folder);
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", flags, options), 0) << folder << " errno " << errno;
}

/// The mounts that this process sees.
std::string ownMounts() {
    std::ostringstream text;
    text << std::ifstream("/proc/self/mountinfo").rdbuf();
    return text.str();
}

UserIdentity rootWithHome(const std::string& home) {
    UserIdentity root = worldCaller(home);
    root.user = 0;
    return root;
}

unsigned long flagsOf(const std::string& path) {
    struct statvfs system {};
    EXPECT_EQ(::statvfs(path.c_str(), &system), 0) << path;
    return system.f_flag;
}

} // namespace

class ClosedFolders : public WorkerWorld {
protected:
    /// Closes the folders for a caller with this home. @return whether that is in view.
    [[nodiscard]] static bool closedFor(const std::string& home) {
        return closeFolders(worldCaller(home), kJobFolder).has_value();
    }
    void expectLeftOut(const std::string& home, const std::string& reason) const {
        EXPECT_FALSE(closedFor(home));
        EXPECT_TRUE(m_log.contains('W', "The home \"" + home + "\" is left out of the view: " + reason))
            << m_log.dump();
    }
    /// Closes the folders in a process of their own, has something done outside of it, and looks from inside
    /// then. The mounts of both were the same before.
    static void closeBefore(const std::function<void()>& doOutside, const std::function<void()>& lookInside) {
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_SHARED, nullptr), 0);
        Pipe closed;
        Pipe done;
        const pid_t child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            EXPECT_TRUE(closedFor(kWorldHome));
            closed.writer.reset();
            EXPECT_EQ(done.drain(), "");
            lookInside();
            std::fflush(nullptr);
            ::_exit(HasFailure() ? 1 : 0);
        }
        EXPECT_EQ(closed.drain(), "");
        doOutside();
        done.writer.reset();
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    /// A home of the caller's in a folder of root's.
    static std::string homeBelow(const std::string& folder) {
        fs::create_directories(folder);
        return makeTheirFolder(folder + "/caller");
    }
};

TEST_F(ClosedFolders, KeepLinksInTheHomeFromBeingFollowed) {
    inWorld([] {
        makeLink(kSecretFile, kWorldHome + "/file.log");
        makeLink("/srv/secret", kWorldHome + "/folder");
        makeTheirFolder(kWorldHome + "/sub");
        makeLink("../../../secret/key", kWorldHome + "/sub/relative.log");
        EXPECT_TRUE(closedFor(kWorldHome));
        for (const char* path : {"/file.log", "/folder/key", "/sub/relative.log"}) {
            EXPECT_EQ(openError(kWorldHome + path), ELOOP) << path;
        }
    });
}

TEST_F(ClosedFolders, KeepLinksInSharedFoldersFromBeingFollowed) {
    inWorld([] {
        const std::vector<std::string> links{"/tmp/link", "/var/tmp/link", "/dev/shm/link"};
        for (const std::string& link : links) {
            makeLink(kSecretFile, link);
        }
        EXPECT_TRUE(closedFor(kWorldHome));
        for (const std::string& link : links) {
            EXPECT_EQ(openError(link), ELOOP) << link;
        }
    });
}

TEST_F(ClosedFolders, KeepWhatIsInThem) {
    inWorld([] {
        writeTheirs(kWorldHome + "/plain.log", "plain");
        writeTheirs("/tmp/plain.log", "plain");
        EXPECT_TRUE(closedFor(kWorldHome));
        EXPECT_EQ(openError(kWorldHome + "/plain.log"), 0);
        std::ofstream("/tmp/new.log") << "new";
        EXPECT_EQ(openError("/tmp/new.log"), 0);
    });
}

TEST_F(ClosedFolders, LeaveLinksElsewhereAlone) {
    inWorld([] {
        makeLink(kSecretFile, "/srv/link");
        EXPECT_TRUE(closedFor(kWorldHome));
        EXPECT_EQ(openError("/srv/link"), 0);
    });
}

TEST_F(ClosedFolders, ShowNothingThatIsMountedBelowThem) {
    inWorld([] {
        for (const std::string& folder : {kWorldHome, std::string("/tmp"), std::string("/dev/shm")}) {
            mountTmpfs(folder + "/mounted");
            std::ofstream(folder + "/mounted/file") << "mounted";
        }
        EXPECT_TRUE(closedFor(kWorldHome));
        for (const std::string& folder : {kWorldHome, std::string("/tmp"), std::string("/dev/shm")}) {
            EXPECT_EQ(openError(folder + "/mounted/file"), ENOENT) << folder;
            EXPECT_TRUE(fs::is_empty(folder + "/mounted")) << folder;
        }
    });
}

TEST_F(ClosedFolders, AreThisProcessesAlone) {
    inWorld([] {
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_SHARED, nullptr), 0);
        const std::string before = ownMounts();
        inChild([] { EXPECT_TRUE(closedFor(kWorldHome)); });
        EXPECT_EQ(ownMounts(), before);
    });
}

TEST_F(ClosedFolders, StayWithoutWhatOthersMountLater) {
    inWorld([] {
        makeTheirFolder(kWorldHome + "/later");
        const auto mountOutside = [] {
            for (const char* folder : {"/srv/home/caller/later", "/tmp/later", "/srv/other"}) {
                mountTmpfs(folder);
                std::ofstream(std::string(folder) + "/file") << "later";
            }
        };
        closeBefore(mountOutside, [] {
            EXPECT_EQ(openError("/srv/other/file"), 0); // it has come in where it may
            EXPECT_EQ(openError(kWorldHome + "/later/file"), ENOENT);
            EXPECT_EQ(openError("/tmp/later/file"), ENOENT);
        });
    });
}

TEST_F(ClosedFolders, LoseWhatOthersUnmountElsewhere) {
    inWorld([] {
        mountTmpfs("/srv/medium");
        std::ofstream("/srv/medium/file") << "there";
        closeBefore([] { EXPECT_EQ(::umount("/srv/medium"), 0); },
                    [] { EXPECT_EQ(openError("/srv/medium/file"), ENOENT); });
    });
}

TEST_F(ClosedFolders, KeepTheFlagsOfTheirMounts) {
    inWorld([] {
        mountTmpfs("/srv/homes", MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_NOATIME);
        const std::string home = homeBelow("/srv/homes");
        ASSERT_EQ(::mount(nullptr, "/tmp", nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        const unsigned long before = flagsOf(home);
        EXPECT_TRUE(closedFor(home));
        EXPECT_EQ(flagsOf(home) & before, before);
        EXPECT_NE(before & (ST_NOSUID | ST_NODEV | ST_NOEXEC | ST_NOATIME), 0U);
        EXPECT_NE(flagsOf("/tmp") & ST_RDONLY, 0U);
    });
}

TEST_F(ClosedFolders, TakeInAHomeBelowASharedFolder) {
    inWorld([] {
        const std::string home = makeTheirFolder("/tmp/caller");
        makeLink(kSecretFile, home + "/link");
        writeTheirs(home + "/plain.log", "plain");
        EXPECT_TRUE(closedFor(home));
        EXPECT_EQ(openError(home + "/link"), ELOOP);
        EXPECT_EQ(openError(home + "/plain.log"), 0);
    });
}

TEST_F(ClosedFolders, TakeInAHomeThatIsLinkedToByItsOwnPath) {
    inWorld([] {
        makeLink(kWorldHome, "/srv/linked");
        makeLink(kSecretFile, kWorldHome + "/link");
        EXPECT_EQ(closeFolders(worldCaller("/srv/linked"), kJobFolder), kWorldHome);
        EXPECT_EQ(openError("/srv/linked/link"), ELOOP);
        EXPECT_EQ(openError(kWorldHome + "/link"), ELOOP);
    });
}

TEST_F(ClosedFolders, TakeInAHomeThatIsAMountOfItsOwn) {
    inWorld([] {
        mountTmpfs("/srv/mounted");
        ASSERT_EQ(::chown("/srv/mounted", kWorldCaller, kWorldCaller), 0);
        makeLink(kSecretFile, "/srv/mounted/link");
        EXPECT_TRUE(closedFor("/srv/mounted"));
        EXPECT_EQ(openError("/srv/mounted/link"), ELOOP);
    });
}

TEST_F(ClosedFolders, CopeWithOneSharedFolderThatIsALinkToAnother) {
    inWorld([] {
        mountTmpfs("/var");
        makeLink("/tmp", "/var/tmp");
        makeLink(kSecretFile, "/tmp/link");
        EXPECT_TRUE(closedFor(kWorldHome));
        EXPECT_EQ(openError("/var/tmp/link"), ELOOP);
        EXPECT_EQ(openError("/tmp/link"), ELOOP);
    });
}

TEST_F(ClosedFolders, MayBeMissing) {
    inWorld([this] {
        mountTmpfs("/var");
        EXPECT_TRUE(closedFor(kWorldHome));
        EXPECT_EQ(m_log.dump(), "");
    });
}

TEST_F(ClosedFolders, TakeInRootsOwnHomeForRoot) {
    inWorld([] {
        fs::create_directories("/srv/root");
        makeLink(kSecretFile, "/srv/root/link");
        EXPECT_EQ(closeFolders(rootWithHome("/srv/root"), kJobFolder), "/srv/root");
        EXPECT_EQ(openError("/srv/root/link"), ELOOP);
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeThatIsMissing) {
    inWorld([this] { expectLeftOut("/srv/home/nobody", "it can't be opened"); });
}

TEST_F(ClosedFolders, LeaveOutAHomeThatIsNoFolder) {
    inWorld([this] { expectLeftOut(kSecretFile, "it can't be opened"); });
}

TEST_F(ClosedFolders, LeaveOutTheRootFolder) {
    inWorld([this] {
        makeLink(kSecretFile, "/srv/link");
        EXPECT_FALSE(closeFolders(rootWithHome("/"), kJobFolder));
        EXPECT_TRUE(m_log.contains('W', "it holds more than a user's files")) << m_log.dump();
        EXPECT_EQ(openError("/srv/link"), 0);
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeThatHoldsTheJobsFolder) {
    inWorld([this] {
        ASSERT_EQ(::chown("/srv", kWorldCaller, kWorldCaller), 0);
        mountTmpfs("/srv/job");
        std::ofstream("/srv/job/request.xml") << "ours";
        expectLeftOut("/srv", "it holds more than a user's files");
        EXPECT_EQ(openError("/srv/job/request.xml"), 0);
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeThatHoldsASharedFolder) {
    inWorld([this] {
        mountTmpfs("/var");
        ASSERT_EQ(::mkdir("/var/tmp", 0777), 0);
        ASSERT_EQ(::chown("/var", kWorldCaller, kWorldCaller), 0);
        expectLeftOut("/var", "it holds more than a user's files");
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeThatHoldsTheSystem) {
    inWorld([this] {
        for (const char* home : {"/usr", "/etc"}) {
            EXPECT_FALSE(closeFolders(rootWithHome(home), kJobFolder));
        }
        EXPECT_EQ(m_log.count('W', "it holds more than a user's files"), 2) << m_log.dump();
    });
}

TEST_F(ClosedFolders, LeaveOutSomebodyElsesHome) {
    inWorld([this] {
        fs::create_directories("/srv/home/other");
        makeLink(kSecretFile, "/srv/home/other/link");
        expectLeftOut("/srv/home/other", "it is somebody else's");
        EXPECT_EQ(openError("/srv/home/other/link"), 0); // others need what is in it
    });
}

TEST_F(ClosedFolders, LeaveOutAndHideAHomeThatItsOwnerCanReplaceByALink) {
    inWorld([this] {
        const std::string home = makeTheirFolder(kWorldHome + "/inner");
        writeTheirs(home + "/plain.log", "plain");
        expectLeftOut(home, "somebody could put a link in its place");
        EXPECT_EQ(openError(home + "/plain.log"), ENOENT);
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeInAFolderThatAGroupMayWriteTo) {
    inWorld([this] {
        const std::string home = homeBelow("/srv/group");
        ASSERT_EQ(::chown("/srv/group", 0, kWorldCaller), 0);
        ASSERT_EQ(::chmod("/srv/group", 0775), 0);
        expectLeftOut(home, "somebody could put a link in its place");
    });
}

TEST_F(ClosedFolders, LeaveOutAHomeInAFolderThatEverybodyMayWriteTo) {
    inWorld([this] {
        const std::string home = homeBelow("/srv/open");
        ASSERT_EQ(::chmod("/srv/open", 01777), 0);
        expectLeftOut(home, "somebody could put a link in its place");
    });
}

TEST_F(ClosedFolders, TakeInAHomeInAFolderThatRootsGroupMayWriteTo) {
    inWorld([] {
        const std::string home = homeBelow("/srv/group");
        ASSERT_EQ(::chmod("/srv/group", 0775), 0);
        EXPECT_TRUE(closedFor(home));
    });
}

TEST_F(ClosedFolders, LogTheStartOfAHomesName) {
    inWorld([this] {
        const std::string start = "/srv/" + std::string(195, 'x');
        EXPECT_FALSE(closedFor(start + "yz"));
        EXPECT_THAT(m_log.dump(), HasSubstr("The home \"" + start + "\" is left out"));
    });
}
