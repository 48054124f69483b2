#include "systemzone.h"

#include "localtime.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>
#include <vector>

namespace
{

constexpr std::int64_t DAY = 86400;
constexpr std::int64_t FIRST = -(70 * 365 + 17) * DAY; // 1900-01-01
constexpr std::int64_t LAST = (70 * 365 + 17) * DAY;   // 2039-12-31
// No zone of the database keeps an offset for less than 95 hours in these years: no change falls between two
// steps.
constexpr std::int64_t STEP = 3 * DAY;
constexpr std::int64_t EVER = std::numeric_limits<std::int64_t>::max();

LONG LibraryOffset(std::int64_t nUtc) noexcept
{
    const std::time_t t = nUtc;
    std::tm fields;
    return PortLocalTime(t, fields) ? static_cast<LONG>(fields.tm_gmtoff) : 0;
}

/// The offsets of the system's zone (the variable TZ, else /etc/localtime) with the changes that the tz
/// database has.
///
/// They are read once, from the C library. A search begins at what was in force early in the slot of 49 days
/// that the time falls into, and rarely goes on from there.
class CSystemZone
{
public:
    CSystemZone() noexcept;

    LONG OffsetAt(std::int64_t nUtc) const noexcept { return Find(nUtc, &Period::m_nUtc); }
    LONG OffsetOfLocal(std::int64_t nLocal) const noexcept { return Find(nLocal, &Period::m_nLocal); }

private:
    struct Period
    {
        std::int64_t m_nUtc;   // first second
        std::int64_t m_nLocal; // first second of the wall clock that is read with this offset
        LONG m_nOffset;
    };

    void ReadPeriods();
    void FillSlots() noexcept;
    LONG Find(std::int64_t n, std::int64_t Period::*start) const noexcept;

    static constexpr int SLOT_BITS = 22;

    std::vector<Period> m_periods; // ends with a guard that never begins
    std::array<std::uint16_t, ((LAST - FIRST) >> SLOT_BITS) + 1> m_firstOfSlot;
};

CSystemZone::CSystemZone() noexcept
{
    tzset();
    ReadPeriods();
    FillSlots();
}

void CSystemZone::ReadPeriods()
{
    LONG nOffset = LibraryOffset(FIRST);
    m_periods.push_back({-EVER, -EVER, nOffset});
    for (std::int64_t nUtc = FIRST; nUtc < LAST; nUtc += STEP)
    {
        const LONG nNext = LibraryOffset(nUtc + STEP);
        if (nNext == nOffset)
            continue;
        std::int64_t nBefore = nUtc;
        std::int64_t nChange = nUtc + STEP;
        while (nChange - nBefore > 1)
        {
            const std::int64_t nMiddle = nBefore + (nChange - nBefore) / 2;
            (LibraryOffset(nMiddle) == nOffset ? nBefore : nChange) = nMiddle;
        }
        // A repeated time is the first of the two. A skipped one is as far behind the change as it would have
        // been, so that it belongs to its own day also where midnight is skipped.
        m_periods.push_back({nChange, nChange + std::max(nOffset, nNext), nNext});
        nOffset = nNext;
    }
    m_periods.push_back({EVER, EVER, nOffset});
}

void CSystemZone::FillSlots() noexcept
{
    // Two days early, so that the entry serves wall-clock times too.
    for (std::size_t i = 0; i < m_firstOfSlot.size(); ++i)
    {
        const std::int64_t nUtc = FIRST + (static_cast<std::int64_t>(i) << SLOT_BITS) - 2 * DAY;
        const auto next = std::ranges::upper_bound(m_periods, nUtc, {}, &Period::m_nUtc);
        m_firstOfSlot[i] = static_cast<std::uint16_t>(next - m_periods.begin() - 1);
    }
}

LONG CSystemZone::Find(std::int64_t n, std::int64_t Period::*start) const noexcept
{
    const auto nSlot = static_cast<std::size_t>((std::clamp(n, FIRST, LAST) - FIRST) >> SLOT_BITS);
    const Period* pPeriod = m_periods.data() + m_firstOfSlot[nSlot];
    while (n >= pPeriod[1].*start)
        ++pPeriod;
    return pPeriod->m_nOffset;
}

const CSystemZone& SystemZone() noexcept
{
    static const CSystemZone s_zone;
    return s_zone;
}

} // namespace

LONG PortZoneOffset(LONGLONG nUtc) noexcept
{
    return SystemZone().OffsetAt(nUtc);
}

LONG PortZoneOffsetOfLocal(LONGLONG nLocal) noexcept
{
    return SystemZone().OffsetOfLocal(nLocal);
}
