// Times: the working time of a week in which the clocks change, and deadlines for people and for programs.
#include <orvcomtypes/octalloc.h>
#include <orvcomtypes/orvtime.h>
#include <orvcomtypes/orvtimechrono.h>
#include <orvcomtypes/orvtimer.h>

#include <cstdio>

namespace
{

void Show(const char* sWhat, const COrvTime& t)
{
    char s[32];
    t.DebugFormatLocal(COrvTime::dftISO, s, sizeof s);
    std::printf("%s %s\n", sWhat, s);
}

void Work()
{
    COrvPrecisionTimer timer(5000, true); // a time-out of five seconds
    if (SetTimeZone(ORVTEXT("Europe/Budapest")) != 0)
        std::puts("no such zone");

    // Days are stepped by the calendar: this one has 23 hours.
    const COrvTime tStart = COrvTime::FromLocalYMD(2024, 3, 31, 0, 0, 0);
    const COrvTime tNext = tStart.RoundLocalDayUp();
    std::printf("%d hours\n", (tNext - tStart).GetInSecond() / 3600);

    // What somebody has typed may be no time; then it is not taken.
    COrvTime tDeadline;
    for (const char* sTyped : {"31.3. noon", "2024-03-31 03:30:00", "2024-03-31 02:30:00Z"})
        if (tDeadline.SetFromString(sTyped))
            Show(sTyped, tDeadline);
    std::printf("%s\n", tDeadline.Between(tStart, tNext) ? "on that day" : "on another day");

    // The same moment for the standard library, and back.
    const auto later = OCT::ToSysSeconds(tDeadline) + std::chrono::hours(36);
    if (const std::optional<COrvTime> tLater = OCT::FromSysTime(later))
        Show("36 hours later", *tLater);
    std::puts(timer.IsExpired() ? "that took long" : "in time");
}

} // namespace

int main()
{
    Work();
    UninitOrvComTypes();
}

// Prints:
// 23 hours
// 2024-03-31 03:30:00 2024-03-31 03:30:00+02:00
// 2024-03-31 02:30:00Z 2024-03-31 04:30:00+02:00
// on that day
// 36 hours later 2024-04-01 16:30:00+02:00
// in time
