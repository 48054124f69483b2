#include "zonekeys.h"

#include <unicode/basictz.h>
#include <unicode/strenum.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <vector>

using namespace std::chrono;

namespace
{

using WallClock = local_time<milliseconds>;

/// One change of a zone's offset, at the moment that the wall clock before it shows.
struct Change
{
    WallClock m_at;
    minutes m_offset; // ahead of UTC from now on
    bool m_bToDaylight;
};

bool IsSameName(std::u16string_view a, std::u16string_view b)
{
    const auto toLower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? c + 32 : +c; };
    return std::ranges::equal(a, b, {}, toLower, toLower);
}

/// The name as ICU spells it, or an empty one.
icu::UnicodeString FindWindowsName(std::u16string_view sZoneName)
{
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::StringEnumeration> zones(
        icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_CANONICAL, nullptr, nullptr, error));
    while (const icu::UnicodeString* pId = U_SUCCESS(error) ? zones->snext(error) : nullptr)
    {
        icu::UnicodeString sName;
        icu::TimeZone::getWindowsID(*pId, sName, error);
        if (!sName.isEmpty() &&
            IsSameName({sName.getBuffer(), static_cast<std::size_t>(sName.length())}, sZoneName))
            return sName;
    }
    return {};
}

std::unique_ptr<icu::BasicTimeZone> CreateZone(const icu::UnicodeString& sWindowsName)
{
    UErrorCode error = U_ZERO_ERROR;
    icu::UnicodeString sId;
    icu::TimeZone::getIDForWindowsID(sWindowsName, nullptr, sId, error);
    return std::unique_ptr<icu::BasicTimeZone>(
        dynamic_cast<icu::BasicTimeZone*>(icu::TimeZone::createTimeZone(sId)));
}

minutes OffsetOf(const icu::TimeZoneRule& rule)
{
    return floor<minutes>(milliseconds(rule.getRawOffset() + rule.getDSTSavings()));
}

year YearOf(WallClock t)
{
    return year_month_day(floor<days>(t)).year();
}

/// All changes of the offset from the beginning of one year to the end of another, on the wall clock.
std::vector<Change> ChangesOf(const icu::BasicTimeZone& zone, year first, year last)
{
    std::vector<Change> changes;
    icu::TimeZoneTransition transition;
    auto dFrom =
        static_cast<UDate>(milliseconds(sys_days(first / 1 / 1).time_since_epoch() - days(1)).count());
    while (zone.getNextTransition(dFrom, false, transition))
    {
        dFrom = transition.getTime();
        const minutes before = OffsetOf(*transition.getFrom());
        const minutes after = OffsetOf(*transition.getTo());
        const WallClock at(milliseconds(static_cast<std::int64_t>(dFrom)) + before);
        if (YearOf(at) > last)
            break;
        if (YearOf(at) >= first && before != after)
            changes.push_back({at, after, transition.getTo()->getDSTSavings() != 0});
    }
    return changes;
}

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

/// In how many years the rule gives one of the changes, at most \p tooEarly before it.
auto CountHits(const SYSTEMTIME& rule, const std::vector<Change>& changes, milliseconds tooEarly)
{
    return std::ranges::count(changes, true, [&](const Change& change) {
        return MomentOf(rule, YearOf(change.m_at)) + tooEarly == change.m_at;
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
            const auto nHits = CountHits(rule, changes, tooEarly);
            if (MomentOf(rule, YearOf(change.m_at)) + tooEarly == change.m_at && nHits > nBest)
            {
                best = rule;
                nBest = nHits;
            }
        }
    return best;
}

ZoneKeyRules RulesOf(const icu::BasicTimeZone& zone, year now)
{
    const auto changes = ChangesOf(zone, now, now + years(8));
    const auto nThisYear =
        std::ranges::count(changes, now, [](const Change& change) { return YearOf(change.m_at); });
    ZoneKeyRules rules;
    rules.m_nDaylightBias = -60;
    if (nThisYear == 2 && changes[0].m_bToDaylight != changes[1].m_bToDaylight)
    {
        const Change& toDaylight = changes[changes[0].m_bToDaylight ? 0 : 1];
        const Change& toStandard = changes[changes[0].m_bToDaylight ? 1 : 0];
        rules.m_nBias = static_cast<LONG>(-toStandard.m_offset.count());
        rules.m_nDaylightBias = static_cast<LONG>((toStandard.m_offset - toDaylight.m_offset).count());
        rules.m_standardDate = BestRule(toStandard, changes);
        rules.m_daylightDate = BestRule(toDaylight, changes);
        return rules;
    }
    // A zone without the yearly pair keeps the offset that it has at the end of the year.
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t nRaw = 0;
    std::int32_t nSavings = 0;
    const auto end = milliseconds(sys_days(now / 12 / 31).time_since_epoch());
    zone.getOffset(static_cast<UDate>(end.count()), false, nRaw, nSavings, error);
    rules.m_nBias = static_cast<LONG>(-floor<minutes>(milliseconds(nRaw + nSavings)).count());
    return rules;
}

} // namespace

std::optional<ZoneKeyValues> FindZoneKey(std::u16string_view sZoneName)
{
    const icu::UnicodeString sName = FindWindowsName(sZoneName);
    const auto zone = sName.isEmpty() ? nullptr : CreateZone(sName);
    if (zone == nullptr)
        return std::nullopt;
    ZoneKeyValues values;
    values.m_sStd.assign(sName.getBuffer(), static_cast<std::size_t>(sName.length()));
    values.m_sDlt = values.m_sStd;
    constexpr std::u16string_view sStandard = u"Standard";
    if (const auto nAt = values.m_sDlt.find(sStandard); nAt != std::u16string::npos)
        values.m_sDlt.replace(nAt, sStandard.size(), u"Daylight");
    values.m_rules = RulesOf(*zone, year_month_day(floor<days>(system_clock::now())).year());
    return values;
}
