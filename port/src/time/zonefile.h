// The tz database as the machine has it: compiled files, one a zone.
#pragma once

#include "orvport/types.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What is in force from a moment on (seconds since 1970, UTC).
struct ZoneOffset
{
    std::int64_t m_nUtc;
    LONG m_nSeconds; ///< ahead of UTC
};

/// The offsets of the zone \p sId ("America/Havana"), in the order of time and beginning with what was in
/// force before all. Behind the changes that the file lists its rule for all later years counts, up to the
/// end of \p last. Nothing when there is no such file or it is damaged.
///
/// The files stand in the folder that the environment variable TZDIR names, as for the C library, else in
/// /usr/share/zoneinfo.
std::optional<std::vector<ZoneOffset>> ReadZoneFile(const std::string& sId, std::chrono::year last);
