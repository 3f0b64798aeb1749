#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace korvane::test
{

/// How long a test waits for something that must come; far above any machine's slowness, so never a measure.
inline constexpr std::chrono::seconds kPatience{20};
inline constexpr std::uint32_t kPatienceMs = 20'000; ///< the same, for what counts milliseconds

/// A value that some threads change and others wait for.
template <typename T>
class Watched
{
public:
    Watched() = default;
    explicit Watched(T value) : value_(std::move(value)) {}

    T Get() const
    {
        const std::lock_guard guard(mutex_);
        return value_;
    }
    void Change(const auto& change) ///< calls `change(value)` while nobody else sees the value
    {
        const std::lock_guard guard(mutex_);
        change(value_);
        changed_.notify_all();
    }
    void Set(T value)
    {
        Change([&](T& old) { old = std::move(value); });
    }
    /// Waits until `holds(value)`; false if it doesn't come.
    bool WaitFor(const auto& holds, std::chrono::milliseconds patience = kPatience) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [&] { return holds(value_); });
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    T value_{};
};

/// A list that some threads add to and others wait for.
template <typename T>
class WatchedList : public Watched<std::vector<T>>
{
public:
    void Add(T item)
    {
        this->Change([&](std::vector<T>& all) { all.push_back(std::move(item)); });
    }
    bool WaitForCount(std::size_t count) const
    {
        return this->WaitFor([&](const std::vector<T>& all) { return all.size() >= count; });
    }
    std::vector<T> GetOnce(std::size_t count) const ///< all, as soon as there are so many, or none comes
    {
        WaitForCount(count);
        return this->Get();
    }
};

/// What was heard, one word behind the other with ", " between.
class WatchedWords : public Watched<std::string>
{
public:
    void Add(const std::string& word)
    {
        Change([&](std::string& all) { all += (all.empty() ? "" : ", ") + word; });
    }
    bool WaitForWord(const std::string& word) const
    {
        return WaitFor([&](const std::string& all) { return all.find(word) != std::string::npos; });
    }
};

} // namespace korvane::test
