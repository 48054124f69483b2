#include "orvport/oledate.h"

#include "time/calendar.h"

#include <windows.h>

#include <chrono>
#include <cmath>

namespace
{

constexpr std::chrono::sys_days kDateBase = std::chrono::year(1899) / 12 / 30;
constexpr double kFirstDate = -657434.0; // 0100-01-01
constexpr double kLastDate = 2958465.0;  // 9999-12-31

} // namespace

INT VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime) noexcept
{
    using namespace std::chrono;
    // The fraction is the time of day also on the negative side: -1.25 is 06:00 on the day before the base.
    const double dDay = std::trunc(vtime);
    if (!(dDay >= kFirstDate && dDay <= kLastDate))
        return FALSE;
    const auto nSecond = static_cast<int>(std::fabs(vtime - dDay) * 86400.0 + 0.5);
    if (dDay == kLastDate && nSecond == 86400)
        return FALSE;
    ToSystemTime(kDateBase + days(static_cast<int>(dDay)) + seconds(nSecond), *lpSystemTime);
    return TRUE;
}
