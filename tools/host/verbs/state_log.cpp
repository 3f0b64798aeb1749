#include "host/verbs/state_log.h"

#include "host/base/stopwatch.h"
#include "host/base/text.h"

namespace larkmoor::host
{

bool StateLog::Add(std::uint32_t state)
{
    constexpr std::size_t kMost = 10'000;
    if (!changes_.empty() && changes_.back().state == state)
        return false;
    const Moment moment{MonotonicSeconds() - start_, WallMicroseconds(), state};
    if (changes_.size() < kMost)
        changes_.push_back(moment);
    else
        changes_.back() = moment;
    return true;
}

nlohmann::ordered_json StateLog::Report() const
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Moment& moment : changes_)
        list.push_back(
            {{"seconds", moment.seconds}, {"time", IsoTime(moment.wall)}, {"state", moment.state}});
    return list;
}

} // namespace larkmoor::host
