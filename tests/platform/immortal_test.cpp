#include "platform/immortal.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace corebeacon {
namespace {

int gBuilt = 0;
int gDestroyed = 0;

struct alignas(64) Counted {
    Counted() { ++gBuilt; }
    ~Counted() { ++gDestroyed; }
    int value = 7;
};

TEST(Immortal, BuildsItsObjectOnceAndNeverDestroysIt) {
    gBuilt = 0;
    gDestroyed = 0;
    static_assert(std::is_trivially_destructible_v<Immortal<Counted>>);
    {
        Immortal<Counted> immortal;
        EXPECT_EQ(gBuilt, 1);
        EXPECT_EQ(immortal.Get().value, 7);
        immortal.Get().value = 8;
        EXPECT_EQ(immortal.Get().value, 8);
        EXPECT_EQ(gBuilt, 1);
    }
    EXPECT_EQ(gDestroyed, 0);
}

TEST(Immortal, HoldsItsObjectInItselfAndAligned) {
    Immortal<Counted> immortal;
    static_assert(sizeof(immortal) == sizeof(Counted));
    EXPECT_EQ(static_cast<void*>(&immortal.Get()), static_cast<void*>(&immortal));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&immortal.Get()) % alignof(Counted), 0U);
}

}  // namespace
}  // namespace corebeacon
