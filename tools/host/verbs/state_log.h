#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// The states of a channel in the order in which they came. The driver is asked again and again, so what
/// lasts shorter than the time between two questions may be missed. One thread.
class StateLog
{
public:
    /// Seconds are counted from `start`, of `MonotonicSeconds`.
    explicit StateLog(double start) : start_(start) {}

    /// Takes a state; true if it is another than the last.
    bool Add(std::uint32_t state);

    std::uint32_t Last() const { return changes_.empty() ? 3 : changes_.back().state; }

    /// [{"seconds": 1.25, "time": "...", "state": 0}, ...]; the first ten thousand.
    nlohmann::ordered_json Report() const;

private:
    struct Moment
    {
        double seconds;
        std::int64_t wall;
        std::uint32_t state;
    };

    double start_;
    std::vector<Moment> changes_;
};

} // namespace larkmoor::host
