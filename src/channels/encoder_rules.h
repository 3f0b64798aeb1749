#pragma once

#include <cstdint>
#include <string>

namespace korvane
{

/// What a quality of 0 to 100 becomes in an encoder request. The lower the `qvalue`, the better the picture.
struct EncoderQuality
{
    std::uint32_t quant = 0; ///< 1 to 5, in steps of twenty
    std::int32_t qvalue = 0; ///< within the codec's bounds
};

/// `upper` and `lower` are the codec's bounds of the qvalue: quality 0 gives `upper`, and 100 gives `lower`,
/// each cut to a whole number.
EncoderQuality MapQuality(std::uint32_t quality, float upper, float lower);

/// A bit rate between `minimum` and `maximum` (bit/s) in proportion to a quality of 0 to 100.
std::uint32_t MapBitrate(std::uint32_t quality, std::uint32_t minimum, std::uint32_t maximum);

/// The name of a picture size by its width, for devices that take names: "QCIF" up to 176, "CIF" up to 352,
/// "4CIF" up to 704, "D1" up to 720, and empty above.
std::string NamedResolution(std::uint32_t width);

} // namespace korvane
