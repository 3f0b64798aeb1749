#pragma once

#include <algorithm>
#include <optional>

namespace larkmoor::camera
{

/// One motor of a head: where it stands, between two ends, and what it is doing. Units are the caller's; no
/// clock of its own. One thread at a time.
class Axis
{
public:
    Axis(double low, double high, double at) : low_(low), high_(high), at_(at) {}

    double At() const { return at_; }

    /// Runs on, `rate` units a second, until told otherwise or at an end; 0 stops.
    void Run(double rate)
    {
        rate_ = rate;
        target_.reset();
    }

    /// Runs to `target`, or to the end before it, and stops there. `speed` in units a second, above 0.
    void GoTo(double target, double speed)
    {
        target_ = std::clamp(target, low_, high_);
        rate_ = *target_ < at_ ? -speed : speed;
    }

    /// As `GoTo`, from the place that the motor is on its way to, so that steps add up.
    void Step(double by, double speed) { GoTo(target_.value_or(at_) + by, speed); }

    /// Lets `seconds` pass.
    void Advance(double seconds)
    {
        const double next = std::clamp(at_ + rate_ * seconds, low_, high_);
        const bool arrives = target_ && (rate_ < 0 ? next <= *target_ : next >= *target_);
        at_ = arrives ? *target_ : next;
        if (arrives)
            Run(0);
    }

private:
    double low_;
    double high_;
    double at_;
    double rate_ = 0;
    std::optional<double> target_;
};

} // namespace larkmoor::camera
