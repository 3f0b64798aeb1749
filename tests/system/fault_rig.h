#pragma once

#include "system/rig.h"

#include <cstddef>
#include <string>
#include <vector>

namespace larkmoor::test
{

/// What a fault does to a stream for as long as it lasts.
enum class Effect
{
    GoesOn,   ///< frames come, and the channel stays in state 0
    Recovers, ///< the channel goes to state 2 and back to 0 with frames, under the fault
    Lost,     ///< the channel goes to state 2
    Quiet,    ///< no frame comes, whatever the state
};

inline constexpr auto kGoesOn = Effect::GoesOn;
inline constexpr auto kRecovers = Effect::Recovers;
inline constexpr auto kLost = Effect::Lost;
inline constexpr auto kQuiet = Effect::Quiet;
inline constexpr auto kNoAuth = camera::AuthScheme::None;
inline constexpr auto kDigest = camera::AuthScheme::Digest;
inline constexpr auto kBasic = camera::AuthScheme::Basic;

/// A fault that is played to two hosts of one camera: one that already gets frames, and one that starts then.
/// Behind the fault both must get frames again, by themselves.
struct FaultRow
{
    const char* faults; ///< as the camera takes them
    Effect running;     ///< to the stream that was there
    Effect starting;    ///< to the stream that is started under the fault
    const char* why;    ///< what the driver does, where that is not plain

    bool exact = true; ///< all frames stand in the camera's truth; else each must be explained by its units
    camera::AuthScheme auth = camera::AuthScheme::None;
    std::vector<std::string> parameters = {}; ///< of the camera
    std::size_t frames = 30;                  ///< that must come while a stream goes on
    std::vector<std::string> always = {};     ///< faults that the camera plays from its start to its end
};

/// Plays the rows, some at once, each with a camera and hosts of its own, and tells the test what went wrong.
/// Prints a table of what was seen. The camera is as `base` says but for what the rows name.
void PlayRows(const std::vector<FaultRow>& rows, const camera::CameraOptions& base, host::Codec codec,
              host::Transport transport);

} // namespace larkmoor::test
