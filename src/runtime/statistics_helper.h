#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace korvane
{

/// The sum of the last values of a series. No lock.
template <class T>
class TStatisticsHelper
{
public:
    /// `windowSize` values are kept; 0 keeps only the newest.
    explicit TStatisticsHelper(std::uint32_t windowSize) : windowSize_(windowSize) {}
    virtual ~TStatisticsHelper() = default;

    void Add(T value)
    {
        while (!values_.empty() && windowSize_ <= values_.size())
        {
            sum_ -= static_cast<double>(values_.front());
            values_.pop_front();
        }
        sum_ += static_cast<double>(value);
        values_.push_back(value);
    }

    void Clear()
    {
        values_.clear();
        sum_ = 0;
    }

    double Sum() const { return sum_; }
    std::size_t Count() const { return values_.size(); }

private:
    std::deque<T> values_; // oldest first
    double sum_ = 0;
    std::uint32_t windowSize_;
};

} // namespace korvane
