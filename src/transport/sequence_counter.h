#pragma once

#include <cstdint>

namespace korvane
{

/// Follows the sequence numbers of one RTP stream through wraps, losses and restarts (RFC 3550, appendix A.1,
/// without probation). No lock.
class SequenceCounter
{
public:
    /// Takes the number of the next packet that arrived; the first one starts the count.
    void Update(std::uint16_t sequence)
    {
        if (!started_)
            Start(sequence);
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
    }

    /// The highest number so far, with the count of wraps in its upper half.
    std::uint32_t ExtendedHighest() const { return cycles_ + maximum_; }

    std::uint32_t Received() const { return received_; } ///< packets that counted since the start

private:
    static constexpr std::uint32_t kModulus = 65536;
    static constexpr std::uint32_t kMaxDropout = 3000;
    static constexpr std::uint32_t kMaxMisorder = 100;

    void Start(std::uint16_t sequence)
    {
        started_ = true;
        maximum_ = sequence;
        cycles_ = 0;
        bad_ = kModulus + 1; // no number
        received_ = 0;
    }

    bool started_ = false;
    std::uint16_t maximum_ = 0;
    std::uint32_t cycles_ = 0; // in steps of 65,536
    std::uint32_t bad_ = kModulus + 1;
    std::uint32_t received_ = 0;
};

} // namespace korvane
