#include "Common/Utility/memory/InstanceSmartPtr.h"

#include "Common/Policy/XmlLocalTLPolMgr.h"
#include "Common/Utility/StoragePath.h"

#include <gtest/gtest.h>

namespace {

TEST(InstanceSmartPtr, IsNullWithoutAnInstance) {
    const CInstanceSmartPtr<CStoragePath> paths;
    EXPECT_FALSE(paths);
    EXPECT_EQ(paths.operator->(), nullptr);
    const CInstanceSmartPtr<XmlLocalTLPolMgr> policy;
    EXPECT_FALSE(policy);
}

TEST(InstanceSmartPtr, HoldsAReference) {
    CStoragePath* first = nullptr;
    ASSERT_EQ(CStoragePath::CreateSingletonInstance(first), 0U);
    {
        const CInstanceSmartPtr<CStoragePath> paths;
        ASSERT_TRUE(paths);
        EXPECT_EQ(&*paths, first);
        EXPECT_EQ(CStoragePath::getReferenceCount(), 2U);
        const CInstanceSmartPtr<CStoragePath> more;
        EXPECT_EQ(CStoragePath::getReferenceCount(), 3U);
    }
    EXPECT_EQ(CStoragePath::getReferenceCount(), 1U);
    CStoragePath::releaseInstance(first);
}

TEST(InstanceSmartPtr, KeepsTheInstanceAliveAlone) {
    CStoragePath* first = nullptr;
    ASSERT_EQ(CStoragePath::CreateSingletonInstance(first), 0U);
    const CInstanceSmartPtr<CStoragePath> paths;
    CStoragePath::releaseInstance(first);
    EXPECT_EQ(paths->getInstallPath(), "/opt/varnel/corvane/");
}

TEST(InstanceSmartPtr, GivesThePolicy) {
    XmlLocalTLPolMgr* first = nullptr;
    ASSERT_EQ(XmlLocalTLPolMgr::CreateSingletonInstance(first), 0U);
    {
        const CInstanceSmartPtr<XmlLocalTLPolMgr> policy;
        ASSERT_TRUE(policy);
        XmlLocalTLPolMgr::releaseInstance(first);
        EXPECT_FALSE(policy->getLocalPolicyInfo().getBypassDefaultLocalization());
    }
    EXPECT_EQ(XmlLocalTLPolMgr::acquireInstance(), nullptr);
}

} // namespace
