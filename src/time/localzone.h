/// Local time in the process-wide zone: the one that SetTimeZone selected, else the system's.
#pragma once

#include <windows.h>

#include <cstdint>

namespace OCT
{

/// What a conversion gives instead of an offset when it fails.
inline constexpr LONG NO_OFFSET = -0x7FFFFFFF - 1;

/// Seconds that the selected zone is ahead of UTC, at a moment and at a wall-clock time.
LONG SelectedOffset(std::int64_t nUtc) noexcept;
LONG SelectedOffsetOfLocal(std::int64_t nLocal) noexcept;

/// The same of any zone through the platform's conversions; null is the system's.
LONG PlatformOffset(const TIME_ZONE_INFORMATION* pZone, std::int64_t nUtc) noexcept;
LONG PlatformOffsetOfLocal(const TIME_ZONE_INFORMATION* pZone, std::int64_t nLocal) noexcept;

/// \p t on the wall clock.
bool LocalFieldsOf(LONG t, SYSTEMTIME& st) noexcept;

} // namespace OCT

/// The offset of the system's zone. Windows may change its zone at any time, so there each call asks
/// (windows/systemzone.cpp); the port knows it from a table.
LONG OrvZoneOffset(LONGLONG nUtc) noexcept;
LONG OrvZoneOffsetOfLocal(LONGLONG nLocal) noexcept;
