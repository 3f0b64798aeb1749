#pragma once

#include <cstdlib>

/// Ends the run as a finding when `claim` does not hold, in every kind of build.
inline void Require(bool claim)
{
    if (!claim)
        std::abort();
}
