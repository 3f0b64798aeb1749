#include "support/host_object.h"

#include "platform/held_locks.h"

#include <gtest/gtest.h>

namespace korvane::test
{

void HostObject::Called() const
{
    EXPECT_EQ(platform::HeldLocks::Count(), 0u) << "the driver calls the host with a lock held";
    EXPECT_FALSE(isEnded_) << "the driver calls the host after the last call that it promised";
}

} // namespace korvane::test
