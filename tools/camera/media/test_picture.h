#pragma once

#include "camera/media/canvas.h"
#include "camera/media/scene.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace larkmoor::camera
{

/// The picture of one stream: what the scene's view shows, with a title, a running clock and the frame's
/// number as text and as a bar code, lamps for inputs and outputs, and parts that move and glitter, so that
/// an encoder has work to do. Only what changes from frame to frame is drawn anew. One thread at a time.
class TestPicture
{
public:
    /// Width and height in pixels, both even.
    TestPicture(int width, int height);

    /// Draws frame `number`, taken at `time`, and gives it; it stands until the next call. `note` is the
    /// second line of text: what the stream is.
    Canvas& Draw(const SceneState& state, const std::string& note, std::uint64_t number,
                 std::chrono::system_clock::time_point time);

    /// The low 32 bits of the frame number from the bar code of a decoded picture's luma plane: works after
    /// any sensible coding. `stride` in bytes from row to row.
    static std::uint32_t ReadNumber(const std::uint8_t* luma, int stride, int width, int height);

private:
    void DrawBase(const SceneState& state, const std::string& note);
    void DrawLamps(const char* name, const std::vector<bool>& states, int y);
    void DrawGlitter(std::uint64_t number);
    void DrawMovers(std::uint64_t number);
    void DrawClock(std::uint64_t number, std::chrono::system_clock::time_point time);
    void DrawBarCode(std::uint64_t number);

    Rect Changing(const Rect& area);

    int width_;
    int height_;
    int scale_;   // of the text
    Canvas base_; // what stays from frame to frame
    Canvas picture_;
    std::optional<SceneState> shown_; // by base_
    std::string shownNote_;
    std::vector<Rect> changed_; // of picture_ against base_
    std::vector<std::uint8_t> glitter_;
};

} // namespace larkmoor::camera
