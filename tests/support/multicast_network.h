#pragma once

#include <functional>

namespace korvane::test
{

/// Runs `body` on a thread that has a network of its own, with a loopback on which groups can be joined, so
/// that a test needs no route of the machine's. False, with `body` not run, where the system does not let the
/// user make one. Threads that `body` starts live in that network too.
bool RunInMulticastNetwork(const std::function<void()>& body);

} // namespace korvane::test
