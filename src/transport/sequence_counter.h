#pragma once

#include <atomic>
#include <cstdint>

namespace korvane
{

/// Follows the sequence numbers of one RTP stream through wraps, losses and restarts (RFC 3550, appendix A.1,
/// without probation). One thread counts; any may begin afresh or look meanwhile. No lock, and no atomic
/// operation that costs more than a load or a store.
class SequenceCounter
{
public:
    /// Takes the number of the next packet that arrived; the first one starts the count.
    void Update(std::uint16_t sequence)
    {
        if (const std::uint32_t run = run_.load(std::memory_order_acquire); run != ownRun_)
        {
            ownRun_ = run;
            Start(sequence);
        }
        const auto delta = static_cast<std::uint16_t>(sequence - maximum_);
        if (delta < kMaxDropout)
        {
            if (sequence < maximum_)
                cycles_ += kModulus;
            maximum_ = sequence;
        }
        else if (delta < kModulus - kMaxMisorder + 1)
        {
            if (sequence != bad_)
            {
                bad_ = (sequence + 1u) % kModulus;
                return; // a leap counts only when the next packet confirms it
            }
            Start(sequence);
        }
        ++received_;
        highest_.store(std::uint64_t{ownRun_} << 32 | (cycles_ + maximum_), std::memory_order_relaxed);
    }

    /// The next packet begins the count. Callers serialise it.
    void Restart() { run_.store(run_.load(std::memory_order_relaxed) + 1, std::memory_order_release); }

    /// The highest number so far, with the count of wraps in its upper half; 0 before the first packet.
    std::uint32_t ExtendedHighest() const
    {
        const std::uint64_t highest = highest_.load(std::memory_order_relaxed);
        return highest >> 32 == run_.load(std::memory_order_relaxed) ? static_cast<std::uint32_t>(highest)
                                                                     : 0;
    }

    std::uint32_t Received() const { return received_; } ///< packets that counted since the start

private:
    static constexpr std::uint32_t kModulus = 65536;
    static constexpr std::uint32_t kMaxDropout = 3000;
    static constexpr std::uint32_t kMaxMisorder = 100;

    void Start(std::uint16_t sequence)
    {
        maximum_ = sequence;
        cycles_ = 0;
        bad_ = kModulus + 1; // no number
        received_ = 0;
    }

    std::atomic<std::uint32_t> run_{1};
    std::atomic<std::uint64_t> highest_{0}; // below the run that it belongs to
    // The counting thread's:
    std::uint32_t ownRun_ = 0;
    std::uint16_t maximum_ = 0;
    std::uint32_t cycles_ = 0; // in steps of 65,536
    std::uint32_t bad_ = kModulus + 1;
    std::uint32_t received_ = 0;
};

} // namespace korvane
