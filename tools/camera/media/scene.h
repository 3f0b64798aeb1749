#pragma once

#include "camera/media/canvas.h"

#include <mutex>
#include <string>
#include <vector>

namespace larkmoor::camera
{

/// Where a camera looks.
struct View
{
    double pan = 0;  ///< degrees of the picture's middle, -180 to 180, growing to the right
    double tilt = 0; ///< degrees, -90 (down) to 90 (up)
    double zoom = 1; ///< 1 shows kWidestField degrees across, 2 half of that

    bool operator==(const View&) const = default;
};

inline constexpr double kWidestField = 60;

/// The world in front of the cameras: a street of houses under a grid of degrees, the same from run to run.
/// Draws what `view` sees of it over the whole of `canvas`.
void DrawWorld(Canvas& canvas, const View& view);

/// What a video input shows beside the world.
struct SceneState
{
    View view;
    std::string title;         ///< the first line of text in the picture
    std::vector<bool> outputs; ///< states of the digital outputs, shown as lamps
    std::vector<bool> inputs;  ///< states of the digital inputs, shown as lamps

    bool operator==(const SceneState&) const = default;
};

/// The scene of one video input, changed by the device's commands and drawn by its encoders. Any thread.
class Scene
{
public:
    explicit Scene(std::string title) { state_.title = std::move(title); }

    SceneState State() const
    {
        const std::lock_guard guard(lock_);
        return state_;
    }

    void SetView(const View& view)
    {
        const std::lock_guard guard(lock_);
        state_.view = view;
    }

    void SetOutputs(std::vector<bool> outputs)
    {
        const std::lock_guard guard(lock_);
        state_.outputs = std::move(outputs);
    }

    void SetInputs(std::vector<bool> inputs)
    {
        const std::lock_guard guard(lock_);
        state_.inputs = std::move(inputs);
    }

private:
    mutable std::mutex lock_; // guards the state; innermost
    SceneState state_;
};

} // namespace larkmoor::camera
