#pragma once

#include "StoragePath.h"

#include <gtest/gtest.h>

/// Makes instances beside the shared one.
struct StoragePathTestAccess {
    static CStoragePath* makeForeign() {
        uint32_t code = 1;
        // Its receiver, releaseInstance, deletes it.
        auto* const foreign = new CStoragePath(code);
        EXPECT_EQ(code, 0U);
        return foreign;
    }
    static const std::string& secondPath(const CStoragePath& paths) { return paths.m_dataPath; }
    static const std::string& thirdPath(const CStoragePath& paths) { return paths.m_userDataPath; }
    static const std::string& fourthPath(const CStoragePath& paths) { return paths.m_allUsersDataPath; }
};
