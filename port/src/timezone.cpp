#include "orvport/timezone.h"

#include "calendar.h"
#include "systemzone.h"

#include <optional>

using namespace std::chrono;

namespace
{

BOOL Refuse() noexcept
{
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

BOOL Store(CalendarMs t, SYSTEMTIME& st) noexcept
{
    SYSTEMTIME stResult;
    ToSystemTime(t, stResult);
    if (!IsSystemYear(stResult.wYear))
        return Refuse();
    st = stResult;
    return TRUE;
}

/// The moment of a change as the wall clock of the rule in force before it shows it. A year in the rule makes
/// it a date of that year only; without one the rule is the n-th weekday of its month, 5 meaning the last.
std::optional<CalendarMs> ChangeOf(const SYSTEMTIME& rule, year inYear) noexcept
{
    if (rule.wYear != 0)
        return IsSystemTime(rule) ? std::optional(FromSystemTime(rule)) : std::nullopt;
    if (rule.wMonth > 12 || rule.wDayOfWeek > 6 || rule.wDay < 1 || rule.wDay > 5)
        return std::nullopt;
    const month inMonth(rule.wMonth);
    const weekday onDay(rule.wDayOfWeek);
    const sys_days tDay = rule.wDay == 5 ? sys_days(inYear / inMonth / onDay[last])
                                         : sys_days(inYear / inMonth / onDay[rule.wDay]);
    return tDay + TimeOfDay(rule);
}

/// Is it daylight-saving time at \p t? \p offStandard and \p offDaylight turn the wall-clock moments of the
/// changes to standard and to daylight-saving time into the scale of \p t. Nothing when a rule is malformed.
std::optional<bool> IsDaylight(const TIME_ZONE_INFORMATION& zone, CalendarMs t, year inYear,
                               minutes offStandard, minutes offDaylight) noexcept
{
    const auto toStandard = ChangeOf(zone.StandardDate, inYear);
    const auto toDaylight = ChangeOf(zone.DaylightDate, inYear);
    if (!toStandard || !toDaylight)
        return std::nullopt;
    const bool bAfterStandard = t >= *toStandard + offStandard;
    const bool bAfterDaylight = t >= *toDaylight + offDaylight;
    return *toDaylight < *toStandard ? bAfterDaylight && !bAfterStandard : bAfterDaylight || !bAfterStandard;
}

/// The bias at \p t, a UTC time or (\p bLocal) a wall-clock time.
std::optional<minutes> BiasAt(const TIME_ZONE_INFORMATION& zone, CalendarMs t, bool bLocal) noexcept
{
    // Both dates or none: with one missing there is no daylight-saving time and neither extra bias counts.
    if (zone.StandardDate.wMonth == 0 || zone.DaylightDate.wMonth == 0)
        return minutes(zone.Bias);
    const minutes standard = minutes(zone.Bias) + minutes(zone.StandardBias);
    const minutes daylight = minutes(zone.Bias) + minutes(zone.DaylightBias);
    const CalendarMs tWall = bLocal ? t : t - standard;
    const auto isDaylight = IsDaylight(zone, t, year_month_day(floor<days>(tWall)).year(),
                                       bLocal ? minutes(0) : daylight, bLocal ? minutes(0) : standard);
    if (!isDaylight)
        return std::nullopt;
    return *isDaylight ? daylight : standard;
}

std::optional<seconds> OffsetAt(const TIME_ZONE_INFORMATION* pZone, CalendarMs t, bool bLocal) noexcept
{
    if (pZone != nullptr)
    {
        const auto bias = BiasAt(*pZone, t, bLocal);
        return bias ? std::optional<seconds>(-*bias) : std::nullopt;
    }
    const std::int64_t nSeconds = floor<seconds>(t).time_since_epoch().count();
    return seconds(bLocal ? PortZoneOffsetOfLocal(nSeconds) : PortZoneOffset(nSeconds));
}

} // namespace

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* lpTimeZoneInformation,
                                     const SYSTEMTIME* lpUniversalTime, LPSYSTEMTIME lpLocalTime) noexcept
{
    if (!IsSystemTime(*lpUniversalTime))
        return Refuse();
    const CalendarMs tUtc = FromSystemTime(*lpUniversalTime);
    const auto offset = OffsetAt(lpTimeZoneInformation, tUtc, false);
    return offset ? Store(tUtc + *offset, *lpLocalTime) : Refuse();
}

BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* lpTimeZoneInformation,
                                     const SYSTEMTIME* lpLocalTime, LPSYSTEMTIME lpUniversalTime) noexcept
{
    if (!IsSystemTime(*lpLocalTime))
        return Refuse();
    const CalendarMs tLocal = FromSystemTime(*lpLocalTime);
    const auto offset = OffsetAt(lpTimeZoneInformation, tLocal, true);
    return offset ? Store(tLocal - *offset, *lpUniversalTime) : Refuse();
}
