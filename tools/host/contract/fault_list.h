#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// What the driver did against its contract with the host. Any thread.
class FaultList
{
public:
    void Add(const std::string& text)
    {
        const std::lock_guard guard(lock_);
        ++count_;
        if (texts_.size() < kKept)
            texts_.push_back(text);
    }

    std::uint64_t Count() const
    {
        const std::lock_guard guard(lock_);
        return count_;
    }

    /// The first hundred; a driver that goes wrong at every frame shows that soon enough.
    std::vector<std::string> Texts() const
    {
        const std::lock_guard guard(lock_);
        return texts_;
    }

private:
    static constexpr std::size_t kKept = 100;

    mutable std::mutex lock_; // over both
    std::uint64_t count_ = 0;
    std::vector<std::string> texts_;
};

} // namespace larkmoor::host
