/// Local time in the process-wide zone: the one that SetTimeZone selected, else the system's.
#pragma once

#include "orvcomtypes/timeutils.h"
#include "systemzone.h"
#include "time/namedzone.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace OCT
{

/// The zone that is in force when this is made. An operation of several steps makes one for all of them,
/// since another thread may select the next zone in between.
class CLocalZone
{
public:
    CLocalZone() noexcept : m_pZone(g_pSelectedZone.load(std::memory_order_acquire)) {}

    /// Seconds that it is ahead of UTC, at a moment and at a wall-clock time; kPortNoOffset when the platform
    /// fails.
    LONG OffsetAt(std::int64_t nUtc) const noexcept
    {
        return m_pZone == nullptr ? PortZoneOffset(nUtc) : m_pZone->OffsetAt(nUtc);
    }
    LONG OffsetOfLocal(std::int64_t nLocal) const noexcept
    {
        return m_pZone == nullptr ? PortZoneOffsetOfLocal(nLocal) : m_pZone->OffsetOfLocal(nLocal);
    }
    /// The offset of a wall-clock time that the clock may show twice.
    LONG OffsetOfRepeated(std::int64_t nLocal, LocalOccurrence which) const noexcept;

    /// \p t on the wall clock.
    bool GetFields(LONG t, SYSTEMTIME& st) const noexcept;
    /// As LocalYMD2Timet.
    bool FromFields(const SYSTEMTIME& st, LONG& t) const noexcept;

private:
    const CZonePeriods* m_pZone; // null: the system's
};

/// Whether LocalYMD2Timet takes the date; reported if not.
bool IsLocalDate(int year, int month, int day) noexcept;

} // namespace OCT
