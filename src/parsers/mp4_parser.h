#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace korvane
{

/// Keeps the configuration of an MPEG-4 Part 2 stream: the bytes from its visual object sequence start code
/// up to the first picture. One thread; no lock.
class CMP4Parser
{
public:
    virtual ~CMP4Parser() = default;

    /// Takes the configuration out of the start of `payload`, in place of an earlier one, and gives its
    /// length in bytes. 0 when `payload` doesn't begin with one or no picture follows in it: then nothing is
    /// kept.
    std::size_t TakeConfig(std::span<const std::uint8_t> payload);

    std::span<const std::uint8_t> Config() const { return config_; } ///< empty before the first

private:
    std::vector<std::uint8_t> config_;
};

} // namespace korvane
