// The names under which the registry has time zones.
#pragma once

#include <windows.h>

/// The key below "…\Time Zones" for a tz identifier ("America/Mexico_City", in any case of letters), as
/// constant text; null when there is none. Windows has only keys of its own names, so there a table of CLDR's
/// mapping gives them. Elsewhere the registry serves the identifiers themselves.
const WCHAR* PortZoneKeyName(const WCHAR* sZone) noexcept;
