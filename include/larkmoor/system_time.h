#pragma once

#include <cstdint>

/// A calendar time in UTC, in the layout that the host expects (sixteen bytes). In the global namespace.
struct SYSTEMTIME
{
    std::uint16_t year;         ///< 1601 to 30827
    std::uint16_t month;        ///< 1 to 12
    std::uint16_t dayOfWeek;    ///< 0 Sunday to 6 Saturday
    std::uint16_t day;          ///< 1 to 31
    std::uint16_t hour;         ///< 0 to 23
    std::uint16_t minute;       ///< 0 to 59
    std::uint16_t second;       ///< 0 to 59
    std::uint16_t milliseconds; ///< 0 to 999
};

static_assert(sizeof(SYSTEMTIME) == 16, "the host reads this layout");
