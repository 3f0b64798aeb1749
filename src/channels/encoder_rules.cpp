#include "channels/encoder_rules.h"

#include <algorithm>

namespace korvane
{

EncoderQuality MapQuality(std::uint32_t quality, float upper, float lower)
{
    const double scaled =
        static_cast<double>(static_cast<float>(quality)) / (100.0 / static_cast<double>(upper)) +
        static_cast<double>(lower);
    auto step = static_cast<std::int32_t>(scaled);
    if (static_cast<float>(step) > upper)
        step = static_cast<std::int32_t>(upper);
    EncoderQuality result;
    result.quant = std::min(quality / 20 + 1, 5u);
    result.qvalue = static_cast<std::int32_t>(upper + lower - static_cast<float>(step));
    return result;
}

std::uint32_t MapBitrate(std::uint32_t quality, std::uint32_t minimum, std::uint32_t maximum)
{
    if (minimum > maximum)
        return minimum;
    const double bitrate = static_cast<double>(maximum - minimum) * quality / 100.0 + minimum + 0.5;
    return static_cast<std::uint32_t>(
        std::clamp(bitrate, static_cast<double>(minimum), static_cast<double>(maximum)));
}

std::string NamedResolution(std::uint32_t width)
{
    static constexpr struct
    {
        std::uint32_t width;
        const char* name;
    } kNames[] = {{176, "QCIF"}, {352, "CIF"}, {704, "4CIF"}, {720, "D1"}};
    for (const auto& row : kNames)
        if (width <= row.width)
            return row.name;
    return "";
}

} // namespace korvane
