#include "systemzone.h"

#include "process/unload.h"
#include "threads/portlock.h"
#include "time/localtime.h"
#include "zoneperiods.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <new>

namespace
{

// No zone of the database keeps an offset for less than 95 hours in these years: no change falls between two
// steps.
constexpr std::int64_t kStep = 3 * CZonePeriods::kDay;

LONG LibraryOffset(std::int64_t nUtc)
{
    const std::time_t t = nUtc;
    std::tm fields;
    if (!PortLocalTime(t, fields))
        throw std::bad_alloc();
    return static_cast<LONG>(fields.tm_gmtoff);
}

/// The first second after \p nBefore that has the offset of \p nAfter, between the two.
std::int64_t FindChange(std::int64_t nBefore, std::int64_t nAfter)
{
    const LONG nOffset = LibraryOffset(nBefore);
    while (nAfter - nBefore > 1)
    {
        const std::int64_t nMiddle = nBefore + (nAfter - nBefore) / 2;
        (LibraryOffset(nMiddle) == nOffset ? nBefore : nAfter) = nMiddle;
    }
    return nAfter;
}

/// The offsets of the system's zone (the variable TZ, else /etc/localtime) with the changes that the tz
/// database has, read once from the C library. Throws without memory: the next who asks reads it.
CZonePeriods ReadSystemZone()
{
    if (!PortReadZone())
        throw std::bad_alloc();
    LONG nOffset = LibraryOffset(CZonePeriods::kFirst);
    CZonePeriods periods(nOffset);
    for (std::int64_t nUtc = CZonePeriods::kFirst; nUtc < CZonePeriods::kLast; nUtc += kStep)
    {
        const LONG nNext = LibraryOffset(nUtc + kStep);
        if (nNext == nOffset)
            continue;
        // A repeated time is the first of the two. A skipped one is as far behind the change as it would have
        // been, so that it belongs to its own day also where midnight is skipped.
        const std::int64_t nChange = FindChange(nUtc, nUtc + kStep);
        periods.Add(nChange, nChange + std::max(nOffset, nNext), nNext);
        nOffset = nNext;
    }
    periods.Finish();
    return periods;
}

struct CSystemZone : CZonePeriods
{
    CSystemZone() : CZonePeriods(ReadSystemZone()) {}
};

constinit CMadeOnce<CSystemZone> g_zone;

/// Null without memory.
const CZonePeriods* SystemZone() noexcept
try
{
    return &g_zone.Get();
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

} // namespace

LONG PortZoneOffset(LONGLONG nUtc) noexcept
{
    const CZonePeriods* const pZone = SystemZone();
    return pZone ? pZone->OffsetAt(nUtc) : kPortNoOffset;
}

LONG PortZoneOffsetOfLocal(LONGLONG nLocal) noexcept
{
    const CZonePeriods* const pZone = SystemZone();
    return pZone ? pZone->OffsetOfLocal(nLocal) : kPortNoOffset;
}

void PortFreeZoneAtUnload() noexcept
{
    g_zone.DestroyAtUnload();
}
