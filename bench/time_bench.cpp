// Times beside their peers: text in both directions, and fields of UTC and of local time in both directions.
// Every peer does the whole step: from a count of seconds to text or fields, and back, refusing fields that
// do not exist where it can.
#include "orvcomtypes/orvtime.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <random>

#if __has_include(<fmt/chrono.h>)
#define ORV_HAS_FMT
#include <fmt/chrono.h>
#include <fmt/compile.h>
#endif
#if __has_include(<absl/time/time.h>)
#define ORV_HAS_ABSL
#include <absl/time/time.h>
#endif
#if __has_include(<date/tz.h>)
#define ORV_HAS_DATE
#include <date/date.h>
#include <date/tz.h>
#include <sstream>
#endif

namespace
{

constexpr int kTime = 1714979289;
constexpr const char* kText = "2024-05-06 07:08:09Z";
constexpr const char* kZone = "Europe/Budapest";

/// The zone of every local benchmark, set before anything reads it.
const bool g_bZoneSet = setenv("TZ", kZone, 1) == 0;

/// Times to go through: argument 0 those of one week, 1 those of all years.
const std::array<int, 1024>& Times(const benchmark::State& state)
{
    static const auto make = [](int iFirst, int iLast) {
        std::mt19937 random(1);
        std::uniform_int_distribution<int> any(iFirst, iLast);
        std::array<int, 1024> times;
        for (int& t : times)
            t = any(random);
        return times;
    };
    static const std::array<int, 1024> near = make(kTime, kTime + 7 * 86400);
    static const std::array<int, 1024> spread = make(86400, 2145916800);
    return state.range(0) == 0 ? near : spread;
}

struct Fields
{
    WORD y, mo, d, h, mi, s;
};

/// The fields of the times, in UTC: as a wall clock of Budapest they exist nearly all.
std::array<Fields, 1024> FieldsOfTimes(const benchmark::State& state)
{
    std::array<Fields, 1024> all;
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        Fields& f = all[i];
        COrvTime(Times(state)[i]).GetYMD(&f.y, &f.mo, &f.d, &f.h, &f.mi, &f.s);
    }
    return all;
}

template <class Convert>
void OverTimes(benchmark::State& state, Convert convert)
{
    const auto& times = Times(state);
    std::size_t i = 0;
    for (auto _ : state)
        convert(times[i++ % times.size()]);
}

template <class Convert>
void OverFields(benchmark::State& state, Convert convert)
{
    const auto all = FieldsOfTimes(state);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(convert(all[i++ % all.size()]));
}

std::tm ToTm(const Fields& f)
{
    std::tm tm{};
    tm.tm_year = f.y - 1900;
    tm.tm_mon = f.mo - 1;
    tm.tm_mday = f.d;
    tm.tm_hour = f.h;
    tm.tm_min = f.mi;
    tm.tm_sec = f.s;
    tm.tm_isdst = -1;
    return tm;
}

// ---- Text ----

void FormatOurs(benchmark::State& state)
{
    for (auto _ : state)
    {
        int t = kTime;
        benchmark::DoNotOptimize(t);
        char text[32];
        COrvTime(t).DebugFormat(COrvTime::dftISO, text, sizeof text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatOurs);

void FormatStrftime(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::time_t t = kTime;
        benchmark::DoNotOptimize(t);
        char text[32];
        std::tm tm;
        gmtime_r(&t, &tm);
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%SZ", &tm);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatStrftime);

void ParseOurs(benchmark::State& state)
{
    for (auto _ : state)
    {
        const char* s = kText;
        benchmark::DoNotOptimize(s);
        COrvTime t;
        t.SetFromString(s);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(ParseOurs);

void ParseStrptime(benchmark::State& state)
{
    for (auto _ : state)
    {
        const char* s = kText;
        benchmark::DoNotOptimize(s);
        std::tm tm{};
        strptime(s, "%Y-%m-%d %H:%M:%SZ", &tm);
        benchmark::DoNotOptimize(timegm(&tm));
    }
}
BENCHMARK(ParseStrptime);

// ---- Fields ----

void UtcFieldsOurs(benchmark::State& state)
{
    OverTimes(state, [](int t) {
        Fields f;
        COrvTime(t).GetYMD(&f.y, &f.mo, &f.d, &f.h, &f.mi, &f.s);
        benchmark::DoNotOptimize(f);
    });
}
BENCHMARK(UtcFieldsOurs)->Arg(0)->Arg(1);

void UtcFieldsGmtime(benchmark::State& state)
{
    OverTimes(state, [](int i) {
        const std::time_t t = i;
        std::tm tm;
        gmtime_r(&t, &tm);
        benchmark::DoNotOptimize(tm);
    });
}
BENCHMARK(UtcFieldsGmtime)->Arg(0)->Arg(1);

void UtcValueOurs(benchmark::State& state)
{
    OverFields(state, [](const Fields& f) { return COrvTime::FromYMD(f.y, f.mo, f.d, f.h, f.mi, f.s); });
}
BENCHMARK(UtcValueOurs)->Arg(0)->Arg(1);

void UtcValueTimegm(benchmark::State& state)
{
    OverFields(state, [](const Fields& f) {
        std::tm tm = ToTm(f);
        return timegm(&tm);
    });
}
BENCHMARK(UtcValueTimegm)->Arg(0)->Arg(1);

void LocalFieldsOurs(benchmark::State& state)
{
    OverTimes(state, [](int t) {
        Fields f;
        COrvTime(t).GetLocalYMD(&f.y, &f.mo, &f.d, &f.h, &f.mi, &f.s);
        benchmark::DoNotOptimize(f);
    });
}
BENCHMARK(LocalFieldsOurs)->Arg(0)->Arg(1);

void LocalFieldsLocaltime(benchmark::State& state)
{
    OverTimes(state, [](int i) {
        const std::time_t t = i;
        std::tm tm;
        localtime_r(&t, &tm);
        benchmark::DoNotOptimize(tm);
    });
}
BENCHMARK(LocalFieldsLocaltime)->Arg(0)->Arg(1);

void LocalValueOurs(benchmark::State& state)
{
    OverFields(state, [](const Fields& f) { return COrvTime::FromLocalYMD(f.y, f.mo, f.d, f.h, f.mi, f.s); });
}
BENCHMARK(LocalValueOurs)->Arg(0)->Arg(1);

void LocalValueMktime(benchmark::State& state)
{
    OverFields(state, [](const Fields& f) {
        std::tm tm = ToTm(f);
        return std::mktime(&tm);
    });
}
BENCHMARK(LocalValueMktime)->Arg(0)->Arg(1);

// ---- Named zones, and texts of the user's locale ----

/// A zone for a benchmark.
struct CNamedZone
{
    CNamedZone() { SetTimeZone(ORVTEXT("Central Europe Standard Time")); }
    CNamedZone(const CNamedZone&) = delete;
    CNamedZone& operator=(const CNamedZone&) = delete;
    ~CNamedZone() { SetTimeZone(nullptr); }
};

void NamedFieldsOurs(benchmark::State& state)
{
    const CNamedZone zone;
    LocalFieldsOurs(state);
}
BENCHMARK(NamedFieldsOurs)->Arg(0)->Arg(1);

void NamedValueOurs(benchmark::State& state)
{
    const CNamedZone zone;
    LocalValueOurs(state);
}
BENCHMARK(NamedValueOurs)->Arg(0)->Arg(1);

void SelectZone(benchmark::State& state)
{
    for (auto _ : state)
        SetTimeZone(ORVTEXT("Central Europe Standard Time"));
    SetTimeZone(nullptr);
}
BENCHMARK(SelectZone);

void FormatLocale(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(COrvTime(kTime).FormatLocal());
}
BENCHMARK(FormatLocale);

void ParseLocale(benchmark::State& state)
{
    const COrvStr sText = COrvTime(kTime).FormatLocal();
    for (auto _ : state)
    {
        COrvTime t;
        benchmark::DoNotOptimize(t.ParseLocal(sText));
    }
}
BENCHMARK(ParseLocale);

#if defined(ORV_HAS_FMT)
void FormatFmt(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::time_t t = kTime;
        benchmark::DoNotOptimize(t);
        char text[32];
        *fmt::format_to(text, FMT_COMPILE("{:%Y-%m-%d %H:%M:%S}Z"), fmt::gmtime(t)) = 0;
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatFmt);
#endif

#if defined(ORV_HAS_ABSL)
void FormatAbsl(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::int64_t t = kTime;
        benchmark::DoNotOptimize(t);
        benchmark::DoNotOptimize(
            absl::FormatTime("%Y-%m-%d %H:%M:%SZ", absl::FromUnixSeconds(t), absl::UTCTimeZone()));
    }
}
BENCHMARK(FormatAbsl);

void ParseAbsl(benchmark::State& state)
{
    for (auto _ : state)
    {
        const char* s = kText;
        benchmark::DoNotOptimize(s);
        absl::Time t;
        absl::ParseTime("%Y-%m-%d %H:%M:%SZ", s, &t, nullptr);
        benchmark::DoNotOptimize(absl::ToUnixSeconds(t));
    }
}
BENCHMARK(ParseAbsl);

absl::TimeZone AbslZone()
{
    absl::TimeZone zone;
    if (!absl::LoadTimeZone(kZone, &zone))
        std::abort();
    return zone;
}

void AbslFields(benchmark::State& state, absl::TimeZone zone)
{
    OverTimes(state, [zone](int t) {
        const absl::CivilSecond cs = absl::ToCivilSecond(absl::FromUnixSeconds(t), zone);
        const Fields f{static_cast<WORD>(cs.year()),   static_cast<WORD>(cs.month()),
                       static_cast<WORD>(cs.day()),    static_cast<WORD>(cs.hour()),
                       static_cast<WORD>(cs.minute()), static_cast<WORD>(cs.second())};
        benchmark::DoNotOptimize(f);
    });
}

void AbslValue(benchmark::State& state, absl::TimeZone zone)
{
    OverFields(state, [zone](const Fields& f) {
        return absl::ToUnixSeconds(absl::FromCivil(absl::CivilSecond(f.y, f.mo, f.d, f.h, f.mi, f.s), zone));
    });
}

void UtcFieldsAbsl(benchmark::State& state)
{
    AbslFields(state, absl::UTCTimeZone());
}
void UtcValueAbsl(benchmark::State& state)
{
    AbslValue(state, absl::UTCTimeZone());
}
void LocalFieldsAbsl(benchmark::State& state)
{
    AbslFields(state, AbslZone());
}
void LocalValueAbsl(benchmark::State& state)
{
    AbslValue(state, AbslZone());
}
BENCHMARK(UtcFieldsAbsl)->Arg(0)->Arg(1);
BENCHMARK(UtcValueAbsl)->Arg(0)->Arg(1);
BENCHMARK(LocalFieldsAbsl)->Arg(0)->Arg(1);
BENCHMARK(LocalValueAbsl)->Arg(0)->Arg(1);
#endif

#if defined(ORV_HAS_DATE)
Fields DateFields(std::chrono::seconds sinceEpoch)
{
    const auto day = date::floor<date::days>(sinceEpoch);
    const date::year_month_day ymd{date::sys_days(day)};
    const date::hh_mm_ss time(sinceEpoch - day);
    return {static_cast<WORD>(static_cast<int>(ymd.year())),
            static_cast<WORD>(static_cast<unsigned>(ymd.month())),
            static_cast<WORD>(static_cast<unsigned>(ymd.day())),
            static_cast<WORD>(time.hours().count()),
            static_cast<WORD>(time.minutes().count()),
            static_cast<WORD>(time.seconds().count())};
}

/// Nothing but a valid date gives a value other than 0, as ours.
std::chrono::seconds DateSeconds(const Fields& f)
{
    const date::year_month_day ymd(date::year(f.y), date::month(f.mo), date::day(f.d));
    if (!ymd.ok() || f.h > 23 || f.mi > 59 || f.s > 59)
        return {};
    return date::sys_days(ymd).time_since_epoch() + std::chrono::hours(f.h) + std::chrono::minutes(f.mi) +
           std::chrono::seconds(f.s);
}

void FormatDate(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::int64_t t = kTime;
        benchmark::DoNotOptimize(t);
        benchmark::DoNotOptimize(
            date::format("%Y-%m-%d %H:%M:%SZ", date::sys_seconds(std::chrono::seconds(t))));
    }
}
BENCHMARK(FormatDate);

void ParseDate(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::istringstream in(kText);
        date::sys_seconds t;
        in >> date::parse("%Y-%m-%d %H:%M:%SZ", t);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(ParseDate);

void UtcFieldsDate(benchmark::State& state)
{
    OverTimes(state, [](int t) {
        const Fields f = DateFields(std::chrono::seconds(t));
        benchmark::DoNotOptimize(f);
    });
}
BENCHMARK(UtcFieldsDate)->Arg(0)->Arg(1);

void UtcValueDate(benchmark::State& state)
{
    OverFields(state, [](const Fields& f) { return DateSeconds(f); });
}
BENCHMARK(UtcValueDate)->Arg(0)->Arg(1);

void LocalFieldsDate(benchmark::State& state)
{
    const date::time_zone* const pZone = date::locate_zone(kZone);
    OverTimes(state, [pZone](int t) {
        const Fields f =
            DateFields(pZone->to_local(date::sys_seconds(std::chrono::seconds(t))).time_since_epoch());
        benchmark::DoNotOptimize(f);
    });
}
BENCHMARK(LocalFieldsDate)->Arg(0)->Arg(1);

void LocalValueDate(benchmark::State& state)
{
    const date::time_zone* const pZone = date::locate_zone(kZone);
    OverFields(state, [pZone](const Fields& f) {
        return pZone->to_sys(date::local_seconds(DateSeconds(f)), date::choose::earliest);
    });
}
BENCHMARK(LocalValueDate)->Arg(0)->Arg(1);
#endif

} // namespace

BENCHMARK_MAIN();
