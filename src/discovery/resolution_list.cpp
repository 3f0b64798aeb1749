#include "discovery/resolution_list.h"

#include "runtime/text.h"

#include <algorithm>

namespace korvane
{

namespace
{

void SkipBlanks(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
}

/// Takes a number off the front of `text`; 0 if there is none, or none that a picture can have.
std::uint16_t TakeDimension(std::string_view& text)
{
    SkipBlanks(text);
    std::uint32_t number = 0;
    while (!text.empty() && text.front() >= '0' && text.front() <= '9')
    {
        number =
            std::min<std::uint32_t>(number * 10 + static_cast<std::uint32_t>(text.front() - '0'), 0x10000);
        text.remove_prefix(1);
    }
    return number > 0xFFFF ? std::uint16_t(0) : static_cast<std::uint16_t>(number);
}

} // namespace

std::optional<CameraResolution> ReadNumericResolution(std::string_view text)
{
    const std::uint16_t width = TakeDimension(text);
    SkipBlanks(text);
    if (width == 0 || text.empty())
        return std::nullopt;
    text.remove_prefix(1);
    const std::uint16_t height = TakeDimension(text);
    if (height == 0)
        return std::nullopt;
    return CameraResolution(width, height);
}

std::optional<CameraResolution> ReadNamedResolution(std::string_view text, bool isNtsc)
{
    static constexpr struct
    {
        std::string_view name;
        std::uint16_t width;
        std::uint16_t heightNtsc;
        std::uint16_t heightPal;
    } kNames[] = {
        {"QCIF", 176, 120, 144}, {"CIF", 352, 240, 288}, {"4CIF", 704, 480, 576}, {"D1", 720, 480, 576}};

    const std::string name = Utils::RemoveChars(text, " ");
    for (const auto& known : kNames)
    {
        if (name == known.name)
            return CameraResolution(known.width, isNtsc ? known.heightNtsc : known.heightPal);
    }
    return std::nullopt;
}

ResolutionList MatchResolutions(const std::vector<std::string>& texts,
                                const std::vector<std::uint32_t>& rates, bool isNtsc)
{
    ResolutionList list;
    if (texts.size() > rates.size())
        return list;
    for (std::size_t at = 0; at < texts.size(); ++at)
    {
        std::optional<CameraResolution> resolution;
        if (list.notation != ResolutionNotation::Named)
        {
            resolution = ReadNumericResolution(texts[at]);
            if (resolution)
                list.notation = ResolutionNotation::Numeric;
        }
        if (!resolution && list.notation != ResolutionNotation::Numeric)
        {
            resolution = ReadNamedResolution(texts[at], isNtsc);
            if (resolution)
                list.notation = ResolutionNotation::Named;
        }
        if (!resolution)
            continue;
        resolution->AddFrameTime(Utils::FrameTimeFromRate(rates[at]));
        list.lowestRate = list.resolutions.empty() ? rates[at] : std::min(list.lowestRate, rates[at]);
        list.resolutions.push_back(*resolution);
    }
    return list;
}

} // namespace korvane
