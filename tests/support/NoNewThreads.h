#pragma once

#include "tests/support/AddressSpaceLimit.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <pthread.h>

/// Makes threads of default attributes ask for more stack than there is, for as long as the object lives:
/// pthread_create fails with EAGAIN.
class NoNewThreads {
public:
    /// @param stackBytes  what each thread asks for. A quarter of a gigabyte is there for all of them.
    explicit NoNewThreads(std::size_t stackBytes = std::size_t{4} << 30U) {
        EXPECT_EQ(::pthread_getattr_default_np(&m_former), 0);
        pthread_attr_t huge;
        EXPECT_EQ(::pthread_attr_init(&huge), 0);
        EXPECT_EQ(::pthread_attr_setstacksize(&huge, stackBytes), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
        ::pthread_attr_destroy(&huge);
    }
    ~NoNewThreads() {
        EXPECT_EQ(::pthread_setattr_default_np(&m_former), 0);
        ::pthread_attr_destroy(&m_former);
    }
    NoNewThreads(const NoNewThreads&) = delete;
    NoNewThreads& operator=(const NoNewThreads&) = delete;

private:
    pthread_attr_t m_former{};
    AddressSpaceLimit m_limit;
};
