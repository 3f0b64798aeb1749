#pragma once

#include "camera/media/scene.h"
#include "camera/ptz/axis.h"

#include <chrono>
#include <functional>
#include <mutex>

namespace larkmoor::camera
{

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

    void Drive(double pan, double tilt); ///< degrees a second; runs on until stopped
    void Step(double pan, double tilt);  ///< degrees, on from where a step before it leads
    void Zoom(double doublings);         ///< a second; runs on until stopped
    void StepZoom(double doublings);     ///< on from where a step before it leads
    void GoTo(const View& view);
    void Stop(); ///< pan, tilt and zoom
    void StopZoom();

    void RunFocus(double rate); ///< of the whole way, a second; positive is far
    void RunIris(double rate);  ///< the same; positive opens
    void AutoFocus();
    void AutoIris();

    /// Where it looks at this moment.
    View LooksAt();

    /// Puts view, lens and a line of text that tells them into `state`.
    void Show(SceneState& state);

private:
    void Advance(); // the lock is held

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
