#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace korvane::platform
{

class ThreadState;

/// What a process can run out of.
enum class Shortage : std::uint8_t
{
    kNone,
    kDescriptors,
    kThreads,
    kMemory,
    kPorts,
};

/// The descriptors and threads that one stream needs: held from the beginning of its set-up, so that of many
/// at once each has all or nothing, and remembered while it runs.
///
/// What `Socket`, the HTTP service and `Thread` open on a thread that is in a `Use` comes out of what is
/// held, and a descriptor that they close there during a set-up is held again. A failure there for want of
/// something is noted. `GiveBack` may come from any thread, the rest from one at a time.
class Reserve
{
public:
    ~Reserve() { GiveBack(true); }

    /// The calling thread works for `reserve` to the end of the scope. With null it works for none: what it
    /// opens is nobody's, as in the host's own calls.
    class Use
    {
    public:
        explicit Use(Reserve* reserve);
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        Reserve* const before_;
    };

    /// A set-up: forgets what was noted, and holds as many descriptors as `descriptors` lacks with those that
    /// are open. False, which is noted, if they are not to be had.
    bool Begin(std::uint32_t descriptors);

    /// Holds `count` threads. False, which is noted, if they can't be made. In a `Use`.
    bool TakeThreads(std::uint32_t count);

    /// Ends a set-up: what is held, and with `isAllClosed` also the memory of what is open.
    void GiveBack(bool isAllClosed);

    Shortage Missing() const { return missing_; } ///< the first that was noted since `Begin`

    static void Note(Shortage shortage); ///< for the reserve in use, if there is one
    static Shortage Noted();             ///< of the reserve in use

    /// For the platform. `open` makes `count` descriptors; it gives a negative number for a failure.
    static int OpenDescriptors(std::uint32_t count, const std::function<int()>& open);
    static void DescriptorsClosed(std::uint32_t count); ///< right after they were
    static std::shared_ptr<ThreadState> TakeThread();   ///< one that waits for its work; null if none is held

private:
    bool Hold();
    void LetGo(std::size_t count);

    std::atomic<Shortage> missing_{Shortage::kNone};
    std::uint32_t needed_ = 0; // descriptors, in a set-up
    std::uint32_t open_ = 0;   // descriptors that came out of it
    std::vector<int> held_;    // descriptors that keep the place of others
    std::vector<std::shared_ptr<ThreadState>> threads_;
};

} // namespace korvane::platform
