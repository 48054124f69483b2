/// The zones that SetTimeZone selects: a pair of yearly rules, worked out once for all years.
#pragma once

#include "zoneperiods.h"

#include <windows.h>

#include <atomic>

namespace OCT
{

/// The value "TZI" of a zone's registry key: minutes west of UTC, and the two changes of the year.
struct ZoneRecord
{
    LONG Bias;
    LONG StandardBias;
    LONG DaylightBias;
    SYSTEMTIME StandardDate;
    SYSTEMTIME DaylightDate;
};
static_assert(sizeof(ZoneRecord) == 44);

/// The offsets of a record, whose pair of rules holds in every year: the n-th weekday (5: the last) of a
/// month, or with a year in it a date of that year alone. With one of the two missing there is no
/// daylight-saving time and only `Bias` counts. Of a repeated wall-clock time the first is meant, a skipped
/// one is read with the offset that follows the change.
///
/// A record that is none has kPortNoOffset in every year.
CZonePeriods PeriodsOf(const ZoneRecord& record);

/// The selected zone; null means the system's.
extern std::atomic<const CZonePeriods*> g_pSelectedZone;

/// Selects the zone of a record. A zone is never changed while the library is loaded, so that other threads
/// may still read it when the next one is selected, and is made only once for equal records. Calls must not
/// overlap. Throws when there is no memory.
void SelectZone(const ZoneRecord& record);

/// The last step of an unload, when nobody can come any more. When the process ends all zones stay: other
/// threads may still read them.
void FreeZonesAtUnload() noexcept;

} // namespace OCT
