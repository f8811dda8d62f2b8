#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/support/StoragePathAccess.h"
#include "tests/wizard/WizardFixture.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* kPolicyFile = "TrellinkLocalPolicy.xml";

/// A wizard of a suite that is installed in the private folder.
class LocalPolicy : public Wizard {
public:
    ~LocalPolicy() override {
        m_window.reset();
        CStoragePath::releaseInstance(m_paths);
    }

protected:
    LocalPolicy() {
        EXPECT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
        StoragePathTestAccess::setInstallPath(*m_paths, path() + "/");
    }

    CStoragePath* m_paths = nullptr;
};

TEST_F(LocalPolicy, IsLoadedWithTheWindow) {
    writeFile(kPolicyFile, "<TrellinkLocalPolicy><FipsMode>true</FipsMode><BypassDownloader>true"
                           "</BypassDownloader></TrellinkLocalPolicy>");
    open();
    XmlLocalTLPolMgr* const policy = XmlLocalTLPolMgr::acquireInstance();
    ASSERT_NE(policy, nullptr);
    EXPECT_TRUE(policy->getLocalPolicyInfo().getBypassDownloader());
    EXPECT_TRUE(policy->isFipsEnabled());
    XmlLocalTLPolMgr::releaseInstance(policy);
    EXPECT_TRUE(m_log->contains('I', "FIPS mode is enabled.")) << m_log->dump();
    m_window.reset();
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), nullptr);
}

TEST_F(LocalPolicy, ThatIsMissingLeavesTheDefaultsWithoutAWord) {
    open();
    EXPECT_EQ(page(), 0);
    EXPECT_EQ(m_log->count('E', ""), 0) << m_log->dump();
    XmlLocalTLPolMgr* const policy = XmlLocalTLPolMgr::acquireInstance();
    ASSERT_NE(policy, nullptr);
    EXPECT_FALSE(policy->getLocalPolicyInfo().getBypassDefaultLocalization());
    XmlLocalTLPolMgr::releaseInstance(policy);
}

TEST_F(LocalPolicy, ThatIsBrokenIsLoggedAndTheWizardRuns) {
    writeFile(kPolicyFile, "<TrellinkLocalPolicy><BypassDownloader>");
    open();
    EXPECT_EQ(page(), 0);
    EXPECT_TRUE(m_log->containsCode('E', "loadLocalPolicy", "XmlLocalTLPolMgr::LoadLocalTrellinkPolicy",
                                    GLOBAL_ERROR_UNEXPECTED))
        << m_log->dump();
}

TEST_F(LocalPolicy, OfAnotherIsLoggedAndTheWizardRuns) {
    XmlLocalTLPolMgr* other = nullptr;
    ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(other), 0U);
    open();
    EXPECT_EQ(page(), 0);
    EXPECT_TRUE(m_log->containsCode('E', "loadLocalPolicy", "XmlLocalTLPolMgr::createSingletonInstance",
                                    XMLLOCALTLPOLMGR_ERROR_ALREADY_INITIALIZED))
        << m_log->dump();
    m_window.reset();
    XmlLocalTLPolMgr::releaseInstance(other);
}

} // namespace
