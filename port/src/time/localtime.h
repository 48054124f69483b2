// Local time of the system's zone, also in a forked child: the C library's own lock may be taken there for
// ever.
#pragma once

#include <ctime>

/// False also where there is no memory to read the zone.
bool PortLocalTime(std::time_t tTime, std::tm& tm) noexcept;

/// Reads the zone that the environment names now; false without memory.
bool PortReadZone() noexcept;
