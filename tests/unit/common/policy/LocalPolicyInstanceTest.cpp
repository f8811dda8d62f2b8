#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/common/policy/LocalPolicyTest.h"

namespace {

class LocalPolicyInstance : public LocalPolicyTest {};

TEST(LocalPolicyWithoutInstance, CannotBeAcquired) {
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), nullptr);
    XmlLocalTLPolMgr::releaseInstance(nullptr);
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), nullptr);
}

TEST_F(LocalPolicyInstance, SecondCreationYieldsAlreadyInitializedAndNull) {
    XmlLocalTLPolMgr* second = m_policy;
    EXPECT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(second), XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED, 0xFEB60008U);
}

TEST_F(LocalPolicyInstance, StaysUntilTheLastReferenceIsDropped) {
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), m_policy);
    XmlLocalTLPolMgr::releaseInstance(m_policy);
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), m_policy);
    XmlLocalTLPolMgr::releaseInstance(m_policy);
    XmlLocalTLPolMgr::releaseInstance(m_policy);
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), nullptr);
    EXPECT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(m_policy), 0U);
    EXPECT_NE(m_policy, nullptr);
}

// That it is gone afterwards shows under the leak checker.
TEST_F(LocalPolicyInstance, ForeignInstanceIsDeletedAndNotCounted) {
    XmlLocalTLPolMgr::releaseInstance(LocalPolicyTestAccess::makeForeign());
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), m_policy);
    XmlLocalTLPolMgr::releaseInstance(m_policy);
}

TEST_F(LocalPolicyInstance, TellsWhereItsFileIs) {
    std::string directory;
    std::string fileName;
    EXPECT_EQ(m_policy->GetLocalPolicyLocation(directory, fileName), 0U);
    EXPECT_EQ(directory, path() + "/");
    EXPECT_EQ(fileName, "TrellinkLocalPolicy.xml");
    EXPECT_EQ(XmlLocalTLPolMgr::getLocalSecurityPolicyDir(), path() + "/");
    EXPECT_TRUE(m_log.lines().empty()) << m_log.dump();
}

/// A policy while nobody knows where the suite is installed; the current folder has a policy all the same.
class LocalPolicyWithoutPaths : public LocalPolicyInstance {
protected:
    void SetUp() override {
        LocalPolicyInstance::SetUp();
        writePolicy("<BypassDownloader>true</BypassDownloader>");
        CStoragePath::releaseInstance(m_paths);
    }
    void TearDown() override {
        EXPECT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
        LocalPolicyInstance::TearDown();
    }
    void expectLogged(const std::string& function) const {
        EXPECT_TRUE(m_log.containsCode('E', function, "XmlLocalTLPolMgr::getLocalSecurityPolicyDir",
                                       CSTORAGEPATH_ERROR_NO_INSTANCE))
            << m_log.dump();
    }
};

TEST_F(LocalPolicyWithoutPaths, HasNoFolder) {
    EXPECT_EQ(XmlLocalTLPolMgr::getLocalSecurityPolicyDir(), "");
    expectLogged("getLocalSecurityPolicyDir");
}

TEST_F(LocalPolicyWithoutPaths, HasNoLocation) {
    std::string directory = "former";
    std::string fileName = "former";
    EXPECT_EQ(m_policy->GetLocalPolicyLocation(directory, fileName), CSTORAGEPATH_ERROR_NO_INSTANCE);
    EXPECT_EQ(directory, "");
    expectLogged("GetLocalPolicyLocation");
}

TEST_F(LocalPolicyWithoutPaths, IsNotReadFromTheCurrentFolder) {
    EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), CSTORAGEPATH_ERROR_NO_INSTANCE);
    EXPECT_FALSE(m_policy->getLocalPolicyInfo().getBypassDownloader());
}

TEST_F(LocalPolicyWithoutPaths, IsNotWrittenToTheCurrentFolder) {
    const std::string former = readFile(kFile);
    const char* const arguments[] = {"bd=false"};
    EXPECT_FALSE(m_policy->GenerateLocalPolicy(arguments, 1, true));
    EXPECT_EQ(readFile(kFile), former);
    EXPECT_FALSE(m_log.contains('E', "ZMTSaxWriter")) << m_log.dump();
}

} // namespace
