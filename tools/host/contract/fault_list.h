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
    void Add(const std::string& text);

    std::uint64_t Count() const;

    /// The first hundred; a driver that goes wrong at every frame shows that soon enough.
    std::vector<std::string> Texts() const;

private:
    static constexpr std::size_t kKept = 100;

    mutable std::mutex lock_; // over both
    std::uint64_t count_ = 0;
    std::vector<std::string> texts_;
};

} // namespace larkmoor::host
