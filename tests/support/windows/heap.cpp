#include "support/heap.h"

#include <windows.h>

#include <psapi.h>

std::optional<std::size_t> HeapInUse()
{
    return std::nullopt;
}

std::size_t MemoryInUse()
{
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}
