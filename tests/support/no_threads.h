/// A system that grants no further thread while this lives. Only with the GNU C library; elsewhere
/// the tests that need it are left out. Owned by a test.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>

#if defined(__GLIBC__)

namespace corebeacon::test {

class NoThreads {
public:
    NoThreads() {
        EXPECT_EQ(pthread_getattr_default_np(&mAttributes), 0);
        EXPECT_EQ(pthread_attr_getstacksize(&mAttributes, &mStackSize), 0);
        SetStackSize(std::size_t{1} << 60U);  // larger than the address space
    }
    ~NoThreads() {
        SetStackSize(mStackSize);
        pthread_attr_destroy(&mAttributes);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    void SetStackSize(std::size_t size) {
        EXPECT_EQ(pthread_attr_setstacksize(&mAttributes, size), 0);
        EXPECT_EQ(pthread_setattr_default_np(&mAttributes), 0);
    }

    pthread_attr_t mAttributes;
    std::size_t mStackSize = 0;
};

}  // namespace corebeacon::test
#endif
