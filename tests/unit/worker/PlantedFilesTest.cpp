#include "tests/unit/worker/WorkerWorld.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

/// What a caller leaves where root collects from or works, to be followed, read or deleted by root.
class PlantedFiles : public WorkerWorld {
protected:
    /// A folder with a plain file of the caller's and with links to the secret.
    static void plantLinksIn(const std::string& folder) {
        writeTheirs(folder + "/plain.log", "plain");
        ASSERT_EQ(::symlink(kSecretFile.c_str(), (folder + "/key.log").c_str()), 0);
        ASSERT_EQ(::symlink("/srv/secret", (folder + "/subfolder").c_str()), 0);
    }
    /// A job that goes for all of it.
    void expectSecretKeptIn(const std::string& folder) const {
        plantLinksIn(folder);
        configure(fileItem("file", folder + "/key.log") + fileItem("folder", folder + "/subfolder/key") +
                  fileItem("pattern", folder + "/*.log") + folderItem("tree", folder));
        expectSecretKept();
        EXPECT_THAT(bundle(), Contains(Pair("plain.log", "plain")));
    }
};

TEST_F(PlantedFiles, InTheHomeLeadNowhere) {
    inWorld([this] { expectSecretKeptIn(kWorldHome + "/log"); });
}

TEST_F(PlantedFiles, InTheHomeLeadNowhereByItsName) {
    inWorld([this] {
        plantLinksIn(kWorldHome);
        configure(fileItem("file", "$HOME/key.log") + fileItem("pattern", "$HOME/*.log") +
                  folderItem("tree", "$HOME/"));
        expectSecretKept();
        EXPECT_THAT(bundle(), Contains(Pair("plain.log", "plain")));
    });
}

TEST_F(PlantedFiles, InTheFolderForTemporaryFilesLeadNowhere) {
    inWorld([this] { expectSecretKeptIn("/tmp/log"); });
}

TEST_F(PlantedFiles, InTheFolderForLastingTemporaryFilesLeadNowhere) {
    inWorld([this] { expectSecretKeptIn("/var/tmp/log"); });
}

TEST_F(PlantedFiles, InSharedMemoryLeadNowhere) {
    inWorld([this] { expectSecretKeptIn("/dev/shm/log"); });
}

TEST_F(PlantedFiles, LeadAToolNowhere) {
    inWorld([this] {
        plantLinksIn(kWorldHome);
        configure(scriptItem("tool", "cd \"$1\" && cat key.log subfolder/key 2>&1; cat plain.log", "$HOME/"));
        expectSecretKept();
        EXPECT_THAT(bundled("tool"), HasSubstr("plain"));
    });
}

TEST_F(PlantedFiles, LeadToNothingThatIsMountedBelow) {
    inWorld([this] {
        for (const std::string& folder : {kWorldHome, std::string("/tmp")}) {
            const std::string mounted = makeTheirFolder(folder + "/mounted");
            ASSERT_EQ(::mount("tmpfs", mounted.c_str(), "tmpfs", 0, nullptr), 0);
            std::ofstream(mounted + "/key.log") << kSecret;
        }
        configure(fileItem("home", kWorldHome + "/mounted/key.log") +
                  fileItem("tmp", "/tmp/mounted/key.log") + folderItem("tree", kWorldHome));
        expectSecretKept();
    });
}

TEST_F(PlantedFiles, OfOtherKindsAreLeftOutAndKeepNobodyWaiting) {
    inWorld([this] {
        writeTheirs(kWorldHome + "/plain.log", "plain");
        ASSERT_EQ(::mkfifo((kWorldHome + "/pipe.log").c_str(), 0666), 0);
        ASSERT_EQ(::mknod((kWorldHome + "/zero.log").c_str(), S_IFCHR | 0666, makedev(1, 5)), 0);
        configure(fileItem("pipe", "$HOME/pipe.log") + fileItem("zero", "$HOME/zero.log") +
                  folderItem("tree", "$HOME/"));
        const JobResult result = run();
        EXPECT_EQ(result.outcome().status, 0U) << result.log;
        const auto files = bundle();
        EXPECT_THAT(files, Contains(Pair("plain.log", "plain")));
        EXPECT_EQ(files.count("pipe.log") + files.count("zero.log"), 0U);
    });
}

TEST_F(PlantedFiles, InThePlaceOfTheWorkingFolderAreNotFollowed) {
    inWorld([this] {
        makeTheirFolder("/srv/victim");
        std::ofstream("/srv/victim/file") << "keep me";
        ASSERT_EQ(::symlink("/srv/victim", "/tmp/MERO_Temp_Bundle"), 0);
        ASSERT_EQ(::lchown("/tmp/MERO_Temp_Bundle", kWorldCaller, kWorldCaller), 0);
        configure(fileItem("plain", writeTheirs(kWorldHome + "/plain.log", "plain")));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_EQ(bundled("plain.log"), "plain");
        EXPECT_TRUE(fs::exists("/srv/victim/file"));
        EXPECT_EQ(std::distance(fs::directory_iterator("/srv/victim"), {}), 1);
        EXPECT_TRUE(fs::is_symlink("/tmp/MERO_Temp_Bundle"));
    });
}

TEST_F(PlantedFiles, InAFolderInThePlaceOfTheWorkingFolderStayTheirs) {
    inWorld([this] {
        writeTheirs("/tmp/MERO_Temp_Bundle/theirs.log", "planted");
        configure(fileItem("plain", writeTheirs(kWorldHome + "/plain.log", "plain")));
        EXPECT_EQ(run().outcome().status, 0U);
        EXPECT_THAT(bundle(), Not(Contains(Pair("theirs.log", "planted"))));
        EXPECT_EQ(std::distance(fs::directory_iterator("/tmp/MERO_Temp_Bundle"), {}), 1);
    });
}
