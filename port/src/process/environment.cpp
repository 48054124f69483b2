#include <windows.h>

#include "process/errnomap.h"
#include "text/utf.h"

#include <cstdlib>
#include <new>

DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) noexcept
try
{
    const char* sValue = std::getenv(PortToUtf8(lpName).c_str());
    if (!sValue)
    {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    SetLastError(ERROR_SUCCESS);
    return PortCopyOut(PortToUtf16(sValue), lpBuffer, nSize);
}
catch (const std::bad_alloc&)
{
    return PortFailWithoutMemory();
}

BOOL IsProcessorFeaturePresent(DWORD ProcessorFeature) noexcept
{
    __builtin_cpu_init(); // this may run before the compiler's own constructors
    return ProcessorFeature == PF_SSSE3_INSTRUCTIONS_AVAILABLE && __builtin_cpu_supports("ssse3");
}
