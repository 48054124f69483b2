/// `COrvTime` and `COrvTimeDiff` as times, spans and local days of `std::chrono`, and back.
///
/// A header of its own, since <chrono> is a large one. A time of the null kind or before 1970 is a
/// `sys_seconds` like any other: ask `IsValid` first where that matters.
///
/// Thread safety: as `COrvTime`, but `FromLocalDay` asks several times for the selected zone.
/// Errors: what does not fit into 32 bits is nothing (`std::nullopt`), and so is a day outside 1970-01-01 to
/// 2038-01-01 (local) or a conversion that the platform refuses. Nothing throws, nothing is reported.
/// Units: whole seconds; a finer time is cut off towards the past (`std::chrono::floor`). Local days are
/// those of the selected zone (timeutils.h).
///
///     using namespace std::chrono;
///     char s[32] = "";
///     if (const auto tNow = OCT::FromSysTime(system_clock::now()))
///         if (const auto today = OCT::ToLocalDay(*tNow))
///             if (const auto tMonday = OCT::FromLocalDay(*today - (weekday(*today) - Monday)))
///                 tMonday->DebugFormatLocal(COrvTime::dftDate, s, sizeof s); // when this week began
#pragma once

#include "orvcomtypes/orvtime.h"

#include <windows.h>

#include <chrono>
#include <limits>
#include <optional>

namespace OCT
{

namespace Detail
{

/// Seconds, cut off towards the past. What is far too long must not overflow on the way to seconds.
template <class Rep, class Period>
std::optional<int> WholeSeconds(const std::chrono::duration<Rep, Period>& duration) noexcept
{
    const double dSeconds = std::chrono::duration<double>(duration).count();
    if (!(dSeconds > -4e9 && dSeconds < 4e9))
        return std::nullopt;
    const auto nSeconds = std::chrono::floor<std::chrono::seconds>(duration).count();
    if (nSeconds < (std::numeric_limits<int>::min)() || nSeconds > (std::numeric_limits<int>::max)())
        return std::nullopt;
    return static_cast<int>(nSeconds);
}

} // namespace Detail

/// The null time is 1970-01-01 00:00:00 there.
inline std::chrono::sys_seconds ToSysSeconds(const COrvTime& t) noexcept
{
    return std::chrono::sys_seconds(std::chrono::seconds(t.GetOrvTime()));
}

/// Cut to whole seconds; nothing for what 32 bits do not hold.
template <class Duration>
std::optional<COrvTime> FromSysTime(const std::chrono::sys_time<Duration>& time) noexcept
{
    const std::optional<int> nSeconds = Detail::WholeSeconds(time.time_since_epoch());
    return nSeconds ? std::optional(COrvTime(*nSeconds)) : std::nullopt;
}

/// Nothing for the invalid span.
inline std::optional<std::chrono::seconds> ToSeconds(const COrvTimeDiff& span) noexcept
{
    return span.IsValid() ? std::optional(std::chrono::seconds(span.GetInSecond())) : std::nullopt;
}

/// Nothing for the seconds that mean the invalid span, too.
template <class Rep, class Period>
std::optional<COrvTimeDiff> FromDuration(const std::chrono::duration<Rep, Period>& duration) noexcept
{
    const std::optional<int> nSeconds = Detail::WholeSeconds(duration);
    return nSeconds && COrvTimeDiff(*nSeconds).IsValid() ? std::optional(COrvTimeDiff(*nSeconds))
                                                         : std::nullopt;
}

/// The day that the local clock shows; nothing for a time that is not valid.
inline std::optional<std::chrono::local_days> ToLocalDay(const COrvTime& t) noexcept
{
    using namespace std::chrono;
    WORD wYear, wMonth, wDay;
    if (!t.IsValid() || !t.GetLocalYMD(&wYear, &wMonth, &wDay, nullptr, nullptr, nullptr))
        return std::nullopt;
    return local_days(year(wYear) / month(wMonth) / day(wDay));
}

/// The first moment of a local day, also where midnight is skipped. Nothing for a day that the zone left out,
/// and for 1970-01-01 where it began before 1970-01-01 00:00:01 UTC.
inline std::optional<COrvTime> FromLocalDay(std::chrono::local_days localDay) noexcept
{
    using namespace std::chrono;
    if (localDay < local_days(year(1970) / 1 / 1) || localDay > local_days(year(2038) / 1 / 1))
        return std::nullopt;
    const year_month_day date(localDay);
    // Noon exists on every day.
    const COrvTime tNoon = COrvTime::FromLocalYMD(
        static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
        static_cast<int>(static_cast<unsigned>(date.day())), 12, 0, 0);
    const COrvTime tStart = tNoon.RoundLocalDayDown();
    return tStart.IsValid() && ToLocalDay(tStart) == localDay ? std::optional(tStart) : std::nullopt;
}

} // namespace OCT
