// Local time in the system's zone, without detours through calendar fields where the platform needs none.
#pragma once

#include <windows.h>

/// What a conversion gives instead of an offset when it fails.
inline constexpr LONG kPortNoOffset = -0x7FFFFFFF - 1;

/// Seconds that the system's zone is ahead of UTC, at a moment and at a wall-clock time (seconds since 1970
/// on either clock): what the conversions of SYSTEMTIME with a null zone give. Windows may change its zone at
/// any time, so there each call asks; elsewhere the zone is read once.
LONG PortZoneOffset(LONGLONG nUtc) noexcept;
LONG PortZoneOffsetOfLocal(LONGLONG nLocal) noexcept;
