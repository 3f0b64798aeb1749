#pragma once

// Replaces the program's operator new by one that counts: include it in one source of a program only. Not
// inlined, since the compiler would then see new and free as a pair that does not match.

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace larkmoor::bench
{

inline std::atomic<std::size_t> allocations{0};

/// Blocks taken by operator new since the program began, by all threads.
inline std::size_t Allocations()
{
    return allocations.load(std::memory_order_relaxed);
}

} // namespace larkmoor::bench

[[gnu::noinline]] void* operator new(std::size_t size)
{
    larkmoor::bench::allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const block = std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept
{
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
