// SYSTEMTIME and counts of milliseconds since 1970-01-01 00:00. Windows knows the years 1601 to 30827.
#pragma once

#include "orvport/types.h"

#include <chrono>
#include <cstdint>

using CalendarMs = std::chrono::sys_time<std::chrono::milliseconds>;

inline std::chrono::year_month_day DateOf(const SYSTEMTIME& st) noexcept
{
    using namespace std::chrono;
    return {year(st.wYear), month(st.wMonth), day(st.wDay)};
}

inline bool IsSystemYear(WORD wYear) noexcept
{
    return wYear >= 1601 && wYear <= 30827;
}

/// True for a day that exists, at a time of day that exists. The day of week does not count.
inline bool IsSystemTime(const SYSTEMTIME& st) noexcept
{
    return IsSystemYear(st.wYear) && st.wMonth <= 12 && st.wDay <= 31 && DateOf(st).ok() && st.wHour < 24 &&
           st.wMinute < 60 && st.wSecond < 60 && st.wMilliseconds < 1000;
}

inline std::chrono::milliseconds TimeOfDay(const SYSTEMTIME& st) noexcept
{
    return std::chrono::milliseconds(((st.wHour * 60 + st.wMinute) * 60 + st.wSecond) * 1000 +
                                     st.wMilliseconds);
}

/// \p st must be a valid time.
inline CalendarMs FromSystemTime(const SYSTEMTIME& st) noexcept
{
    return std::chrono::sys_days(DateOf(st)) + TimeOfDay(st);
}

/// The year is a WORD; a caller that may leave the known years looks at it.
inline void ToSystemTime(CalendarMs t, SYSTEMTIME& st) noexcept
{
    using namespace std::chrono;
    const auto tDay = floor<days>(t);
    const year_month_day date(tDay);
    const auto nMs = static_cast<std::uint32_t>((t - tDay).count());
    const std::uint32_t nSeconds = nMs / 1000;
    st.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    st.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    st.wDayOfWeek = static_cast<WORD>(weekday(tDay).c_encoding());
    st.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    st.wHour = static_cast<WORD>(nSeconds / 3600);
    st.wMinute = static_cast<WORD>(nSeconds / 60 % 60);
    st.wSecond = static_cast<WORD>(nSeconds % 60);
    st.wMilliseconds = static_cast<WORD>(nMs % 1000);
}
