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

} // namespace korvane
