#pragma once

#include <cstdint>
#include <string>

namespace korvane
{

/// How many audio channels a device has in one direction. Travels through the host as a text, written by the
/// capability query and read back when a driver is opened.
class CAudioCapabilities
{
public:
    virtual ~CAudioCapabilities() = default;

    std::uint32_t count = 0; ///< audio channels; 0 means none
    bool stereo = false;

    /// Reads "Count=2; IsStereo=1"; the blank may be missing or more than one, and what follows the second
    /// number is not looked at. `text` may be null. On failure, also for a number beyond 32 bits, count is 0
    /// and stereo false.
    bool Parse(const char* text);

    /// The text that `Parse` reads.
    std::string Text() const;
};

} // namespace korvane
