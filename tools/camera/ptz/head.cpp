#include "camera/ptz/head.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr double kStepSpeed = 20; // degrees a second, of a single step
constexpr double kLensMiddle = 0.5;
constexpr double kLensSpeed = 1; // of the automatic control, on its way back to the middle

} // namespace

void Head::Advance()
{
    const Clock::time_point now = now_();
    const double seconds = std::chrono::duration<double>(now - std::exchange(last_, now)).count();
    for (Axis* const axis : {&pan_, &tilt_, &zoom_, &focus_, &iris_})
        axis->Advance(seconds);
}

void Head::Drive(double pan, double tilt)
{
    const std::lock_guard guard(lock_);
    Advance();
    pan_.Run(std::clamp(pan, -kFastest, kFastest));
    tilt_.Run(std::clamp(tilt, -kFastest, kFastest));
}

void Head::Step(double pan, double tilt)
{
    const std::lock_guard guard(lock_);
    Advance();
    if (pan != 0)
        pan_.Step(pan, kStepSpeed);
    if (tilt != 0)
        tilt_.Step(tilt, kStepSpeed);
}

void Head::Zoom(double doublings)
{
    const std::lock_guard guard(lock_);
    Advance();
    zoom_.Run(std::clamp(doublings, -kFastestZoom, kFastestZoom));
}

void Head::StepZoom(double doublings)
{
    const std::lock_guard guard(lock_);
    Advance();
    zoom_.Step(doublings, kFastestZoom);
}

void Head::GoTo(const View& view)
{
    const std::lock_guard guard(lock_);
    Advance();
    pan_.GoTo(view.pan, kFastest);
    tilt_.GoTo(view.tilt, kFastest);
    zoom_.GoTo(std::log2(std::max(view.zoom, 1.0)), 2 * kFastestZoom);
}

void Head::Stop()
{
    const std::lock_guard guard(lock_);
    Advance();
    for (Axis* const axis : {&pan_, &tilt_, &zoom_})
        axis->Run(0);
}

void Head::StopZoom()
{
    const std::lock_guard guard(lock_);
    Advance();
    zoom_.Run(0);
}

void Head::RunFocus(double rate)
{
    const std::lock_guard guard(lock_);
    Advance();
    autoFocus_ = false;
    focus_.Run(rate);
}

void Head::RunIris(double rate)
{
    const std::lock_guard guard(lock_);
    Advance();
    autoIris_ = false;
    iris_.Run(rate);
}

void Head::AutoFocus()
{
    const std::lock_guard guard(lock_);
    Advance();
    autoFocus_ = true;
    focus_.GoTo(kLensMiddle, kLensSpeed);
}

void Head::AutoIris()
{
    const std::lock_guard guard(lock_);
    Advance();
    autoIris_ = true;
    iris_.GoTo(kLensMiddle, kLensSpeed);
}

View Head::LooksAt()
{
    const std::lock_guard guard(lock_);
    Advance();
    return {pan_.At(), tilt_.At(), std::exp2(zoom_.At())};
}

void Head::Show(SceneState& state)
{
    const std::lock_guard guard(lock_);
    Advance();
    state.view = {pan_.At(), tilt_.At(), std::exp2(zoom_.At())};
    state.blur = std::abs(focus_.At() - kLensMiddle);
    state.light = std::exp2(4 * (iris_.At() - kLensMiddle));
    char text[80];
    std::snprintf(text, sizeof text, "PAN %+.1f TILT %+.1f ZOOM %.1f%s%s", state.view.pan, state.view.tilt,
                  state.view.zoom, autoFocus_ ? "" : " FOCUS", autoIris_ ? "" : " IRIS");
    state.status = text;
}

} // namespace larkmoor::camera
