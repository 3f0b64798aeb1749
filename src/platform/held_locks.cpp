#include "platform/held_locks.h"

#ifndef NDEBUG

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace korvane::platform::HeldLocks
{

namespace
{

constexpr std::size_t kPlaces = static_cast<std::size_t>(LockPlace::kClient) + 1;

struct Books
{
    std::array<std::uint32_t, kPlaces> held{}; // by place
    bool waitsForLock = false;
    bool mayCallHost = true;

    std::uint32_t From(LockPlace first) const
    {
        std::uint32_t count = 0;
        for (std::size_t place = static_cast<std::size_t>(first); place < kPlaces; ++place)
            count += held[place];
        return count;
    }
};

thread_local Books books;

void Require(bool holds, const char* rule)
{
    if (holds)
        return;
    std::fprintf(stderr, "larkmoor: %s\n", rule);
    std::abort();
}

} // namespace

std::uint32_t Count()
{
    return books.From(LockPlace::kDriver);
}

void Take(LockPlace place)
{
    Require(books.From(place) == 0, "a lock is taken under one of the same or a higher place");
    ++books.held[static_cast<std::size_t>(place)];
}

void Release(LockPlace place)
{
    --books.held[static_cast<std::size_t>(place)];
}

void CheckWait()
{
    Require(books.waitsForLock || Count() == 0, "a wait begins under a lock");
}

void CheckHostCall()
{
    Require(Count() == 0, "the host is called under a lock");
    Require(books.mayCallHost, "the host is called on a socket's thread");
}

void ForbidHostCalls()
{
    books.mayCallHost = false;
}

WaitForLock::WaitForLock()
{
    books.waitsForLock = true;
}

WaitForLock::~WaitForLock()
{
    books.waitsForLock = false;
}

} // namespace korvane::platform::HeldLocks

#endif
