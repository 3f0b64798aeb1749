#include "discovery/frame_rates.h"

#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kSteps[] = {30, 25, 20, 15, 10, 8, 5, 3, 2, 1};
constexpr std::uint32_t kFullRateNtsc = 30;
constexpr std::uint32_t kFullRatePal = 25;

} // namespace

std::vector<std::uint32_t> ReadFrameRates(const std::vector<std::string>& texts, std::size_t count,
                                          bool isNtsc, FrameRateSet& rates)
{
    rates.clear();
    std::vector<std::uint32_t> list;
    for (const std::string& text : texts)
    {
        std::int32_t value = 0;
        if (Utils::IsInteger(text, value) && value > 0)
            list.push_back(static_cast<std::uint32_t>(value));
    }
    if (list.size() < count)
        list.resize(count, isNtsc ? kFullRateNtsc : kFullRatePal);
    rates.insert(list.begin(), list.end());
    if (rates.empty())
        return list;

    const std::uint32_t highest = *rates.rbegin();
    for (const std::uint32_t step : kSteps)
    {
        if (step <= highest)
            rates.insert(step);
    }
    return list;
}

std::uint32_t DefaultOf(const FrameRateSet& rates)
{
    return *rates.lower_bound(*rates.rbegin() / 2);
}

} // namespace korvane
