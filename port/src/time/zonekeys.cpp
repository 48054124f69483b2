#include "time/zonekeys.h"

#include "process/sparememory.h"
#include "threads/portlock.h"
#include "time/zonefile.h"

#include <windows.h>

#include <unicode/basictz.h>
#include <unicode/strenum.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>
#include <unicode/ures.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace std::chrono;

namespace
{

using WallClock = local_time<milliseconds>;

/// One change of a zone's offset, at the moment that the wall clock before it shows.
struct Change
{
    WallClock m_at;
    seconds m_before; // ahead of UTC
    seconds m_after;

    bool IsForward() const { return m_after > m_before; }
};

// ---- Names ----

bool IsSameName(std::u16string_view a, std::u16string_view b)
{
    const auto toLower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? c + 32 : +c; };
    return std::ranges::equal(a, b, {}, toLower, toLower);
}

std::u16string ToWide(std::string_view s)
{
    return {s.begin(), s.end()};
}

std::string ToNarrow(std::u16string_view s)
{
    std::string sNarrow;
    for (const char16_t c : s)
        sNarrow += c < 0x80 ? static_cast<char>(c) : '?';
    return sNarrow;
}

/// A zone's name as it is spelled, and the identifier that stands for it in the tz database.
struct ZoneName
{
    std::u16string m_sName;
    std::string m_sId;
};

/// The zone of that Windows name: CLDR has an identifier for each, that of the whole world ("001").
std::optional<ZoneName> FindWindowsName(std::u16string_view sName)
{
    UErrorCode error = U_ZERO_ERROR;
    const icu::LocalUResourceBundlePointer zones(ures_openDirect(nullptr, "windowsZones", &error));
    const icu::LocalUResourceBundlePointer names(
        ures_getByKey(zones.getAlias(), "mapTimezones", nullptr, &error));
    for (int i = 0; U_SUCCESS(error) && i < ures_getSize(names.getAlias()); ++i)
    {
        const icu::LocalUResourceBundlePointer name(ures_getByIndex(names.getAlias(), i, nullptr, &error));
        const std::u16string sSpelled = ToWide(U_SUCCESS(error) ? ures_getKey(name.getAlias()) : "");
        if (!IsSameName(sSpelled, sName))
            continue;
        int nLength = 0;
        const UChar* const sId = ures_getStringByKey(name.getAlias(), "001", &nLength, &error);
        if (U_SUCCESS(error))
            return ZoneName{sSpelled, ToNarrow({sId, static_cast<std::size_t>(nLength)})};
    }
    return std::nullopt;
}

/// The identifier as ICU spells it; one that it does not know may be younger than its data.
ZoneName SpellZoneId(std::u16string_view sName)
{
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::StringEnumeration> ids(
        icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, error));
    int nLength = 0;
    while (const UChar* sId = U_SUCCESS(error) ? ids->unext(&nLength, error) : nullptr)
        if (const std::u16string_view sSpelled(sId, static_cast<std::size_t>(nLength));
            IsSameName(sSpelled, sName))
            return {std::u16string(sSpelled), ToNarrow(sSpelled)};
    return {std::u16string(sName), ToNarrow(sName)};
}

// ---- Offsets ----

/// The offsets that ICU's own data has for a zone, from \p first on.
std::optional<std::vector<ZoneOffset>> ReadBuiltInZone(const std::string& sId, year first, year last)
{
    const std::unique_ptr<icu::BasicTimeZone> zone(
        dynamic_cast<icu::BasicTimeZone*>(icu::TimeZone::createTimeZone(sId.c_str())));
    if (zone == nullptr || *zone == icu::TimeZone::getUnknown())
        return std::nullopt;
    const auto toDate = [](year of) {
        return static_cast<UDate>(milliseconds(sys_days(of / 1 / 1).time_since_epoch()).count());
    };
    const auto toSeconds = [](std::int32_t nMs) { return static_cast<LONG>(nMs / 1000); };
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t nRaw = 0;
    std::int32_t nSavings = 0;
    UDate dFrom = toDate(first);
    zone->getOffset(dFrom, false, nRaw, nSavings, error);
    std::vector<ZoneOffset> offsets = {
        {std::numeric_limits<std::int64_t>::min(), toSeconds(nRaw + nSavings)}};
    icu::TimeZoneTransition transition;
    while (zone->getNextTransition(dFrom, false, transition) &&
           transition.getTime() < toDate(last + years(1)))
    {
        dFrom = transition.getTime();
        const icu::TimeZoneRule& rule = *transition.getTo();
        offsets.push_back(
            {static_cast<std::int64_t>(dFrom) / 1000, toSeconds(rule.getRawOffset() + rule.getDSTSavings())});
    }
    return offsets;
}

year YearOf(WallClock t)
{
    return year_month_day(floor<days>(t)).year();
}

/// All changes of the offset from the beginning of one year to the end of another, on the wall clock.
std::vector<Change> ChangesOf(const std::vector<ZoneOffset>& offsets, year first, year last)
{
    std::vector<Change> changes;
    for (std::size_t i = 1; i < offsets.size(); ++i)
    {
        const seconds before(offsets[i - 1].m_nSeconds);
        const seconds after(offsets[i].m_nSeconds);
        const WallClock at(seconds(offsets[i].m_nUtc) + before);
        if (before != after && YearOf(at) >= first && YearOf(at) <= last)
            changes.push_back({at, before, after});
    }
    return changes;
}

// ---- Rules ----

/// The n-th weekday (5: the last) and time of day of \p at as a rule without a year.
SYSTEMTIME RuleOf(WallClock at, bool bLast)
{
    const auto day = floor<days>(at);
    const year_month_weekday date(day);
    const hh_mm_ss time(at - day);
    SYSTEMTIME rule = {};
    rule.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    rule.wDayOfWeek = static_cast<WORD>(date.weekday().c_encoding());
    rule.wDay = static_cast<WORD>(bLast ? 5u : date.index());
    rule.wHour = static_cast<WORD>(time.hours().count());
    rule.wMinute = static_cast<WORD>(time.minutes().count());
    rule.wSecond = static_cast<WORD>(time.seconds().count());
    rule.wMilliseconds = static_cast<WORD>(time.subseconds().count());
    return rule;
}

WallClock MomentOf(const SYSTEMTIME& rule, year inYear)
{
    const auto inMonth = inYear / month(rule.wMonth);
    const weekday onDay(rule.wDayOfWeek);
    const local_days day =
        rule.wDay == 5 ? local_days(inMonth / onDay[last]) : local_days(inMonth / onDay[rule.wDay]);
    return day + hours(rule.wHour) + minutes(rule.wMinute) + seconds(rule.wSecond) +
           milliseconds(rule.wMilliseconds);
}

/// In how many years the rule gives the change in the direction of \p like, at most \p tooEarly before it.
auto CountHits(const SYSTEMTIME& rule, const std::vector<Change>& changes, const Change& like,
               milliseconds tooEarly)
{
    return std::ranges::count_if(changes, [&](const Change& change) {
        return change.IsForward() == like.IsForward() &&
               MomentOf(rule, YearOf(change.m_at)) + tooEarly == change.m_at;
    });
}

/// The rule that stays right for the most of the following years. The fourth weekday may be the last one, and
/// midnight may be the end of the day before, which rules write as its last millisecond.
SYSTEMTIME BestRule(const Change& change, const std::vector<Change>& changes)
{
    SYSTEMTIME best = {};
    std::ptrdiff_t nBest = 0;
    for (const milliseconds tooEarly : {milliseconds(0), milliseconds(1)})
        for (const bool bLast : {false, true})
        {
            const SYSTEMTIME rule = RuleOf(change.m_at - tooEarly, bLast);
            const auto nHits = CountHits(rule, changes, change, tooEarly);
            if (MomentOf(rule, YearOf(change.m_at)) + tooEarly == change.m_at && nHits > nBest)
            {
                best = rule;
                nBest = nHits;
            }
        }
    return best;
}

LONG BiasOf(seconds offset)
{
    return static_cast<LONG>(-floor<minutes>(offset).count());
}

ZoneKeyRules RulesOf(const std::vector<ZoneOffset>& offsets, year now)
{
    const auto changes = ChangesOf(offsets, now, now + ZONE_KEY_YEARS);
    const auto nThisYear =
        std::ranges::count(changes, now, [](const Change& change) { return YearOf(change.m_at); });
    ZoneKeyRules rules;
    rules.m_nDaylightBias = -60;
    if (nThisYear == 2 && changes[0].IsForward() != changes[1].IsForward())
    {
        const Change& toDaylight = changes[changes[0].IsForward() ? 0 : 1];
        const Change& toStandard = changes[changes[0].IsForward() ? 1 : 0];
        rules.m_nBias = BiasOf(toStandard.m_after);
        rules.m_nDaylightBias = BiasOf(toDaylight.m_after) - rules.m_nBias;
        rules.m_standardDate = BestRule(toStandard, changes);
        rules.m_daylightDate = BestRule(toDaylight, changes);
        return rules;
    }
    const std::int64_t nEnd = sys_seconds(sys_days((now + years(1)) / 1 / 1)).time_since_epoch().count();
    const auto next = std::ranges::upper_bound(offsets, nEnd, {}, &ZoneOffset::m_nUtc);
    rules.m_nBias = BiasOf(seconds(next[-1].m_nSeconds));
    return rules;
}

} // namespace

std::optional<ZoneKeyValues> FindZoneKey(std::u16string_view sZoneName)
{
    if (!PortHasSpareMemory())
        throw std::bad_alloc();
    const CMakingGuard guard(g_makingLock);
    const std::optional<ZoneName> windowsName = FindWindowsName(sZoneName);
    ZoneName name = windowsName ? *windowsName : ZoneName{std::u16string(sZoneName), ToNarrow(sZoneName)};
    const year now = year_month_day(floor<days>(system_clock::now())).year();
    auto offsets = ReadZoneFile(name.m_sId, now + ZONE_KEY_YEARS);
    if (!offsets)
    {
        if (!windowsName)
            name = SpellZoneId(sZoneName);
        offsets = ReadZoneFile(name.m_sId, now + ZONE_KEY_YEARS);
    }
    if (!offsets)
        offsets = ReadBuiltInZone(name.m_sId, now, now + ZONE_KEY_YEARS);
    if (!offsets)
        return std::nullopt;
    ZoneKeyValues values;
    values.m_sStd = name.m_sName;
    values.m_sDlt = name.m_sName;
    constexpr std::u16string_view sStandard = u"Standard";
    if (const auto nAt = values.m_sDlt.find(sStandard); nAt != std::u16string::npos)
        values.m_sDlt.replace(nAt, sStandard.size(), u"Daylight");
    values.m_rules = RulesOf(*offsets, now);
    return values;
}
