#pragma once

#include <utility>

namespace korvane
{

/// Runs `operation` and gives its result, or `failure` if an exception leaves it: nothing may be thrown into
/// the host.
template <class Result, class Operation>
Result Guarded(Result failure, Operation&& operation) noexcept
{
    try
    {
        return std::forward<Operation>(operation)();
    }
    catch (...)
    {
        return failure;
    }
}

/// The same where no result counts: true if the operation returned.
template <class Operation>
bool Guarded(Operation&& operation) noexcept
{
    const auto run = [&operation]
    {
        std::forward<Operation>(operation)();
        return true;
    };
    return Guarded(false, run);
}

} // namespace korvane
