#pragma once

#include "Common/Policy/PolicySettings.h"
#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Sandbox.h"
#include "tests/support/StoragePathAccess.h"

#include <string>
#include <vector>

/// Makes instances beside the shared one, and puts the process back to where no file was read yet.
struct LocalPolicyTestAccess {
    static XmlLocalTLPolMgr* makeForeign() {
        // Its receiver, releaseInstance, deletes it.
        return new XmlLocalTLPolMgr();
    }
    static void forgetFipsMode() { XmlLocalTLPolMgr::m_fipsState = 0; }
};

/// Fixture with a policy of its own, whose file is in the private folder.
class LocalPolicyTest : public Sandbox {
protected:
    void SetUp() override {
        ASSERT_EQ(CStoragePath::CreateSingletonInstance(m_paths), 0U);
        StoragePathTestAccess::setInstallPath(*m_paths, path() + "/");
        LocalPolicyTestAccess::forgetFipsMode();
        ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(m_policy), 0U);
    }
    void TearDown() override {
        XmlLocalTLPolMgr::releaseInstance(m_policy);
        CStoragePath::releaseInstance(m_paths);
    }

    /// Writes a policy with this inside its root.
    void writePolicy(const std::string& content) const {
        writeFile(kFile, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<TrellinkLocalPolicy>" + content +
                             "</TrellinkLocalPolicy>\n");
    }
    /// Reads a policy with this inside its root.
    LocalTLPolicyInfo load(const std::string& content) {
        writePolicy(content);
        EXPECT_EQ(m_policy->LoadLocalTrellinkPolicy(), 0U) << m_log.dump();
        return m_policy->getLocalPolicyInfo();
    }
    /// The settings that differ from the defaults, as "Element=value".
    static std::vector<std::string> changes(const LocalTLPolicyInfo& info) {
        const LocalTLPolicyInfo defaults;
        std::vector<std::string> changed;
        for (const PolicySetting& setting : PolicySettings::all()) {
            if (const std::string value = setting.show(info); value != setting.show(defaults)) {
                changed.push_back(std::string(setting.element) + "=" + value);
            }
        }
        return changed;
    }

    static constexpr const char* kFile = "TrellinkLocalPolicy.xml";
    static constexpr const char* kMisplaced = "Local Policy XML structure is incorrect.";

    CapturedLog m_log;
    CStoragePath* m_paths = nullptr;
    XmlLocalTLPolMgr* m_policy = nullptr;
};
