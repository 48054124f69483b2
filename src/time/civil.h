/// Seconds since 1970 UTC and calendar fields. The whole 32-bit range breaks down by arithmetic alone, so
/// this half of the conversions needs no platform call and cannot fail.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <optional>

namespace OCT
{

/// True for a day and a time of day that exist in the years 1601 to 30827, those of the platform's
/// SYSTEMTIME.
inline bool IsCivil(int year, int month, int day, int hour, int minute, int second) noexcept
{
    const auto isIn = [](int i, int iFirst, int iLast) { return i >= iFirst && i <= iLast; };
    return isIn(year, 1601, 30827) && isIn(month, 1, 12) && isIn(day, 1, 31) && isIn(hour, 0, 23) &&
           isIn(minute, 0, 59) && isIn(second, 0, 59) &&
           std::chrono::year_month_day(std::chrono::year(year),
                                       std::chrono::month(static_cast<unsigned>(month)),
                                       std::chrono::day(static_cast<unsigned>(day)))
               .ok();
}

/// Nothing for fields that are not IsCivil.
inline std::optional<std::int64_t> SecondsOf(int year, int month, int day, int hour, int minute,
                                             int second) noexcept
{
    if (!IsCivil(year, month, day, hour, minute, second))
        return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    return std::int64_t{std::chrono::sys_days(date).time_since_epoch().count()} * 86400 + hour * 3600 +
           minute * 60 + second;
}

inline std::optional<std::int64_t> SecondsOf(const SYSTEMTIME& st) noexcept
{
    return SecondsOf(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

inline SYSTEMTIME FieldsOf(LONG t) noexcept
{
    using namespace std::chrono;
    // Counted from a day before the first one that can occur, the division is of an unsigned number.
    constexpr std::uint32_t nBaseDay = 24856;
    const std::uint64_t nSeconds =
        static_cast<std::uint64_t>(std::int64_t{t} + std::int64_t{nBaseDay} * 86400);
    const auto nDay = static_cast<std::uint32_t>(nSeconds / 86400);
    const auto nTime = static_cast<std::uint32_t>(nSeconds - std::uint64_t{nDay} * 86400);
    const sys_days day(days(static_cast<int>(nDay) - static_cast<int>(nBaseDay)));
    const year_month_day date(day);
    SYSTEMTIME st;
    st.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    st.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    st.wDayOfWeek = static_cast<WORD>(weekday(day).c_encoding());
    st.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    st.wHour = static_cast<WORD>(nTime / 3600);
    st.wMinute = static_cast<WORD>(nTime / 60 % 60);
    st.wSecond = static_cast<WORD>(nTime % 60);
    st.wMilliseconds = 0;
    return st;
}

/// The low 32 bits of a count of seconds, reported when that loses something.
LONG NarrowSeconds(std::int64_t nSeconds) noexcept;

/// \p t on the wall clock of the selected zone.
bool LocalFieldsOf(LONG t, SYSTEMTIME& st) noexcept;

} // namespace OCT
