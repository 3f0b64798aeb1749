#include "transport/datagram_batch.h"

#include <algorithm>

namespace korvane
{

namespace
{

constexpr std::uint32_t kLargestRead = 65535; // of a datagram's length field
constexpr std::uint32_t kReadGrowth = 1024;

} // namespace

CDatagramBatch::CDatagramBatch(std::uint32_t readSize)
    : readSize_(std::min(readSize, kLargestRead)), grownTo_(readSize_)
{
    Divide();
}

platform::WaitResult CDatagramBatch::Receive(platform::Socket& socket, std::uint32_t waitMs)
{
    if (grownTo_ != readSize_)
    {
        readSize_ = grownTo_;
        Divide();
    }
    const auto [result, count] = socket.ReceiveMany(std::span(datagrams_).first(asked_), waitMs);
    count_ = count;
    at_ = 0;
    asked_ = count == asked_ ? kMost : kSmall;
    for (platform::Datagram& datagram : std::span(datagrams_).first(count_))
    {
        if (datagram.truncated || datagram.length > grownTo_)
        {
            grownTo_ = std::min(grownTo_ + kReadGrowth, kLargestRead);
            datagram.length = 0; // lost
        }
    }
    return result;
}

bool CDatagramBatch::Next(Arrived& arrived)
{
    const std::size_t at = NextFull(at_);
    if (at >= count_)
        return false;
    at_ = NextFull(at + 1);
    arrived = {datagrams_[at].sender, Bytes(datagrams_[at]), at_ < count_};
    return true;
}

std::size_t CDatagramBatch::NextFull(std::size_t from) const
{
    while (from < count_ && datagrams_[from].length == 0)
        ++from;
    return from;
}

// In one piece.
std::span<const std::uint8_t> CDatagramBatch::Bytes(const platform::Datagram& datagram)
{
    if (datagram.length <= datagram.buffer.size())
        return datagram.buffer.first(datagram.length);
    joined_.assign(datagram.buffer.begin(), datagram.buffer.end());
    const auto rest = datagram.overflow.first(datagram.length - datagram.buffer.size());
    joined_.insert(joined_.end(), rest.begin(), rest.end());
    return joined_;
}

std::size_t CDatagramBatch::OverflowBytes(std::size_t place) const
{
    return std::min<std::size_t>(place * kReadGrowth, kLargestRead - readSize_);
}

void CDatagramBatch::Divide()
{
    std::size_t bytes = kMost * readSize_;
    for (std::size_t i = 0; i < kMost; ++i)
        bytes += OverflowBytes(i);
    memory_ = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
    std::span<std::uint8_t> left(memory_.get(), bytes);
    const auto take = [&left](std::size_t count)
    {
        const auto taken = left.first(count);
        left = left.subspan(count);
        return taken;
    };
    for (platform::Datagram& datagram : datagrams_)
        datagram.buffer = take(readSize_);
    for (std::size_t i = 0; i < kMost; ++i)
        datagrams_[i].overflow = take(OverflowBytes(i));
}

} // namespace korvane
