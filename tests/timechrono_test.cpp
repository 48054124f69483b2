#include "orvcomtypes/orvtimechrono.h"

#include "support/local_time.h"

#include <climits>

using namespace std::chrono;
using namespace std::chrono_literals;

namespace
{

TEST(TimeChrono, TimesAndSpans)
{
    const COrvTime t = FromUtc({2024, 5, 6, 7, 8, 9});
    const sys_seconds time = sys_days(2024y / 5 / 6) + 7h + 8min + 9s;
    EXPECT_EQ(time, OCT::ToSysSeconds(t));
    EXPECT_EQ(t, OCT::FromSysTime(time + 999ms));
    EXPECT_EQ(COrvTime(-1), OCT::FromSysTime(sys_time<milliseconds>(-1ms)));
    EXPECT_EQ(COrvTime(INT_MAX), OCT::FromSysTime(sys_seconds(seconds(INT_MAX))));
    EXPECT_FALSE(OCT::FromSysTime(sys_seconds(seconds(INT_MAX) + 1s)) ||
                 OCT::FromSysTime(sys_days(1901y / 12 / 13)) || OCT::FromSysTime(sys_days::max()));

    EXPECT_EQ(-90s, OCT::ToSeconds(COrvTimeDiff(-90)));
    EXPECT_EQ(COrvTimeDiff(-90), OCT::FromDuration(-1500ms - 88s));
    EXPECT_EQ(COrvTimeDiff(-90), OCT::FromDuration(duration<double>(-89.5)));
    EXPECT_FALSE(OCT::ToSeconds(COrvTimeDiff()) || OCT::FromDuration(seconds(INT_MIN)) ||
                 OCT::FromDuration(hours(600000)) || OCT::FromDuration(hours::min()) ||
                 OCT::FromDuration(duration<double>(std::numeric_limits<double>::quiet_NaN())));
}

TEST(TimeChrono, LocalDays)
{
    const CZone zone(ORVTEXT("Cuba Standard Time"));
    for (local_days day(2023y / 12 / 31); day < local_days(2025y / 1 / 2); day += days(1))
    {
        const auto t = OCT::FromLocalDay(day);
        ASSERT_TRUE(t) << year_month_day(day).month().operator unsigned();
        EXPECT_EQ(day, OCT::ToLocalDay(*t));
        EXPECT_EQ(day - days(1), OCT::ToLocalDay(*t - 1));
    }
    EXPECT_TRUE(OCT::FromLocalDay(local_days(2038y / 1 / 1)));
    EXPECT_FALSE(OCT::FromLocalDay(local_days(2038y / 1 / 2)) ||
                 OCT::FromLocalDay(local_days(1969y / 12 / 31)) || OCT::ToLocalDay(COrvTime()));
}

} // namespace
