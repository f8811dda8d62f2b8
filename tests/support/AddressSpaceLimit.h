#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

/// Leaves the process a quarter of a gigabyte of fresh address space for as long as the object lives: enough
/// for itself and a sanitizer, too little for a thread with a stack of gigabytes.
class AddressSpaceLimit {
public:
    AddressSpaceLimit() {
        EXPECT_EQ(::getrlimit(RLIMIT_AS, &m_former), 0);
        rlim_t pages = 0;
        EXPECT_TRUE(std::ifstream("/proc/self/statm") >> pages);
        rlimit limit = m_former;
        limit.rlim_cur = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (rlim_t{256} << 20U);
        EXPECT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~AddressSpaceLimit() { EXPECT_EQ(::setrlimit(RLIMIT_AS, &m_former), 0); }
    AddressSpaceLimit(const AddressSpaceLimit&) = delete;
    AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

private:
    rlimit m_former{};
};
