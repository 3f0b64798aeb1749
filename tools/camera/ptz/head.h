#pragma once

#include "camera/media/scene.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <mutex>
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

/// A camera head whose motors take their time. Pan goes from -170 to 170 degrees, tilt from -60 to 30, zoom
/// from 1 to 16; focus and iris from 0 to 1, with 0.5 for what the automatic control keeps. Any thread.
class Head
{
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;

    static constexpr double kFastest = 60;    ///< degrees a second, of pan and tilt
    static constexpr double kFastestZoom = 1; ///< doublings a second

    /// `now` tells the time; tests drive it by hand.
    explicit Head(Now now = Clock::now) : now_(std::move(now)), last_(now_()) {}

    /// Degrees a second; runs on until stopped.
    void Drive(double pan, double tilt);
    void Step(double pan, double tilt); ///< degrees, on from where a step before it leads

    /// Doublings a second; runs on until stopped.
    void Zoom(double doublings)
    {
        Move([&] { zoom_.Run(std::clamp(doublings, -kFastestZoom, kFastestZoom)); });
    }
    /// On from where a step before it leads.
    void StepZoom(double doublings)
    {
        Move([&] { zoom_.Step(doublings, kFastestZoom); });
    }
    void GoTo(const View& view);
    void Stop(); ///< pan, tilt and zoom
    void StopZoom() { Zoom(0); }

    /// Of the whole way, a second; positive is far, and opens.
    void RunFocus(double rate) { RunLens(focus_, autoFocus_, rate); }
    void RunIris(double rate) { RunLens(iris_, autoIris_, rate); }
    void AutoFocus() { LeaveLens(focus_, autoFocus_); }
    void AutoIris() { LeaveLens(iris_, autoIris_); }

    /// Where it looks at this moment.
    View LooksAt();

    /// Puts view, lens and a line of text that tells them into `state`.
    void Show(SceneState& state);

private:
    /// Lets what moves come to where it is now, and does `change`, under the lock.
    template <typename Change>
    void Move(Change change)
    {
        const std::lock_guard guard(lock_);
        Advance();
        change();
    }
    void Advance(); // the lock is held
    void RunLens(Axis& lens, bool& isAuto, double rate);
    void LeaveLens(Axis& lens, bool& isAuto); // to the automatic control
    View Looks() const { return {pan_.At(), tilt_.At(), std::exp2(zoom_.At())}; }

    const Now now_;
    std::mutex lock_; // guards what follows; innermost
    Clock::time_point last_;
    Axis pan_{-170, 170, 0};
    Axis tilt_{-60, 30, 0};
    Axis zoom_{0, 4, 0}; // doublings
    Axis focus_{0, 1, 0.5};
    Axis iris_{0, 1, 0.5};
    bool autoFocus_ = true;
    bool autoIris_ = true;
};

} // namespace larkmoor::camera
