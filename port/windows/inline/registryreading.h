// Reads of the registry that belong together.
#pragma once

/// While one lives, a thread reads each hive as it was at the first look, where looking costs something. The
/// system's registry is asked each time.
class CRegistryReading
{
public:
    CRegistryReading() noexcept {}
    CRegistryReading(const CRegistryReading&) = delete;
    CRegistryReading& operator=(const CRegistryReading&) = delete;
    ~CRegistryReading() {}
};
