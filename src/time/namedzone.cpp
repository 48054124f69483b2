#include "time/namedzone.h"

#include "core/neverdestroyed.h"
#include "systemzone.h"
#include "time/civil.h"
#include "zoneperiods.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <list>
#include <optional>

using namespace std::chrono;

namespace
{

/// The moment of a change as the wall clock before it shows it. It may name parts of a second ("23:59:59.999"
/// is the midnight that follows); what is asked for are whole seconds, so the next one counts.
std::optional<std::int64_t> ChangeOf(const SYSTEMTIME& rule, year inYear)
{
    const int iPart = rule.wMilliseconds != 0;
    if (rule.wYear != 0)
    {
        const std::int64_t nSeconds = OCT::SecondsOf(rule);
        return nSeconds != OCT::kNoSeconds ? std::optional(nSeconds + iPart) : std::nullopt;
    }
    if (rule.wMonth > 12 || rule.wDayOfWeek > 6 || rule.wDay < 1 || rule.wDay > 5)
        return std::nullopt;
    const auto inMonth = inYear / month(rule.wMonth);
    const weekday onDay(rule.wDayOfWeek);
    const sys_days day =
        rule.wDay == 5 ? sys_days(inMonth / onDay[last]) : sys_days(inMonth / onDay[rule.wDay]);
    return std::int64_t{day.time_since_epoch().count()} * 86400 + (rule.wHour * 60 + rule.wMinute) * 60 +
           rule.wSecond + iPart;
}

/// A record as offsets in seconds.
class CZoneRules
{
public:
    explicit CZoneRules(const OCT::ZoneRecord& record)
        : m_record(record),
          m_bChanges(record.StandardDate.wMonth != 0 && record.DaylightDate.wMonth != 0),
          m_nStandard(OffsetOf(m_bChanges ? record.StandardBias : 0)),
          m_nDaylight(OffsetOf(m_bChanges ? record.DaylightBias : 0))
    {
    }

    bool IsValid() const;
    CZonePeriods Periods() const;

private:
    std::int64_t OffsetOf(LONG nExtraBias) const { return -60 * (std::int64_t{m_record.Bias} + nExtraBias); }
    void AddYear(CZonePeriods& periods, year inYear) const;

    const OCT::ZoneRecord& m_record;
    bool m_bChanges;
    std::int64_t m_nStandard;
    std::int64_t m_nDaylight;
};

/// Are the rules well-formed and the offsets such that fields can be computed with?
bool CZoneRules::IsValid() const
{
    constexpr std::int64_t nMost = 2 * CZonePeriods::kDay;
    const auto isOffset = [](std::int64_t n) { return n >= -nMost && n <= nMost; };
    return isOffset(m_nStandard) && isOffset(m_nDaylight) &&
           (!m_bChanges ||
            (ChangeOf(m_record.StandardDate, year(1970)) && ChangeOf(m_record.DaylightDate, year(1970))));
}

/// Looks at the beginning of a year and at its changes, in the order of time. The order of the two changes
/// tells which half of the year has daylight-saving time.
void CZoneRules::AddYear(CZonePeriods& periods, year inYear) const
{
    const auto startOf = [this](year of) {
        return sys_seconds(sys_days(of / 1 / 1)).time_since_epoch().count() - m_nStandard;
    };
    // NOLINTBEGIN(bugprone-unchecked-optional-access): valid rules have both in every year
    const std::int64_t nToStandard = *ChangeOf(m_record.StandardDate, inYear);
    const std::int64_t nToDaylight = *ChangeOf(m_record.DaylightDate, inYear);
    // NOLINTEND(bugprone-unchecked-optional-access)
    const bool bDaylightInside = nToDaylight < nToStandard;
    std::array<std::int64_t, 3> moments = {startOf(inYear), nToStandard - m_nDaylight,
                                           nToDaylight - m_nStandard};
    const auto [nStart, nStandard, nDaylight] = moments;
    const std::int64_t nEnd = startOf(inYear + years(1));
    std::ranges::sort(moments);
    for (const std::int64_t n : moments)
    {
        if (n < nStart || n >= nEnd)
            continue; // a date of another year
        const bool bDaylight =
            bDaylightInside ? n >= nDaylight && n < nStandard : n >= nDaylight || n < nStandard;
        const auto nOffset = static_cast<LONG>(bDaylight ? m_nDaylight : m_nStandard);
        if (nOffset != periods.LastOffset())
            periods.Add(n, n + periods.LastOffset(), nOffset);
    }
}

CZonePeriods CZoneRules::Periods() const
{
    CZonePeriods periods(static_cast<LONG>(m_nStandard));
    for (year inYear(1900); m_bChanges && inYear < year(2040); ++inYear)
        AddYear(periods, inYear);
    periods.Finish();
    return periods;
}

struct KeptZone
{
    explicit KeptZone(const OCT::ZoneRecord& record) : m_record(record), m_periods(OCT::PeriodsOf(record)) {}

    OCT::ZoneRecord m_record;
    CZonePeriods m_periods;
};

/// All zones that were ever selected.
CNeverDestroyed<std::list<KeptZone>> g_keptZones;

const CZonePeriods& FindZone(const OCT::ZoneRecord& record)
{
    std::list<KeptZone>& zones = g_keptZones.Get();
    for (const KeptZone& zone : zones)
        if (std::memcmp(&zone.m_record, &record, sizeof record) == 0)
            return zone.m_periods;
    return zones.emplace_back(record).m_periods;
}

} // namespace

constinit std::atomic<const CZonePeriods*> OCT::g_pSelectedZone = nullptr;

CZonePeriods OCT::PeriodsOf(const ZoneRecord& record)
{
    const CZoneRules rules(record);
    if (rules.IsValid())
        return rules.Periods();
    CZonePeriods none(kPortNoOffset);
    none.Finish();
    return none;
}

void OCT::SelectZone(const ZoneRecord& record)
{
    g_pSelectedZone.store(&FindZone(record), std::memory_order_release);
}

void OCT::FreeZonesAtUnload() noexcept
{
    g_pSelectedZone.store(nullptr, std::memory_order_release);
    g_keptZones.DestroyAtUnload();
}
