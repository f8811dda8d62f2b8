#pragma once

#include "Common/Utility/StoragePath.h"

#include <gtest/gtest.h>

/// Makes instances beside the shared one, and looks into them.
struct StoragePathTestAccess {
    static CStoragePath* makeForeign() {
        uint32_t code = 1;
        // Its receiver, releaseInstance, deletes it.
        auto* const foreign = new CStoragePath(code);
        EXPECT_EQ(code, 0U);
        return foreign;
    }
    /// Lets the suite be installed in a folder of the test, named with its final "/".
    static void setInstallPath(CStoragePath& paths, const std::string& folder) {
        paths.m_installPath = folder;
    }
    static const std::string& secondPath(const CStoragePath& paths) { return paths.m_dataPath; }
    static const std::string& thirdPath(const CStoragePath& paths) { return paths.m_userDataPath; }
    static const std::string& fourthPath(const CStoragePath& paths) { return paths.m_allUsersDataPath; }
};
