#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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
    static constexpr std::size_t kMostDescriptors = 8;

    Reserve() = default;
    ~Reserve() { GiveBack(true); }
    Reserve(const Reserve&) = delete;
    Reserve& operator=(const Reserve&) = delete;

    /// The calling thread works for `reserve` to the end of the scope.
    class Use
    {
    public:
        explicit Use(Reserve& reserve);
        Use(); ///< it works for none: what it opens is nobody's, as in the host's own calls
        ~Use();
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

    private:
        Reserve* const before_;
    };

    void Begin(); ///< a set-up: forgets what was noted

    /// Hold what is missing to `count` in all, of descriptors (at most `kMostDescriptors`) with those that
    /// are open. All or nothing; false is noted.
    bool TakeDescriptors(std::uint32_t count);
    bool TakeThreads(std::uint32_t count);

    /// Ends a set-up: what is held, and with `isAllClosed` also the memory of what is open.
    void GiveBack(bool isAllClosed);

    Shortage Missing() const; ///< the first that was noted since `Begin`

    static void Note(Shortage shortage); ///< for the reserve in use, if there is one
    static Shortage Noted();             ///< of the reserve in use

    /// For the platform. `open` makes `count` descriptors; it gives a negative number for a failure.
    template <class Open>
    static int OpenDescriptors(std::uint32_t count, Open&& open)
    {
        const Opening opening(count);
        return opening.Checked(open());
    }
    static void DescriptorsClosed(std::uint32_t count); ///< right after they were
    static std::shared_ptr<ThreadState> TakeThread();   ///< one that waits for its work; null if none is held

private:
    /// No other reserve takes what this one has just let go of.
    class Opening
    {
    public:
        explicit Opening(std::uint32_t count);
        ~Opening();
        int Checked(int result) const;

    private:
        const std::uint32_t count_;
    };

    bool Hold(std::size_t count);
    void LetGo(std::size_t left);

    bool isSettingUp_ = false;
    Shortage missing_ = Shortage::kNone;
    std::uint32_t open_ = 0;                          // descriptors that came out of it
    std::array<int, kMostDescriptors> descriptors_{}; // that keep the place of others
    std::size_t held_ = 0;                            // of them
    std::vector<std::shared_ptr<ThreadState>> threads_;
};

} // namespace korvane::platform
