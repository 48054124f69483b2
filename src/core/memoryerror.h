/// The system's error codes that tell of missing memory.
#pragma once

#include <windows.h>

namespace OCT
{

/// After such a code nobody knows whether what was asked for is there: the same call may succeed later.
inline bool IsShortOfMemory(DWORD dwError) noexcept
{
    return dwError == ERROR_NOT_ENOUGH_MEMORY || dwError == ERROR_OUTOFMEMORY ||
           dwError == ERROR_NO_SYSTEM_RESOURCES; // the kernel's own
}

} // namespace OCT
