#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>

#include "support/wine.h"

#include <array>
#include <utility>

namespace
{

SYSTEMTIME Time(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0)
{
    const auto w = [](int i) { return static_cast<WORD>(i); };
    return {w(y), w(mo), 0, w(d), w(h), w(mi), w(s), w(ms)};
}

/// The \p n-th weekday of a month, without a year.
SYSTEMTIME Rule(int mo, int iWeekday, int n, int h, int mi = 0, int s = 0, int ms = 0)
{
    SYSTEMTIME st = Time(0, mo, n, h, mi, s, ms);
    st.wDayOfWeek = static_cast<WORD>(iWeekday);
    return st;
}

using Fields = std::array<int, 7>;

Fields FieldsOf(const SYSTEMTIME& st)
{
    return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds};
}

Fields ToLocal(const TIME_ZONE_INFORMATION& zone, const SYSTEMTIME& utc)
{
    SYSTEMTIME st = {};
    return SystemTimeToTzSpecificLocalTime(&zone, &utc, &st) ? FieldsOf(st) : Fields{};
}

// Bias, standard time, daylight time.
const TIME_ZONE_INFORMATION EUROPE = {-60, {}, Rule(10, 0, 5, 3), 0, {}, Rule(3, 0, 5, 2), -60};
const TIME_ZONE_INFORMATION SYDNEY = {-600, {}, Rule(4, 0, 1, 3), 0, {}, Rule(10, 0, 1, 2), -60};
const TIME_ZONE_INFORMATION SANTIAGO = {
    240, {}, Rule(4, 6, 1, 23, 59, 59, 999), 0, {}, Rule(9, 6, 1, 23, 59, 59, 999), -60};
const TIME_ZONE_INFORMATION FOURTH = {0, {}, Rule(9, 0, 4, 2), 0, {}, Rule(3, 0, 4, 1), -60}; // not last
const TIME_ZONE_INFORMATION NEPAL = {-345, {}, {}, 0, {}, {}, 0};
const TIME_ZONE_INFORMATION DATES = {0, {}, Time(2024, 9, 15, 2), 0, {}, Time(2024, 5, 15, 1), -60};

TEST(ZoneConversion, FollowsTheRulesOfTheRecord)
{
    const struct
    {
        const TIME_ZONE_INFORMATION& zone;
        SYSTEMTIME utc;
        SYSTEMTIME local;
    } rows[] = {
        {EUROPE, Time(2024, 3, 31, 1), Time(2024, 3, 31, 3)},
        {EUROPE, Time(2023, 10, 29, 0, 59, 59), Time(2023, 10, 29, 2, 59, 59)},
        {EUROPE, Time(2023, 12, 31, 23, 30), Time(2024, 1, 1, 0, 30)},
        {EUROPE, Time(2024, 2, 29, 22, 59, 59, 123), Time(2024, 2, 29, 23, 59, 59, 123)},
        {SYDNEY, Time(2024, 10, 5, 16), Time(2024, 10, 6, 3)},
        {SYDNEY, Time(2023, 12, 31, 20), Time(2024, 1, 1, 7)},
        // Wine drops the seconds of a rule.
        {SANTIAGO, Time(2024, 4, 7, 2, 58, 59), Time(2024, 4, 6, 23, 58, 59)},
        {SANTIAGO, Time(2024, 4, 7, 3), Time(2024, 4, 6, 23)},
        {FOURTH, Time(2020, 3, 22, 1), Time(2020, 3, 22, 2)},
        {NEPAL, Time(1999, 12, 31, 18, 15), Time(2000, 1, 1)},
        {DATES, Time(2024, 5, 15, 0, 59, 59), Time(2024, 5, 15, 0, 59, 59)},
        {DATES, Time(2024, 5, 15, 1), Time(2024, 5, 15, 2)},
        {DATES, Time(2024, 9, 15, 1), Time(2024, 9, 15, 1)},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::PrintToString(FieldsOf(row.utc)));
        EXPECT_EQ(FieldsOf(row.local), ToLocal(row.zone, row.utc));
        // Of two moments that show the time either may come back.
        SYSTEMTIME back = {};
        EXPECT_TRUE(TzSpecificLocalTimeToSystemTime(&row.zone, &row.local, &back));
        EXPECT_EQ(FieldsOf(row.local), ToLocal(row.zone, back));
    }
    SYSTEMTIME st;
    const SYSTEMTIME utc = Time(2024, 2, 28, 23, 30);
    EXPECT_TRUE(SystemTimeToTzSpecificLocalTime(&EUROPE, &utc, &st) && st.wDayOfWeek == 4);
}

void CheckRefused(std::initializer_list<SYSTEMTIME> times)
{
    SYSTEMTIME st;
    for (const SYSTEMTIME& bad : times)
        EXPECT_FALSE(SystemTimeToTzSpecificLocalTime(&EUROPE, &bad, &st) ||
                     TzSpecificLocalTimeToSystemTime(&EUROPE, &bad, &st) ||
                     SystemTimeToTzSpecificLocalTime(nullptr, &bad, &st))
            << testing::PrintToString(FieldsOf(bad));
}

TEST(ZoneConversion, RefusesTimesThatDoNotExist)
{
    CheckRefused({Time(2024, 13, 1), Time(2024, 0, 1), Time(2024, 1, 32), Time(2024, 1, 1, 24),
                  Time(2024, 1, 1, 0, 60), Time(1600, 12, 31)});
}

TEST(ZoneConversion, TheDayMustExistInItsMonth)
{
    ORV_SKIP_WINE("days up to the 31st are accepted in every month");
    CheckRefused({Time(2023, 2, 29), Time(2024, 4, 31)});
}

TEST(VariantTime, BreaksDown)
{
    SYSTEMTIME st;
    for (const auto& [d, expected] : {std::pair(25569.0, Time(1970, 1, 1)),
                                      {45418.29732638889, Time(2024, 5, 6, 7, 8, 9)},
                                      {50423.99999999, Time(2038, 1, 19)}, // rounded
                                      {-1.25, Time(1899, 12, 29, 6)}})
    {
        ASSERT_TRUE(VariantTimeToSystemTime(d, &st)) << d;
        EXPECT_EQ(FieldsOf(expected), FieldsOf(st)) << d;
    }
    EXPECT_FALSE(VariantTimeToSystemTime(2958466.0, &st) || VariantTimeToSystemTime(-657435.0, &st));
}

} // namespace
