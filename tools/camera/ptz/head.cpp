#include "camera/ptz/head.h"

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
    Move(
        [&]
        {
            pan_.Run(std::clamp(pan, -kFastest, kFastest));
            tilt_.Run(std::clamp(tilt, -kFastest, kFastest));
        });
}

void Head::Step(double pan, double tilt)
{
    Move(
        [&]
        {
            if (pan != 0)
                pan_.Step(pan, kStepSpeed);
            if (tilt != 0)
                tilt_.Step(tilt, kStepSpeed);
        });
}

void Head::GoTo(const View& view)
{
    Move(
        [&]
        {
            pan_.GoTo(view.pan, kFastest);
            tilt_.GoTo(view.tilt, kFastest);
            zoom_.GoTo(std::log2(std::max(view.zoom, 1.0)), 2 * kFastestZoom);
        });
}

void Head::Stop()
{
    Move(
        [&]
        {
            for (Axis* const axis : {&pan_, &tilt_, &zoom_})
                axis->Run(0);
        });
}

void Head::RunLens(Axis& lens, bool& isAuto, double rate)
{
    Move(
        [&]
        {
            isAuto = false;
            lens.Run(rate);
        });
}

void Head::LeaveLens(Axis& lens, bool& isAuto)
{
    Move(
        [&]
        {
            isAuto = true;
            lens.GoTo(kLensMiddle, kLensSpeed);
        });
}

View Head::LooksAt()
{
    View view;
    Move([&] { view = Looks(); });
    return view;
}

void Head::Show(SceneState& state)
{
    const std::lock_guard guard(lock_);
    Advance();
    state.view = Looks();
    state.blur = std::abs(focus_.At() - kLensMiddle);
    state.light = std::exp2(4 * (iris_.At() - kLensMiddle));
    char text[80];
    std::snprintf(text, sizeof text, "PAN %+.1f TILT %+.1f ZOOM %.1f%s%s", state.view.pan, state.view.tilt,
                  state.view.zoom, autoFocus_ ? "" : " FOCUS", autoIris_ ? "" : " IRIS");
    state.status = text;
}

} // namespace larkmoor::camera
