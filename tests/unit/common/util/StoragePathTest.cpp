#include "Common/Utility/StoragePath.h"

#include "Common/Utility/ReturnCodes.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/InChild.h"
#include "tests/support/StoragePathAccess.h"

#include <pwd.h>

namespace {

class StoragePath : public Sandbox {
protected:
    void SetUp() override { ASSERT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U); }
    void TearDown() override {
        while (CStoragePath::getReferenceCount() > 0) {
            CStoragePath::releaseInstance(m_paths);
        }
    }

    /// From the password database; HOME, which the fixture sets, doesn't count.
    static std::string homeOfThisUser() {
        const passwd* const entry = ::getpwuid(::getuid());
        return entry == nullptr ? "./" : std::string(entry->pw_dir) + "/";
    }

    CapturedLog m_log;
    CStoragePath* m_paths = nullptr;
};

TEST(StoragePathInstance, IsNotThereBeforeItIsMade) {
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
    EXPECT_EQ(CStoragePath::acquireInstance(), nullptr);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

TEST_F(StoragePath, IsMadeWithOneReference) {
    ASSERT_NE(m_paths, nullptr);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(StoragePath, IsSharedOnceItIsMade) {
    CStoragePath* second = nullptr;
    EXPECT_EQ(CStoragePath::CreateSingletonInstance(second), 0U);
    EXPECT_EQ(second, m_paths);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 2U);
    EXPECT_EQ(CStoragePath::acquireInstance(), m_paths);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 3U);
}

TEST_F(StoragePath, StaysUntilTheLastReferenceIsDropped) {
    ASSERT_EQ(CStoragePath::acquireInstance(), m_paths);
    CStoragePath::releaseInstance(m_paths);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    EXPECT_EQ(m_paths->getInstallPath(), "/opt/varnel/corvane/");
    CStoragePath::releaseInstance(m_paths);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
    EXPECT_EQ(CStoragePath::acquireInstance(), nullptr);
}

TEST_F(StoragePath, IsMadeAnewAfterTheLastReference) {
    CStoragePath::releaseInstance(m_paths);
    ASSERT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
    ASSERT_NE(m_paths, nullptr);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    EXPECT_EQ(m_paths->getInstallPath(), "/opt/varnel/corvane/");
}

TEST_F(StoragePath, ReplacesTheCallersPointer) {
    CStoragePath* const foreign = StoragePathTestAccess::makeForeign();
    CStoragePath* instance = foreign;
    EXPECT_EQ(CStoragePath::CreateSingletonInstance(instance), 0U);
    EXPECT_EQ(instance, m_paths);
    CStoragePath::releaseInstance(foreign);
}

// That a foreign instance is gone afterwards shows under the leak checker.
TEST_F(StoragePath, ForeignInstanceIsDeletedAndNotCounted) {
    CStoragePath* const foreign = StoragePathTestAccess::makeForeign();
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    CStoragePath::releaseInstance(foreign);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    EXPECT_EQ(CStoragePath::acquireInstance(), m_paths);
}

TEST(StoragePathInstance, IsDeletedThoughNoneIsShared) {
    CStoragePath::releaseInstance(StoragePathTestAccess::makeForeign());
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

TEST_F(StoragePath, ReleaseOfNullChangesNothing) {
    CStoragePath::releaseInstance(nullptr);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    CStoragePath::releaseInstance(m_paths);
    CStoragePath::releaseInstance(nullptr);
    EXPECT_EQ(CStoragePath::getReferenceCount(), 0U);
}

TEST_F(StoragePath, HoldsTheInstallPathTwiceAndTwoEmptyPaths) {
    EXPECT_EQ(m_paths->getInstallPath(), "/opt/varnel/corvane/");
    EXPECT_EQ(StoragePathTestAccess::secondPath(*m_paths), "/opt/varnel/corvane/");
    EXPECT_EQ(StoragePathTestAccess::thirdPath(*m_paths), "");
    EXPECT_EQ(StoragePathTestAccess::fourthPath(*m_paths), "");
}

TEST_F(StoragePath, GivesTheFixedFolders) {
    EXPECT_EQ(m_paths->getBinPath(), "/opt/varnel/corvane/bin/");
    EXPECT_EQ(m_paths->getVpnDataPath(), "/opt/varnel/corvane/vpn/");
    EXPECT_EQ(m_paths->getResourcesPath(), "/opt/varnel/corvane/resources/");
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(StoragePath, FeedbackDataGoesBelowAnyBase) {
    EXPECT_EQ(m_paths->getFeedbackDataPath("/base/"), "/base/CustomerExperienceFeedback/moduledata");
    EXPECT_EQ(m_paths->getFeedbackDataPath("/base"), "/baseCustomerExperienceFeedback/moduledata");
    EXPECT_EQ(m_paths->getFeedbackDataPath(""), "CustomerExperienceFeedback/moduledata");
}

TEST_F(StoragePath, ProfilesOfTheManagementTunnelStandApart) {
    EXPECT_EQ(m_paths->getProfilePath(1), "/opt/varnel/corvane/vpn/profile/mgmttun");
    for (const int module : {0, 2, 3, -1}) {
        EXPECT_EQ(m_paths->getProfilePath(module), "/opt/varnel/corvane/vpn/profile") << module;
    }
}

TEST_F(StoragePath, HomeOfANamedUser) {
    EXPECT_EQ(m_paths->GetUserProgramDataPath("root"), std::string(::getpwnam("root")->pw_dir) + "/");
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(StoragePath, HomeOfTheRealUserForAnEmptyName) {
    EXPECT_EQ(m_paths->GetUserProgramDataPath(""), homeOfThisUser());
}

TEST_F(StoragePath, HomeOfAnUnknownUserIsTheCurrentFolder) {
    EXPECT_EQ(m_paths->GetUserProgramDataPath("no such user"), "./");
    EXPECT_EQ(m_log.count('W', "Error retrieving user pswd struct."), 1) << m_log.dump();
    EXPECT_TRUE(m_log.contains('W', "Function: GetUserProgramDataPath\n")) << m_log.dump();
    EXPECT_EQ(m_log.count('*', ""), 1) << m_log.dump();
}

TEST_F(StoragePath, HomeOfARealUserWithoutAnEntryIsTheCurrentFolder) {
    if (!runsAsRoot()) {
        GTEST_SKIP() << "only root can become a user that isn't in the password database";
    }
    inChild([this] {
        constexpr uid_t kNoEntry = 3999999999;
        ASSERT_EQ(::setuid(kNoEntry), 0);
        EXPECT_EQ(m_paths->GetUserProgramDataPath(""), "./");
        EXPECT_EQ(m_log.count('W', "Error retrieving user pswd struct."), 1) << m_log.dump();
    });
}

TEST_F(StoragePath, ModulesHaveHiddenFoldersInTheUsersHome) {
    const std::string home = homeOfThisUser();
    EXPECT_EQ(m_paths->getUserModulePath(1, "", false), home + ".vpn/");
    EXPECT_EQ(m_paths->getUserModulePath(2, "", false), home + ".posture/");
    EXPECT_EQ(m_paths->getUserModulePath(3, "", false), home + ".ui/");
    EXPECT_EQ(m_paths->getUserModulePath(1, "no such user", false), "./.vpn/");
}

TEST_F(StoragePath, OtherModulesAndSystemWideOnesAreTheHomeItself) {
    const std::string home = homeOfThisUser();
    for (const int module : {0, 4, -1, 1000}) {
        EXPECT_EQ(m_paths->getUserModulePath(module, "", false), home) << module;
    }
    EXPECT_EQ(m_paths->getUserModulePath(1, "", true), home);
    EXPECT_EQ(m_paths->getUserModulePath(3, "no such user", true), "./");
}

TEST_F(StoragePath, ModulePathIsTheUsersOrTheVpnDataFolder) {
    EXPECT_EQ(m_paths->getModulePath(true, 3, "no such user", false), "./.ui/");
    EXPECT_EQ(m_paths->getModulePath(true, 3, "no such user", true), "./");
    for (const int module : {1, 2, 3, 0}) {
        EXPECT_EQ(m_paths->getModulePath(false, module, "root", false), "/opt/varnel/corvane/vpn/");
    }
}

TEST_F(StoragePath, UiLogPathIsUnsupported) {
    EXPECT_EQ(m_paths->GetUILogPath(), "");
    EXPECT_EQ(m_log.count('W',
                          "Call unsupported on CSIDL value provided to CStoragePath::GetUILogPath returned "
                          "an empty string."),
              1)
        << m_log.dump();
    EXPECT_EQ(m_log.count('*', ""), 1) << m_log.dump();
}

TEST_F(StoragePath, TemporaryFolderFitsIntoFiveBytes) {
    std::string folder = "former";
    EXPECT_EQ(m_paths->getTempPath(folder, 5), 0U);
    EXPECT_EQ(folder, "/tmp/");
    EXPECT_EQ(m_paths->getTempPath(folder, UINT64_MAX), 0U);
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

TEST_F(StoragePath, TemporaryFolderIsGivenThoughItIsTooLong) {
    EXPECT_EQ(CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG, 0xFE9E000CU);
    for (const uint64_t maximum : {0U, 4U}) {
        std::string folder = "former";
        EXPECT_EQ(m_paths->getTempPath(folder, maximum), CSTORAGEPATH_ERROR_TEMPPATH_TOO_BIG);
        EXPECT_EQ(folder, "/tmp/");
    }
}

} // namespace
