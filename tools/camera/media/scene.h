#pragma once

#include "camera/media/canvas.h"

#include <functional>
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
    std::string status;        ///< a line below the clock; none if empty
    double blur = 0;           ///< 0 sharp to 0.5, of the lens
    double light = 1;          ///< brightness of the world, as a factor
    std::vector<bool> outputs; ///< states of the digital outputs, shown as lamps
    std::vector<bool> inputs;  ///< states of the digital inputs, shown as lamps

    bool operator==(const SceneState&) const = default;
};

/// The scene of one video input, drawn by its encoders. Any thread.
class Scene
{
public:
    /// Puts what shows at this moment into the state.
    using Source = std::function<void(SceneState&)>;

    explicit Scene(std::string title) { state_.title = std::move(title); }

    /// Has the scene show what `source` says, whenever somebody looks; it outlives the scene.
    void Follow(Source source)
    {
        const std::lock_guard guard(lock_);
        source_ = std::move(source);
    }

    SceneState State() const
    {
        const std::lock_guard guard(lock_);
        SceneState state = state_;
        if (source_)
            source_(state);
        return state;
    }

private:
    mutable std::mutex lock_; // guards what follows; the source's come behind it
    SceneState state_;
    Source source_;
};

} // namespace larkmoor::camera
