/// Local time in the process-wide zone: the one that SetTimeZone selected, else the system's.
#pragma once

#include "orvcomtypes/timeutils.h"

#include <windows.h>

#include <cstdint>

namespace OCT
{

/// Seconds that the selected zone is ahead of UTC, at a moment and at a wall-clock time; kPortNoOffset when
/// the platform fails.
LONG SelectedOffset(std::int64_t nUtc) noexcept;
LONG SelectedOffsetOfLocal(std::int64_t nLocal) noexcept;

/// The offset of a wall-clock time that the clock may show twice.
LONG SelectedOffsetOfRepeated(std::int64_t nLocal, LocalOccurrence which) noexcept;

/// \p t on the wall clock.
bool LocalFieldsOf(LONG t, SYSTEMTIME& st) noexcept;

} // namespace OCT
