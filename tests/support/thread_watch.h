#pragma once

#include <cstdint>

namespace korvane::test
{

/// Waits until the thread with the system's id `threadId` sleeps in the kernel; false if it doesn't.
bool WaitUntilAsleep(std::uint32_t threadId);

/// Waits until the thread was halted for good, as a given-up one is at the end of its call.
bool WaitUntilHalted(std::uint32_t threadId);

/// Descriptors that the process has open.
int CountOpenDescriptors();

} // namespace korvane::test
