#include "time/civil.h"

#include <chrono>
#include <cstdint>

std::int64_t OCT::DistantSecondsOf(int year, int month, int day, int hour, int minute, int second) noexcept
{
    const auto isIn = [](int i, int iFirst, int iLast) { return i >= iFirst && i <= iLast; };
    if (!isIn(year, 1601, 30827) || !isIn(month, 1, 12) || !isIn(day, 1, 31) || !isIn(hour, 0, 23) ||
        !isIn(minute, 0, 59) || !isIn(second, 0, 59))
        return kNoSeconds;
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!date.ok())
        return kNoSeconds;
    return std::int64_t{std::chrono::sys_days(date).time_since_epoch().count()} * 86400 + hour * 3600 +
           minute * 60 + second;
}
