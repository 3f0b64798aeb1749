#include "discovery/picture_lists.h"

#include "runtime/text.h"
#include "runtime/text_scanner.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace korvane
{

namespace
{

constexpr std::uint32_t kSteps[] = {30, 25, 20, 15, 10, 8, 5, 3, 2, 1};
constexpr std::uint32_t kFullRateNtsc = 30;
constexpr std::uint32_t kFullRatePal = 25;

std::optional<CameraResolution> ReadNumericResolution(std::string_view text)
{
    CameraResolution size;
    TextScanner scanner(text);
    scanner.Number(size.width);
    scanner.SkipSpace();
    scanner.Drop(1);
    scanner.Number(size.height);
    return size.width == 0 || size.height == 0 ? std::nullopt : std::optional(size);
}

std::optional<CameraResolution> ReadNamedResolution(std::string_view text, bool isNtsc)
{
    const std::string name = Utils::RemoveChars(text, " ");
    for (const NamedSize& size : kNamedSizes)
        if (name == size.name)
            return CameraResolution{size.width, isNtsc ? size.heightNtsc : size.heightPal};
    return std::nullopt;
}

} // namespace

std::vector<std::uint32_t> ReadFrameRates(const std::vector<std::string>& texts, std::size_t count,
                                          bool isNtsc, FrameRateSet& rates)
{
    std::vector<std::uint32_t> list;
    for (const std::string& text : texts)
    {
        std::int32_t value = 0;
        if (Utils::IsInteger(text, value) && value > 0)
            list.push_back(static_cast<std::uint32_t>(value));
    }
    if (list.size() < count)
        list.resize(count, isNtsc ? kFullRateNtsc : kFullRatePal);
    rates = FrameRateSet(list.begin(), list.end());
    const std::uint32_t highest = rates.empty() ? 0 : *rates.rbegin();
    for (const std::uint32_t step : kSteps)
        if (step <= highest)
            rates.insert(step);
    return list;
}

ResolutionList MatchResolutions(const std::vector<std::string>& texts,
                                const std::vector<std::uint32_t>& rates, bool isNtsc)
{
    ResolutionList list;
    if (texts.size() > rates.size())
        return list;
    for (std::size_t at = 0; at < texts.size(); ++at)
    {
        ResolutionNotation notation = ResolutionNotation::Numeric;
        std::optional<CameraResolution> resolution;
        if (list.notation != ResolutionNotation::Named)
            resolution = ReadNumericResolution(texts[at]);
        if (!resolution && list.notation != ResolutionNotation::Numeric)
        {
            notation = ResolutionNotation::Named;
            resolution = ReadNamedResolution(texts[at], isNtsc);
        }
        if (!resolution)
            continue;
        list.notation = notation;
        resolution->frameTimes.Add(Utils::FrameTimeFromRate(rates[at]));
        list.lowestRate = list.resolutions.empty() ? rates[at] : std::min(list.lowestRate, rates[at]);
        list.resolutions.push_back(*resolution);
    }
    return list;
}

} // namespace korvane
