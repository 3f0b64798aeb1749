#pragma once

#include <atomic>

namespace korvane::test
{

/// The base of every object of a test's host. Each operation begins with `Called`, which fails the test when
/// the driver calls with one of its locks held, or when no call was to come any more. Any thread.
class HostObject
{
public:
    /// The last call that was promised has been made: the driver has returned from a stop, say, or has
    /// released the frame.
    void EndCalls() { isEnded_ = true; }
    void ExpectCalls() { isEnded_ = false; } ///< again, after `EndCalls`

protected:
    HostObject() = default;
    ~HostObject() = default;

    void Called() const;

    template <typename Value>
    Value Answer(Value value) const ///< of an operation that only gives a value
    {
        Called();
        return value;
    }

private:
    std::atomic<bool> isEnded_{false};
};

} // namespace korvane::test
