/// Seconds since 1970-01-01 00:00:00 and calendar fields.
///
/// Between 1900-03-01 and 2100-02-28 every fourth year is a leap year. A 32-bit time lies well inside, so it
/// breaks down by a few multiplications, without a platform call and without a way to fail.
#pragma once

#include <windows.h>

#include <cstdint>
#include <limits>

namespace OCT
{

/// Days from 1900-03-01 to 1970-01-01. Counted from there a leap day is the last one of its year.
inline constexpr unsigned kCivilBaseDay = 25508;

/// The fields of \p nSeconds, which must lie between 1900-03-01 and 2100-02-28: any 32-bit time, shifted by
/// any zone.
inline SYSTEMTIME FieldsOf(std::int64_t nSeconds) noexcept
{
    // 86400 is 675 * 128, which keeps the division within 32 bits.
    const auto nFromBase = static_cast<std::uint64_t>(nSeconds) + std::uint64_t{kCivilBaseDay} * 86400;
    const std::uint32_t nDay = static_cast<std::uint32_t>(nFromBase >> 7) / 675;
    const std::uint32_t nTime = static_cast<std::uint32_t>(nFromBase) - nDay * 86400;
    // The quotient and the remainder by the 1461 days of four years, from one product with 2^32 / 1461
    // rounded up.
    constexpr std::uint32_t nInverse = 2939745;
    const std::uint64_t nYears = std::uint64_t{nInverse} * (4 * nDay + 3);
    const std::uint32_t nDayOfYear = static_cast<std::uint32_t>(nYears) / nInverse / 4;
    // Months from March on begin at day (2141 * n + 197913) / 2^16 in the mean.
    const std::uint32_t nMonths = 2141 * nDayOfYear + 197913;
    const bool bNextYear = nDayOfYear >= 306;
    SYSTEMTIME st;
    st.wYear = static_cast<WORD>(1900 + (nYears >> 32) + bNextYear);
    st.wMonth = static_cast<WORD>((nMonths >> 16) - (bNextYear ? 12 : 0));
    st.wDay = static_cast<WORD>((nMonths & 0xFFFF) / 2141 + 1);
    st.wDayOfWeek = static_cast<WORD>((nDay + 4) % 7);
    st.wHour = static_cast<WORD>(nTime / 3600);
    st.wMinute = static_cast<WORD>(nTime / 60 % 60);
    st.wSecond = static_cast<WORD>(nTime % 60);
    st.wMilliseconds = 0;
    return st;
}

/// The days of a month, and those from 1 March to its beginning.
struct CivilMonth
{
    std::uint16_t m_nStart;
    std::uint8_t m_nDays;
};
inline constexpr CivilMonth kCivilMonths[12] = {{306, 31}, {337, 28}, {0, 31},   {31, 30},
                                                {61, 31},  {92, 30},  {122, 31}, {153, 31},
                                                {184, 30}, {214, 31}, {245, 30}, {275, 31}};

/// What SecondsOf gives for fields that do not exist.
inline constexpr std::int64_t kNoSeconds = std::numeric_limits<std::int64_t>::min();

/// SecondsOf by the general calendar.
std::int64_t DistantSecondsOf(int year, int month, int day, int hour, int minute, int second) noexcept;

/// kNoSeconds for a date or a time of day that does not exist in the years 1601 to 30827, those of
/// SYSTEMTIME.
inline std::int64_t SecondsOf(int year, int month, int day, int hour, int minute, int second) noexcept
{
    const auto isBelow = [](int i, unsigned nEnd) -> int { return static_cast<unsigned>(i) < nEnd; };
    // One branch for all of them: each is nearly always true.
    if (!(isBelow(year - 1902, 2038 - 1902) & isBelow(month - 1, 12) & isBelow(hour, 24) &
          isBelow(minute, 60) & isBelow(second, 60)))
        return DistantSecondsOf(year, month, day, hour, minute, second);
    const CivilMonth& inMonth = kCivilMonths[month - 1];
    const int iLeap = month == 2 && year % 4 == 0;
    if (!isBelow(day - 1, static_cast<unsigned>(inMonth.m_nDays + iLeap)))
        return kNoSeconds;
    const unsigned nYear = static_cast<unsigned>(year - 1900 - (month < 3));
    const int iDay =
        static_cast<int>(1461 * nYear / 4 + inMonth.m_nStart) + day - 1 - static_cast<int>(kCivilBaseDay);
    return ((iDay * 24 + hour) * 60 + minute) * 60 + second;
}

inline std::int64_t SecondsOf(const SYSTEMTIME& st) noexcept
{
    return SecondsOf(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

/// The low 32 bits, after a report that they are not all.
LONG ReportNarrowed(std::int64_t nSeconds) noexcept;

/// The low 32 bits of a count of seconds, reported when that loses something.
inline LONG NarrowSeconds(std::int64_t nSeconds) noexcept
{
    const auto t = static_cast<LONG>(nSeconds);
    return t == nSeconds ? t : ReportNarrowed(nSeconds);
}

} // namespace OCT
