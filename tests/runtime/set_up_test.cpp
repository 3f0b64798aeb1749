#include "runtime/set_up.h"

#include "platform/socket.h"
#include "support/fake_driver.h"
#include "support/own_descriptors.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

namespace korvane
{

using test::FakeDriver;

namespace
{

/// Leaves the process room for `count` more descriptors, for a scope.
class RoomForDescriptors
{
public:
    explicit RoomForDescriptors(rlim_t count)
    {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
        close(next);
        rlimit now = before_;
        now.rlim_cur = static_cast<rlim_t>(next) + count;
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &now), 0);
    }
    ~RoomForDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    RoomForDescriptors(const RoomForDescriptors&) = delete;
    RoomForDescriptors& operator=(const RoomForDescriptors&) = delete;

private:
    rlimit before_{};
};

class Stream
{
public:
    explicit Stream(std::uint32_t descriptors)
    {
        const auto needs = [descriptors] { return CSetUp::Needs{descriptors, 0}; };
        EXPECT_TRUE(setUp.StartThread(needs, [] { return true; }));
    }

    bool Open()
    {
        return setUp.Try([this] { return std::ranges::all_of(sockets_, &platform::Socket::OpenDatagram); });
    }
    void Close()
    {
        for (platform::Socket& each : sockets_)
            each.Close();
        setUp.Close();
    }

    FakeDriver driver;
    CSetUp setUp{&driver};

private:
    std::array<platform::Socket, 4> sockets_;
};

} // namespace

TEST(SetUp, WhatFailsForAnotherReasonIsTriedAgainAtOnce)
{
    Stream stream(0);
    EXPECT_FALSE(stream.setUp.Try([]() -> bool { throw std::runtime_error("no answer"); }));
    EXPECT_TRUE(stream.setUp.IsDue());
    EXPECT_TRUE(stream.driver.Messages().empty());

    EXPECT_FALSE(stream.setUp.Try([]() -> bool { throw std::bad_alloc(); }));
    EXPECT_FALSE(stream.setUp.IsDue());
    EXPECT_EQ(stream.driver.Messages().size(), 1u);
}

TEST(SetUp, AsManyTryAgainAsAStreamThatEndsLeavesRoomFor)
{
    SKIP_UNLESS_DESCRIPTORS_ARE_OURS();
    Stream ends(4);
    Stream waits[] = {Stream(2), Stream(2), Stream(2)};
    const RoomForDescriptors room(5);
    ASSERT_TRUE(ends.Open());
    for (Stream& each : waits)
    {
        EXPECT_FALSE(each.Open());
        EXPECT_FALSE(each.setUp.IsDue());
    }
    ends.Close();
    EXPECT_TRUE(waits[0].setUp.IsDue());
    EXPECT_TRUE(waits[1].setUp.IsDue());
    EXPECT_FALSE(waits[2].setUp.IsDue());
    for (Stream& each : waits)
        EXPECT_EQ(each.driver.Messages().size(), 1u); // none for a look that found nothing
}

} // namespace korvane
