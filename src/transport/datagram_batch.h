#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/socket.h"

namespace korvane
{

/// Memory for one call that takes several datagrams, and the rule by which a read size grows. One thread.
///
/// Each datagram has a place of one read size in a block that stays small and warm. The read size grows by
/// 1,024 bytes with each datagram that was too large, also for those behind it in the same call; what they
/// may be larger by goes to an overflow that is never touched, and so never resident, as long as all fit.
class CDatagramBatch
{
public:
    static constexpr std::size_t kMost = 16; ///< datagrams of one call

    explicit CDatagramBatch(std::uint32_t readSize); ///< of which at most 65,535 is used

    /// Waits up to `waitMs` until something has arrived, and takes it.
    platform::WaitResult Receive(platform::Socket& socket, std::uint32_t waitMs);

    struct Arrived
    {
        platform::SocketAddress sender;
        std::span<const std::uint8_t> bytes; ///< until the next one is asked for
        bool hasMore = false;                ///< another one of the same call follows
    };

    /// The next of those that the last `Receive` took, in order of arrival; false when there is none. Empty
    /// ones, and those that were too large, are left out.
    bool Next(Arrived& arrived);

private:
    static constexpr std::size_t kSmall = 4; // touches less memory; a full one is followed by a large one

    std::size_t NextFull(std::size_t from) const;
    std::span<const std::uint8_t> Bytes(const platform::Datagram& datagram);
    std::size_t OverflowBytes(std::size_t place) const;
    void Divide();

    std::uint32_t readSize_;
    std::uint32_t grownTo_;
    std::unique_ptr<std::uint8_t[]> memory_;
    std::array<platform::Datagram, kMost> datagrams_;
    std::size_t count_ = 0;
    std::size_t at_ = 0; // of the next one
    std::size_t asked_ = kSmall;
    std::vector<std::uint8_t> joined_;
};

} // namespace korvane
