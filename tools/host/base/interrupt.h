#pragma once

#include <chrono>

namespace larkmoor::host
{

/// The wish of the person at the keyboard to stop. The first SIGINT, SIGTERM or SIGHUP asks for a clean stop,
/// the second ends the process at once with status 130. One for the process; any thread may look.
class Interrupt
{
public:
    /// Takes the signals over. Call once, before threads are started.
    static void Install();

    static bool Requested();

    /// Waits for `time` at most; returns at once when the wish is or becomes known, and then true.
    static bool WaitFor(std::chrono::milliseconds time);
};

} // namespace larkmoor::host
