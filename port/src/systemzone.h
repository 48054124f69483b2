// The system's zone (the variable TZ, else /etc/localtime) with the changes that the tz database has for each date.
#pragma once

#include <cstdint>

/// Seconds by which local time is ahead of UTC at a moment (seconds since 1970 UTC).
///
/// The zone is read once, at the first use in the process; after that a call takes no lock and looks at no
/// environment variable. Before 1900 and after 2039 the nearest known offset holds.
std::int32_t SystemZoneOffset(std::int64_t nUtc) noexcept;

/// The offset that holds at a wall-clock time (seconds since 1970-01-01 00:00 on that clock). Each offset holds until its
/// own wall clock shows the moment of the change: of a time that occurs twice the first is meant, and a time that is
/// skipped is read as if the change had been made already.
std::int32_t SystemZoneOffsetOfLocal(std::int64_t nLocal) noexcept;
