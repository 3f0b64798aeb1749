#pragma once

#include <atomic>

namespace korvane::platform
{

/// Keeps a thread's wait in a handle and the end of that handle apart. The thread may have been given up
/// while it waited, and then never comes back to tell.
class PollGate
{
public:
    /// False once it is shut: there is nothing left to wait in.
    bool Enter()
    {
        int state = kOpen;
        return state_.compare_exchange_strong(state, kInside);
    }

    void Leave()
    {
        state_ = kOpen;
        state_.notify_all();
    }

    /// Returns when nobody waits and nobody will; `wake` ends a wait that is going on.
    template <typename Wake>
    void Shut(const Wake& wake)
    {
        for (int state = kOpen; !state_.compare_exchange_weak(state, kShut) && state != kShut; state = kOpen)
        {
            if (state != kInside)
                continue;
            wake();
            state_.wait(kInside);
        }
    }

private:
    static constexpr int kOpen = 0;
    static constexpr int kInside = 1;
    static constexpr int kShut = 2;
    std::atomic<int> state_{kOpen};
};

} // namespace korvane::platform
