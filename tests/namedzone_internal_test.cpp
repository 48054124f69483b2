#include "systemzone.h"
#include "time/civil.h"
#include "time/namedzone.h"

#include <gtest/gtest.h>

namespace
{

using OCT::ZoneRecord;

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

// Bias, its extra for standard and for daylight-saving time, the changes to the two.
const ZoneRecord kEurope = {-60, 0, -60, Rule(10, 0, 5, 3), Rule(3, 0, 5, 2)};
const ZoneRecord kSydney = {-600, 0, -60, Rule(4, 0, 1, 3), Rule(10, 0, 1, 2)};
const ZoneRecord kSantiago = {240, 0, -60, Rule(4, 6, 1, 23, 59, 59, 999), Rule(9, 6, 1, 23, 59, 59, 999)};
const ZoneRecord kFourth = {0, 0, -60, Rule(12, 0, 4, 2), Rule(3, 0, 4, 1)};
const ZoneRecord kNepal = {-345, 99, 99, {}, Rule(3, 0, 5, 2)}; // one rule is none
const ZoneRecord kDates = {0, 0, -60, Time(2024, 9, 15, 1, 59, 59, 1), Time(2024, 5, 15, 0, 59, 59, 999)};

TEST(NamedZone, ChangesByItsRules)
{
    const struct
    {
        const ZoneRecord& zone;
        SYSTEMTIME utc; // the first second
        int iBefore;    // minutes ahead of UTC
        int iAfter;
    } rows[] = {
        {kEurope, Time(1970, 3, 29, 1), 60, 120},
        {kEurope, Time(2037, 10, 25, 1), 120, 60},
        {kSydney, Time(2024, 10, 5, 16), 600, 660},
        {kSydney, Time(2024, 4, 6, 16), 660, 600},
        {kSydney, Time(2024, 1, 1), 660, 660},
        {kSantiago, Time(2024, 4, 7, 3), -180, -240},
        {kSantiago, Time(2024, 9, 8, 4), -240, -180},
        {kFourth, Time(2032, 3, 28, 1), 0, 60},
        {kFourth, Time(2034, 12, 24, 1), 60, 0}, // not the last, the 31st
        {kFourth, Time(2034, 12, 31, 1), 0, 0},
        {kNepal, Time(2024, 3, 31), 345, 345},
        {kDates, Time(2024, 5, 15, 1), 0, 60},
        {kDates, Time(2024, 9, 15, 1), 60, 0},
        {kDates, Time(2025, 7, 1), 0, 0},
    };
    for (const auto& row : rows)
    {
        const CZonePeriods zone = OCT::PeriodsOf(row.zone);
        const std::int64_t n = OCT::SecondsOf(row.utc), nBefore = row.iBefore * 60, nAfter = row.iAfter * 60;
        SCOPED_TRACE(n);
        EXPECT_EQ(nBefore, zone.OffsetAt(n - 1));
        EXPECT_EQ(nAfter, zone.OffsetAt(n));
        // The wall clock before the change reaches it; a repeated time is of before, a skipped one of after.
        EXPECT_EQ(nBefore, zone.OffsetOfLocal(n + nBefore - 1));
        EXPECT_EQ(nAfter, zone.OffsetOfLocal(n + nBefore));
    }
}

TEST(NamedZone, RecordsThatAreNoneHaveNoOffset)
{
    for (const ZoneRecord& record : {ZoneRecord{0x7FFFFFFF, 0, 0, {}, {}},
                                     {0, 0, -2881, Rule(10, 0, 5, 3), Rule(3, 0, 5, 2)},
                                     {0, 0, -60, Rule(13, 0, 5, 3), Rule(3, 0, 5, 2)},
                                     {0, 0, -60, Rule(10, 0, 5, 3), Rule(3, 7, 1, 2)},
                                     {0, 0, -60, Rule(10, 0, 0, 3), Rule(3, 0, 5, 2)},
                                     {0, 0, -60, Rule(10, 0, 5, 3), Rule(3, 0, 6, 2)},
                                     {0, 0, -60, Time(2023, 2, 29), Time(2023, 1, 1)}})
        EXPECT_EQ(kPortNoOffset, OCT::PeriodsOf(record).OffsetAt(0)) << record.Bias;
}

} // namespace
